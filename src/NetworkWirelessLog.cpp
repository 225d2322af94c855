#include "NetworkWirelessLog.h"

#include <cstring>

#include "C5GhzSwitchHandler.h"
#include "Log.h"
#include "NW_Common.h"
#include "SavedNetworkPriorityHandler.h"
#include "WirelessKPILogger.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

/// A BSSID with its end.
constexpr std::size_t kBSSIDLength = 18;
/// The highest channel of the 2.4 GHz band.
constexpr int kLast24GHzFrequency = 2484;

CWirelessKPILogger& Service() {
  return *CNetworkLogServiceSingleton<CWirelessKPILogger>::Get();
}

struct DestroyAP {
  using pointer = wifi_ap_h;
  void operator()(wifi_ap_h ap) const { wifi_ap_destroy(ap); }
};
using OwnedAP = std::unique_ptr<wifi_ap_h, DestroyAP>;

/// @return null when the TV is connected to none
OwnedAP TakeConnectedAP() {
  wifi_ap_h ap = nullptr;
  return wifi_get_connected_ap(&ap) == WIFI_ERROR_NONE ? OwnedAP(ap) : OwnedAP();
}

/// A text of an access point.
/// @return null when it cannot be read
}  // namespace

WirelessLog::~WirelessLog() {
  DeRegisterWifiEvents();
}

void WirelessLog::RegisterWifiEvents() {
  const int result = wifi_initialize();
  if (result == WIFI_ERROR_OPERATION_FAILED) {
    NW_LOG("Failed to Initialize wifi [%d]", result);
  }
  if (connection_create(&m_connection) != CONNECTION_ERROR_NONE) {
    NW_LOG("Connection handle NULL");
    m_connection = nullptr;
    return;
  }
  SyncAPNameVconf();
  const HeapString name(vconf_get_str(vconf_keys::kApName));
  NW_LOG("Current AP name [%s]", name.get());
  Service().InitialiseLogService();
  SendKPIAutoConnectAP();
  m_monitor = NetworkMonitor::GetInstance();
  if (m_monitor != nullptr) {
    m_monitorHandle = m_monitor->RegisterCb(
        [this](bool online, const std::string& reason) { NetworkStateCallBack(online, reason); });
  }
  const int error = wifi_set_connection_state_changed_cb(connection_state_callback, this);
  if (error != WIFI_ERROR_NONE) {
    NW_LOG("Error in wifi_set_connection_state_changed_cb wireless [%d]!!", error);
  }
}

void WirelessLog::DeRegisterWifiEvents() {
  m_ev001.reset();
  m_ev002.reset();
  if (m_connection == nullptr) {
    return;
  }
  wifi_unset_connection_state_changed_cb();
  if (m_monitor != nullptr) {
    m_monitor->UnRegisterCb(m_monitorHandle);
    m_monitor.reset();
  }
  connection_destroy(m_connection);
  m_connection = nullptr;
}

void WirelessLog::SendKPIAutoConnectAP() {
  NW_LOG("START");
  StartEV002();
  NW_LOG("END");
}

void WirelessLog::StartEV002() {
  m_ev002 = std::make_unique<CKPIWIFIRSSI>();
  m_ev002->Create([this](int result) { OnEV002Done(result); });
}

void WirelessLog::SyncAPNameVconf() {
  const OwnedAP ap = TakeConnectedAP();
  if (ap == nullptr) {
    return;
  }
  const HeapString name = ReadText(wifi_ap_get_essid, ap.get());
  if (name != nullptr) {
    vconf_set_str(vconf_keys::kApName, name.get());
    NW_LOG("[ Update ap_name vconf => %s ]", name.get());
  }
}

bool WirelessLog::IsAutoConnectAP(wifi_ap_h ap, std::string& name) {
  bool is_favorite = false;
  const int result = wifi_ap_is_favorite(ap, &is_favorite);
  NW_LOG("RV =>%d , bFavourite =>%d", result, is_favorite);
  if (!is_favorite) {
    return false;
  }
  char* essid = nullptr;
  const int error = wifi_ap_get_essid(ap, &essid);
  const HeapString owned(essid);
  if (error != WIFI_ERROR_NONE || owned == nullptr) {
    NW_LOG("essid failed %d", error);
    return false;
  }
  NW_LOG("ssid [%s] auto assocaition", owned.get());
  name = owned.get();
  return true;
}

bool WirelessLog::IsSettingsChanged(wifi_ap_h ap) {
  const HeapString name = ReadText(wifi_ap_get_essid, ap);
  if (name == nullptr) {
    NW_LOG("Fail to get AP name");
    return false;
  }
  NW_LOG("[Previous connected  AP => %s , New Ap => %s ]", m_autoConnectName.c_str(), name.get());
  if (m_autoConnectName == name.get()) {
    return false;
  }
  NW_LOG("Updating vconf");
  vconf_set_str(vconf_keys::kApName, name.get());
  return true;
}

bool WirelessLog::IsIPV4(wifi_ap_h ap) {
  const bool is_there = ReadText(wifi_ap_get_ip_address, ap, CONNECTION_ADDRESS_FAMILY_IPV4) != nullptr;
  NW_LOG("[NOT IPV4 connected => %s ]", is_there ? "true" : "false");
  return is_there;
}

bool WirelessLog::IsBSSIDChanged(wifi_ap_h ap) {
  const HeapString saved(vconf_get_str(vconf_keys::kConnectedApBssid));
  const HeapString current = ReadText(wifi_ap_get_bssid, ap);
  const bool is_changed =
      current != nullptr &&
      (saved == nullptr || std::strncmp(saved.get(), current.get(), kBSSIDLength) != 0);
  NW_LOG("IsBSSIDChanged =>%d", is_changed);
  return is_changed;
}

void WirelessLog::UpdateBSSIDVconf(wifi_ap_h ap) {
  const HeapString bssid = ReadText(wifi_ap_get_bssid, ap);
  if (bssid != nullptr) {
    vconf_set_str(vconf_keys::kConnectedApBssid, bssid.get());
  }
}

bool WirelessLog::CheckKPISendCondition() {
  bool has_gateway = false;
  const int error = connection_profile_check_default_gateway(&has_gateway);
  if (error != CONNECTION_ERROR_NONE) {
    NW_LOG("connection_profile_check_default_gateway %d", error);
  }
  NW_LOG("CheckKPISendCondition => %s", has_gateway ? "true" : "false");
  return has_gateway;
}

void WirelessLog::SendKPI_ifPossible() {
  if (CheckKPISendCondition()) {
    Service().SendKPIData();
  }
}

void WirelessLog::NetworkStateCallBack(bool online, const std::string& reason) {
  NW_LOG(" [%s] State callback Result : [%s]", reason.c_str(), online ? "true" : "false");
  if (online && reason == "GATEWAY") {
    NW_LOG("result is CONNECTION_ERROR_NONE");
    Service().SendKPIData();
  }
}

void WirelessLog::OnEV001Done(int result) {
  NW_LOG("[OnEV001Done => %d]", result);
  if (m_ev001 != nullptr) {
    APSettingsChanged();
    SendKPI_ifPossible();
    m_ev001.reset();
  }
}

void WirelessLog::OnEV002Done(int result) {
  NW_LOG("[OnEV002Done => %d]", result);
  if (m_ev002 != nullptr) {
    Service().AddEventLogWirelessApConnected(m_ev002->GetResult());
    SendKPI_ifPossible();
    m_ev002.reset();
  }
}

void WirelessLog::APSettingsChanged() {
  const OwnedAP ap = TakeConnectedAP();
  if (ap == nullptr) {
    NW_LOG("No Connected AP");
    return;
  }
  if (ReadText(wifi_ap_get_essid, ap.get()) == nullptr) {
    NW_LOG("Fail to get AP name");
  }
  const HeapString bssid = ReadText(wifi_ap_get_bssid, ap.get());
  NW_LOG("mac address  %s", bssid.get());
  int frequency = 0;
  wifi_ap_get_frequency(ap.get(), &frequency);
  NW_LOG("frequency = %d", frequency);
  int bandwidth = 0;
  wifi_ap_get_bandwidth(ap.get(), &bandwidth);
  NW_LOG("bandwidth = %d", bandwidth);
  FoundAps found;
  if (wifi_foreach_found_aps(FoundApCallback, &found) != WIFI_ERROR_NONE) {
    NW_LOG("Fail to get AP info (can't get AP list)");
  }
  const std::string protocol = GetPOCInstance()->GetProtocol();
  Service().AddEventLogWirelessSettingsChanged(bssid.get(), frequency, protocol.c_str(), bandwidth,
                                               static_cast<int>(found.size()), GetFoundApfreqBand(found),
                                               m_ev001 != nullptr ? m_ev001->GetResult() : "");
}

std::string WirelessLog::GetFoundApfreqBand(const FoundAps& list) {
  std::string text;
  for (const auto& [rssi, frequency] : list) {
    if (!text.empty()) {
      text += "|";
    }
    text += std::to_string(rssi) + "@" + std::to_string(frequency);
  }
  return text;
}

bool WirelessLog::FoundApCallback(wifi_ap_h ap, void* list) {
  int rssi = 0;
  int frequency = 0;
  wifi_ap_get_frequency(ap, &frequency);
  wifi_ap_get_rssi(ap, &rssi);
  static_cast<FoundAps*>(list)->emplace_back(rssi, frequency);
  return true;
}

void WirelessLog::connection_state_callback(wifi_connection_state_e state, wifi_ap_h ap,
                                            void* user_data) {
  NW_LOG("entry");
  auto* const self = static_cast<WirelessLog*>(user_data);
  if (self == nullptr) {
    NW_LOG(" User data is NULL");
    return;
  }
  switch (state) {
    case WIFI_CONNECTION_STATE_ASSOCIATION:
      NW_LOG("association  =>");
      self->OnAssociation(ap);
      break;
    case WIFI_CONNECTION_STATE_DISCONNECTED:
      SavedAPPriorityHandler::GetInstance()->UpdateListOnAPDisConnect(ap);
      break;
    case WIFI_CONNECTION_STATE_CONNECTED:
      NW_LOG(" state : Connected");
      SavedAPPriorityHandler::GetInstance()->UpdateListOnAPConnect(ap);
      self->OnConnected(ap);
      break;
    case WIFI_CONNECTION_STATE_FAILURE:
    case WIFI_CONNECTION_STATE_CONFIGURATION:
    default:
      NW_LOG("connectio state =>%d", state);
  }
}

void WirelessLog::OnAssociation(wifi_ap_h ap) {
  m_autoConnectName.clear();
  IsAutoConnectAP(ap, m_autoConnectName);
}

void WirelessLog::OnConnected(wifi_ap_h ap) {
  if (!IsIPV4(ap)) {
    NW_LOG("[IPV4 not connected , seems ipv6 connected ]");
    return;
  }
  m_isBSSIDChanged = IsBSSIDChanged(ap);
  if (IsSettingsChanged(ap)) {
    ReportOtherNetwork();
    // After the record's measurement has begun, which compares with the BSSID of before.
    UpdateBSSIDVconf(ap);
  } else {
    ReportReconnection();
  }
  if (m_isBSSIDChanged) {
    SetAutoSwitchingModeByBand(ap);
  }
}

void WirelessLog::ReportReconnection() {
  if (m_ev001 != nullptr && m_ev001->IsRunning()) {
    NW_LOG("[KPI001 is already running ,ignore KPI001 ");
    return;
  }
  StartEV002();
}

void WirelessLog::ReportOtherNetwork() {
  m_ev001 = std::make_unique<CKPIWIFIENV>();
  m_ev001->Create([this](int result) { OnEV001Done(result); });
}

/// A TV that is on 5 GHz has nowhere to move to.
void WirelessLog::SetAutoSwitchingModeByBand(wifi_ap_h ap) {
  int frequency = 0;
  const bool is_known = wifi_ap_get_frequency(ap, &frequency) == WIFI_ERROR_NONE;
  SetAutoSwitchingMode(is_known && frequency > kLast24GHzFrequency ? 0 : 1);
}

#include "C5GhzSwitchHandler.h"

#include <array>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "CNWSingleton.h"
#include "FSMWifiListner.h"
#include "KPICreator2017.h"
#include "Log.h"
#include "NW_Common.h"
#include "NetworkLogService.h"
#include "State5GhzConnecting.h"
#include "State5GhzFinal.h"
#include "State5GhzIdle.h"
#include "State5GhzInit.h"
#include "State5GhzRollBack.h"
#include "State5GhzShowPopup.h"
#include "WifiMonHandler.h"
#include "WirelessKPILogger.h"
#include "setwell/CWifiManagerAX.h"
#include "setwell/NetworkUtil.h"
#include "system_info.h"
#include "vconf_keys.h"
#include "wifi.h"

namespace {

constexpr int kVendorMt7603 = 7;
constexpr std::size_t kLastOctet = 15;  // where it begins in "AA:BB:CC:DD:EE:FF"

std::shared_ptr<IState> MakeState(C5GhzSwitchHandler& handler, OPERATIONSTATE operation) {
  switch (operation) {
    case STATE_IDLE:
      return std::make_shared<CState5GhzIdle>(handler);
    case STATE_INIT:
      return std::make_shared<CState5GhzInit>(handler);
    case STATE_CONNECTING:
      return std::make_shared<CState5GhzConnecting>(handler);
    case STATE_SHOWPOPUP:
      return std::make_shared<CState5GhzShowPopup>(handler);
    case STATE_ROLLBACK:
      return std::make_shared<CState5GhzRollBack>(handler);
    case STATE_ERROR:
      return std::make_shared<CState5GhzError>(handler);
    case STATE_COMPLETE:
      return std::make_shared<CState5GhzComplete>(handler);
  }
  return nullptr;
}

int LastOctet(const std::string& bssid) {
  return std::stoi(bssid.substr(kLastOctet), nullptr, 16);
}

int ChannelInterference() {
  const std::shared_ptr<WifiMonHandler> monitor = CNWSingleton<WifiMonHandler>::GetInstance();
  return monitor == nullptr ? 0 : monitor->GetChannelInterferance();
}

void Report(const char* category, const char* eventName, const std::string& description) {
  CWirelessKPILogger* logger = CNetworkLogServiceSingleton<CWirelessKPILogger>::Get();
  logger->AddEventLogToFile(category, eventName, description, "21_wireless");
  logger->SendKPIData();
}

}  // namespace

C5GhzSwitchHandler* GetPOCInstance() {
  static C5GhzSwitchHandler instance;
  return &instance;
}

C5GhzSwitchHandler::~C5GhzSwitchHandler() = default;

void C5GhzSwitchHandler::Init() {
  NW_LOG("START");
  Setwell::NetworkUtil::InitializeNetworkLib();
  if (!m_IsFeatureAllowed()) {
    NW_LOG("feature not supported");
    return;
  }
  vconf_notify_key_changed(vconf_keys::kStreamingBuffer, vconf_on_change_memory_buffer, this);
  vconf_notify_key_changed(vconf_keys::kStreamingLowRes, vconf_on_change_lowres, this);
  vconf_notify_key_changed(vconf_keys::kLaunchNS, vconf_on_change_5ghz, this);
  m_TransitState(STATE_IDLE);
  NW_LOG("END");
}

void C5GhzSwitchHandler::DeInit() {
  if (!m_IsFeatureAllowed()) {
    NW_LOG("feature not supported");
    return;
  }
  m_TransitState(STATE_IDLE);
  m_wifi.reset();
  vconf_ignore_key_changed(vconf_keys::kStreamingBuffer, vconf_on_change_memory_buffer);
  vconf_ignore_key_changed(vconf_keys::kStreamingLowRes, vconf_on_change_lowres);
  vconf_ignore_key_changed(vconf_keys::kLaunchNS, vconf_on_change_5ghz);
  Setwell::NetworkUtil::DeinitializeNetworkLib();
  NW_LOG("END");
}

bool C5GhzSwitchHandler::StartConnection(eSwitchRequestType type) {
  NW_LOG("START");
  if (!m_IsValidToStart(type)) {
    NW_LOG("Not valid to start connection switching");
    return false;
  }
  _Init();
  m_wifi->InitWifi();
  // Not into m_originalAP yet: a refused request must not make a popup that is still up go back to the
  // wrong access point.
  sExtendedWiFiData connectedAP;
  if (!m_wifi->GetConnectedAPDetails(connectedAP)) {
    NW_LOG("No ap connected, cannot switch to 5Ghz");
    return false;
  }
  if (connectedAP.is5Ghz) {
    NW_LOG("Ap is already 5ghz ,cannot switch");
    return false;
  }
  m_originalAP = connectedAP;
  m_requestType = type;
  m_userSelection = -1;
  m_SetState(STATE_IDLE);
  if (type != eUserRequest) {
    // Once only: a TV that cannot stay on 5 GHz must not move to and fro all evening.
    SetAutoSwitchingMode(0);
  }
  m_originalAP.channelInterference = ChannelInterference();
  m_originalAP.protocol = GetProtocol();
  m_TransitState(STATE_INIT);
  m_ProcessEvent(IEvents(IEvents::EVENT_START, true));
  return true;
}

void C5GhzSwitchHandler::_Init() {
  if (m_wifi != nullptr) {
    return;
  }
  m_wifi = std::make_shared<Setwell::NetworkWifi>();
  m_listener = std::make_shared<CWifiEventListener>(*this);
  m_wifi->AddListner(m_listener);
}

bool C5GhzSwitchHandler::m_IsValidToStart(eSwitchRequestType type) {
  if (Setwell::NetworkUtil::GetNetworkType() != Setwell::NETWORK_TYPE_WIRELESS) {
    NW_LOG("Current network is not wireless, cannot switch to 5Ghz");
    return false;
  }
  if (!m_IsFeatureAllowed()) {
    NW_LOG("feature not supported on mt7603");
    return false;
  }
  // A request while one looks for an access point starts anew, one while the popup is up finds the TV on
  // 5 GHz already.
  if (m_state == STATE_CONNECTING || m_state == STATE_ROLLBACK) {
    NW_LOG("Already switching to 5ghz, ignore new request");
    return false;
  }
  if (type == eUserRequest) {
    return true;
  }
  if (!IsAutoSwitchingAllowed()) {
    NW_LOG("Auto switching mode not allowed ");
    return false;
  }
  if (GetVconfInt(vconf_keys::kNetworkAppStatus) == 1) {
    NW_LOG("Cannot handle awm events, networksettings is running");
    return false;
  }
  return true;
}

bool C5GhzSwitchHandler::m_IsFeatureAllowed() {
  int vendor = 0;
  if (system_info_get_value_int(SYSTEM_INFO_KEY_WIFI_VENDOR, &vendor) == SYSTEM_INFO_ERROR_NONE &&
      vendor == kVendorMt7603) {
    NW_LOG("WIFI_VENDOR_MT7603U");
    return false;
  }
  return true;
}

int C5GhzSwitchHandler::GetVconfInt(const char* key) {
  int value = 0;
  vconf_get_int(key, &value);
  NW_LOG("vconf value %s=>%d", key, value);
  return value;
}

void C5GhzSwitchHandler::m_TransitState(OPERATIONSTATE operation) {
  NW_LOG("Transit operation =>%d", operation);
  std::shared_ptr<IState> next = MakeState(*this, operation);
  if (next == nullptr) {
    return;
  }
  m_clearvector();
  m_states.push_back(std::move(next));
  m_states.back()->Entry();
}

void C5GhzSwitchHandler::m_clearvector() {
  if (m_states.empty()) {
    return;
  }
  const std::shared_ptr<IState> current = m_states.back();
  current->Exit();
  m_states.clear();
}

void C5GhzSwitchHandler::m_SetState(OPERATIONSTATE state) {
  m_state = state;
  NW_LOG("Set State => %d", state);
}

void C5GhzSwitchHandler::m_ProcessEvent(const IEvents& event) {
  if (m_states.empty()) {
    NW_LOG("states empty,cannot process event");
    return;
  }
  NW_LOG("Process Event =>%d ,send to state =>%d", event.GetKind(), m_state);
  m_states.back()->m_OnEvent(event);
}

void C5GhzSwitchHandler::m_OnScanDone() {
  m_ProcessEvent(IEvents(IEvents::EVENT_SCAN_DONE, true));
}

void C5GhzSwitchHandler::_OnConnected(bool isConnected) {
  NW_LOG("Connection Result => %d", isConnected);
  m_ProcessEvent(IEvents(IEvents::EVENT_CONNECTION_RESULT, isConnected));
}

int C5GhzSwitchHandler::m_FindSimilarAP() {
  return m_wifi->Is5GhzSimilarAPExist(m_similarAP, m_requestType == eUserRequest
                                                       ? Setwell::DUAL_AP_MODE_USER
                                                       : Setwell::DUAL_AP_MODE_AUTOMATIC);
}

void C5GhzSwitchHandler::m_ScanRequest() {
  m_wifi->Scan();
}

void C5GhzSwitchHandler::m_ConnectRequest(sExtendedWiFiData& accessPoint) {
  NW_LOG("START");
  Setwell::WifiParameters parameters;
  parameters.ssid = accessPoint.ssid;
  parameters.securityType = Setwell::NetworkUtil::convert_security_type_enum(accessPoint.securityType);
  parameters.key = accessPoint.key;
  parameters.connectionOption = accessPoint.connectionOption;
  m_wifi->SetParameters(parameters);
  m_wifi->Connect();
}

void C5GhzSwitchHandler::m_DisconnectRequest(sExtendedWiFiData& accessPoint) {
  NW_LOG("START");
  m_wifi->Disconnect(accessPoint.ssid);
  NW_LOG("END");
}

void C5GhzSwitchHandler::m_NotifyFailToUI() {
  NW_LOG("Notify fail to UI");
  if (m_requestType == eUserRequest) {
    vconf_set_str(vconf_keys::kLaunchNS, "PAGECHANGED");
  }
}

void C5GhzSwitchHandler::m_SendEV005Event() {
  m_similarAP.protocol = GetProtocol();
  m_similarAP.channelInterference = ChannelInterference();
  CKPIAWMEV005 creator;
  creator.Create(nullptr);
  const std::string result = creator.GetResult();
  NW_LOG("EV005 Data =>%s", result.c_str());
  Report("EV005", "WIFI_BANDSWITCH", result);
}

void C5GhzSwitchHandler::m_SendEV006Event(eSwitchRequestType type) {
  auto state = static_cast<wifi_connection_state_e>(-2);  // none of the platform's
  wifi_get_connection_state(&state);
  if (state != WIFI_CONNECTION_STATE_CONNECTED) {
    NW_LOG("EV006 cannot send , ap is not connected");
    return;
  }
  CKPIAWMEV006 creator(type);
  creator.Create(nullptr);
  const std::string result = creator.GetResult();
  NW_LOG("EV006 Message =>%s", result.c_str());
  Report("EV006", "AWM", result);
}

int C5GhzSwitchHandler::GetMacDiff() {
  return std::abs(LastOctet(m_originalAP.bssid) - LastOctet(m_similarAP.bssid));
}

std::string C5GhzSwitchHandler::GetProtocol() {
  constexpr std::array kProtocols{"802.11b", "802.11g", "802.11n", "802.11a", "802.11ac", "802.11ax"};
  const int protocol = Setwell::CWifiManagerAX::GetWiFiProtocol();
  if (protocol < 0 || protocol >= static_cast<int>(kProtocols.size())) {
    return "unknown";
  }
  return kProtocols[static_cast<std::size_t>(protocol)];
}

void C5GhzSwitchHandler::m_OnStreamingTrouble(const char* key, eSwitchRequestType type) {
  if (GetVconfInt(key) != 0) {
    // Reported whether or not the TV may move: the trouble is what counts.
    m_SendEV006Event(type);
    StartConnection(type);
  }
}

void C5GhzSwitchHandler::vconf_on_change_5ghz(keynode_t* /*node*/, void* handler) {
  auto* self = static_cast<C5GhzSwitchHandler*>(handler);
  const HeapString value(vconf_get_str(vconf_keys::kLaunchNS));
  if (value == nullptr) {
    return;
  }
  NW_LOG("5ghz vconf change =>%s", value.get());
  const std::string_view word = value.get();
  if (word == "START5GHZCONNECTION") {
    if (!self->StartConnection(eUserRequest)) {
      vconf_set_str(vconf_keys::kLaunchNS, "PAGECHANGED");
    }
  } else if (word == "STOP5GHZCONNECTION") {
    // The number alone: what is under way comes to its end, and a new request need not wait for it.
    self->m_SetState(STATE_IDLE);
  }
}

void C5GhzSwitchHandler::vconf_on_change_memory_buffer(keynode_t* /*node*/, void* handler) {
  NW_LOG("START");
  static_cast<C5GhzSwitchHandler*>(handler)->m_OnStreamingTrouble(vconf_keys::kStreamingBuffer,
                                                                  eStreamingBuffering);
  NW_LOG("END");
}

void C5GhzSwitchHandler::vconf_on_change_lowres(keynode_t* /*node*/, void* handler) {
  NW_LOG("START");
  static_cast<C5GhzSwitchHandler*>(handler)->m_OnStreamingTrouble(vconf_keys::kStreamingLowRes,
                                                                  eStreamingLowResolution);
  NW_LOG("END");
}

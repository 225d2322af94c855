#include "SavedAPConnectionHandler.h"

#include <algorithm>
#include <iterator>

#include "JsonText.h"
#include "Log.h"
#include "NW_Common.h"
#include "NotiProxy.h"
#include "TimerHelper.h"
#include "sound_manager.h"
#include "wifi.h"

namespace {

constexpr unsigned kConnectLimitSeconds = 35;
constexpr std::size_t kTopItems = 2;
constexpr int kConnectCommand = 1;
constexpr int kSwitchNetwork = 1;
constexpr int kSpeakerCarriesAudio = 2;

constexpr char kConnecting[] = "Connecting";
constexpr char kConnected[] = "Connected";
constexpr char kDisConnected[] = "DisConnected";

struct ErrorName {
  int code;
  const char* name;
};

constexpr ErrorName kErrorNames[] = {
    {WIFI_MANAGER_ERROR_NONE, "NONE"},
    {WIFI_MANAGER_ERROR_OUT_OF_MEMORY, "OUT_OF_MEMORY"},
    {WIFI_MANAGER_ERROR_INVALID_PARAMETER, "INVALID_PARAMETER"},
    {WIFI_MANAGER_ERROR_INVALID_OPERATION, "INVALID_OPERATION"},
    {WIFI_MANAGER_ERROR_ADDRESS_FAMILY_NOT_SUPPORTED, "ADDRESS_FAMILY_NOT_SUPPORTED"},
    {WIFI_MANAGER_ERROR_NOW_IN_PROGRESS, "NOW_IN_PROGRESS"},
    {WIFI_MANAGER_ERROR_OPERATION_FAILED, "OPERATION_FAILED"},
    {WIFI_MANAGER_ERROR_NO_CONNECTION, "NO_CONNECTION"},
    {WIFI_MANAGER_ERROR_ALREADY_EXISTS, "ALREADY_EXISTS"},
    {WIFI_MANAGER_ERROR_OPERATION_ABORTED, "OPERATION_ABORTED"},
    {WIFI_MANAGER_ERROR_DHCP_FAILED, "DHCP_FAILED"},
    {WIFI_MANAGER_ERROR_INVALID_KEY, "INVALID_KEY"},
    {WIFI_MANAGER_ERROR_NO_REPLY, "NO_REPLY"},
    {WIFI_MANAGER_ERROR_SECURITY_RESTRICTED, "SECURITY_RESTRICTED"},
    {WIFI_MANAGER_ERROR_WPS_OVERLAP, "WPS_OVERLAP"},
    {WIFI_MANAGER_ERROR_WPS_TIMEOUT, "WPS_TIMEOUT"},
    {WIFI_MANAGER_ERROR_WPS_WEP_PROHIBITED, "WPS_WEP_PROHIBITED"},
    {WIFI_MANAGER_ERROR_WIFI_OFFLINE, "WIFI_OFFLINE"},
    {WIFI_MANAGER_ERROR_INVALID_GATEWAY, "INVALID_GATEWAY"},
};

}  // namespace

SavedAPConnHander* SavedAPConnHander::GetInstance() {
  if (Instance == nullptr) {
    Instance = new SavedAPConnHander;
  } else {
    NW_LOG("already created");
  }
  return Instance;
}

SavedAPConnHander::SavedAPConnHander() {
  CreateHandler();
}

SavedAPConnHander::~SavedAPConnHander() {
  vconf_ignore_key_changed(vconf_keys::kSwitchNetwork, OnSwitchNetwork);
  remove_timer(&ConnTimer);
  Instance = nullptr;
}

void SavedAPConnHander::RegisterVconf() {
  vconf_notify_key_changed(vconf_keys::kCommand, _VconfSavedAPCommandChnage, this);
}

void SavedAPConnHander::CreateHandler() {
  m_Manager.Create();
}

void SavedAPConnHander::_VconfSavedAPCommandChnage(keynode_t* /*node*/, void* handler) {
  NW_LOG("START");
  if (SavedAPConnHander* const self = Living(handler)) {
    self->ParseCommandJson(json_text::ReadKey(vconf_keys::kCommand));
  }
  NW_LOG("END");
}

void SavedAPConnHander::ParseCommandJson(const std::string& text) {
  Json::Value document;
  if (!json_text::ReadStrictly(text, document)) {
    return;
  }
  if (document.get("COMMAND", "").asString() == "1") {
    m_SelectedSSID = document.get("SSID", "").asString();
    OnCommand1(kConnectCommand);
  } else {
    OnCommand1(0);
  }
}

void SavedAPConnHander::OnCommand1(int command) {
  NW_LOG("command value = %d", command);
  if (command != kConnectCommand || !ConnectToAp()) {
    return;
  }
  m_IsConnecting = true;
  remove_timer(&ConnTimer);
  add_timer_seconds(kConnectLimitSeconds, ConnectionTimeCb, this, &ConnTimer);
  ChangeStatusToConnecting();
}

void SavedAPConnHander::OnSwitchNetwork(keynode_t* /*node*/, void* handler) {
  SavedAPConnHander* const self = Living(handler);
  int answer = -1;
  if (self == nullptr || vconf_get_int(vconf_keys::kSwitchNetwork, &answer) != VCONF_OK) {
    NW_LOG("memory/Pelorus/SwitchNetwork failed!!");
    return;
  }
  if (answer == kSwitchNetwork) {
    self->OnCommand1(kConnectCommand);
  }
}

bool SavedAPConnHander::ConnectToAp() {
  m_FreqMap.clear();
  UpdateList();
  const auto network = m_FreqMap.find(m_SelectedSSID);
  if (network == m_FreqMap.end()) {
    NW_LOG("could not found ssid = %s", m_SelectedSSID.c_str());
    return false;
  }
  const wifi_manager_specific_scan_h scan = CreateSpecificScan(m_Manager.Get());
  return scan != nullptr &&
         StartSpecificScan(m_Manager.Get(), scan, network->second, _ApScanDoneCb, this);
}

void SavedAPConnHander::UpdateList() {
  const int error =
      wifi_manager_config_foreach_configuration(m_Manager.Get(), _get_wifi_stored_profiles, this);
  if (error != WIFI_MANAGER_ERROR_NONE) {
    NW_LOG("[MULTIPROFILE] fail wifi_manager_config_foreach_configuration =>%d", error);
  }
}

bool SavedAPConnHander::_get_wifi_stored_profiles(wifi_manager_config_h config, void* handler) {
  const SavedConfiguration saved = _get_values_from_wifi_manager_config(config);
  static_cast<SavedAPConnHander*>(handler)->m_FreqMap[saved.name] = saved.frequency;
  return true;
}

void SavedAPConnHander::_ApScanDoneCb(wifi_manager_error_e error, void* handler) {
  SavedAPConnHander* const self = Living(handler);
  if (self == nullptr) {
    return;
  }
  if (error != WIFI_MANAGER_ERROR_NONE) {
    self->ChangeStatusToConnected(false);
    NW_LOG("_ApScanDoneCb Error : %s", convert_wifi_error_to_string(error));
    return;
  }
  self->_WifiForeachFoundAp();
}

void SavedAPConnHander::_WifiForeachFoundAp() {
  m_FoundAP.reset();
  if (wifi_manager_foreach_found_ap(m_Manager.Get(), _WifiForeachFoundApCb, this) !=
      WIFI_MANAGER_ERROR_NONE) {
    NW_LOG("wifi_manager_foreach_found_ap API:Failed");
    ChangeStatusToConnected(false);
  }
  if (m_FoundAP != nullptr) {
    ConnectCall();
    return;
  }
  NW_LOG("could not find handle");
  const int error = wifi_manager_scan_specific_ap(m_Manager.Get(), m_SelectedSSID.c_str(),
                                                  WifiForEachHiddenAPCB, this);
  if (error != WIFI_MANAGER_ERROR_NONE) {
    NW_LOG("wifi_manager_scan_specific_ap failed API error = %s", convert_wifi_error_to_string(error));
    ChangeStatusToConnected(false);
  }
}

bool SavedAPConnHander::_WifiForeachFoundApCb(wifi_manager_ap_h ap, void* handler) {
  auto* const self = static_cast<SavedAPConnHander*>(handler);
  const HeapString essid = ReadText(wifi_manager_ap_get_essid, ap);
  if (essid == nullptr) {
    self->ChangeStatusToConnected(false);
    NW_LOG("wifi_manager_ap_get_bssid API:Failed");
  }
  const std::string name = essid == nullptr ? "" : essid.get();
  if (name != self->m_SelectedSSID) {
    return true;
  }
  NW_LOG("ssid = %s found", name.c_str());
  self->m_FoundAP = CloneAp(ap);
  return self->m_FoundAP == nullptr;
}

void SavedAPConnHander::WifiForEachHiddenAPCB(wifi_manager_error_e error, void* handler) {
  SavedAPConnHander* const self = Living(handler);
  if (self == nullptr) {
    NW_LOG("Pthis failed.");
    return;
  }
  if (error != WIFI_MANAGER_ERROR_NONE) {
    NW_LOG("Scan_hidden_ap_cabllback failed [%s]", convert_wifi_error_to_string(error));
    self->ChangeStatusToConnected(false);
    return;
  }
  self->m_FoundAP.reset();
  const int walk_error =
      wifi_manager_foreach_found_specific_ap(self->m_Manager.Get(), FindHiddenAP_CB, self);
  if (walk_error != WIFI_MANAGER_ERROR_NONE) {
    NW_LOG("Fail to get hidden AP(can't get AP list) [%s]", convert_wifi_error_to_string(walk_error));
    self->ChangeStatusToConnected(false);
  }
  if (self->m_FoundAP == nullptr) {
    NW_LOG("could not find handle");
    self->ChangeStatusToConnected(false);
    return;
  }
  // Only the stored profile has a passphrase, so what the network wants does not change the course.
  bool is_required = false;
  if (wifi_manager_ap_is_passphrase_required(self->m_FoundAP.get(), &is_required) !=
      WIFI_MANAGER_ERROR_NONE) {
    NW_LOG("passphraseRequried = %d", is_required);
  }
  self->ConnectCall();
}

bool SavedAPConnHander::FindHiddenAP_CB(wifi_manager_ap_h ap, void* handler) {
  auto* const self = static_cast<SavedAPConnHander*>(handler);
  const HeapString essid = ReadText(wifi_manager_ap_get_essid, ap);
  if (self == nullptr || essid == nullptr) {
    return false;
  }
  if (self->m_SelectedSSID != essid.get()) {
    return true;
  }
  self->m_FoundAP = CloneAp(ap);
  if (self->m_FoundAP == nullptr) {
    return true;
  }
  NW_LOG("ssid = %s clonedAP", essid.get());
  return false;
}

void SavedAPConnHander::ConnectCall() {
  const int error = wifi_manager_connect(m_Manager.Get(), m_FoundAP.get(), ConnectedCB, this);
  if (error != WIFI_MANAGER_ERROR_NONE) {
    NW_LOG("wifi_manager_connect failed API error = %s", convert_wifi_error_to_string(error));
    ChangeStatusToConnected(false);
  }
}

void SavedAPConnHander::ConnectedCB(wifi_manager_error_e error, void* handler) {
  NW_LOG("WIFI_CONNECT RESPONSE ERROR = %d error string = %s", error,
         convert_wifi_error_to_string(error));
  SavedAPConnHander* const self = Living(handler);
  if (self == nullptr) {
    return;
  }
  switch (error) {
    case WIFI_MANAGER_ERROR_NONE:
    case WIFI_MANAGER_ERROR_ALREADY_EXISTS:
      NW_LOG("AP Conncted");
      self->ChangeStatusToConnected(true);
      self->m_CaptiveAP.StartWaitTimerForNewConnection();
      return;
    case WIFI_MANAGER_ERROR_INVALID_KEY:
      NW_LOG("AP Connection Invalid Key");
      break;
    case WIFI_MANAGER_ERROR_NOW_IN_PROGRESS:
      NW_LOG("AP Connection now in progress");
      break;
    default:
      NW_LOG("AP Connection failed");
      break;
  }
  self->ChangeStatusToConnected(false);
}

gboolean SavedAPConnHander::ConnectionTimeCb(gpointer handler) {
  if (SavedAPConnHander* const self = Living(handler)) {
    self->ChangeStatusToConnected(false);
  }
  return G_SOURCE_REMOVE;
}

void SavedAPConnHander::ChangeStatusToConnecting() {
  for (SavedAPData& record : m_TopList) {
    if (record.Name == m_SelectedSSID) {
      record.Status = kConnecting;
    }
  }
  WritetoJson();
}

/// Each record is published by itself, with the statuses of all of them.
void SavedAPConnHander::ChangeStatusToConnected(bool ok) {
  NW_LOG("value = %d", ok);
  m_IsConnecting = false;
  for (SavedAPData& record : m_TopList) {
    const bool is_selected = record.Name == m_SelectedSSID;
    record.Status = is_selected && ok ? kConnected : kDisConnected;
    if (is_selected && !ok) {
      GetNotiInstance()->ShowCanNotConnect();
    }
    remove_timer(&ConnTimer);
    UpdateConnectedAPInList();
    WritetoJson();
  }
}

void SavedAPConnHander::UpdateConnectedAPInList() {
  wifi_ap_h handle = nullptr;
  const bool is_connected = wifi_get_connected_ap(&handle) == WIFI_ERROR_NONE;
  const WifiAp ap(handle);
  HeapString essid;
  if (is_connected) {
    essid = ReadText(wifi_ap_get_essid, ap.get());
    if (essid == nullptr) {
      NW_LOG("Fail to get AP name");
      return;
    }
  }
  for (SavedAPData& record : m_TopList) {
    if (essid != nullptr && record.Name == essid.get()) {
      record.Status = kConnected;
    } else if (m_IsConnecting && record.Name == m_SelectedSSID) {
      record.Status = kConnecting;
    } else {
      record.Status = kDisConnected;
    }
  }
}

void SavedAPConnHander::WritetoJson() {
  Json::Value document;
  document["count"] = static_cast<Json::Int>(m_TopList.size());
  for (const SavedAPData& record : m_TopList) {
    Json::Value item;
    item["SSID"] = record.Name;
    item["SIGNAL_STRENGTH"] = record.SignalStrength;
    item["STATUS"] = record.Status;
    document["values"].append(std::move(item));
  }
  const std::string text = json_text::Write(document);
  vconf_set_str(vconf_keys::kTopSavedAP, text.c_str());
  NW_LOG("Complete Data: %s count = %zu", text.c_str(), m_TopList.size());
}

void SavedAPConnHander::UpdateTopItems(const std::list<SavedAPData>& priorityList) {
  m_FreqMap.clear();
  std::string names[kTopItems];
  auto record = priorityList.begin();
  for (std::string& name : names) {
    if (record != priorityList.end()) {
      m_FreqMap[record->Name] = record->Frequency;
      name = record->Name;
      ++record;
    }
  }
  if (IsAPExistInTopTwo(names[0]) && IsAPExistInTopTwo(names[1])) {
    UpdateExistingList(priorityList);
  } else {
    InsertTopTwoItem(priorityList);
  }
  UpdateConnectedAPInList();
  WritetoJson();
}

bool SavedAPConnHander::IsAPExistInTopTwo(const std::string& name) const {
  return std::ranges::any_of(m_TopList, [&](const SavedAPData& record) { return record.Name == name; });
}

void SavedAPConnHander::UpdateExistingList(const std::list<SavedAPData>& priorityList) {
  for (SavedAPData& record : m_TopList) {
    for (const SavedAPData& saved : priorityList) {
      if (saved.Name == record.Name) {
        record.SignalStrength = saved.SignalStrength;
      }
    }
  }
}

void SavedAPConnHander::InsertTopTwoItem(const std::list<SavedAPData>& priorityList) {
  m_TopList.clear();
  for (const SavedAPData& saved : priorityList) {
    if (m_TopList.size() == kTopItems) {
      break;
    }
    m_TopList.push_back(saved);
    m_FreqMap[saved.Name] = saved.Frequency;
  }
}

void SavedAPConnHander::SetWiFiSpeakerButtonCB() {
  if (vconf_notify_key_changed(vconf_keys::kSwitchNetwork, OnSwitchNetwork, this) != VCONF_OK) {
    NW_LOG("Failed To Register memory/Pelorus/SwitchNetwork");
  }
  GetNotiInstance()->ShowWifiSpeakerPopup();
}

bool SavedAPConnHander::IsWifiSpeakerConnected() {
  int selection = 0;
  const int result = sound_manager_get_speaker_selection(&selection);
  NW_LOG("SelectedSpeaker=[%d]", selection);
  const bool is_connected = result == SOUND_MANAGER_ERROR_NONE &&
                            selection == SOUND_MANAGER_SPEAKER_NETWORK &&
                            IsNetworkSpeakerAudioConnected();
  NW_LOG("isWifiSpeakerConnected[%d]", is_connected);
  return is_connected;
}

bool SavedAPConnHander::IsNetworkSpeakerAudioConnected() {
  int status = 0;
  if (vconf_get_int(VCONF_NW_SPEAKER_STATUS, &status) != VCONF_OK) {
    NW_LOG("failed");
    return false;
  }
  return status == kSpeakerCarriesAudio;
}

const char* SavedAPConnHander::convert_wifi_error_to_string(int code) {
  const auto* const known = std::ranges::find(kErrorNames, code, &ErrorName::code);
  return known == std::end(kErrorNames) ? "DEFAULT" : known->name;
}

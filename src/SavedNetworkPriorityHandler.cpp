#include "SavedNetworkPriorityHandler.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "JsonText.h"
#include "Log.h"
#include "NW_Common.h"
#include "SavedAPConnectionHandler.h"
#include "TimerHelper.h"
#include "vconf_keys.h"

namespace {

constexpr unsigned kHandOverSeconds = 1;
constexpr int kWeakestSignal = -120;

}  // namespace

SavedAPPriorityHandler* SavedAPPriorityHandler::GetInstance() {
  if (Instance == nullptr) {
    // The object is known before it reads: what makes the reading throw costs this call, and the next
    // one finds the object instead of listening for commands a second time.
    Instance = new SavedAPPriorityHandler;
    Instance->ReadVconf();
  }
  return Instance;
}

SavedAPPriorityHandler::SavedAPPriorityHandler() {
  vconf_notify_key_changed(vconf_keys::kCommand, _VconfSavedAPCommandChnage, this);
  m_RefreshMode = eRefreshLoad;
  CreateHandler();
}

SavedAPPriorityHandler::~SavedAPPriorityHandler() {
  remove_timer(&VconfUpdateTimer);
  Instance = nullptr;
}

void SavedAPPriorityHandler::CreateHandler() {
  m_Manager.Create();
}

int SavedAPPriorityHandler::RegisterWifiEvents() {
  const int result = wifi_initialize();
  if (result == WIFI_ERROR_OPERATION_FAILED) {
    NW_LOG("Failed to Initialize wifi [%d]", result);
  }
  return result;
}

void SavedAPPriorityHandler::ReadVconf() {
  const HeapString stored(vconf_get_str(vconf_keys::kSavedAPList));
  Json::Value document;
  if (stored == nullptr || !json_text::ReadStrictly(stored.get(), document)) {
    AddNewSavedAPS();
    return;
  }
  const Json::Value& request = document;
  const int count = request.get("count", "").asInt();
  const Json::Value& values = request["values"];
  if (values.empty()) {
    NW_LOG("request.empty() - return");
    return;
  }
  for (int i = 0; i < count; ++i) {
    const Json::Value& item = values[i];
    if (item.empty()) {
      NW_LOG("itemdata.empty() - return");
      return;
    }
    SavedAPData record;
    record.Name = item.get("SSID", "").asString();
    record.SignalStrength = item.get("SIGNAL_STRENGTH", "").asInt();
    record.Frequency = item.get("FREQUENCY", "").asInt();
    record.Status = item.get("STATUS", "").asString();
    m_SavedList.push_back(std::move(record));
  }
  RestartHandOver();
}

void SavedAPPriorityHandler::AddNewSavedAPS() {
  UpdateList();
  UpdateSignalStrength();
  UpdateVconf(true);
}

bool SavedAPPriorityHandler::UpdateList() {
  const int error =
      wifi_manager_config_foreach_configuration(m_Manager.Get(), _get_wifi_stored_profiles, this);
  if (error != WIFI_MANAGER_ERROR_NONE) {
    NW_LOG("[MULTIPROFILE] fail wifi_manager_config_foreach_configuration =>%d", error);
    return false;
  }
  UpdateSignalStrength();
  UpdateVconf(true);
  return true;
}

bool SavedAPPriorityHandler::_get_wifi_stored_profiles(wifi_manager_config_h config, void* handler) {
  auto* const self = static_cast<SavedAPPriorityHandler*>(handler);
  const SavedConfiguration saved = _get_values_from_wifi_manager_config(config);
  if (self->m_RefreshMode == eRefreshFrequency) {
    self->updateFreqInList(saved.name, saved.frequency);
    return true;
  }
  auto& list = self->m_RefreshMode == eRefreshForget ? self->m_ConfigList : self->m_SavedList;
  list.push_back({saved.name, "", kSignalNotMeasured, saved.frequency, ""});
  return true;
}

void SavedAPPriorityHandler::updateFreqInList(const std::string& name, int frequency) {
  for (SavedAPData& record : m_SavedList) {
    if (record.Name == name) {
      record.Frequency = frequency;
      NW_LOG(" ap nem = %s,new Frequency = %d", name.c_str(), frequency);
    }
  }
}

/// Only the first network's channel: the others keep their last value.
void SavedAPPriorityHandler::UpdateSignalStrength() {
  const wifi_manager_specific_scan_h scan = CreateSpecificScan(m_Manager.Get());
  if (scan == nullptr || m_SavedList.empty()) {
    return;
  }
  StartSpecificScan(m_Manager.Get(), scan, m_SavedList.front().Frequency, _ApScanDoneCb, this);
}

void SavedAPPriorityHandler::_ApScanDoneCb(wifi_manager_error_e error, void* handler) {
  SavedAPPriorityHandler* const self = Living(handler);
  if (self == nullptr) {
    return;
  }
  if (error != WIFI_MANAGER_ERROR_NONE) {
    NW_LOG("_ApScanDoneCb Error : %d", error);
    return;
  }
  self->_WifiForeachFoundAp();
}

void SavedAPPriorityHandler::_WifiForeachFoundAp() {
  if (wifi_manager_foreach_found_ap(m_Manager.Get(), _WifiForeachFoundApCb, this) !=
      WIFI_MANAGER_ERROR_NONE) {
    NW_LOG("wifi_manager_foreach_found_ap API:Failed");
    return;
  }
  UpdateVconf(true);
}

bool SavedAPPriorityHandler::_WifiForeachFoundApCb(wifi_manager_ap_h ap, void* handler) {
  const HeapString essid = ReadText(wifi_manager_ap_get_essid, ap);
  if (essid == nullptr) {
    NW_LOG("wifi_manager_ap_get_essid API:Failed");
  }
  int signal = kWeakestSignal;
  if (wifi_manager_ap_get_rssi(ap, &signal) != WIFI_MANAGER_ERROR_NONE) {
    NW_LOG("Fail to get signal strength");
  }
  static_cast<SavedAPPriorityHandler*>(handler)->updatesignalStrengthInList(
      essid == nullptr ? "" : essid.get(), signal);
  return true;
}

void SavedAPPriorityHandler::updatesignalStrengthInList(const std::string& name, int signal) {
  for (SavedAPData& record : m_SavedList) {
    if (record.Name == name) {
      record.SignalStrength = signal;
    }
  }
}

void SavedAPPriorityHandler::UpdateVconf(bool omitStatus) {
  Json::Value document;
  document["count"] = static_cast<Json::Int>(m_SavedList.size());
  for (const SavedAPData& record : m_SavedList) {
    Json::Value item;
    item["SSID"] = record.Name;
    item["SIGNAL_STRENGTH"] = record.SignalStrength;
    item["FREQUENCY"] = record.Frequency;
    if (!omitStatus) {
      item["STATUS"] = record.Status;
    }
    document["values"].append(std::move(item));
    NW_LOG("ssid = %s, signal_strength = %d, frequency = %d", record.Name.c_str(), record.SignalStrength,
           record.Frequency);
  }
  const std::string text = json_text::Write(document);
  vconf_set_str(vconf_keys::kSavedAPList, text.c_str());
  RestartHandOver();
  NW_LOG("Complete Data: %s count = %zu", text.c_str(), m_SavedList.size());
}

/// Publications within a second lead to one hand-over, a second after the last.
void SavedAPPriorityHandler::RestartHandOver() {
  remove_timer(&VconfUpdateTimer);
  add_timer_seconds(kHandOverSeconds, UpdateVconfCb, this, &VconfUpdateTimer);
}

gboolean SavedAPPriorityHandler::UpdateVconfCb(gpointer handler) {
  auto* const self = static_cast<SavedAPPriorityHandler*>(handler);
  NW_LOG("count = %zu", self->m_SavedList.size());
  SavedAPConnHander::GetInstance()->UpdateTopItems(self->m_SavedList);
  return G_SOURCE_REMOVE;
}

void SavedAPPriorityHandler::UpdateListOnAPConnect(wifi_ap_h ap) {
  const HeapString essid = ReadText(wifi_ap_get_essid, ap);
  if (essid == nullptr) {
    return;
  }
  const std::string name = essid.get();
  const auto known = std::ranges::find(m_SavedList, name, &SavedAPData::Name);
  if (known != m_SavedList.end()) {
    m_SavedList.erase(known);
  }
  m_SavedList.push_front({name, "Connected", kSignalNotMeasured, 0, ""});
  m_RefreshMode = eRefreshFrequency;
  UpdateList();
  UpdateVconf(true);
}

void SavedAPPriorityHandler::UpdateListOnAPDisConnect(wifi_ap_h ap) {
  if (const HeapString essid = ReadText(wifi_ap_get_essid, ap)) {
    const auto left = std::ranges::find(m_SavedList, std::string_view(essid.get()), &SavedAPData::Name);
    if (left != m_SavedList.end()) {
      left->Status = "Disconnected";
    }
  }
  UpdateAPListOnForget();
  UpdateVconf(true);
}

void SavedAPPriorityHandler::connection_state_callback(wifi_connection_state_e state, wifi_ap_h ap,
                                                       void* user_data) {
  SavedAPPriorityHandler* const self = Living(user_data);
  if (self == nullptr) {
    NW_LOG(" User data is NULL");
    return;
  }
  if (state == WIFI_CONNECTION_STATE_CONNECTED) {
    NW_LOG("state connected");
    self->UpdateListOnAPConnect(ap);
  } else if (state == WIFI_CONNECTION_STATE_ASSOCIATION) {
    NW_LOG("association  =>");
  }
}

void SavedAPPriorityHandler::_VconfSavedAPCommandChnage(keynode_t* /*node*/, void* handler) {
  if (SavedAPPriorityHandler* const self = Living(handler)) {
    self->ParseCommandJson(json_text::ReadKey(vconf_keys::kCommand));
  }
}

void SavedAPPriorityHandler::ParseCommandJson(const std::string& text) {
  Json::Value document;
  if (!json_text::ReadStrictly(text, document)) {
    return;
  }
  const std::string command = document.get("COMMAND", "").asString();
  if (command == "2") {
    UpdateAPListOnForget();
  } else if (command == "3") {
    ResetNetwork();
  }
}

void SavedAPPriorityHandler::UpdateAPListOnForget() {
  m_RefreshMode = eRefreshForget;
  m_ConfigList.clear();
  // A walk that failed says nothing about what is still saved.
  if (UpdateList()) {
    RemoveForgetAPsFromList();
  }
  UpdateVconf(true);
}

void SavedAPPriorityHandler::RemoveForgetAPsFromList() {
  NW_LOG(" orig size = %zu newssize = %zu", m_SavedList.size(), m_ConfigList.size());
  if (m_ConfigList.empty()) {
    m_SavedList.clear();
    return;
  }
  std::unordered_set<std::string_view> saved_names;
  for (const SavedAPData& record : m_ConfigList) {
    saved_names.insert(record.Name);
  }
  for (auto record = m_SavedList.begin(); record != m_SavedList.end();) {
    if (saved_names.contains(record->Name)) {
      ++record;
    } else {
      NW_LOG("Found Removed AP, remove from list");
      record = m_SavedList.erase(record);
    }
  }
}

void SavedAPPriorityHandler::ResetNetwork() {
  m_SavedList.clear();
  UpdateVconf(true);
}

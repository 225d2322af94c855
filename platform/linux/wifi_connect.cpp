#include "AccessPointHandle.h"
#include "CallGate.h"
#include "SsidText.h"
#include "WifiConnector.h"
#include "WifiInterface.h"
#include "WifiManagers.h"
#include "wifi_manager.h"

int wifi_connect_target(const wifi_target_s* target, wifi_finished_cb callback, void* user_data) {
  const wifi_target_s named = target == nullptr ? wifi_target_s{} : *target;
  if (const auto refusal = call_gate::Refusal("wifi_connect_target", named.essid, named.bssid,
                                              named.frequency, static_cast<int>(named.security_type))) {
    return *refusal;
  }
  if (const int error = wifi_interface::Check(named.essid != nullptr && *named.essid != '\0' &&
                                              named.frequency >= 0 && callback != nullptr)) {
    return error;
  }
  WifiConnector::Target wanted{.name = ssid_text::ToBytes(named.essid),
                               .bssid = named.bssid == nullptr ? "" : named.bssid,
                               .frequency = named.frequency,
                               .security = named.security_type};
  if (named.passphrase != nullptr) {
    wanted.passphrase = named.passphrase;
  }
  return WifiConnector::Instance().Connect(std::move(wanted),
                                           wifi_interface::Answer(callback, user_data));
}

int wifi_connect(wifi_ap_h handle, wifi_finished_cb callback, void* user_data) {
  if (const auto refusal = call_gate::Refusal("wifi_connect", ap_handles::NameOf(handle))) {
    return *refusal;
  }
  const AccessPoint* const ap = ap_handles::Find(handle);
  if (const int error = wifi_interface::Check(ap != nullptr && callback != nullptr)) {
    return error;
  }
  return WifiConnector::Instance().ConnectToNetwork(ap->radio,
                                                    wifi_interface::Answer(callback, user_data));
}

int wifi_disconnect(wifi_ap_h handle, wifi_finished_cb callback, void* user_data) {
  if (const auto refusal = call_gate::Refusal("wifi_disconnect", ap_handles::NameOf(handle))) {
    return *refusal;
  }
  const AccessPoint* const ap = ap_handles::Find(handle);
  if (const int error = wifi_interface::Check(ap != nullptr && callback != nullptr)) {
    return error;
  }
  return WifiConnector::Instance().Disconnect(ap->radio, wifi_interface::Answer(callback, user_data));
}

int wifi_manager_connect(wifi_manager_h manager, wifi_manager_ap_h handle,
                         wifi_manager_finished_cb callback, void* user_data) {
  if (const auto refusal = call_gate::Refusal("wifi_manager_connect", ap_handles::NameOf(handle))) {
    return *refusal;
  }
  const AccessPoint* const ap = ap_handles::Find(handle);
  if (!wifi_managers::IsAlive(manager) || ap == nullptr || callback == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  return wifi_managers::Translated(WifiConnector::Instance().ConnectToNetwork(
      ap->radio, wifi_managers::Answer(manager, callback, user_data)));
}

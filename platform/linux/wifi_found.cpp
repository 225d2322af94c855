#include <optional>

#include "AccessPointHandle.h"
#include "AccessPointWalk.h"
#include "Air.h"
#include "CallGate.h"
#include "FoundNetworks.h"
#include "WifiConnection.h"
#include "WifiInterface.h"
#include "WifiManagers.h"
#include "call_guarded.h"
#include "wifi_manager.h"

// What the scans have found: the walks, and what the air tells of a radio beside its name and signal.

int wifi_foreach_found_aps(wifi_found_ap_cb callback, void* user_data) {
  if (const auto refusal = call_gate::Refusal("wifi_foreach_found_aps")) {
    return *refusal;
  }
  if (const int error = wifi_interface::Check(callback != nullptr)) {
    return error;
  }
  WalkAccessPoints(found_networks::NetworksOf(Air::Instance().Radios()), callback, user_data);
  return WIFI_ERROR_NONE;
}

int wifi_foreach_found_bssids(wifi_ap_h handle, wifi_found_bssid_cb callback, void* user_data) {
  if (const auto refusal = call_gate::Refusal("wifi_foreach_found_bssids", ap_handles::NameOf(handle))) {
    return *refusal;
  }
  const AccessPoint* const ap = ap_handles::Find(handle);
  if (const int error = wifi_interface::Check(ap != nullptr && callback != nullptr)) {
    return error;
  }
  for (const HeardRadio& heard : found_networks::RadiosOf(ap->radio, Air::Instance().Radios())) {
    const Radio& radio = heard.radio;
    bool goes_on = false;
    CallGuarded(
        [&] { goes_on = callback(radio.bssid.c_str(), radio.signal, radio.frequency, user_data); });
    if (!goes_on) {
      break;
    }
  }
  return WIFI_ERROR_NONE;
}

int wifi_manager_foreach_found_ap(wifi_manager_h manager, wifi_manager_found_ap_cb callback,
                                  void* user_data) {
  if (const auto refusal = call_gate::Refusal("wifi_manager_foreach_found_ap")) {
    return *refusal;
  }
  if (!wifi_managers::IsAlive(manager) || callback == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  WalkAccessPoints(found_networks::NetworksOf(Air::Instance().Radios()), callback, user_data);
  return WIFI_MANAGER_ERROR_NONE;
}

int wifi_get_snr(int* snr) {
  if (const auto refusal = call_gate::Refusal("wifi_get_snr")) {
    return *refusal;
  }
  if (const int error = wifi_interface::Check(snr != nullptr)) {
    return error;
  }
  if (!WifiConnection::Instance().State()) {
    return WIFI_ERROR_OPERATION_FAILED;
  }
  if (WifiConnection::Instance().ConnectedBssid().empty()) {
    return WIFI_ERROR_NO_CONNECTION;
  }
  const std::optional<int> known = Air::Instance().SignalToNoise();
  if (!known) {
    return WIFI_ERROR_OPERATION_FAILED;
  }
  *snr = *known;
  return WIFI_ERROR_NONE;
}

int wifi_ap_get_bandwidth(wifi_ap_h ap, int* bandwidth) {
  return ap_handles::ReadProperty("wifi_ap_get_bandwidth", ap, bandwidth,
                                  [](const AccessPoint& known, int& out) {
                                    return ap_handles::ReadPositive(known.radio.width, out);
                                  });
}

int wifi_manager_ap_get_connection_mode(wifi_ap_h ap, wifi_manager_connection_mode_e* mode) {
  return ap_handles::ReadProperty(
      "wifi_manager_ap_get_connection_mode", ap, mode,
      [](const AccessPoint& known, wifi_manager_connection_mode_e& out) {
        if (known.radio.mode == WIFI_MANAGER_CONNECTION_MODE_UNKNOWN) {
          return false;
        }
        out = known.radio.mode;
        return true;
      },
      WIFI_MANAGER_ERROR_OPERATION_FAILED);
}

#include "WifiFunctions.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "CallGate.h"
#include "VirtualTv.h"
#include "call_guarded.h"
#include "wifi.h"

namespace wifi_functions {

Wifi& TheWifi() {
  return VirtualTv::Instance().GetWifi();
}

AccessPoint* Find(wifi_ap_h ap) {
  return TheWifi().Handles().Find(ap);
}

const char* NameOf(const AccessPoint* ap) {
  return ap == nullptr ? nullptr : ap->radio.bssid.c_str();
}

bool ReadText(const std::string& text, char*& out) {
  out = strdup(text.c_str());
  return true;
}

bool ReadPositive(int number, int& out) {
  if (number <= 0) {
    return false;
  }
  out = number;
  return true;
}

}  // namespace wifi_functions

using namespace wifi_functions;

namespace {

/// What every function asks before it looks at its arguments' worth.
int Check(bool arguments_are_given) {
  if (!arguments_are_given) {
    return WIFI_ERROR_INVALID_PARAMETER;
  }
  return TheWifi().IsInitialized() ? WIFI_ERROR_NONE : WIFI_ERROR_INVALID_OPERATION;
}

/// How the program's callback hears of the end of its request.
auto Answer(wifi_finished_cb callback, void* user_data) {
  return [callback, user_data](int result) {
    CallGuarded([&] { callback(static_cast<wifi_error_e>(result), user_data); });
  };
}

}  // namespace

int wifi_initialize() {
  Wifi& wifi = TheWifi();
  if (const auto refusal = call_gate::Refusal("wifi_initialize")) {
    return *refusal;
  }
  wifi.Initialize();
  return WIFI_ERROR_NONE;
}

int wifi_get_connection_state(wifi_connection_state_e* state) {
  const Wifi& wifi = TheWifi();
  if (const auto refusal = call_gate::Refusal("wifi_get_connection_state")) {
    return *refusal;
  }
  if (const int error = Check(state != nullptr)) {
    return error;
  }
  *state = wifi.State();
  return WIFI_ERROR_NONE;
}

int wifi_set_connection_state_changed_cb(wifi_connection_state_changed_cb callback, void* user_data) {
  Wifi& wifi = TheWifi();
  if (const auto refusal = call_gate::Refusal("wifi_set_connection_state_changed_cb")) {
    return *refusal;
  }
  if (const int error = Check(callback != nullptr)) {
    return error;
  }
  wifi.StateCallbacks().Set(nullptr, callback, user_data);
  return WIFI_ERROR_NONE;
}

int wifi_unset_connection_state_changed_cb() {
  Wifi& wifi = TheWifi();
  if (const auto refusal = call_gate::Refusal("wifi_unset_connection_state_changed_cb")) {
    return *refusal;
  }
  if (const int error = Check(true)) {
    return error;
  }
  wifi.StateCallbacks().Remove(nullptr);
  return WIFI_ERROR_NONE;
}

int wifi_get_connected_ap(wifi_ap_h* ap) {
  Wifi& wifi = TheWifi();
  if (const auto refusal = call_gate::Refusal("wifi_get_connected_ap")) {
    return *refusal;
  }
  if (const int error = Check(ap != nullptr)) {
    return error;
  }
  const auto connected = wifi.Connected();
  if (!connected) {
    return WIFI_ERROR_NO_CONNECTION;
  }
  *ap = wifi.Handles().Add(*connected);
  return WIFI_ERROR_NONE;
}

int wifi_ap_destroy(wifi_ap_h ap) {
  Wifi& wifi = TheWifi();
  if (const auto refusal = call_gate::Refusal("wifi_ap_destroy", NameOf(Find(ap)))) {
    return *refusal;
  }
  return wifi.Handles().Remove(ap) ? WIFI_ERROR_NONE : WIFI_ERROR_INVALID_PARAMETER;
}

int wifi_ap_refresh(wifi_ap_h handle) {
  const Wifi& wifi = TheWifi();
  AccessPoint* const ap = Find(handle);
  if (const auto refusal = call_gate::Refusal("wifi_ap_refresh", NameOf(ap))) {
    return *refusal;
  }
  if (ap == nullptr) {
    return WIFI_ERROR_INVALID_PARAMETER;
  }
  const auto now = wifi.FindKnown(ap->radio.bssid);
  if (!now) {
    return WIFI_ERROR_OPERATION_FAILED;
  }
  *ap = *now;
  return WIFI_ERROR_NONE;
}

int wifi_ap_get_essid(wifi_ap_h ap, char** essid) {
  return ReadProperty("wifi_ap_get_essid", ap, essid, [](const AccessPoint& known, char*& out) {
    return ReadText(known.radio.essid, out);
  });
}

int wifi_ap_get_bssid(wifi_ap_h ap, char** bssid) {
  return ReadProperty("wifi_ap_get_bssid", ap, bssid, [](const AccessPoint& known, char*& out) {
    return ReadText(known.radio.bssid, out);
  });
}

int wifi_ap_get_rssi(wifi_ap_h ap, int* rssi) {
  return ReadProperty("wifi_ap_get_rssi", ap, rssi, [](const AccessPoint& known, int& out) {
    out = known.radio.rssi;
    return true;
  });
}

int wifi_ap_get_frequency(wifi_ap_h ap, int* frequency) {
  return ReadProperty("wifi_ap_get_frequency", ap, frequency, [](const AccessPoint& known, int& out) {
    return ReadPositive(known.radio.frequency, out);
  });
}

int wifi_ap_get_security_type(wifi_ap_h ap, wifi_security_type_e* type) {
  return ReadProperty("wifi_ap_get_security_type", ap, type,
                      [](const AccessPoint& known, wifi_security_type_e& out) {
                        out = known.radio.security;
                        return true;
                      });
}

int wifi_ap_get_bandwidth(wifi_ap_h ap, int* bandwidth) {
  return ReadProperty("wifi_ap_get_bandwidth", ap, bandwidth, [](const AccessPoint& known, int& out) {
    return ReadPositive(known.radio.bandwidth, out);
  });
}

int wifi_ap_is_favorite(wifi_ap_h ap, bool* favorite) {
  return ReadProperty("wifi_ap_is_favorite", ap, favorite, [](const AccessPoint& known, bool& out) {
    out = known.is_saved;
    return true;
  });
}

int wifi_ap_get_ip_address(wifi_ap_h ap, connection_address_family_e family, char** ip_address) {
  return ReadProperty(
      "wifi_ap_get_ip_address", ap, ip_address, [family](const AccessPoint& known, char*& out) {
        const std::string& address =
            family == CONNECTION_ADDRESS_FAMILY_IPV6 ? known.radio.ipv6 : known.radio.ipv4;
        return known.is_connected && !address.empty() && ReadText(address, out);
      });
}

int wifi_get_snr(int* snr) {
  const Wifi& wifi = TheWifi();
  if (const auto refusal = call_gate::Refusal("wifi_get_snr")) {
    return *refusal;
  }
  if (const int error = Check(snr != nullptr)) {
    return error;
  }
  if (!wifi.Connected()) {
    return WIFI_ERROR_NO_CONNECTION;
  }
  *snr = wifi.Snr();
  return WIFI_ERROR_NONE;
}

int wifi_foreach_found_aps(wifi_found_ap_cb callback, void* user_data) {
  Wifi& wifi = TheWifi();
  if (const auto refusal = call_gate::Refusal("wifi_foreach_found_aps")) {
    return *refusal;
  }
  if (const int error = Check(callback != nullptr)) {
    return error;
  }
  Walk(wifi.Handles(), wifi.KnownNetworks(), callback, user_data);
  return WIFI_ERROR_NONE;
}

int wifi_foreach_found_bssids(wifi_ap_h handle, wifi_found_bssid_cb callback, void* user_data) {
  const Wifi& wifi = TheWifi();
  const AccessPoint* const ap = Find(handle);
  if (const auto refusal = call_gate::Refusal("wifi_foreach_found_bssids", NameOf(ap))) {
    return *refusal;
  }
  if (const int error = Check(ap != nullptr && callback != nullptr)) {
    return error;
  }
  for (const AccessPoint& other : wifi.KnownRadiosOf(*ap)) {
    bool goes_on = false;
    CallGuarded([&] {
      goes_on = callback(other.radio.bssid.c_str(), other.radio.rssi, other.radio.frequency, user_data);
    });
    if (!goes_on) {
      break;
    }
  }
  return WIFI_ERROR_NONE;
}

int wifi_config_foreach_configuration(wifi_config_cb callback, void* user_data) {
  const Wifi& wifi = TheWifi();
  if (const auto refusal = call_gate::Refusal("wifi_config_foreach_configuration")) {
    return *refusal;
  }
  if (const int error = Check(callback != nullptr)) {
    return error;
  }
  auto saved = wifi.Saved();
  for (SavedNetwork& network : saved) {
    bool goes_on = false;
    CallGuarded([&] { goes_on = callback(reinterpret_cast<wifi_config_h>(&network), user_data); });
    if (!goes_on) {
      break;
    }
  }
  return WIFI_ERROR_NONE;
}

int wifi_scan(wifi_finished_cb callback, void* user_data) {
  Wifi& wifi = TheWifi();
  if (const auto refusal = call_gate::Refusal("wifi_scan")) {
    return *refusal;
  }
  if (const int error = Check(callback != nullptr)) {
    return error;
  }
  return wifi.Scans().ScanAll(Answer(callback, user_data));
}

int wifi_connect_target(const wifi_target_s* target, wifi_finished_cb callback, void* user_data) {
  Wifi& wifi = TheWifi();
  const wifi_target_s named = target == nullptr ? wifi_target_s{} : *target;
  if (const auto refusal = call_gate::Refusal("wifi_connect_target", named.essid, named.bssid,
                                              named.frequency, static_cast<int>(named.security_type))) {
    return *refusal;
  }
  const bool has_name = named.essid != nullptr && *named.essid != '\0';
  if (const int error = Check(has_name && named.frequency >= 0 && callback != nullptr)) {
    return error;
  }
  return wifi.Requests().Connect(WifiTarget(named), Answer(callback, user_data));
}

int wifi_connect(wifi_ap_h handle, wifi_finished_cb callback, void* user_data) {
  Wifi& wifi = TheWifi();
  const AccessPoint* const ap = Find(handle);
  if (const auto refusal = call_gate::Refusal("wifi_connect", NameOf(ap))) {
    return *refusal;
  }
  if (const int error = Check(ap != nullptr && callback != nullptr)) {
    return error;
  }
  return wifi.Requests().ConnectToNetwork(*ap, Answer(callback, user_data));
}

int wifi_disconnect(wifi_ap_h handle, wifi_finished_cb callback, void* user_data) {
  Wifi& wifi = TheWifi();
  const AccessPoint* const ap = Find(handle);
  if (const auto refusal = call_gate::Refusal("wifi_disconnect", NameOf(ap))) {
    return *refusal;
  }
  if (const int error = Check(ap != nullptr && callback != nullptr)) {
    return error;
  }
  return wifi.Requests().Disconnect(*ap, Answer(callback, user_data));
}

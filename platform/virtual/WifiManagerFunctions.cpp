#include <string>

#include "CallGate.h"
#include "WifiFunctions.h"
#include "call_guarded.h"
#include "wifi_manager.h"

using namespace wifi_functions;

namespace {

WifiManagers& TheManagers() {
  return TheWifi().Managers();
}

bool IsAlive(wifi_manager_h manager) {
  return TheManagers().Find(manager) != nullptr;
}

/// An error of the Wi-Fi interface in the words of this one. What is none of them stays as it is.
wifi_manager_error_e Translated(int error) {
  switch (error) {
    case WIFI_ERROR_OPERATION_FAILED:
    case WIFI_ERROR_REFUSED:  // this interface has no word for it
      return WIFI_MANAGER_ERROR_OPERATION_FAILED;
    case WIFI_ERROR_NO_CONNECTION:
      return WIFI_MANAGER_ERROR_NO_CONNECTION;
    case WIFI_ERROR_ALREADY_EXISTS:
      return WIFI_MANAGER_ERROR_ALREADY_EXISTS;
    case WIFI_ERROR_OPERATION_ABORTED:
      return WIFI_MANAGER_ERROR_OPERATION_ABORTED;
    case WIFI_ERROR_DHCP_FAILED:
      return WIFI_MANAGER_ERROR_DHCP_FAILED;
    case WIFI_ERROR_INVALID_KEY:
      return WIFI_MANAGER_ERROR_INVALID_KEY;
    case WIFI_ERROR_NO_REPLY:
      return WIFI_MANAGER_ERROR_NO_REPLY;
    default:
      return static_cast<wifi_manager_error_e>(error);
  }
}

/// How the program's callback hears of the end of its request, while its handle lives.
auto Answer(wifi_manager_h manager, wifi_manager_finished_cb callback, void* user_data) {
  return [manager, callback, user_data](int result) {
    if (IsAlive(manager)) {
      CallGuarded([&] { callback(Translated(result), user_data); });
    }
  };
}

/// @param read  (const SavedNetwork&, Out&) -> whether the property is known; writes only then
template <class Out, class Read>
int ReadConfig(const char* function, wifi_manager_config_h handle, Out* out, Read read) {
  const SavedNetwork* const saved = TheManagers().GetConfigs().Find(handle);
  if (const auto refusal =
          call_gate::Refusal(function, saved == nullptr ? nullptr : saved->essid.c_str())) {
    return *refusal;
  }
  if (saved == nullptr || out == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  return read(*saved, *out) ? WIFI_MANAGER_ERROR_NONE : WIFI_MANAGER_ERROR_OPERATION_FAILED;
}

}  // namespace

int wifi_manager_initialize(wifi_manager_h* manager) {
  WifiManagers& managers = TheManagers();
  if (const auto refusal = call_gate::Refusal("wifi_manager_initialize")) {
    return *refusal;
  }
  if (manager == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  *manager = managers.Add();
  return WIFI_MANAGER_ERROR_NONE;
}

int wifi_manager_deinitialize(wifi_manager_h manager) {
  WifiManagers& managers = TheManagers();
  if (const auto refusal = call_gate::Refusal("wifi_manager_deinitialize")) {
    return *refusal;
  }
  return managers.Remove(manager) ? WIFI_MANAGER_ERROR_NONE : WIFI_MANAGER_ERROR_INVALID_PARAMETER;
}

int wifi_manager_config_foreach_configuration(wifi_manager_h manager, wifi_manager_config_cb callback,
                                              void* user_data) {
  Wifi& wifi = TheWifi();
  if (const auto refusal = call_gate::Refusal("wifi_manager_config_foreach_configuration")) {
    return *refusal;
  }
  if (!IsAlive(manager) || callback == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  const auto saved = wifi.Saved();  // a callback may change what is saved
  Walk(wifi.Managers().GetConfigs(), saved, callback, user_data);
  return WIFI_MANAGER_ERROR_NONE;
}

int wifi_manager_config_get_name(wifi_manager_config_h config, char** name) {
  return ReadConfig("wifi_manager_config_get_name", config, name,
                    [](const SavedNetwork& saved, char*& out) { return ReadText(saved.essid, out); });
}

int wifi_manager_config_get_security_type(wifi_manager_config_h config, wifi_security_type_e* type) {
  return ReadConfig("wifi_manager_config_get_security_type", config, type,
                    [](const SavedNetwork& saved, wifi_security_type_e& out) {
                      out = saved.security;
                      return true;
                    });
}

int wifi_manager_config_get_frequency(wifi_manager_config_h config, int* frequency) {
  return ReadConfig(
      "wifi_manager_config_get_frequency", config, frequency,
      [](const SavedNetwork& saved, int& out) { return ReadPositive(saved.frequency, out); });
}

int wifi_manager_ap_clone(wifi_manager_ap_h* clone, wifi_manager_ap_h handle) {
  Wifi& wifi = TheWifi();
  const AccessPoint* const ap = Find(handle);
  if (const auto refusal = call_gate::Refusal("wifi_manager_ap_clone", NameOf(ap))) {
    return *refusal;
  }
  if (clone == nullptr || ap == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  *clone = wifi.Handles().Add(*ap);
  return WIFI_MANAGER_ERROR_NONE;
}

int wifi_manager_ap_destroy(wifi_manager_ap_h ap) {
  Wifi& wifi = TheWifi();
  if (const auto refusal = call_gate::Refusal("wifi_manager_ap_destroy", NameOf(Find(ap)))) {
    return *refusal;
  }
  return wifi.Handles().Remove(ap) ? WIFI_MANAGER_ERROR_NONE : WIFI_MANAGER_ERROR_INVALID_PARAMETER;
}

int wifi_manager_ap_get_essid(wifi_manager_ap_h ap, char** essid) {
  return ReadProperty(
      "wifi_manager_ap_get_essid", ap, essid,
      [](const AccessPoint& known, char*& out) { return ReadText(known.radio.essid, out); },
      WIFI_MANAGER_ERROR_OPERATION_FAILED);
}

int wifi_manager_ap_get_rssi(wifi_manager_ap_h ap, int* rssi) {
  return ReadProperty(
      "wifi_manager_ap_get_rssi", ap, rssi,
      [](const AccessPoint& known, int& out) {
        out = known.radio.rssi;
        return true;
      },
      WIFI_MANAGER_ERROR_OPERATION_FAILED);
}

int wifi_manager_ap_is_passphrase_required(wifi_manager_ap_h ap, bool* required) {
  return ReadProperty(
      "wifi_manager_ap_is_passphrase_required", ap, required,
      [](const AccessPoint& known, bool& out) {
        out = known.radio.security != WIFI_SECURITY_TYPE_NONE;
        return true;
      },
      WIFI_MANAGER_ERROR_OPERATION_FAILED);
}

int wifi_manager_specific_scan_create(wifi_manager_h manager, wifi_manager_specific_scan_h* scan) {
  WifiManagers& managers = TheManagers();
  if (const auto refusal = call_gate::Refusal("wifi_manager_specific_scan_create")) {
    return *refusal;
  }
  if (!IsAlive(manager) || scan == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  *scan = managers.AddScan(manager);
  return WIFI_MANAGER_ERROR_NONE;
}

int wifi_manager_specific_scan_set_freq(wifi_manager_specific_scan_h handle, int frequency) {
  WifiManagers::Scan* const scan = TheManagers().FindScan(handle);
  if (const auto refusal = call_gate::Refusal("wifi_manager_specific_scan_set_freq", frequency)) {
    return *refusal;
  }
  if (scan == nullptr || frequency <= 0) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  scan->frequencies.insert(frequency);
  return WIFI_MANAGER_ERROR_NONE;
}

int wifi_manager_specific_ap_start_multi_scan(wifi_manager_h manager,
                                              wifi_manager_specific_scan_h handle,
                                              wifi_manager_finished_cb callback, void* user_data) {
  Wifi& wifi = TheWifi();
  const WifiManagers::Scan* const scan = wifi.Managers().FindScan(handle);
  if (const auto refusal = call_gate::Refusal("wifi_manager_specific_ap_start_multi_scan")) {
    return *refusal;
  }
  const bool is_scan_of_manager = scan != nullptr && scan->manager == manager;
  if (!is_scan_of_manager || scan->frequencies.empty() || callback == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  return Translated(wifi.Scans().ScanChannels(scan->frequencies, Answer(manager, callback, user_data)));
}

int wifi_manager_foreach_found_ap(wifi_manager_h manager, wifi_manager_found_ap_cb callback,
                                  void* user_data) {
  Wifi& wifi = TheWifi();
  if (const auto refusal = call_gate::Refusal("wifi_manager_foreach_found_ap")) {
    return *refusal;
  }
  if (!IsAlive(manager) || callback == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  Walk(wifi.Handles(), wifi.KnownNetworks(), callback, user_data);
  return WIFI_MANAGER_ERROR_NONE;
}

int wifi_manager_scan_specific_ap(wifi_manager_h manager, const char* essid,
                                  wifi_manager_finished_cb callback, void* user_data) {
  Wifi& wifi = TheWifi();
  if (const auto refusal = call_gate::Refusal("wifi_manager_scan_specific_ap", essid)) {
    return *refusal;
  }
  if (!IsAlive(manager) || essid == nullptr || *essid == '\0' || callback == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  const auto answer = [manager, tell = Answer(manager, callback, user_data)](
                          int result, const std::vector<AccessPoint>& found) {
    WifiManagers::Manager* const asker = TheManagers().Find(manager);
    if (asker != nullptr && result == WIFI_ERROR_NONE) {
      asker->found_by_name = found;
    }
    tell(result);
  };
  return Translated(wifi.Scans().ScanForName(essid, answer));
}

int wifi_manager_foreach_found_specific_ap(wifi_manager_h handle, wifi_manager_found_ap_cb callback,
                                           void* user_data) {
  Wifi& wifi = TheWifi();
  if (const auto refusal = call_gate::Refusal("wifi_manager_foreach_found_specific_ap")) {
    return *refusal;
  }
  const WifiManagers::Manager* const manager = wifi.Managers().Find(handle);
  if (manager == nullptr || callback == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  Walk(wifi.Handles(), Wifi::NetworksOf(manager->found_by_name), callback, user_data);
  return WIFI_MANAGER_ERROR_NONE;
}

int wifi_manager_connect(wifi_manager_h manager, wifi_manager_ap_h handle,
                         wifi_manager_finished_cb callback, void* user_data) {
  Wifi& wifi = TheWifi();
  const AccessPoint* const ap = Find(handle);
  if (const auto refusal = call_gate::Refusal("wifi_manager_connect", NameOf(ap))) {
    return *refusal;
  }
  if (!IsAlive(manager) || ap == nullptr || callback == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  return Translated(wifi.Requests().ConnectToNetwork(*ap, Answer(manager, callback, user_data)));
}

int wifi_manager_ap_get_connection_mode(wifi_ap_h ap, wifi_manager_connection_mode_e* mode) {
  return ReadProperty(
      "wifi_manager_ap_get_connection_mode", ap, mode,
      [](const AccessPoint& known, wifi_manager_connection_mode_e& out) {
        out = known.radio.mode;
        return true;
      },
      WIFI_MANAGER_ERROR_OPERATION_FAILED);
}

int wifi_ap_is_captive_portal_network(wifi_ap_captive_portal_cb callback, void* user_data) {
  Wifi& wifi = TheWifi();
  if (const auto refusal = call_gate::Refusal("wifi_ap_is_captive_portal_network")) {
    return *refusal;
  }
  if (callback == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  return wifi.Portal().Ask(callback, user_data);
}

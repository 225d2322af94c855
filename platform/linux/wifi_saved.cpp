#include "AccessPointHandle.h"
#include "CallGate.h"
#include "NumberedHandles.h"
#include "SavedWifi.h"
#include "SsidText.h"
#include "WifiConnection.h"
#include "WifiInterface.h"
#include "WifiManagers.h"
#include "call_guarded.h"
#include "wifi_manager.h"

// The saved networks.

namespace {

template <class Handle>
using Configs = NumberedHandles<Handle, SavedNetwork>;

/// Of the walks that are going on.
template <class Handle>
Configs<Handle>& TheConfigs() {
  static auto* const configs = new Configs<Handle>;
  return *configs;
}

/// Calls back for each saved network until a callback says that it is enough.
/// @return false while it is not known which there are
template <class Handle, class Callback>
bool Walk(Callback callback, void* user_data) {
  WifiConnection::Instance().NoteInUse();
  const auto networks = SavedWifi::Instance().All();
  if (!networks) {
    return false;
  }
  for (const SavedNetwork& network : *networks) {
    const BorrowedHandle<Handle, SavedNetwork> handle(TheConfigs<Handle>(), network);
    bool goes_on = false;
    CallGuarded([&] { goes_on = callback(handle.Get(), user_data); });
    if (!goes_on) {
      break;
    }
  }
  return true;
}

/// @param read  (const SavedNetwork&, Out&) -> whether the property is known; writes only then
template <class Out, class Read>
int ReadConfig(const char* function, wifi_manager_config_h handle, Out* out, Read read) {
  if (const auto refusal = call_gate::Refusal(function)) {
    return *refusal;
  }
  const SavedNetwork* const network = TheConfigs<wifi_manager_config_h>().Find(handle);
  if (network == nullptr || out == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  return read(*network, *out) ? WIFI_MANAGER_ERROR_NONE : WIFI_MANAGER_ERROR_OPERATION_FAILED;
}

}  // namespace

int wifi_config_foreach_configuration(wifi_config_cb callback, void* user_data) {
  if (const auto refusal = call_gate::Refusal("wifi_config_foreach_configuration")) {
    return *refusal;
  }
  if (const int error = wifi_interface::Check(callback != nullptr)) {
    return error;
  }
  return Walk<wifi_config_h>(callback, user_data) ? WIFI_ERROR_NONE : WIFI_ERROR_OPERATION_FAILED;
}

int wifi_manager_config_foreach_configuration(wifi_manager_h manager, wifi_manager_config_cb callback,
                                              void* user_data) {
  if (const auto refusal = call_gate::Refusal("wifi_manager_config_foreach_configuration")) {
    return *refusal;
  }
  if (!wifi_managers::IsAlive(manager) || callback == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  return Walk<wifi_manager_config_h>(callback, user_data) ? WIFI_MANAGER_ERROR_NONE
                                                          : WIFI_MANAGER_ERROR_OPERATION_FAILED;
}

int wifi_manager_config_get_name(wifi_manager_config_h config, char** name) {
  return ReadConfig("wifi_manager_config_get_name", config, name,
                    [](const SavedNetwork& network, char*& out) {
                      return ap_handles::ReadText(ssid_text::FromBytes(network.ssid), out);
                    });
}

int wifi_manager_config_get_security_type(wifi_manager_config_h config, wifi_security_type_e* type) {
  return ReadConfig("wifi_manager_config_get_security_type", config, type,
                    [](const SavedNetwork& network, wifi_security_type_e& out) {
                      out = network.security;
                      return true;
                    });
}

int wifi_manager_config_get_frequency(wifi_manager_config_h config, int* frequency) {
  return ReadConfig("wifi_manager_config_get_frequency", config, frequency,
                    [](const SavedNetwork& network, int& out) {
                      return ap_handles::ReadPositive(network.frequency, out);
                    });
}

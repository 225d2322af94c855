#include "wifi.h"

#include "CallGate.h"
#include "WifiConnection.h"
#include "WifiInterface.h"
#include "call_guarded.h"

// The state of the Wi-Fi connection.

namespace {

struct Interface {
  bool is_initialized = false;
  wifi_connection_state_changed_cb callback = nullptr;
  void* user_data = nullptr;
};

Interface& TheInterface() {
  static auto* const interface = new Interface;
  return *interface;
}

void Tell(wifi_connection_state_e state, const AccessPoint& ap) {
  const Interface now = TheInterface();  // the callback may set another
  if (now.callback != nullptr) {
    const ap_handles::Borrowed handle(ap);
    CallGuarded([&] { now.callback(state, handle.Get(), now.user_data); });
  }
}

}  // namespace

namespace wifi_interface {

bool IsInitialized() {
  return TheInterface().is_initialized;
}

std::function<void(int result)> Answer(wifi_finished_cb callback, void* user_data) {
  return [callback, user_data](int result) {
    CallGuarded([&] { callback(static_cast<wifi_error_e>(result), user_data); });
  };
}

void Start() {
  WifiConnection::Instance().Start(Tell);
}

void Stop() {
  WifiConnection::Instance().Stop();
}

}  // namespace wifi_interface

/// A machine without Wi-Fi, or without NetworkManager, may get it later: nothing here waits for either.
int wifi_initialize() {
  if (const auto refusal = call_gate::Refusal("wifi_initialize")) {
    return *refusal;
  }
  TheInterface().is_initialized = true;
  return WIFI_ERROR_NONE;
}

int wifi_get_connection_state(wifi_connection_state_e* state) {
  if (const auto refusal = call_gate::Refusal("wifi_get_connection_state")) {
    return *refusal;
  }
  if (const int error = wifi_interface::Check(state != nullptr)) {
    return error;
  }
  const auto known = WifiConnection::Instance().State();
  if (!known) {
    return WIFI_ERROR_OPERATION_FAILED;
  }
  *state = *known;
  return WIFI_ERROR_NONE;
}

int wifi_set_connection_state_changed_cb(wifi_connection_state_changed_cb callback, void* user_data) {
  if (const auto refusal = call_gate::Refusal("wifi_set_connection_state_changed_cb")) {
    return *refusal;
  }
  if (const int error = wifi_interface::Check(callback != nullptr)) {
    return error;
  }
  TheInterface().callback = callback;
  TheInterface().user_data = user_data;
  return WIFI_ERROR_NONE;
}

int wifi_unset_connection_state_changed_cb() {
  if (const auto refusal = call_gate::Refusal("wifi_unset_connection_state_changed_cb")) {
    return *refusal;
  }
  if (const int error = wifi_interface::Check(true)) {
    return error;
  }
  TheInterface().callback = nullptr;
  return WIFI_ERROR_NONE;
}

int wifi_get_connected_ap(wifi_ap_h* ap) {
  if (const auto refusal = call_gate::Refusal("wifi_get_connected_ap")) {
    return *refusal;
  }
  if (const int error = wifi_interface::Check(ap != nullptr)) {
    return error;
  }
  if (!WifiConnection::Instance().State()) {
    return WIFI_ERROR_OPERATION_FAILED;
  }
  const auto connected = WifiConnection::Instance().Connected();
  if (!connected) {
    return WIFI_ERROR_NO_CONNECTION;
  }
  *ap = ap_handles::All().Add(*connected);
  return WIFI_ERROR_NONE;
}

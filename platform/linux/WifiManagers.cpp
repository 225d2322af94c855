#include "WifiManagers.h"

#include <vector>

#include "CallGate.h"
#include "NumberedHandles.h"
#include "call_guarded.h"

namespace {

struct Manager {};

struct Managers {
  NumberedHandles<wifi_manager_h, Manager> handles;
  std::vector<std::function<void(wifi_manager_h)>> end_listeners;
};

Managers& All() {
  static auto* const managers = new Managers;
  return *managers;
}

}  // namespace

namespace wifi_managers {

bool IsAlive(wifi_manager_h manager) {
  return All().handles.Find(manager) != nullptr;
}

void AddEndListener(std::function<void(wifi_manager_h)> on_end) {
  All().end_listeners.push_back(std::move(on_end));
}

wifi_manager_error_e Translated(int error) {
  switch (error) {
    case WIFI_ERROR_OPERATION_FAILED:
    case WIFI_ERROR_REFUSED:  // this interface has no word for it
      return WIFI_MANAGER_ERROR_OPERATION_FAILED;
    case WIFI_ERROR_NOT_FOUND:
      return WIFI_MANAGER_ERROR_NO_REPLY;
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

std::function<void(int result)> Answer(wifi_manager_h manager, wifi_manager_finished_cb callback,
                                       void* user_data) {
  return [manager, callback, user_data](int result) {
    if (IsAlive(manager)) {
      CallGuarded([&] { callback(Translated(result), user_data); });
    }
  };
}

}  // namespace wifi_managers

int wifi_manager_initialize(wifi_manager_h* manager) {
  if (const auto refusal = call_gate::Refusal("wifi_manager_initialize")) {
    return *refusal;
  }
  if (manager == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  *manager = All().handles.Add({});
  return WIFI_MANAGER_ERROR_NONE;
}

int wifi_manager_deinitialize(wifi_manager_h manager) {
  if (const auto refusal = call_gate::Refusal("wifi_manager_deinitialize")) {
    return *refusal;
  }
  if (!All().handles.Remove(manager)) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  for (const auto& on_end : All().end_listeners) {
    on_end(manager);
  }
  return WIFI_MANAGER_ERROR_NONE;
}

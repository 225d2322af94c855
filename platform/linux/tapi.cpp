#include "tapi.h"

#include <cstring>
#include <set>

#include "CallGate.h"
#include "ListenerList.h"
#include "ModemService.h"
#include "Telephony.h"
#include "call_guarded.h"

struct tapi_handle {};

namespace {

struct Listener {
  TapiHandle* handle;
  tapi_notification_cb callback;
  void* user_data;
};

struct Sessions {
  std::set<TapiHandle*> handles;
  ListenerList<Listener> listeners;  // of the dongle, the one property there is
};

Sessions& All() {
  static auto* const sessions = new Sessions;
  return *sessions;
}

void OnDongle(bool is_inserted) {
  All().listeners.ForEach([is_inserted](const Listener& listener) {
    int status = is_inserted ? 1 : 0;  // one for each: a listener may write to it
    CallGuarded([&] {
      listener.callback(listener.handle, TAPI_PROP_MODEM_DONGLE_STATUS, &status, listener.user_data);
    });
  });
}

/// What reading and subscribing have in common.
int Check(TapiHandle* handle, const char* property, bool has_target) {
  if (handle == nullptr || property == nullptr || !has_target) {
    return TAPI_API_INVALID_INPUT;
  }
  if (!All().handles.contains(handle)) {
    return TAPI_API_INVALID_PTR;
  }
  if (std::strcmp(property, TAPI_PROP_MODEM_DONGLE_STATUS) != 0) {
    return TAPI_API_NOT_SUPPORTED;
  }
  return ModemService::Instance().IsReady() ? TAPI_API_SUCCESS : TAPI_API_OPERATION_FAILED;
}

}  // namespace

TapiHandle* tel_init(const char* subscriber) {
  // The dongle status is about all modems, so it does not matter which one is asked for.
  if (call_gate::Refusal("tel_init", subscriber) || !ModemService::Instance().IsReady()) {
    return nullptr;
  }
  auto* handle = new tapi_handle;
  All().handles.insert(handle);
  return handle;
}

int tel_deinit(TapiHandle* handle) {
  if (const auto refusal = call_gate::Refusal("tel_deinit")) {
    return *refusal;
  }
  if (All().handles.erase(handle) == 0) {
    return TAPI_API_INVALID_INPUT;
  }
  All().listeners.RemoveIf([handle](const Listener& l) { return l.handle == handle; });
  delete handle;
  return TAPI_API_SUCCESS;
}

int tel_get_property_int(TapiHandle* handle, const char* property, int* value) {
  if (const auto refusal = call_gate::Refusal("tel_get_property_int", property)) {
    return *refusal;
  }
  const int result = Check(handle, property, value != nullptr);
  if (result == TAPI_API_SUCCESS) {
    *value = ModemService::Instance().IsDongleInserted() ? 1 : 0;
  }
  return result;
}

int tel_register_noti_event(TapiHandle* handle, const char* evt, tapi_notification_cb callback,
                            void* user_data) {
  if (const auto refusal = call_gate::Refusal("tel_register_noti_event", evt)) {
    return *refusal;
  }
  const int result = Check(handle, evt, callback != nullptr);
  if (result == TAPI_API_SUCCESS) {
    All().listeners.RemoveIf(
        [&](const Listener& l) { return l.handle == handle && l.callback == callback; });
    All().listeners.Add({handle, callback, user_data});
  }
  return result;
}

void StartTelephony() {
  ModemService::Instance().Start(OnDongle);
}

void StopTelephony() {
  ModemService::Instance().Stop();
}

#include "Telephony.h"

#include <string_view>

#include <glib.h>

#include "CallGate.h"
#include "PlatformLog.h"
#include "SettingsFile.h"
#include "VirtualTv.h"
#include "call_guarded.h"
#include "vconf_keys.h"

struct tapi_handle {};

void Telephony::SetRunning(bool running) {
  m_is_running = running;
  if (!running) {
    m_line.Clear();
  }
  // Past the gate: it is another process of the TV that writes this key, not the program under the TV.
  const int error = settings::Write(vconf_keys::kTelephonyReady, g_variant_new_boolean(running));
  if (error != 0) {
    PLATFORM_LOG(DLOG_ERROR, "cannot write %s: %s", vconf_keys::kTelephonyReady, g_strerror(error));
  }
  VirtualTv::Instance().NetworkChanged();
}

void Telephony::SetDongle(bool inserted) {
  if (m_has_dongle == inserted) {
    return;
  }
  m_has_dongle = inserted;
  if (m_is_running) {
    const std::uint64_t number = ++m_event_count;
    m_line.Send([this, inserted, number] { Deliver(inserted ? 1 : 0, number); });
  }
  VirtualTv::Instance().NetworkChanged();
}

void Telephony::Deliver(int status, std::uint64_t number) const {
  m_subscriptions.ForEach([&](const std::shared_ptr<Subscription>& subscription) {
    if (subscription->heard < number) {
      int data = status;
      CallGuarded([&] {
        subscription->callback(subscription->session, TAPI_PROP_MODEM_DONGLE_STATUS, &data,
                               subscription->user_data);
      });
    }
  });
}

TapiHandle* Telephony::AddSession() {
  return m_is_running ? *m_sessions.insert(new tapi_handle).first : nullptr;
}

bool Telephony::RemoveSession(TapiHandle* session) {
  if (m_sessions.erase(session) == 0) {
    return false;
  }
  m_subscriptions.RemoveIf(
      [session](const auto& subscription) { return subscription->session == session; });
  delete session;
  return true;
}

void Telephony::Subscribe(TapiHandle* session, tapi_notification_cb callback, void* user_data) {
  std::shared_ptr<Subscription> known;
  m_subscriptions.ForEach([&](const std::shared_ptr<Subscription>& subscription) {
    if (subscription->session == session && subscription->callback == callback) {
      known = subscription;
    }
  });
  if (known != nullptr) {
    known->user_data = user_data;
    return;
  }
  m_subscriptions.Add(
      std::make_shared<Subscription>(Subscription{session, callback, user_data, m_event_count}));
}

namespace {

/// What every question to a session comes to before it is answered.
int CheckProperty(const Telephony& telephony, TapiHandle* handle, const char* property,
                  bool has_destination) {
  if (!telephony.HasSession(handle) || property == nullptr || !has_destination) {
    return TAPI_API_INVALID_INPUT;
  }
  if (std::string_view(property) != TAPI_PROP_MODEM_DONGLE_STATUS) {
    return TAPI_API_NOT_SUPPORTED;
  }
  return telephony.IsRunning() ? TAPI_API_SUCCESS : TAPI_API_OPERATION_FAILED;
}

}  // namespace

TapiHandle* tel_init(const char* subscriber) {
  VirtualTv& tv = VirtualTv::Instance();
  if (call_gate::Refusal("tel_init", subscriber)) {
    return nullptr;
  }
  return tv.GetTelephony().AddSession();
}

int tel_deinit(TapiHandle* handle) {
  VirtualTv& tv = VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("tel_deinit")) {
    return *refusal;
  }
  return tv.GetTelephony().RemoveSession(handle) ? TAPI_API_SUCCESS : TAPI_API_INVALID_INPUT;
}

int tel_get_property_int(TapiHandle* handle, const char* property, int* value) {
  Telephony& telephony = VirtualTv::Instance().GetTelephony();
  if (const auto refusal = call_gate::Refusal("tel_get_property_int", property)) {
    return *refusal;
  }
  const int result = CheckProperty(telephony, handle, property, value != nullptr);
  if (result == TAPI_API_SUCCESS) {
    *value = telephony.HasDongle() ? 1 : 0;
  }
  return result;
}

int tel_register_noti_event(TapiHandle* handle, const char* evt, tapi_notification_cb callback,
                            void* user_data) {
  Telephony& telephony = VirtualTv::Instance().GetTelephony();
  if (const auto refusal = call_gate::Refusal("tel_register_noti_event", evt)) {
    return *refusal;
  }
  const int result = CheckProperty(telephony, handle, evt, callback != nullptr);
  if (result == TAPI_API_SUCCESS) {
    telephony.Subscribe(handle, callback, user_data);
  }
  return result;
}

#include "WiredRequests.h"

#include <utility>

#include "NetworkService.h"
#include "PlatformLog.h"
#include "call_guarded.h"

namespace {

void OnJoined(GObject* source, GAsyncResult* result, gpointer /*data*/) {
  g_autoptr(GError) error = nullptr;
  g_autoptr(NMActiveConnection) active =
      nm_client_activate_connection_finish(NM_CLIENT(source), result, &error);
  if (active == nullptr) {
    PLATFORM_LOG(DLOG_WARN, "the wired network stays closed: %s", error->message);
  }
}

void Rejoin(NMDevice* device, const std::string& profile_uuid) {
  NMClient* const client = NetworkService::Instance().Client();
  if (client == nullptr) {
    return;  // it has forgotten what it was told when it comes back
  }
  NMRemoteConnection* const profile = nm_client_get_connection_by_uuid(client, profile_uuid.c_str());
  nm_client_activate_connection_async(client, NM_CONNECTION(profile), device, nullptr, nullptr, OnJoined,
                                      nullptr);
}

}  // namespace

WiredRequests& WiredRequests::Instance() {
  static auto* const requests = new WiredRequests;
  return *requests;
}

connection_error_e WiredRequests::Add(connection_h who, bool is_open,
                                      connection_profile_changed_cb callback, void* user_data) {
  if (NetworkService::Instance().Client() == nullptr) {
    return CONNECTION_ERROR_OPERATION_FAILED;
  }
  if (FindCable() == nullptr) {
    return CONNECTION_ERROR_NOT_SUPPORTED;
  }
  m_waiting.push_back({who, is_open, callback, user_data});
  if (m_waiting.size() == 1) {
    BeginFirst();
  }
  return CONNECTION_ERROR_NONE;
}

void WiredRequests::BeginFirst() {
  NMDevice* const device = FindCable();
  const auto done = [this](connection_error_e result) { OnDone(result); };
  if (device == nullptr) {
    m_without_cable.After(std::chrono::milliseconds(0),
                          [done] { done(CONNECTION_ERROR_NO_CONNECTION); });
    return;
  }
  const bool is_open = m_waiting.front().is_open;
  NMActiveConnection* const active = nm_device_get_active_connection(device);
  if (!is_open && active != nullptr) {
    m_profile = nm_active_connection_get_uuid(active);
  }
  WatchCable(is_open ? nullptr : device);
  m_request = WiredRequest::Begin(device, is_open, m_profile, done);
}

void WiredRequests::OnDone(connection_error_e result) {
  m_request.reset();
  if (m_waiting.empty()) {
    return;
  }
  const Waiting answered = m_waiting.front();
  m_waiting.pop_front();
  if (!m_waiting.empty()) {
    BeginFirst();
  }
  if (answered.who != nullptr) {
    CallGuarded([&] { answered.callback(result, answered.user_data); });
  }
}

void WiredRequests::Forget(connection_h who) {
  for (Waiting& request : m_waiting) {
    request.who = request.who == who ? nullptr : request.who;
  }
}

void WiredRequests::Stop() {
  m_waiting.clear();
  m_request.reset();
  m_without_cable.Reset();
  WatchCable(nullptr);
}

/// NetworkManager keeps a device that was left, and the profile with which it was joined, from joining
/// by themselves, also when the cable is plugged in anew.
void WiredRequests::WatchCable(NMDevice* device) {
  if (m_closed != nullptr) {
    g_signal_handlers_disconnect_by_data(m_closed, this);
  }
  g_set_object(&m_closed, device);
  m_is_cable_out = false;
  if (m_closed != nullptr) {
    const char* const cable = NM_IS_DEVICE_ETHERNET(m_closed) ? "notify::" NM_DEVICE_ETHERNET_CARRIER
                                                              : "notify::" NM_DEVICE_INTERFACE_FLAGS;
    g_signal_connect_swapped(m_closed, cable, G_CALLBACK(OnCable), this);
    g_signal_connect_swapped(m_closed, "notify::" NM_DEVICE_STATE, G_CALLBACK(OnCable), this);
  }
}

/// A cable that was out for long is in some time before its device can be used again.
void WiredRequests::OnCable(WiredRequests* self) {
  if (!HasCable(self->m_closed)) {
    self->m_is_cable_out = true;
  } else if (self->m_is_cable_out &&
             nm_device_get_state(self->m_closed) == NM_DEVICE_STATE_DISCONNECTED) {
    Rejoin(self->m_closed, self->m_profile);
    self->WatchCable(nullptr);
  }
}

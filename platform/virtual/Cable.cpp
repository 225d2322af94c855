#include "Cable.h"

#include "CallGate.h"
#include "VirtualTv.h"
#include "call_guarded.h"

struct connection_handle_s {
  connection_ethernet_cable_state_chaged_cb callback = nullptr;
  void* user_data = nullptr;
  std::uint64_t heard = 0;  // events up to this number happened before the callback was set
};

void Cable::SetAttached(bool attached) {
  if (m_is_attached == attached) {
    return;
  }
  m_is_attached = attached;
  Emit(attached ? CONNECTION_ETHERNET_CABLE_ATTACHED : CONNECTION_ETHERNET_CABLE_DETACHED);
}

void Cable::Emit(int state) {
  const std::uint64_t number = ++m_event_count;
  m_line.Send([this, state, number] { Deliver(state, number); });
}

void Cable::Deliver(int state, std::uint64_t number) const {
  m_listeners.ForEach([&](connection_h handle) {
    if (handle->heard >= number) {
      return;
    }
    // Copied: the callback may destroy its handle.
    const auto callback = handle->callback;
    void* const user_data = handle->user_data;
    CallGuarded([&] { callback(static_cast<connection_ethernet_cable_state_e>(state), user_data); });
  });
}

connection_h Cable::AddHandle() {
  return *m_handles.insert(new connection_handle_s).first;
}

bool Cable::RemoveHandle(connection_h handle) {
  if (m_handles.erase(handle) == 0) {
    return false;
  }
  m_listeners.RemoveIf([handle](connection_h listener) { return listener == handle; });
  delete handle;
  return true;
}

bool Cable::SetCallback(connection_h handle, connection_ethernet_cable_state_chaged_cb callback,
                        void* user_data) {
  if (!m_handles.contains(handle)) {
    return false;
  }
  if (handle->callback == nullptr) {
    handle->heard = m_event_count;
    m_listeners.Add(handle);
  }
  handle->callback = callback;
  handle->user_data = user_data;
  return true;
}

int connection_create(connection_h* connection) {
  VirtualTv& tv = VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("connection_create")) {
    return *refusal;
  }
  if (connection == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  *connection = tv.GetCable().AddHandle();
  return CONNECTION_ERROR_NONE;
}

int connection_destroy(connection_h connection) {
  VirtualTv& tv = VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("connection_destroy")) {
    return *refusal;
  }
  return tv.GetCable().RemoveHandle(connection) ? CONNECTION_ERROR_NONE
                                                : CONNECTION_ERROR_INVALID_PARAMETER;
}

int connection_set_ethernet_cable_state_chaged_cb(connection_h connection,
                                                  connection_ethernet_cable_state_chaged_cb callback,
                                                  void* user_data) {
  VirtualTv& tv = VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("connection_set_ethernet_cable_state_chaged_cb")) {
    return *refusal;
  }
  if (callback == nullptr || !tv.GetCable().SetCallback(connection, callback, user_data)) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  return CONNECTION_ERROR_NONE;
}

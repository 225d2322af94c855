#include "net_connection.h"

#include <memory>
#include <new>
#include <set>

#include "CallGate.h"
#include "Connections.h"
#include "ListenerList.h"
#include "WiredMonitor.h"
#include "call_guarded.h"

struct connection_handle_s {};

namespace {

struct Listener {
  connection_h connection;
  connection_ethernet_cable_state_chaged_cb callback;
  void* user_data;
};

/// All handles share one view of the cable. It is built with the first of them and ends with the last.
struct Connections {
  std::set<connection_h> handles;
  ListenerList<Listener> listeners;
  std::unique_ptr<WiredMonitor> monitor;
};

Connections& All() {
  static auto* const connections = new Connections;
  return *connections;
}

void OnCable(bool is_attached) {
  const auto state =
      is_attached ? CONNECTION_ETHERNET_CABLE_ATTACHED : CONNECTION_ETHERNET_CABLE_DETACHED;
  All().listeners.ForEach([state](const Listener& listener) {
    CallGuarded([&] { listener.callback(state, listener.user_data); });
  });
}

bool RemoveListener(connection_h connection) {
  return All().listeners.RemoveIf([&](const Listener& l) { return l.connection == connection; }) > 0;
}

}  // namespace

bool IsConnection(connection_h connection) {
  return All().handles.contains(connection);
}

int connection_create(connection_h* connection) {
  if (const auto refusal = call_gate::Refusal("connection_create")) {
    return *refusal;
  }
  if (connection == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  if (All().monitor == nullptr) {
    All().monitor = WiredMonitor::Start(OnCable);
  }
  if (All().monitor == nullptr) {
    return CONNECTION_ERROR_OPERATION_FAILED;
  }
  auto* created = new (std::nothrow) connection_handle_s;
  if (created == nullptr) {
    return CONNECTION_ERROR_OUT_OF_MEMORY;
  }
  All().handles.insert(created);
  *connection = created;
  return CONNECTION_ERROR_NONE;
}

int connection_destroy(connection_h connection) {
  if (const auto refusal = call_gate::Refusal("connection_destroy")) {
    return *refusal;
  }
  if (!IsConnection(connection)) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  RemoveListener(connection);
  ForgetMonitorUser(connection);
  ForgetProfiles(connection);
  All().handles.erase(connection);
  if (All().handles.empty()) {
    All().monitor.reset();
  }
  delete connection;
  return CONNECTION_ERROR_NONE;
}

int connection_set_ethernet_cable_state_chaged_cb(connection_h connection,
                                                  connection_ethernet_cable_state_chaged_cb callback,
                                                  void* user_data) {
  if (const auto refusal = call_gate::Refusal("connection_set_ethernet_cable_state_chaged_cb")) {
    return *refusal;
  }
  if (!IsConnection(connection) || callback == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  RemoveListener(connection);
  All().listeners.Add({connection, callback, user_data});
  return CONNECTION_ERROR_NONE;
}

int connection_get_ethernet_cable_state(connection_h connection,
                                        connection_ethernet_cable_state_e* state) {
  if (const auto refusal = call_gate::Refusal("connection_get_ethernet_cable_state")) {
    return *refusal;
  }
  if (!IsConnection(connection) || state == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  if (All().monitor == nullptr) {
    return CONNECTION_ERROR_OPERATION_FAILED;
  }
  *state = All().monitor->IsAttached() ? CONNECTION_ETHERNET_CABLE_ATTACHED
                                       : CONNECTION_ETHERNET_CABLE_DETACHED;
  return CONNECTION_ERROR_NONE;
}

void StopConnections() {
  StopNetworkMonitor();
  All().monitor.reset();
}

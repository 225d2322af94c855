#pragma once

#include <cstdint>
#include <unordered_set>

#include "DeliveryLine.h"
#include "ListenerList.h"
#include "net_connection.h"

/// The Ethernet cable at the back of the TV, and those who asked to hear of it. Owned by VirtualTv;
/// main-loop thread only.
class Cable {
 public:
  /// Changes the cable; an event when it was not so already.
  void SetAttached(bool attached);
  [[nodiscard]] bool IsAttached() const { return m_is_attached; }

  /// Sends an event with any state, and leaves the cable as it is.
  void Emit(int state);

  connection_h AddHandle();
  /// @return false when there is no such handle (any more)
  bool RemoveHandle(connection_h handle);
  bool SetCallback(connection_h handle, connection_ethernet_cable_state_chaged_cb callback,
                   void* user_data);

  [[nodiscard]] DeliveryLine& Line() { return m_line; }

 private:
  void Deliver(int state, std::uint64_t number) const;

  bool m_is_attached = false;
  std::uint64_t m_event_count = 0;
  std::unordered_set<connection_h> m_handles;
  ListenerList<connection_h> m_listeners;  // the handles that have a callback
  DeliveryLine m_line;
};

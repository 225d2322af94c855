#pragma once

#include "DeliveryLine.h"
#include "HandleCallbacks.h"
#include "net_connection.h"

/// The Ethernet cable at the back of the TV, and those who asked to hear of it. Owned by VirtualTv;
/// main-loop thread only.
class Cable {
 public:
  /// Changes the cable; an event when it was not so already.
  void SetAttached(bool attached);
  [[nodiscard]] bool IsAttached() const { return m_is_attached; }

  /// Leaves the wired network with the cable in, or joins it again. A cable that is plugged in anew has
  /// joined it.
  void SetOpen(bool open);
  /// Whether the TV is in the wired network.
  [[nodiscard]] bool IsInNetwork() const { return m_is_attached && m_is_open; }

  /// Sends an event with any state, and leaves the cable as it is.
  void Emit(int state);

  [[nodiscard]] HandleCallbacks<connection_ethernet_cable_state_chaged_cb>& Callbacks() {
    return m_callbacks;
  }
  [[nodiscard]] DeliveryLine& Line() { return m_line; }

 private:
  bool m_is_attached = false;
  bool m_is_open = true;
  HandleCallbacks<connection_ethernet_cable_state_chaged_cb> m_callbacks;
  DeliveryLine m_line;
};

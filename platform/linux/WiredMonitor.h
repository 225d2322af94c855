#pragma once

#include <functional>
#include <memory>

#include "KernelEvents.h"
#include "WiredNetwork.h"

/// Tells each time the wired network of the machine becomes attached or detached. Main-loop thread only;
/// lives while somebody wants to know.
class WiredMonitor {
 public:
  /// Called in the order in which the cable was moved. It may end the monitor.
  using Handler = std::function<void(bool is_attached)>;

  /// @return null when the kernel gives no events; what is found at the start is not told
  static std::unique_ptr<WiredMonitor> Start(Handler handler);

  /// As it was told last, or found at the start.
  [[nodiscard]] bool IsAttached() const { return m_network.IsAttached(); }

 private:
  explicit WiredMonitor(Handler handler) : m_handler(std::move(handler)) {}
  bool Open();
  bool FindState();
  [[nodiscard]] static bool Look(WiredNetwork& found);
  static WiredNetwork::Transition Handle(WiredNetwork& network, const nlmsghdr* message);
  void Tell(WiredNetwork::Transition transition);

  Handler m_handler;
  WiredNetwork m_network;
  std::unique_ptr<KernelEvents> m_events;
  bool m_is_started = false;
};

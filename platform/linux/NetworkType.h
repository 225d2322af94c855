#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include <glib.h>

#include "DefaultRoute.h"
#include "KernelEvents.h"

/// Keeps "db/menu/network/network_type" at what the machine's traffic leaves through: the default route
/// of the lowest metric. With no default route the last value stays, as it does on a TV: it says what
/// network the user has, and an outage does not change that. Main-loop thread only.
class NetworkType {
 public:
  /// @param on_change  called when the traffic leaves another way than before, or none any more
  /// @return null when the kernel gives no events
  static std::unique_ptr<NetworkType> Start(std::function<void()> on_change);
  ~NetworkType();
  NetworkType(const NetworkType&) = delete;
  NetworkType& operator=(const NetworkType&) = delete;

 private:
  explicit NetworkType(std::function<void()> on_change) : m_on_change(std::move(on_change)) {}
  void OnMessage(const nlmsghdr* message);
  void RefreshSoon();
  void Refresh();

  std::function<void()> m_on_change;
  std::optional<DefaultRoute> m_route;  // as it was looked at last
  std::unique_ptr<KernelEvents> m_events;
  guint m_refresh = 0;  // while one is due
};

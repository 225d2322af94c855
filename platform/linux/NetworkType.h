#pragma once

#include <memory>
#include <optional>

#include <glib.h>

#include "DefaultRoute.h"
#include "NetlinkSocket.h"

/// Keeps "db/menu/network/network_type" at what the machine's traffic leaves through: the default route
/// of the lowest metric. With no default route the last value stays, as it does on a TV: it says what
/// network the user has, and an outage does not change that. Main-loop thread only.
class NetworkType {
 public:
  /// @return null when the kernel gives no events
  static std::unique_ptr<NetworkType> Start();
  ~NetworkType();
  NetworkType(const NetworkType&) = delete;
  NetworkType& operator=(const NetworkType&) = delete;

 private:
  NetworkType() = default;
  void OnMessage(const nlmsghdr* message);
  void RefreshSoon();
  void Refresh();
  [[nodiscard]] std::optional<DefaultRoute> BestRoute();
  [[nodiscard]] std::optional<Link> FindLink(int index);

  std::unique_ptr<NetlinkSocket> m_socket;
  guint m_refresh = 0;  // while one is due
};

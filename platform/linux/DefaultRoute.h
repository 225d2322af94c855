#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <linux/netlink.h>

#include "Link.h"
#include "net_connection.h"

/// A default route of the main table.
struct DefaultRoute {
  int link_index = 0;
  std::uint32_t metric = 0;
  int family = 0;       ///< AF_INET or AF_INET6
  std::string gateway;  ///< the router's address as text; empty when the route names none
  bool operator==(const DefaultRoute&) const = default;
};

/// Reads an RTM_NEWROUTE or RTM_DELROUTE message.
/// @return nullopt for a damaged message and for every other route
[[nodiscard]] std::optional<DefaultRoute> ParseDefaultRoute(const nlmsghdr* message);

/// The kind of network behind an interface. A modem that shows itself as plain Ethernet counts as wired:
/// the kernel sees no modem.
[[nodiscard]] connection_profile_type_e ProfileTypeOf(const Link& link);

/// What "db/menu/network/network_type" says of a machine whose traffic leaves through this interface.
[[nodiscard]] const char* NetworkTypeOf(const Link& link);

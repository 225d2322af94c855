#pragma once

#include <optional>
#include <string>

/// Where the traffic of the machine leaves, as the kernel's tables have it.
struct WayOut {
  /// Whether there is a link that could carry traffic.
  bool has_link = false;
  /// The interface of the default route; 0 when nothing leads out.
  int link = 0;
  bool is_wifi = false;
  bool is_ipv6 = false;  ///< nothing leads out in the older protocol
  std::string gateway;   ///< the router of that route, as text; empty when it names none
  std::string ipv4;      ///< the machine's address there; empty for none
  std::string ipv6;
  bool operator==(const WayOut&) const = default;
};

/// Looks at the tables: nothing is kept, no packet is sent, and nothing waits. A route over a link
/// without a carrier leads nowhere, and the machine sends its traffic there all the same.
/// @return nullopt when the kernel does not answer; logged
[[nodiscard]] std::optional<WayOut> FindWayOut();

/// The same over one interface, whether or not the traffic leaves there.
[[nodiscard]] std::optional<WayOut> FindWayOver(int link);

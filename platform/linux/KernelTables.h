#pragma once

#include <optional>
#include <string>

#include "DefaultRoute.h"
#include "Link.h"
#include "net_connection.h"

/// Looks at the kernel's tables at the moment when somebody asks. Nothing is kept and nothing waits for
/// events, so that a question costs its own time and no wake-up later. Main-loop thread only.
namespace kernel_tables {

/// The default route of the lowest metric, of either family, and its interface.
/// @param route  out: nullopt when there is none; untouched on failure
/// @param link   out: nullopt when there is none, or it has gone meanwhile; untouched on failure
/// @return false when the kernel does not answer; logged
[[nodiscard]] bool FindDefaultRoute(std::optional<DefaultRoute>& route, std::optional<Link>& link);

/// The interface that the machine's traffic leaves through: that of the default route of the lowest
/// metric, of either family. One without a carrier carries nothing, whatever the table says.
/// @param link  out: nullopt when there is none; untouched on failure
/// @return false when the kernel does not answer; logged
[[nodiscard]] bool FindTrafficLink(std::optional<Link>& link);

/// The address of an interface, as text. Of several IPv4 addresses the first that is not link-local is
/// taken, of several IPv6 addresses a global one before a unique local one, and that before a
/// link-local.
/// @return nullopt when it has none of this family
[[nodiscard]] std::optional<std::string> AddressOf(int link_index, connection_address_family_e family);

/// The wired interface with a carrier, of several the one of the lowest index.
/// @return nullopt when no cable is in
[[nodiscard]] std::optional<int> FindCable();

/// For how long an address of an interface was lent: that of AddressOf(), as it was told last.
/// @return nullopt when there is none, or when it stays
[[nodiscard]] std::optional<int> LeaseOf(int link_index, connection_address_family_e family);

/// The hardware address of the first interface of a kind, of those with a carrier if any has one.
/// @return "AA:BB:CC:DD:EE:FF", or nullopt when there is no such interface or it has no such address
[[nodiscard]] std::optional<std::string> HardwareAddressOf(connection_type_e type);

/// Whether the kernel has asked a neighbour of an interface, and was not answered yet.
/// @param address  as text, of either family
[[nodiscard]] bool IsNeighbourSilent(int link_index, const std::string& address);

}  // namespace kernel_tables

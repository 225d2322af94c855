#pragma once

#include <optional>
#include <string_view>

/// What is known of who lent this machine its address. Main-loop thread only.
namespace lease_facts {

/// For how long the IPv4 address of an interface was lent, as NetworkManager's DHCP client was told.
/// @return nullopt when NetworkManager is not there, or has no lease for it
[[nodiscard]] std::optional<int> OfNetworkManager(int link_index);

/// Whether the access point that the machine is connected to is a telephone. It says so itself in its
/// lease (Android does, and NetworkManager then takes the connection for one that is paid by volume), or
/// it has an address that telephones give themselves.
/// @return nullopt when there is no access point
[[nodiscard]] std::optional<bool> IsTelephone();

/// @param gateway  an address, as text
[[nodiscard]] bool IsAddressOfTelephones(std::string_view gateway);

}  // namespace lease_facts

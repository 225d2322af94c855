#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include <netinet/in.h>

/// What neighbours on one link say to each other, as bytes: who has this address, and I have it. ARP for
/// the older protocol, without its link header; ICMPv6 for the newer one, without its IP header.
namespace neighbour_message {

using HardwareAddress = std::array<std::uint8_t, 6>;

/// @param source  of who asks; any address (0.0.0.0) while it has none
[[nodiscard]] std::vector<std::uint8_t> Question(const in_addr& wanted, const in_addr& source,
                                                 const HardwareAddress& hardware);
[[nodiscard]] std::vector<std::uint8_t> Question(const in6_addr& wanted,
                                                 const HardwareAddress& hardware);

/// Whom a question in the newer protocol is sent to.
[[nodiscard]] in6_addr GroupOf(const in6_addr& wanted);

[[nodiscard]] bool IsAnswer(std::span<const std::uint8_t> bytes, const in_addr& wanted);
[[nodiscard]] bool IsAnswer(std::span<const std::uint8_t> bytes, const in6_addr& wanted);

}  // namespace neighbour_message

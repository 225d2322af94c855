#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <NetworkManager.h>

#include "Radio.h"

/// What NetworkManager says of Wi-Fi in the words of this backend. Pure functions.
namespace network_radio {

/// The bytes of a network's name; empty for null.
[[nodiscard]] std::string NameOf(GBytes* ssid);

/// A radio as NetworkManager heard it, its signal estimated from the percents that it keeps. Width and
/// generation are not known to it.
/// @param ap  its address is empty while NetworkManager has not heard it yet
[[nodiscard]] Radio RadioOf(NMAccessPoint* ap);

/// @param flags       of the access point (NM80211ApFlags)
/// @param wpa, rsn    what its two generations of encryption offer (NM80211ApSecurityFlags)
[[nodiscard]] wifi_security_type_e SecurityOfFlags(std::uint32_t flags, std::uint32_t wpa,
                                                   std::uint32_t rsn);

/// The security that a profile opens.
/// @param key_management  of its setting; empty: it has none
/// @param is_first_generation  it is limited to the encryption of before 2004
[[nodiscard]] wifi_security_type_e SecurityOfProfile(std::string_view key_management,
                                                     bool is_first_generation);

/// Whether a profile of the one kind of security opens a radio that announces the other. A passphrase is
/// one however a router wants it, and routers between two generations announce the one or the other.
[[nodiscard]] bool Opens(wifi_security_type_e profile, wifi_security_type_e radio);

/// @param percent  0 to 100, as NetworkManager makes it of a signal
/// @return dBm
[[nodiscard]] int SignalOfPercent(int percent);

}  // namespace network_radio

#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

/// How the way to the internet is probed: group [InternetProbe] of the network configuration, a key file
/// (GKeyFile).
struct ProbeConfig {
  /// Names the key file in place of the system's one.
  static constexpr char kFileVariable[] = "PELORUS_NETWORK_CONF";
  static constexpr char kDefaultFile[] = "/etc/pelorus/network.conf";

  bool is_on = true;
  std::string host = "network-test.debian.org";
  std::uint16_t port = 80;
  std::string target = "/nm";  ///< the path, and what follows it
  /// What the page begins with; empty: the server answers 204, or an empty page.
  std::string answer = "NetworkManager is online";
  std::chrono::seconds interval{300};  ///< from one probe to the next while all works

  /// Reads the file as it is now. What it says wrongly is logged and taken as not said.
  [[nodiscard]] static ProbeConfig Read();
};

/// @param complaints  out: what is wrong with the text, for people
[[nodiscard]] ProbeConfig ParseProbeConfig(const std::string& text,
                                           std::vector<std::string>& complaints);

#pragma once

#include <optional>
#include <string>

#include "Program.h"

/// A router behind the switch in the wall, and the internet behind that: name service and web server in
/// one, which answer as they are told. Beside a cable of network::AddCable(), in this process's network.
class InternetRoom {
 public:
  static constexpr char kRouter[] = "192.0.2.1";
  static constexpr char kRouter6[] = "2001:db8::1";
  static constexpr char kServer[] = "probe.test";

  /// The program's configuration names the server of this room, which shall answer with kAnswer, and the
  /// machine's name service is the room's router.
  /// @param interval_seconds  see pelorus(8)
  explicit InternetRoom(int interval_seconds = 1);
  static constexpr char kAnswer[] = "all is well";

  /// @param how  "fine", "nxdomain", "servfail", "silent"
  void SetDns(const std::string& how) { Tell("dns " + how); }
  /// @param how  "fine", "204", "302 ADDRESS", "511", "other", "500", "hang", "close"
  void SetHttp(const std::string& how) { Tell("http " + how); }
  /// A dead router answers no neighbour any more, and forwards nothing.
  void SetRouterAlive(bool is_alive) { Tell(is_alive ? "router alive" : "router dead"); }

  /// How many requests of a kind have come so far.
  [[nodiscard]] int DnsCount() { return Count(0); }
  [[nodiscard]] int HttpCount() { return Count(1); }
  /// The head of the last request.
  [[nodiscard]] std::string LastRequest() { return m_internet->Ask("request"); }

  /// Replaces the configuration.
  static void Configure(const std::string& text);
  [[nodiscard]] static std::string Configuration(int interval_seconds);

 private:
  void Tell(const std::string& command);
  int Count(int kind);

  std::optional<Program> m_internet;
};

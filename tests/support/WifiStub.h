#pragma once

#include <optional>
#include <string>

#include "Program.h"

/// A stand-in for NetworkManager and wpa_supplicant over one simulated air, on the bus of a BusRoom that
/// has been started. What takes seconds in a living room takes some dozen milliseconds here. The air and
/// the profiles outlive both services.
class WifiStub {
 public:
  static constexpr char kNetworkManager[] = "nm";
  static constexpr char kSupplicant[] = "supplicant";

  /// Of the Wi-Fi device. Where the kernel has a link of that name, a connection gives it an address in
  /// the network of an InternetRoom, and its router's default route.
  static constexpr char kInterface[] = "wlan0";

  /// Begins with neither service on the bus.
  WifiStub();

  /// Return when the service has its name on the bus.
  void Start(const std::string& service) { Do("start " + service); }
  /// And has scanned once, as both do at their start.
  void StartBoth();
  /// As a crash does.
  void Stop(const std::string& service) { Do("stop " + service); }

  struct Radio {
    std::string bssid;
    std::string ssid;  ///< any bytes
    int frequency = 2437;
    int signal = -40;
    std::string security = "none";  ///< or "wep", "wpa", "wpa2", "sae", "eap"
    std::string passphrase = {};
    bool is_hidden = false;
  };
  /// Puts it on the air, or in the place of the one with its BSSID. Who listens hears of it by a scan.
  void PutOnAir(const Radio& radio);
  void TakeOffAir(const std::string& bssid) { Do("off " + bssid); }
  /// @param answer  "lets-in", "refuses", "full", "silent", "no-address", "refuses-eap" or "unknown-ca"
  void SetAnswer(const std::string& bssid, const std::string& answer) {
    Do("answer " + bssid + " " + answer);
  }

  /// A profile on disk, which takes the place of one with its name and security.
  /// @param options  "autoconnect", which lets it connect by itself, "hidden"
  void Save(const Radio& network, const std::string& options = "");
  void Forget(const std::string& ssid) { Do("forget ssid=" + HexOf(ssid)); }

  /// A profile on disk for a cable.
  /// @param options  "autoconnect", "priority=NUMBER"
  void SaveWired(const std::string& name, const std::string& options) {
    Do("wired_profile " + name + " " + options);
  }
  /// What NetworkManager sees of a cable; its interface is "eth0".
  void PlugCable(bool is_in) { Do(is_in ? "cable in" : "cable out"); }

  /// How a service answers from now on, until it starts again.
  /// @param how  "normally", "late MILLISECONDS", "error", "nonsense", "never" or "death"; with a
  ///             method's name behind it, to calls of that one alone
  void Answer(const std::string& service, const std::string& how) {
    Do("answers " + service + " " + how);
  }

  /// The BSSID that the machine is connected to; empty for none.
  std::string ConnectedBssid();

  /// Any other command (see stub_network_manager/__main__.py), and its answer.
  std::string Ask(const std::string& command);
  /// A test failure, with what the stub has to say, when the command is not done.
  void Do(const std::string& command);
  [[nodiscard]] static std::string HexOf(const std::string& text);

 private:
  Program m_program;
};

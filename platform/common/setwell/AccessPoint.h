#pragma once

#include <memory>
#include <optional>
#include <string>
#include <type_traits>

#include "setwell/NetworkUtil.h"
#include "wifi.h"

/// What the library reads of the platform's access points, for its own sources.
namespace Setwell {

struct AccessPointEnd {
  void operator()(wifi_ap_h ap) const { wifi_ap_destroy(ap); }
};
/// An access point that the platform handed over.
using AccessPointHandle = std::unique_ptr<std::remove_pointer_t<wifi_ap_h>, AccessPointEnd>;

/// One radio of a network.
struct AccessPoint {
  std::string ssid;
  std::string bssid;
  int frequency = 0;  ///< MHz
  int rssi = 0;       ///< dBm, negative; 0: not known
  wifi_security_type_e security = WIFI_SECURITY_TYPE_NONE;
  bool is_saved = false;
};

/// @return null when the TV is connected to none, or the platform does not say
AccessPointHandle ConnectedHandle();

/// @return nullopt when it is not known
std::optional<std::string> ReadName(wifi_ap_h ap);

/// The network behind a handle: its name, its security and whether it is saved.
/// @return nullopt when the name or the security cannot be known, without which nobody can join it
std::optional<AccessPoint> ReadNetwork(wifi_ap_h ap);

/// The radio too.
/// @return nullopt also when its address or frequency cannot be known, without which nobody finds the
///         way back to it
std::optional<AccessPoint> ReadRadio(wifi_ap_h ap);

/// How the library counts what the Wi-Fi interface says. Fast transition is WPA2 to those who join.
eSecurityType ToSecurityType(wifi_security_type_e type);

/// Whether both are of one network: the same name, and security of the same kind.
bool IsSameNetwork(const AccessPoint& one, const AccessPoint& other);

/// Whether it is an address at all.
bool IsBssid(const std::string& text);

/// Whether both are one radio, however its address is written.
bool IsSameRadio(const std::string& bssid, const std::string& other);

/// Not 2.4 GHz, and not 6 GHz either.
constexpr bool Is5Ghz(int frequency) {
  return frequency >= 4900 && frequency < 5925;
}

}  // namespace Setwell

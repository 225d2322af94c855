#pragma once

#include <string>

#include "wifi.h"

/// The network-setup library: the small questions, which keep no state of their own but the library's
/// readiness. Main-loop thread only.
namespace Setwell {

/// The network that carries the TV's traffic.
enum eNetworkType {
  NETWORK_TYPE_NONE = -1,
  NETWORK_TYPE_WIRED = 0,
  NETWORK_TYPE_WIRELESS = 1,
  NETWORK_TYPE_CELLULAR = 2,
};

/// How this library counts kinds of security.
enum eSecurityType {
  SECURITY_OPEN = 0,
  SECURITY_WEP = 1,
  SECURITY_WPA_PSK = 2,
  SECURITY_WPA2_PSK = 3,
  SECURITY_WPA3_SAE = 4,
  SECURITY_EAP = 5,
  SECURITY_UNKNOWN = 6,
};

class NetworkUtil {
 public:
  /// Makes the library ready. Calling it again, or a failure behind it (which it logs), does no harm.
  static void InitializeNetworkLib();
  static void DeinitializeNetworkLib();

  /// NETWORK_TYPE_NONE also when the platform does not say.
  static eNetworkType GetNetworkType();

  /// Whether the network that carries the TV's traffic has a gateway; false also when the platform does
  /// not say.
  static bool IsGateWayConnected();

  /// Whether two radios belong to one router. They do when all octets but the last are equal, also when
  /// the first octets differ only in the locally-administered bit or in the upper nibble, as the
  /// addresses that routers make for their further radios often do.
  /// @param diff  out: 0 for the same BSSID, else the last octet of `bssid` less that of
  ///              `connectedBssid`; when only their first octets differ, 256 times the difference of
  ///              those. So never 0 for two of one router; untouched when false
  /// @return false also when one of them is not six pairs of hexadecimal digits
  static bool IsDualBand(std::string bssid, std::string connectedBssid, int& diff);

  /// @param type  an eSecurityType; any other number is taken as SECURITY_UNKNOWN
  /// @return the Wi-Fi interface's type; what is unknown counts as WPA2
  static wifi_security_type_e convert_security_type_enum(int type);
};

}  // namespace Setwell

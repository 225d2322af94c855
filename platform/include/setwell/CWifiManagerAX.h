#pragma once

namespace Setwell {

class CWifiManagerAX {
 public:
  /// The generation of the standard on the present connection: 0 802.11b, 1 g, 2 n, 3 a, 4 ac, 5 ax, or
  /// -1 when it is not known or there is no connection.
  static int GetWiFiProtocol();
};

}  // namespace Setwell

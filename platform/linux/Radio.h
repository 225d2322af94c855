#pragma once

#include <string>

#include "wifi_manager.h"

/// A radio of an access point, as it was last heard.
struct Radio {
  std::string ssid;   ///< the bytes of the network's name; empty while a hidden one is not known
  std::string bssid;  ///< "AA:BB:CC:DD:EE:FF"
  int frequency = 0;  ///< MHz, of the channel that beacons are sent on
  int signal = 0;     ///< dBm; 0: not known
  wifi_security_type_e security = WIFI_SECURITY_TYPE_NONE;
  int width = 0;  ///< MHz; 0: not known
  wifi_manager_connection_mode_e mode = WIFI_MANAGER_CONNECTION_MODE_UNKNOWN;
};

#pragma once

#include <string>

#include "wifi.h"
#include "wifi_manager.h"

/// One radio of a router: one network on one channel.
struct Radio {
  /// How it answers those who want to connect.
  enum class Temper {
    kAccepts,
    kRefuses,       ///< turns the TV away at once
    kSilent,        ///< is on the air and never answers
    kAnswersTwice,  ///< accepts, and the answer reaches the program two times
    kNoAddress,     ///< lets the TV in, and no address is given there
  };

  std::string bssid = {};  ///< "AA:BB:CC:DD:EE:FF"
  std::string essid = {};
  bool is_hidden = false;
  int frequency = 2437;  ///< MHz
  wifi_security_type_e security = WIFI_SECURITY_TYPE_WPA2_PSK;
  std::string passphrase = {};
  int rssi = -50;      ///< dBm, as the TV receives it
  int bandwidth = 20;  ///< MHz; 0: the TV does not know it
  wifi_manager_connection_mode_e mode = WIFI_MANAGER_CONNECTION_MODE_80211N;
  Temper temper = Temper::kAccepts;
  bool is_on = true;
  std::string ipv4 = "192.168.0.20";  ///< the TV's addresses there; empty: none
  std::string ipv6 = {};
  std::string portal_url = {};  ///< the page that it shows in place of the internet; empty: none
};

/// A radio as the TV knew it at some moment. The name of a hidden one is empty when the TV did not know
/// it.
struct AccessPoint {
  Radio radio;
  bool is_saved;
  bool is_connected;
};

/// A network that the TV knows.
struct SavedNetwork {
  std::string essid = {};
  wifi_security_type_e security = WIFI_SECURITY_TYPE_WPA2_PSK;
  std::string passphrase = {};
  int frequency = 0;  ///< MHz, where the TV was connected to it last; 0: never
};

#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <type_traits>

#include "VirtualTv.h"
#include "wifi.h"

/// A TV in a block of flats, where there are more access points than anybody has counted.
namespace flats {

inline constexpr int kAccessPoints = 500;
inline constexpr char kConnected[] = "02:00:00:00:00:01";

[[noreturn]] inline void Die(const std::string& text) {
  std::fprintf(stdout, "bench: %s\n", text.c_str());
  std::exit(1);
}

inline void Require(bool done, const char* what) {
  if (!done) {
    Die(std::string(what) + " failed");
  }
}

inline std::string Bssid(int number) {
  char text[18];
  std::snprintf(text, sizeof text, "0A:%02X:%02X:%02X:%02X:10", number >> 24 & 0xFF, number >> 16 & 0xFF,
                number >> 8 & 0xFF, number & 0xFF);
  return text;
}

/// The TV is connected, and none of the radios around belongs to its router.
inline void MoveIn() {
  Wifi& wifi = VirtualTv::Instance().GetWifi();
  Radio own;
  own.bssid = kConnected;
  own.essid = "Home";
  own.passphrase = "correct horse";
  wifi.AddRadio(own);
  for (int i = 1; i < kAccessPoints; ++i) {
    Radio radio = own;
    radio.bssid = Bssid(i);
    radio.essid = "Neighbour " + std::to_string(i);
    radio.frequency = i % 2 == 0 ? 2412 : 5180;
    radio.rssi = -40 - i % 50;
    wifi.AddRadio(radio);
  }
  wifi.SeeAll();
  Require(wifi_initialize() == WIFI_ERROR_NONE, "wifi_initialize");
  Require(wifi.Join(kConnected), "joining the router");
}

struct ApCloser {
  void operator()(wifi_ap_h ap) const { wifi_ap_destroy(ap); }
};
using Ap = std::unique_ptr<std::remove_pointer_t<wifi_ap_h>, ApCloser>;

inline Ap ConnectedAp() {
  wifi_ap_h ap = nullptr;
  Require(wifi_get_connected_ap(&ap) == WIFI_ERROR_NONE, "wifi_get_connected_ap");
  return Ap(ap);
}

}  // namespace flats

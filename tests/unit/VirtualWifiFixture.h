#pragma once

#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "VirtualTv.h"

using std::chrono::milliseconds;
using EventKind = VirtualTv::EventKind;
using Answers = std::vector<int>;

/// A router with a radio on each band, and a TV of one who has saved its network.
class VirtualWifiFixture : public testing::Test {
 protected:
  VirtualWifiFixture() {
    m_wifi.AddRadio({.bssid = kLow, .essid = "Den", .frequency = 2437, .passphrase = kSecret});
    m_wifi.AddRadio(
        {.bssid = kHigh, .essid = "Den", .frequency = 5180, .passphrase = kSecret, .rssi = -60});
    m_wifi.Save({"Den", WIFI_SECURITY_TYPE_WPA2_PSK, kSecret});
    EXPECT_EQ(wifi_initialize(), WIFI_ERROR_NONE);
  }

  static void Record(wifi_error_e result, void* answers) {
    static_cast<Answers*>(answers)->push_back(result);
  }
  static wifi_target_s To(const char* bssid, int frequency = 0, const char* passphrase = nullptr) {
    return {"Den", bssid, frequency, WIFI_SECURITY_TYPE_WPA2_PSK, passphrase};
  }
  int Connect(const wifi_target_s& target) { return wifi_connect_target(&target, Record, &m_answers); }

  static std::string TextOf(int (*read)(wifi_ap_h, char**), wifi_ap_h ap) {
    char* text = nullptr;
    EXPECT_EQ(read(ap, &text), WIFI_ERROR_NONE);
    const std::string copy = text == nullptr ? "(none)" : text;
    std::free(text);
    return copy;
  }

  static constexpr char kLow[] = "02:00:00:00:10:00";
  static constexpr char kHigh[] = "02:00:00:00:10:04";
  static constexpr char kOther[] = "02:00:00:00:20:00";
  static constexpr char kSecret[] = "fourteen geese";

  VirtualTv& m_tv = VirtualTv::Instance();
  Wifi& m_wifi = m_tv.GetWifi();
  Answers m_answers;
};

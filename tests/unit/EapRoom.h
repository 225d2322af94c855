#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "vconf.h"
#include "vconf_keys.h"

/// An office whose Wi-Fi wants certificates, which the TV has and is connected with.
class EapRoom : public testing::Test {
 protected:
  EapRoom() {
    m_wifi.AddRadio({.bssid = kOffice,
                     .essid = "Office",
                     .security = WIFI_SECURITY_TYPE_EAP,
                     .passphrase = kCertificate});
    m_wifi.AddRadio({.bssid = kGuests, .essid = "Guests", .security = WIFI_SECURITY_TYPE_NONE});
    EXPECT_TRUE(m_wifi.Join(kOffice));
    SetNetworkType("Wireless");
    RunLoopOnce();
  }

  static void SetNetworkType(const char* type) {
    ASSERT_EQ(vconf_set_str(vconf_keys::kNetworkType, type), VCONF_OK);
  }
  /// A TV on the cable, with Wi-Fi off.
  void PlugIn() {
    m_wifi.Drop();
    m_tv.PlugCable();
    RunLoopFor(std::chrono::seconds(1));
    SetNetworkType("Wired");
    RunLoopOnce();
  }

  std::size_t Calls(std::string_view function) { return m_tv.Calls(function).size(); }

  /// More than any sequence of requests takes.
  static void Settle() { RunLoopFor(std::chrono::seconds(20)); }

  static constexpr char kOffice[] = "02:00:00:00:40:00";
  static constexpr char kGuests[] = "02:00:00:00:40:01";
  static constexpr char kCertificate[] = "the office's";

  VirtualTv& m_tv = VirtualTv::Instance();
  Wifi& m_wifi = m_tv.GetWifi();
};

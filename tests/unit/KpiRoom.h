#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/mount.h>

#include "VirtualTv.h"
#include "vconf.h"
#include "vconf_keys.h"

/// A living room whose every measurement is fixed: a TV on the 2.4 GHz radio of a router with two bands,
/// an application in the foreground, a Wi-Fi chip with an id. Each test changes what it likes.
class KpiRoom : public testing::Test {
 protected:
  static constexpr char kLow[] = "AA:BB:CC:DD:EE:01";
  static constexpr char kHigh[] = "AA:BB:CC:DD:EE:05";
  static constexpr char kModuleIdFile[] = "/sys/class/net/wlan0/device/idProduct";

  void SetUp() override {
    // The sandbox's mounts are this process's own, so this machine's interfaces stay what they are.
    ASSERT_EQ(mount("tmpfs", "/sys/class/net", "tmpfs", 0, "mode=0755"), 0);
    SetModuleId("7663\n");
    ASSERT_EQ(wifi_initialize(), WIFI_ERROR_NONE);
    m_wifi.AddRadio({.bssid = kLow,
                     .essid = "home",
                     .frequency = 2437,
                     .rssi = -47,
                     .bandwidth = 20,
                     .ipv4 = "192.168.1.20",
                     .ipv6 = "fe80::1"});
    m_wifi.AddRadio({.bssid = kHigh,
                     .essid = "home-5G",
                     .frequency = 5180,
                     .rssi = -55,
                     .bandwidth = 80,
                     .mode = WIFI_MANAGER_CONNECTION_MODE_80211AC});
    m_wifi.Save({.essid = "cabin"});
    m_wifi.SeeAll();
    ASSERT_TRUE(m_wifi.Join(kLow));
    m_wifi.SetSnr(32);
    m_internet.SetLeaseSeconds(3600);
    ASSERT_EQ(vconf_set_str(vconf_keys::kNetworkType, "Wireless"), VCONF_OK);
    ASSERT_EQ(vconf_set_str(vconf_keys::kCurrentFullscreenAppId, "org.orvik.player"), VCONF_OK);
  }

  static void SetModuleId(const std::string& text) {
    const std::filesystem::path file = kModuleIdFile;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << text;
  }

  Radio& Low() { return *m_wifi.FindRadio(kLow); }

  VirtualTv& m_tv = VirtualTv::Instance();
  Wifi& m_wifi = m_tv.GetWifi();
  Internet& m_internet = m_tv.GetInternet();
};

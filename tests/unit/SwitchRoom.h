#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "C5GhzSwitchHandler.h"
#include "MainLoop.h"
#include "NW_Common.h"
#include "SettingsFile.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "vconf.h"
#include "vconf_keys.h"

/// A living room with a dual-band router. The TV is on the 2.4 GHz radio and knows the 5 GHz radio,
/// whose network has a name of its own, so that what is asked of the one cannot be taken for the other.
/// Both networks are saved, and the TV may move by itself.
class SwitchRoom {
 public:
  static constexpr char kHome[] = "AA:BB:CC:DD:EE:01";
  static constexpr char kHome5G[] = "AA:BB:CC:DD:EE:05";

  SwitchRoom() {
    wifi.AddRadio({.bssid = kHome,
                   .essid = "Home",
                   .frequency = 2437,
                   .passphrase = "secret",
                   .rssi = -62,
                   .mode = WIFI_MANAGER_CONNECTION_MODE_80211N});
    wifi.AddRadio({.bssid = kHome5G,
                   .essid = "Home 5G",
                   .frequency = 5220,
                   .passphrase = "secret",
                   .rssi = -55,
                   .bandwidth = 80,
                   .mode = WIFI_MANAGER_CONNECTION_MODE_80211AC});
    wifi.Save({"Home", WIFI_SECURITY_TYPE_WPA2_PSK, "secret"});
    wifi.Save({"Home 5G", WIFI_SECURITY_TYPE_WPA2_PSK, "secret"});
    wifi.SeeAll();
    wifi.Join(kHome);
    SetAutoSwitchingMode(1);
    test_log::Clear();
  }

  /// The settings application writes. Another process: what fails for the daemon does not for it.
  static void Say(const char* word) {
    settings::Write(vconf_keys::kLaunchNS, g_variant_new_string(word));
  }
  static void Start() { Say("START5GHZCONNECTION"); }
  static void Stop() { Say("STOP5GHZCONNECTION"); }

  /// The player reports.
  static void Buffer() { Report(vconf_keys::kStreamingBuffer, 1); }
  static void FallToLowResolution() { Report(vconf_keys::kStreamingLowRes, 1); }
  static void Report(const char* key, int trouble) {
    settings::Write(key, g_variant_new_int32(trouble));
  }

  /// The states entered since the log was cleared.
  static std::vector<int> Entered() {
    constexpr std::string_view kPrefix = "Transit operation =>";
    std::vector<int> path;
    for (const std::string& message : test_log::Messages()) {
      if (message.starts_with(kPrefix)) {
        path.push_back(std::stoi(message.substr(kPrefix.size())));
      }
    }
    return path;
  }

  /// The words that the daemon wrote since the calls were cleared.
  std::vector<std::string> Written() {
    std::vector<std::string> words;
    for (const auto& call : tv.Calls("vconf_set_str")) {
      if (call.arguments.at(0) == vconf_keys::kLaunchNS) {
        words.push_back(call.arguments.at(1));
      }
    }
    return words;
  }

  /// How many messages begin like this.
  static std::size_t CountPrefix(std::string_view prefix) {
    return static_cast<std::size_t>(std::ranges::count_if(
        test_log::Messages(),
        [prefix](const std::string& message) { return message.starts_with(prefix); }));
  }

  static std::string Stored(const char* key) {
    const HeapString value(vconf_get_str(key));
    return value == nullptr ? "(none)" : value.get();
  }

  VirtualTv& tv = VirtualTv::Instance();
  Wifi& wifi = tv.GetWifi();
  C5GhzSwitchHandler& handler = *GetPOCInstance();
};

#pragma once

#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "SettingsFile.h"
#include "WifiRoom.h"
#include "platform.h"
#include "wifi.h"
#include "wifi_manager.h"

using Answers = std::vector<int>;

/// A started platform whose Wi-Fi is ready, and a router with a radio on each band.
class WifiContract : public testing::Test {
 protected:
  void SetUp() override {
    setenv(settings::kDirectoryVariable, "/run/settings", 1);
    m_room = WifiRoom::Enter();
    ASSERT_EQ(platform_start(), 0);
    RunLoopUntil([&] { return m_room->IsReady(); });
    ASSERT_EQ(wifi_initialize(), WIFI_ERROR_NONE);
  }
  void TearDown() override { platform_stop(); }

  void Settle() { RunLoopFor(m_room->Settling()); }

  static void Record(wifi_error_e result, void* answers) {
    static_cast<Answers*>(answers)->push_back(result);
  }

  /// A whole scan.
  void Scan() {
    Answers answers;
    ASSERT_EQ(wifi_scan(Record, &answers), WIFI_ERROR_NONE);
    WaitFor(answers, {WIFI_ERROR_NONE});
  }

  static wifi_target_s To(const WifiRoom::AirRadio& radio, const char* passphrase = nullptr) {
    return {radio.essid.c_str(), radio.bssid.c_str(), radio.frequency, radio.security, passphrase};
  }
  static int Connect(const wifi_target_s& target, Answers& answers) {
    return wifi_connect_target(&target, Record, &answers);
  }
  /// A whole request to connect.
  int ConnectAndWait(const wifi_target_s& target) {
    Answers answers;
    EXPECT_EQ(Connect(target, answers), WIFI_ERROR_NONE);
    RunLoopUntil([&] { return !answers.empty(); }, m_room->LongestRequest());
    return answers.empty() ? 1 : answers.front();
  }
  void WaitFor(const Answers& answers, const Answers& expected) {
    RunLoopUntil([&] { return answers.size() >= expected.size(); }, m_room->LongestRequest());
    EXPECT_EQ(answers, expected);
  }

  static wifi_connection_state_e State() {
    wifi_connection_state_e state = WIFI_CONNECTION_STATE_FAILURE;
    EXPECT_EQ(wifi_get_connection_state(&state), WIFI_ERROR_NONE);
    return state;
  }
  static bool IsConnected() { return State() == WIFI_CONNECTION_STATE_CONNECTED; }

  static std::string TextOf(int (*read)(wifi_ap_h, char**), wifi_ap_h ap) {
    char* text = nullptr;
    EXPECT_EQ(read(ap, &text), WIFI_ERROR_NONE);
    const std::string copy = text == nullptr ? "(none)" : text;
    std::free(text);
    return copy;
  }
  static std::string BssidOf(wifi_ap_h ap) { return TextOf(wifi_ap_get_bssid, ap); }
  static std::string NameOf(wifi_ap_h ap) { return TextOf(wifi_ap_get_essid, ap); }

  static wifi_ap_h ConnectedAp() {
    wifi_ap_h ap = nullptr;
    EXPECT_EQ(wifi_get_connected_ap(&ap), WIFI_ERROR_NONE);
    return ap;
  }
  /// Empty when the TV is connected to none.
  static std::string ConnectedBssid() {
    wifi_ap_h ap = nullptr;
    if (wifi_get_connected_ap(&ap) != WIFI_ERROR_NONE) {
      return "";
    }
    std::string bssid = BssidOf(ap);
    EXPECT_EQ(wifi_ap_destroy(ap), WIFI_ERROR_NONE);
    return bssid;
  }

  /// What is said of each access point found; the text of the walk's order does not matter.
  template <class Ask>
  static auto AskFoundAps(Ask ask) {
    struct Walk {
      Ask& ask;
      std::vector<decltype(ask(wifi_ap_h()))> said;
    } walk{ask, {}};
    const auto step = [](wifi_ap_h ap, void* data) {
      auto* const self = static_cast<Walk*>(data);
      self->said.push_back(self->ask(ap));
      return true;
    };
    EXPECT_EQ(wifi_foreach_found_aps(step, &walk), WIFI_ERROR_NONE);
    return walk.said;
  }

  static int SavedCount() {
    int count = 0;
    const auto step = [](wifi_config_h config, void* number) {
      EXPECT_NE(config, nullptr);
      ++*static_cast<int*>(number);
      return true;
    };
    EXPECT_EQ(wifi_config_foreach_configuration(step, &count), WIFI_ERROR_NONE);
    return count;
  }

  static constexpr char kSecret[] = "fourteen geese";
  const WifiRoom::AirRadio m_low{
      .bssid = "02:00:00:00:10:00", .essid = "Den", .frequency = 2437, .passphrase = kSecret};
  const WifiRoom::AirRadio m_high{.bssid = "02:00:00:00:10:04",
                                  .essid = "Den",
                                  .frequency = 5180,
                                  .passphrase = kSecret,
                                  .is_far = true};
  const WifiRoom::AirRadio m_cafe{.bssid = "02:00:00:00:20:00",
                                  .essid = "Cafe",
                                  .frequency = 2462,
                                  .security = WIFI_SECURITY_TYPE_NONE};
  std::unique_ptr<WifiRoom> m_room;
};

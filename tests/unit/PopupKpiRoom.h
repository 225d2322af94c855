#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KpiRoom.h"
#include "MainLoop.h"
#include "TestLog.h"
#include "WifiOnOffInfo.h"
#include "WirelessKPILogger.h"

using Texts = std::vector<std::string>;

inline constexpr char kTest[] =
    R"({"id":"EV011","execution_method":"manual","marquee_test_result":"success"})";
inline constexpr char kRoom[] = "appid=org.orvik.player;aptype=0";
inline constexpr char kSamples[] =
    "rssis=-62/2427|-65/5220,interferences=35/2427|5/5220,protocols=11n/2427|11ac/5220";

inline std::string IconClick(int reason) {
  return std::string("WIFI_ICON_CLICK EV008 {") + kRoom + ";click_reason=" + std::to_string(reason) +
         "}";
}

inline std::string PopupSelection(int selection) {
  return std::string("WIFI_POP_UP_SELECT EV009 {") + kRoom + ";select=" + std::to_string(selection) +
         "}";
}

inline std::string TestDescription(const std::string& method, const std::string& result) {
  return "execution_method=" + method + ";marquee_test_result=" + result + ";" + kRoom + ";" + kSamples;
}

inline std::string TestResult(const std::string& method, const std::string& result) {
  return "MARQUEE_TEST_RESULT EV011 {" + TestDescription(method, result) + "}";
}

/// As the log writes it.
inline std::string OnOneLine(std::string text) {
  std::ranges::replace(text, '\n', ' ');
  return text;
}

/// A TV on Wi-Fi whose user has agreed to records, with the relay listening.
class PopupKpiRelay : public KpiRoom {
 protected:
  void SetUp() override {
    KpiRoom::SetUp();
    ASSERT_EQ(vconf_set_int(vconf_keys::kDisclaimerAgree, 1), VCONF_OK);
    m_relay.Init();
    Forget();
  }

  void Forget() {
    m_tv.ClearCalls();
    test_log::Clear();
  }

  static void Write(const char* key, const std::string& text) {
    ASSERT_EQ(vconf_set_str(key, text.c_str()), VCONF_OK);
    RunLoopOnce();
  }
  static void Say(const std::string& keyword) { Write(vconf_keys::kPelorusCommand, keyword); }
  static void HandOver(const std::string& document) { Write(vconf_keys::kWirelessKpiInfo, document); }
  static void Flush() { CNetworkLogServiceSingleton<CWirelessKPILogger>::Get()->SendKPIData(); }

  /// What was handed over: name, event and description.
  Texts Sent() {
    Texts records;
    for (const auto& call : m_tv.Calls("AddEventLogSync")) {
      EXPECT_EQ(call.arguments.at(0), "21_wireless");
      records.push_back(call.arguments.at(1) + " " + call.arguments.at(2) + " " + call.arguments.at(3));
    }
    return records;
  }

  /// Neither a record, nor anything of one, nor a value that has changed.
  void ExpectNothing(const std::string& said) {
    EXPECT_EQ(Sent(), Texts{}) << said;
    EXPECT_EQ(m_relay.GetPopupReason(), -1) << said;
    EXPECT_EQ(m_relay.GetPopupSelection(), -1) << said;
    EXPECT_EQ(m_relay.GetExecutionMethod(), "") << said;
    EXPECT_EQ(m_relay.GetTestResult(), "") << said;
    EXPECT_FALSE(test_log::Has("SendKPIData() is invoked !!")) << said;
  }

  CWifiOnOffInfo& m_relay = *GetWifiOnOffInstance();
};

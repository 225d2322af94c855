#include "Air.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "BusRoom.h"
#include "MainLoop.h"
#include "Network.h"
#include "NetworkService.h"
#include "Supplicant.h"
#include "WifiStub.h"
#include "platform.h"
#include "wifi_manager.h"

using namespace std::chrono_literals;

namespace {

/// A machine without a driver that could be asked: everything is heard through the supplicant.
class AirTest : public testing::Test {
 protected:
  void SetUp() override {
    network::EnterNamespace();
    m_bus.StartBus();
    m_services.emplace();
    ASSERT_EQ(platform_start(), 0);
    ASSERT_EQ(wifi_initialize(), WIFI_ERROR_NONE);
  }
  void TearDown() override { platform_stop(); }

  void StartServices() {
    m_services->StartBoth();
    UntilReady();
  }
  void UntilReady() {
    RunLoopUntil([] { return NetworkService::Instance().WifiDevice() != nullptr; });
    Supplicant::Instance().UseInterface("wlan0");
    RunLoopUntil([] { return Air::Instance().IsReady(); });
  }

  std::optional<bool> Scan(const ScanRequest& request = {{}, {""}}) {
    m_answer.reset();
    Air::Instance().Scan(request, [this](bool is_done) { m_answer = is_done; });
    RunLoopUntil([this] { return m_answer.has_value(); });
    return m_answer;
  }
  std::optional<bool> Look(int frequency, const std::string& name = "") {
    m_answer.reset();
    Air::Instance().Look({frequency}, name, [this](bool is_done) { m_answer = is_done; });
    RunLoopUntil([this] { return m_answer.has_value(); });
    return m_answer;
  }
  /// How often the supplicant was asked to scan since this was asked last.
  int ScanCount() {
    std::istringstream calls(m_services->Ask("calls"));
    std::string call;
    while (calls >> call) {
      if (call.starts_with("Scan=")) {
        return std::stoi(call.substr(5));
      }
    }
    return 0;
  }
  static std::vector<std::string> Names() {
    std::vector<std::string> names;
    for (const HeardRadio& heard : Air::Instance().Radios()) {
      names.push_back(heard.radio.ssid);
    }
    std::ranges::sort(names);
    return names;
  }

  static constexpr char kDen[] = "02:00:00:00:10:0a";
  static constexpr char kDenInUpperCase[] = "02:00:00:00:10:0A";
  BusRoom m_bus;
  std::optional<WifiStub> m_services;
  std::optional<bool> m_answer;
};
using AirOverTheBus = AirTest;

}  // namespace

TEST_F(AirOverTheBus, ARadioIsKnownByWhatItTells) {
  m_services->PutOnAir(
      {.bssid = kDen, .ssid = "Den", .frequency = 5180, .signal = -61, .security = "wpa2"});
  StartServices();
  EXPECT_EQ(Scan(), true);
  const HeardRadio* const heard = Air::Instance().Find(kDen);
  ASSERT_NE(heard, nullptr);
  EXPECT_EQ(heard->radio.bssid, kDenInUpperCase);
  EXPECT_EQ(heard->radio.ssid, "Den");
  EXPECT_EQ(heard->radio.frequency, 5180);
  EXPECT_EQ(heard->radio.signal, -61);
  EXPECT_EQ(heard->radio.security, WIFI_SECURITY_TYPE_WPA2_PSK);
  EXPECT_EQ(heard->radio.width, 80);
  EXPECT_EQ(heard->radio.mode, WIFI_MANAGER_CONNECTION_MODE_80211AC);
  EXPECT_FALSE(heard->is_connected);
  EXPECT_LT(heard->Age(), 1s);
  EXPECT_EQ(Air::Instance().Connected(), nullptr);
  EXPECT_EQ(Air::Instance().SignalToNoise(), std::nullopt);
}

TEST_F(AirOverTheBus, EachKindOfSecurityIsTold) {
  const struct {
    const char* word;
    wifi_security_type_e expected;
  } kinds[] = {{"none", WIFI_SECURITY_TYPE_NONE},   {"wep", WIFI_SECURITY_TYPE_WEP},
               {"wpa", WIFI_SECURITY_TYPE_WPA_PSK}, {"wpa2", WIFI_SECURITY_TYPE_WPA2_PSK},
               {"sae", WIFI_SECURITY_TYPE_SAE},     {"eap", WIFI_SECURITY_TYPE_EAP}};
  for (const auto& kind : kinds) {
    m_services->PutOnAir({.bssid = kDen, .ssid = kind.word, .security = kind.word});
    if (!Air::Instance().IsReady()) {
      StartServices();
    }
    EXPECT_EQ(Scan(), true);
    ASSERT_NE(Air::Instance().Find(kDen), nullptr);
    EXPECT_EQ(Air::Instance().Find(kDen)->radio.security, kind.expected) << kind.word;
  }
}

TEST_F(AirOverTheBus, ANameIsAnyBytes) {
  const std::string bytes("\xFF\0\"\x01\\x41", 8);
  m_services->PutOnAir({.bssid = kDen, .ssid = bytes});
  StartServices();
  EXPECT_EQ(Scan(), true);
  EXPECT_EQ(Names(), std::vector<std::string>{bytes});
}

TEST_F(AirOverTheBus, WhatWasHeardBeforeTheStartIsKnown) {
  m_services->PutOnAir({.bssid = kDen, .ssid = "Den"});
  m_services->StartBoth();
  m_services->Ask("scan");
  g_usleep(500'000);
  UntilReady();
  RunLoopUntil([] { return !Air::Instance().Radios().empty(); });
  EXPECT_EQ(Names(), std::vector<std::string>{"Den"});
}

TEST_F(AirOverTheBus, ARadioThatALaterScanMissesIsInReachNoMore) {
  m_services->PutOnAir({.bssid = kDen, .ssid = "Den", .frequency = 2437});
  m_services->PutOnAir({.bssid = "02:00:00:00:20:00", .ssid = "Cafe", .frequency = 2462});
  StartServices();
  EXPECT_EQ(Scan(), true);
  m_services->TakeOffAir(kDen);
  m_services->TakeOffAir("02:00:00:00:20:00");
  EXPECT_EQ(Look(2437), true);
  EXPECT_EQ(Names(), std::vector<std::string>{"Cafe"});
  EXPECT_EQ(Air::Instance().Find(kDen), nullptr);
}

TEST_F(AirOverTheBus, ALookThatMissesSomebodyIsTakenTwice) {
  m_services->PutOnAir({.bssid = kDen, .ssid = "Den", .frequency = 2437});
  StartServices();
  EXPECT_EQ(Scan(), true);
  m_services->Ask("calls");
  EXPECT_EQ(Look(2437), true);
  EXPECT_EQ(ScanCount(), 1);
  m_services->TakeOffAir(kDen);
  EXPECT_EQ(Look(2437), true);
  EXPECT_EQ(ScanCount(), 2);
}

TEST_F(AirOverTheBus, AHiddenRadioAnswersToItsName) {
  m_services->PutOnAir({.bssid = kDen, .ssid = "Den", .frequency = 2437, .is_hidden = true});
  StartServices();
  EXPECT_EQ(Look(2437), true);
  EXPECT_EQ(Names(), std::vector<std::string>{""});
  EXPECT_EQ(Look(2437, "Other"), true);
  EXPECT_EQ(Names(), std::vector<std::string>{""});
  EXPECT_EQ(Look(2437, "Den"), true);
  EXPECT_EQ(Names(), std::vector<std::string>{"Den"});
}

TEST_F(AirOverTheBus, ALookEndsTheScanOfSomebodyElse) {
  m_services->PutOnAir({.bssid = kDen, .ssid = "Den", .frequency = 2437});
  StartServices();
  m_services->Ask("scan");
  EXPECT_EQ(Look(2437), true);
  EXPECT_EQ(Names(), std::vector<std::string>{"Den"});
}

TEST_F(AirOverTheBus, AScanThatALookEndedIsAnsweredLater) {
  m_services->PutOnAir({.bssid = kDen, .ssid = "Den", .frequency = 2437});
  StartServices();
  std::vector<std::string> order;
  Air::Instance().Scan({{}, {""}}, [&](bool is_done) { order.push_back(is_done ? "scan" : "failed"); });
  RunLoopFor(20ms);
  Air::Instance().Look({2437}, "", [&](bool is_done) { order.push_back(is_done ? "look" : "failed"); });
  RunLoopUntil([&] { return order.size() == 2; });
  EXPECT_EQ(order, (std::vector<std::string>{"look", "scan"}));
}

TEST_F(AirOverTheBus, WithoutAServiceAScanFailsAndWorksOnceItIsThere) {
  EXPECT_FALSE(Air::Instance().IsReady());
  EXPECT_EQ(Scan(), false);
  int count = 0;
  EXPECT_EQ(wifi_scan([](wifi_error_e, void*) {}, nullptr), WIFI_ERROR_OPERATION_FAILED);
  EXPECT_EQ(wifi_foreach_found_aps(
                [](wifi_ap_h, void* number) { return ++*static_cast<int*>(number), true; }, &count),
            WIFI_ERROR_NONE);
  EXPECT_EQ(count, 0);
  m_services->PutOnAir({.bssid = kDen, .ssid = "Den"});
  StartServices();
  EXPECT_EQ(Scan(), true);
  EXPECT_EQ(Names(), std::vector<std::string>{"Den"});
}

TEST_F(AirOverTheBus, AServiceThatDiesDuringAScanIsAFailure) {
  StartServices();
  Air::Instance().Scan({{}, {""}}, [this](bool is_done) { m_answer = is_done; });
  RunLoopFor(20ms);
  m_services->Stop(WifiStub::kSupplicant);
  RunLoopUntil([this] { return m_answer.has_value(); });
  EXPECT_EQ(m_answer, false);
  EXPECT_TRUE(Air::Instance().Radios().empty());
  m_services->Start(WifiStub::kSupplicant);
  RunLoopUntil([] { return Air::Instance().IsReady(); });
  EXPECT_EQ(Scan(), true);
}

TEST_F(AirOverTheBus, AServiceThatNeverAnswersIsAFailureAfterItsTime) {
  StartServices();
  m_services->Answer(WifiStub::kSupplicant, "never");
  EXPECT_EQ(Look(2437), false);
  m_services->Answer(WifiStub::kSupplicant, "normally");
  EXPECT_EQ(Look(2437), true);
}

TEST_F(AirOverTheBus, AServiceThatRefusesIsAFailure) {
  StartServices();
  m_services->Answer(WifiStub::kSupplicant, "error");
  EXPECT_EQ(Look(2437), false);
  m_services->Answer(WifiStub::kSupplicant, "normally");
  EXPECT_EQ(Look(2437), true);
}

TEST_F(AirOverTheBus, AServiceThatTalksNonsenseIsAskedAgain) {
  m_services->PutOnAir({.bssid = kDen, .ssid = "Den", .frequency = 2437});
  StartServices();
  m_services->Answer(WifiStub::kSupplicant, "nonsense");
  ASSERT_TRUE(Look(2437).has_value());
  m_services->Answer(WifiStub::kSupplicant, "normally");
  EXPECT_EQ(Look(2437), true);
  RunLoopUntil([] { return !Names().empty(); });
  EXPECT_EQ(Names(), std::vector<std::string>{"Den"});
}

TEST_F(AirOverTheBus, NothingIsAnsweredAfterTheStop) {
  StartServices();
  Air::Instance().Scan({{}, {""}}, [this](bool is_done) { m_answer = is_done; });
  RunLoopFor(20ms);
  platform_stop();
  RunLoopFor(500ms);
  EXPECT_EQ(m_answer, std::nullopt);
}

/// A walk asks nobody, so that it costs the callbacks and little more.
TEST_F(AirOverTheBus, FiveHundredAccessPointsAreWalkedCheaply) {
  m_services->Ask("crowd 500");
  StartServices();
  EXPECT_EQ(Scan(), true);
  struct Walk {
    int networks = 0;
    int radios = 0;
  } walk;
  const auto on_radio = [](const char*, int, int, void* data) {
    ++static_cast<Walk*>(data)->radios;
    return true;
  };
  static wifi_found_bssid_cb count_radio = on_radio;
  const auto started = std::chrono::steady_clock::now();
  ASSERT_EQ(wifi_foreach_found_aps(
                [](wifi_ap_h ap, void* data) {
                  ++static_cast<Walk*>(data)->networks;
                  EXPECT_EQ(wifi_foreach_found_bssids(ap, count_radio, data), WIFI_ERROR_NONE);
                  return true;
                },
                &walk),
            WIFI_ERROR_NONE);
  const auto taken = std::chrono::steady_clock::now() - started;
  EXPECT_GE(walk.radios, 500);
  EXPECT_LE(walk.networks, walk.radios);
  EXPECT_LT(taken, 500ms);
  RecordProperty("networks", walk.networks);
  RecordProperty("microseconds",
                 static_cast<int>(std::chrono::duration_cast<std::chrono::microseconds>(taken).count()));
}

#include "WifiRequests.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "TestLog.h"
#include "VirtualWifiFixture.h"
#include "platform.h"

namespace {

/// Latencies as they are at first: 100 ms for the look, 700 for the answer, 300 for the address.
class VirtualWifiConnection : public VirtualWifiFixture {
 protected:
  using Temper = Radio::Temper;

  void SetTemper(Temper temper) { m_wifi.FindRadio(kHigh)->temper = temper; }

  /// Asks for the other radio and lets a request's whole time pass.
  void MoveToHigh(const char* passphrase = nullptr) {
    ASSERT_TRUE(m_wifi.Join(kLow));
    ASSERT_EQ(Connect(To(kHigh, 5180, passphrase)), WIFI_ERROR_NONE);
    RunLoopFor(milliseconds(1110));
  }
  void ExpectNothingLeft() {
    EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_DISCONNECTED);
    EXPECT_EQ(m_wifi.ConnectedBssid(), "");
  }
};

TEST_F(VirtualWifiConnection, TakesALookAnAnswerAndAnAddress) {
  ASSERT_TRUE(m_wifi.Join(kLow));
  ASSERT_EQ(Connect(To(kHigh, 5180)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(98));
  EXPECT_EQ(m_wifi.ConnectedBssid(), kLow);
  RunLoopFor(milliseconds(4));
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_ASSOCIATION);
  EXPECT_EQ(m_wifi.ConnectedBssid(), "");
  RunLoopFor(milliseconds(700));
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_CONFIGURATION);
  RunLoopFor(milliseconds(290));
  EXPECT_EQ(m_answers, Answers{});
  RunLoopFor(milliseconds(10));
  EXPECT_EQ(m_answers, Answers{WIFI_ERROR_NONE});
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_CONNECTED);
  EXPECT_EQ(m_wifi.ConnectedBssid(), kHigh);
}

TEST_F(VirtualWifiConnection, EachStepHasALatencyOfItsOwn) {
  m_tv.SetLatency(EventKind::kLook, 10);
  m_tv.SetLatency(EventKind::kConnect, 20);
  m_tv.SetLatency(EventKind::kAddress, 40);
  m_tv.SetLatency(EventKind::kDisconnect, 80);
  ASSERT_EQ(Connect(To(kHigh, 5180)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(12));
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_ASSOCIATION);
  RunLoopFor(milliseconds(20));
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_CONFIGURATION);
  RunLoopFor(milliseconds(40));
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_CONNECTED);
  wifi_ap_h ap = nullptr;
  ASSERT_EQ(wifi_get_connected_ap(&ap), WIFI_ERROR_NONE);
  ASSERT_EQ(wifi_disconnect(ap, Record, &m_answers), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(78));
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_CONNECTED);
  RunLoopFor(milliseconds(4));
  ExpectNothingLeft();
  EXPECT_EQ(m_answers, (Answers{WIFI_ERROR_NONE, WIFI_ERROR_NONE}));
}

TEST_F(VirtualWifiConnection, RadioOnAnotherChannelThanNamedIsNotFound) {
  ASSERT_TRUE(m_wifi.Join(kLow));
  m_wifi.FindRadio(kHigh)->frequency = 5200;
  ASSERT_EQ(Connect(To(kHigh, 5180)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(102));
  EXPECT_EQ(m_answers, Answers{WIFI_ERROR_NOT_FOUND});
  EXPECT_EQ(m_wifi.ConnectedBssid(), kLow);
}

TEST_F(VirtualWifiConnection, WithoutAChannelTheKnownOneIsLookedAtFirstAndThenAllOfThem) {
  m_wifi.SeeAll();
  m_wifi.FindRadio(kHigh)->frequency = 5200;
  ASSERT_EQ(Connect(To(kHigh)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(2098));
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_DISCONNECTED);
  RunLoopFor(milliseconds(4));
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_ASSOCIATION);
  EXPECT_EQ(m_wifi.FindKnown(kHigh)->radio.frequency, 5200);
}

TEST_F(VirtualWifiConnection, WithoutAChannelAKnownRadioTakesOneLook) {
  m_wifi.SeeAll();
  ASSERT_EQ(Connect(To(kHigh)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(102));
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_ASSOCIATION);
}

TEST_F(VirtualWifiConnection, WithoutAChannelAnUnknownRadioTakesALookAtAllOfThem) {
  ASSERT_EQ(Connect(To(kHigh)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(1998));
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_DISCONNECTED);
  RunLoopFor(milliseconds(4));
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_ASSOCIATION);
}

TEST_F(VirtualWifiConnection, WithoutARadioTheStrongestOnTheAirIsTaken) {
  m_wifi.SeeAll();
  m_wifi.FindRadio(kLow)->rssi = -80;
  ASSERT_EQ(Connect(To(nullptr)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(1200));
  EXPECT_EQ(m_wifi.ConnectedBssid(), kHigh);
}

TEST_F(VirtualWifiConnection, RadioOfAnotherNameOrSecurityIsNotTheTarget) {
  m_wifi.FindRadio(kHigh)->security = WIFI_SECURITY_TYPE_SAE;
  ASSERT_EQ(Connect(To(kHigh, 5180)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(110));
  m_wifi.FindRadio(kLow)->essid = "Attic";
  ASSERT_EQ(Connect(To(kLow, 2437)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(110));
  EXPECT_EQ(m_answers, (Answers{WIFI_ERROR_NOT_FOUND, WIFI_ERROR_NOT_FOUND}));
}

TEST_F(VirtualWifiConnection, RefusalComesWithTheAnswerOfTheRadio) {
  SetTemper(Temper::kRefuses);
  ASSERT_TRUE(m_wifi.Join(kLow));
  ASSERT_EQ(Connect(To(kHigh, 5180)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(798));
  EXPECT_EQ(m_answers, Answers{});
  RunLoopFor(milliseconds(6));
  EXPECT_EQ(m_answers, Answers{WIFI_ERROR_REFUSED});
  ExpectNothingLeft();
}

TEST_F(VirtualWifiConnection, SilentRadioNeverAnswers) {
  SetTemper(Temper::kSilent);
  MoveToHigh();
  RunLoopFor(std::chrono::hours(24));
  EXPECT_EQ(m_answers, Answers{});
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_ASSOCIATION);
  ASSERT_EQ(Connect(To(kLow, 2437)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(1110));
  EXPECT_EQ(m_answers, (Answers{WIFI_ERROR_OPERATION_ABORTED, WIFI_ERROR_NONE}));
  EXPECT_EQ(m_wifi.ConnectedBssid(), kLow);
}

TEST_F(VirtualWifiConnection, AnswerMayReachTheProgramTwice) {
  SetTemper(Temper::kAnswersTwice);
  MoveToHigh();
  EXPECT_EQ(m_answers, (Answers{WIFI_ERROR_NONE, WIFI_ERROR_NONE}));
  RunLoopFor(milliseconds(5000));
  EXPECT_EQ(m_answers.size(), 2U);
  EXPECT_EQ(m_wifi.ConnectedBssid(), kHigh);
}

TEST_F(VirtualWifiConnection, WithoutAnAddressThereIsNone) {
  SetTemper(Temper::kNoAddress);
  MoveToHigh();
  EXPECT_EQ(m_answers, Answers{WIFI_ERROR_DHCP_FAILED});
  ExpectNothingLeft();
  SetTemper(Temper::kAccepts);
  m_wifi.FindRadio(kHigh)->ipv4 = "";
  MoveToHigh();
  EXPECT_EQ(m_answers, (Answers{WIFI_ERROR_DHCP_FAILED, WIFI_ERROR_DHCP_FAILED}));
  m_wifi.FindRadio(kHigh)->ipv6 = "2001:db8::7";
  MoveToHigh();
  EXPECT_EQ(m_answers.back(), WIFI_ERROR_NONE);
}

TEST_F(VirtualWifiConnection, RadioThatLeavesTheAirMeanwhileDoesNotReply) {
  for (const int leaves_at_ms : {200, 900}) {
    m_answers.clear();
    m_wifi.SetOn(kHigh, true);
    ASSERT_TRUE(m_wifi.Join(kLow));
    ASSERT_EQ(Connect(To(kHigh, 5180)), WIFI_ERROR_NONE);
    RunLoopFor(milliseconds(leaves_at_ms));
    m_wifi.SetOn(kHigh, false);
    RunLoopFor(milliseconds(1200 - leaves_at_ms));
    EXPECT_EQ(m_answers, Answers{WIFI_ERROR_NO_REPLY}) << leaves_at_ms;
    ExpectNothingLeft();
  }
}

TEST_F(VirtualWifiConnection, PresentConnectionMayBreakOffDuringTheLook) {
  ASSERT_TRUE(m_wifi.Join(kLow));
  ASSERT_EQ(Connect(To(kHigh, 5180)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(50));
  m_wifi.RemoveRadio(kLow);
  RunLoopFor(milliseconds(1100));
  EXPECT_EQ(m_answers, Answers{WIFI_ERROR_NONE});
  EXPECT_EQ(m_wifi.ConnectedBssid(), kHigh);
}

TEST_F(VirtualWifiConnection, PassphraseIsTheGivenOneElseTheSavedOne) {
  struct Case {
    const char* saved;
    const char* given;
    int answer;
  };
  for (const Case& c :
       {Case{nullptr, nullptr, WIFI_ERROR_INVALID_KEY}, Case{nullptr, "wrong", WIFI_ERROR_INVALID_KEY},
        Case{nullptr, "", WIFI_ERROR_INVALID_KEY}, Case{nullptr, kSecret, WIFI_ERROR_NONE},
        Case{"old", nullptr, WIFI_ERROR_INVALID_KEY}, Case{"old", kSecret, WIFI_ERROR_NONE},
        Case{kSecret, nullptr, WIFI_ERROR_NONE}, Case{kSecret, "wrong", WIFI_ERROR_INVALID_KEY}}) {
    m_answers.clear();
    m_wifi.Drop();
    m_wifi.Forget("Den");
    if (c.saved != nullptr) {
      m_wifi.Save({"Den", WIFI_SECURITY_TYPE_WPA2_PSK, c.saved});
    }
    ASSERT_EQ(Connect(To(kHigh, 5180, c.given)), WIFI_ERROR_NONE);
    RunLoopFor(milliseconds(1110));
    EXPECT_EQ(m_answers, Answers{c.answer});
    const SavedNetwork* const saved = m_wifi.FindSaved("Den", WIFI_SECURITY_TYPE_WPA2_PSK);
    if (c.answer == WIFI_ERROR_NONE) {
      ASSERT_NE(saved, nullptr);
      EXPECT_EQ(saved->passphrase, kSecret);
    } else {
      EXPECT_EQ(saved == nullptr, c.saved == nullptr);
    }
  }
}

TEST_F(VirtualWifiConnection, OpenNetworkIsNotSaved) {
  m_wifi.AddRadio({.bssid = kOther, .essid = "Cafe", .security = WIFI_SECURITY_TYPE_NONE});
  ASSERT_EQ(Connect({"Cafe", nullptr, 2437, WIFI_SECURITY_TYPE_NONE, ""}), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(1110));
  EXPECT_EQ(m_answers, Answers{WIFI_ERROR_NONE});
  EXPECT_EQ(m_wifi.FindSaved("Cafe", WIFI_SECURITY_TYPE_NONE), nullptr);
}

TEST_F(VirtualWifiConnection, HiddenTargetHasItsName) {
  m_wifi.AddRadio({.bssid = kOther, .essid = "Attic", .is_hidden = true, .passphrase = kSecret});
  m_wifi.SeeAll();
  ASSERT_EQ(Connect({"Attic", kOther, 2437, WIFI_SECURITY_TYPE_WPA2_PSK, kSecret}), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(102));
  EXPECT_EQ(m_wifi.FindKnown(kOther)->radio.essid, "Attic");
}

/// Whatever the step and the latencies, the end of the older request comes before all of the newer one.
TEST_F(VirtualWifiConnection, OlderRequestEndsBeforeAnythingOfTheNewerOne) {
  for (const unsigned latency : {0U, 100U}) {
    for (const EventKind kind : {EventKind::kLook, EventKind::kConnect, EventKind::kAddress}) {
      m_tv.SetLatency(kind, latency);
    }
    for (const int superseded_at_ms : {0, 50, 150, 250}) {
      SetTemper(superseded_at_ms == 250 ? Temper::kSilent : Temper::kAccepts);
      m_answers.clear();
      m_wifi.Drop();
      struct Log {
        Wifi& wifi;
        std::vector<std::pair<int, int>> entries;  // the answer, and the state at that moment
      } log{m_wifi, {}};
      const auto note = [](wifi_error_e result, void* data) {
        auto* const self = static_cast<Log*>(data);
        self->entries.emplace_back(result, self->wifi.State());
      };
      const wifi_target_s first = To(kHigh, 5180);
      const wifi_target_s second = To(kLow, 2437);
      ASSERT_EQ(wifi_connect_target(&first, note, &log), WIFI_ERROR_NONE);
      if (latency != 0) {
        RunLoopFor(milliseconds(superseded_at_ms));
      }
      ASSERT_EQ(wifi_connect_target(&second, note, &log), WIFI_ERROR_NONE);
      EXPECT_EQ(log.entries.size(), 0U);
      RunLoopFor(milliseconds(400));
      using Entries = std::vector<std::pair<int, int>>;
      EXPECT_EQ(log.entries, (Entries{{WIFI_ERROR_OPERATION_ABORTED, WIFI_CONNECTION_STATE_DISCONNECTED},
                                      {WIFI_ERROR_NONE, WIFI_CONNECTION_STATE_CONNECTED}}))
          << latency << " ms, superseded at " << superseded_at_ms;
      EXPECT_EQ(m_wifi.ConnectedBssid(), kLow);
    }
  }
}

TEST_F(VirtualWifiConnection, RequestMadeWhileHearingOfAnAbortionIsTheNewest) {
  struct Way {
    wifi_target_s third;
    Answers answers;
    Answers third_answers;
  } way{To(kHigh, 5180), {}, {}};
  const auto ask_again = [](wifi_error_e result, void* data) {
    auto* const self = static_cast<Way*>(data);
    self->answers.push_back(result);
    EXPECT_EQ(wifi_connect_target(&self->third, Record, &self->third_answers), WIFI_ERROR_NONE);
  };
  const wifi_target_s first = To(kHigh, 5180);
  ASSERT_EQ(wifi_connect_target(&first, ask_again, &way), WIFI_ERROR_NONE);
  ASSERT_EQ(Connect(To(kLow, 2437)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(1200));
  EXPECT_EQ(way.answers, Answers{WIFI_ERROR_OPERATION_ABORTED});
  EXPECT_EQ(m_answers, Answers{WIFI_ERROR_OPERATION_ABORTED});
  EXPECT_EQ(way.third_answers, Answers{WIFI_ERROR_NONE});
  EXPECT_EQ(m_wifi.ConnectedBssid(), kHigh);
}

TEST_F(VirtualWifiConnection, RequestThatWasRefusedLeavesTheRunningOneAlone) {
  ASSERT_TRUE(m_wifi.Join(kLow));
  wifi_ap_h ap = nullptr;
  ASSERT_EQ(wifi_get_connected_ap(&ap), WIFI_ERROR_NONE);
  ASSERT_EQ(Connect(To(kHigh, 5180)), WIFI_ERROR_NONE);
  EXPECT_EQ(Connect(To(kLow, -1)), WIFI_ERROR_INVALID_PARAMETER);
  RunLoopFor(milliseconds(150));
  EXPECT_EQ(wifi_disconnect(ap, Record, &m_answers), WIFI_ERROR_NO_CONNECTION);
  RunLoopFor(milliseconds(1000));
  EXPECT_EQ(m_answers, Answers{WIFI_ERROR_NONE});
  EXPECT_EQ(m_wifi.ConnectedBssid(), kHigh);
}

TEST_F(VirtualWifiConnection, ScanAndConnectionGoOnSideBySide) {
  Answers scan;
  ASSERT_EQ(wifi_scan(Record, &scan), WIFI_ERROR_NONE);
  ASSERT_EQ(Connect(To(kHigh, 5180)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(2010));
  EXPECT_EQ(m_answers, Answers{WIFI_ERROR_NONE});
  EXPECT_EQ(scan, Answers{WIFI_ERROR_NONE});
  EXPECT_EQ(m_wifi.ConnectedBssid(), kHigh);
}

TEST_F(VirtualWifiConnection, DisconnectingALostConnectionIsNoFailure) {
  m_wifi.Join(kLow);
  wifi_ap_h ap = nullptr;
  ASSERT_EQ(wifi_get_connected_ap(&ap), WIFI_ERROR_NONE);
  ASSERT_EQ(wifi_disconnect(ap, Record, &m_answers), WIFI_ERROR_NONE);
  m_wifi.SetOn(kLow, false);
  RunLoopFor(milliseconds(110));
  EXPECT_EQ(m_answers, Answers{WIFI_ERROR_NONE});
  ExpectNothingLeft();
  EXPECT_EQ(wifi_disconnect(ap, Record, &m_answers), WIFI_ERROR_NO_CONNECTION);
}

TEST_F(VirtualWifiConnection, StoppedPlatformAnswersNothingAndStartsAnew) {
  Answers scan;
  ASSERT_EQ(platform_start(), 0);
  ASSERT_EQ(wifi_scan(Record, &scan), WIFI_ERROR_NONE);
  ASSERT_EQ(Connect(To(kHigh, 5180)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(500));
  platform_stop();
  ExpectNothingLeft();
  EXPECT_EQ(wifi_scan(Record, &scan), WIFI_ERROR_OPERATION_FAILED);
  EXPECT_EQ(Connect(To(kHigh, 5180)), WIFI_ERROR_OPERATION_FAILED);
  RunLoopFor(milliseconds(5000));
  EXPECT_EQ(scan, Answers{});
  EXPECT_EQ(m_answers, Answers{});
  ASSERT_EQ(platform_start(), 0);
  EXPECT_EQ(wifi_scan(Record, &scan), WIFI_ERROR_NONE);
  EXPECT_EQ(Connect(To(kHigh, 5180)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(2010));
  EXPECT_EQ(scan, Answers{WIFI_ERROR_NONE});
  EXPECT_EQ(m_answers, Answers{WIFI_ERROR_NONE});
  platform_stop();
}

TEST_F(VirtualWifiConnection, CallsAreRecordedWithReadableArguments) {
  m_wifi.Join(kLow);
  m_tv.ClearCalls();
  wifi_ap_h ap = nullptr;
  wifi_get_connected_ap(&ap);
  Connect(To(kHigh, 5180));
  Connect(To(nullptr));
  wifi_disconnect(ap, Record, &m_answers);
  wifi_disconnect(nullptr, Record, &m_answers);
  wifi_ap_destroy(ap);
  const std::vector<VirtualTv::Call> expected = {
      {"wifi_get_connected_ap", {}},
      {"wifi_connect_target", {"Den", kHigh, "5180", "3"}},
      {"wifi_connect_target", {"Den", "null", "0", "3"}},
      {"wifi_disconnect", {kLow}},
      {"wifi_disconnect", {"null"}},
      {"wifi_ap_destroy", {kLow}},
  };
  EXPECT_EQ(m_tv.Calls(), expected);
}

TEST_F(VirtualWifiConnection, PassphraseIsInNoRecordAndNoLog) {
  for (const char* passphrase : {kSecret, "fifteen geese"}) {
    m_wifi.Forget("Den");
    ASSERT_EQ(Connect(To(kHigh, 5180, passphrase)), WIFI_ERROR_NONE);
    RunLoopFor(milliseconds(1110));
    m_wifi.Drop();
  }
  EXPECT_EQ(m_answers, (Answers{WIFI_ERROR_NONE, WIFI_ERROR_INVALID_KEY}));
  EXPECT_FALSE(m_tv.Calls("wifi_connect_target").empty());
  for (const auto& call : m_tv.Calls()) {
    for (const auto& argument : call.arguments) {
      EXPECT_EQ(argument.find("geese"), std::string::npos) << call.function;
    }
  }
  EXPECT_TRUE(std::ranges::none_of(test_log::Lines(), [](const std::string& line) {
    return line.find("geese") != std::string::npos;
  }));
}

}  // namespace

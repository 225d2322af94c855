#include "setwell/NetworkWifi.h"

#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "NetworkWifiFixture.h"
#include "TestLog.h"

using EventKind = VirtualTv::EventKind;

namespace {

TEST_F(NetworkWifiObject, SaysThatThereIsNoWifi) {
  m_tv.Fail("wifi_initialize", WIFI_ERROR_NOT_SUPPORTED, 1);
  EXPECT_FALSE(m_wifi->InitWifi());
  EXPECT_TRUE(test_log::Has("no Wi-Fi: there is no Wi-Fi (-95)"));
  EXPECT_TRUE(m_wifi->InitWifi());
}

TEST_F(NetworkWifiObject, DescribesTheConnectedAccessPoint) {
  const WIFIData connected = Connected();
  EXPECT_TRUE(connected.isFavourite);
  EXPECT_EQ(connected.securityType, Setwell::SECURITY_WPA2_PSK);
  EXPECT_EQ(connected.ssid, "Den");
  EXPECT_FALSE(connected.is5Ghz);
  EXPECT_EQ(connected.bssid, kLow);
  EXPECT_NE(connected.connectionOption, 0);
  EXPECT_EQ(connected.key, "");
  EXPECT_EQ(connected.rssi, -50);
  EXPECT_EQ(connected.frequency, 2437);

  m_room.Join(kHigh);
  m_room.Forget("Den");
  EXPECT_TRUE(Connected().is5Ghz);
  EXPECT_FALSE(Connected().isFavourite);
}

TEST_F(NetworkWifiObject, NamesTheSecurityOfTheConnectedAccessPoint) {
  const struct {
    wifi_security_type_e type;
    int kind;
  } rows[] = {
      {WIFI_SECURITY_TYPE_NONE, Setwell::SECURITY_OPEN},
      {WIFI_SECURITY_TYPE_WEP, Setwell::SECURITY_WEP},
      {WIFI_SECURITY_TYPE_WPA_PSK, Setwell::SECURITY_WPA_PSK},
      {WIFI_SECURITY_TYPE_WPA2_PSK, Setwell::SECURITY_WPA2_PSK},
      {WIFI_SECURITY_TYPE_WPA_FT_PSK, Setwell::SECURITY_WPA2_PSK},
      {WIFI_SECURITY_TYPE_EAP, Setwell::SECURITY_EAP},
      {WIFI_SECURITY_TYPE_SAE, Setwell::SECURITY_WPA3_SAE},
      {static_cast<wifi_security_type_e>(7), Setwell::SECURITY_UNKNOWN},
  };
  for (const auto& row : rows) {
    m_room.FindRadio(kLow)->security = row.type;
    EXPECT_EQ(Connected().securityType, row.kind) << row.type;
  }
}

TEST_F(NetworkWifiObject, DescribesNothingWithoutConnection) {
  m_room.Drop();
  WIFIData details;
  details.ssid = "untouched";
  EXPECT_FALSE(m_wifi->GetConnectedAPDetails(details));
  EXPECT_EQ(details.ssid, "untouched");
}

TEST_F(NetworkWifiObject, DescribesNothingThatItCouldNotFindBackTo) {
  for (const char* function : {"wifi_get_connected_ap", "wifi_ap_get_essid", "wifi_ap_get_bssid",
                               "wifi_ap_get_security_type", "wifi_ap_get_frequency"}) {
    SCOPED_TRACE(function);
    m_tv.Fail(function, WIFI_ERROR_OPERATION_FAILED, 1);
    WIFIData details;
    details.ssid = "untouched";
    EXPECT_FALSE(m_wifi->GetConnectedAPDetails(details));
    EXPECT_EQ(details.ssid, "untouched");
    EXPECT_TRUE(m_wifi->GetConnectedAPDetails(details));
  }
}

TEST_F(NetworkWifiObject, DescribesTheRestWithoutSignalAndWithoutSavedNetworks) {
  m_tv.Fail("wifi_ap_get_rssi", WIFI_ERROR_OPERATION_FAILED, 1);
  EXPECT_EQ(Connected().rssi, 0);
  m_tv.Fail("wifi_ap_is_favorite", WIFI_ERROR_OPERATION_FAILED, 1);
  EXPECT_FALSE(Connected().isFavourite);
}

TEST_F(NetworkWifiObject, LeavesNoHandleBehind) {
  m_tv.ClearCalls();
  Connected();
  Similar();
  m_wifi->Disconnect("Den");
  EXPECT_EQ(m_tv.Calls("wifi_get_connected_ap").size(), 3U);
  EXPECT_EQ(m_tv.Calls("wifi_ap_destroy").size(), 3U);
}

TEST_F(NetworkWifiObject, ScansAndTells) {
  m_wifi->Scan();
  EXPECT_EQ(m_heard, Heard{});
  RunUntilQuiet();
  EXPECT_EQ(m_heard, Heard{"scanned"});
}

TEST_F(NetworkWifiObject, TellsTheEndOfAScanThatCouldNotBegin) {
  for (const int code : {WIFI_ERROR_INVALID_OPERATION, WIFI_ERROR_NOW_IN_PROGRESS,
                         WIFI_ERROR_OPERATION_FAILED, WIFI_ERROR_NOT_SUPPORTED}) {
    m_tv.Fail("wifi_scan", code, 1);
    m_wifi->Scan();
    EXPECT_EQ(m_heard, Heard{}) << code;  // not from inside the request
    RunLoopOnce();
    EXPECT_EQ(Take(), Heard{"scanned"}) << code;
  }
}

TEST_F(NetworkWifiObject, TellsOneEndOfAScanThatIsAskedForTwice) {
  m_wifi->Scan();
  m_wifi->Scan();
  RunLoopOnce();
  EXPECT_EQ(m_heard, Heard{});  // the second waits for the first
  RunUntilQuiet();
  EXPECT_EQ(m_heard, Heard{"scanned"});
  m_wifi->Scan();
  RunUntilQuiet();
  EXPECT_EQ(m_heard, (Heard{"scanned", "scanned"}));
}

TEST_F(NetworkWifiObject, DoesNotWaitForTheScanOfAnother) {
  m_wifi->Scan();
  RunUntilQuiet();
  EXPECT_EQ(Take(), Heard{"scanned"});  // one of its own is over, and nothing to wait for
  NetworkWifi other;
  other.Scan();
  m_wifi->Scan();
  RunLoopOnce();
  EXPECT_EQ(m_heard, Heard{"scanned"});
}

TEST_F(NetworkWifiObject, TakesExactlyTheRadioThatWasHandedOut) {
  const WIFIData low = Connected();
  m_room.FindRadio(kHigh)->rssi = -74;  // much weaker, so that nobody would choose it
  m_room.SeeAll();
  const WIFIData high = Similar();

  ConnectTo(high);
  EXPECT_EQ(m_heard, Heard{});
  RunUntilQuiet();
  EXPECT_EQ(Take(), m_success);
  EXPECT_EQ(m_room.ConnectedBssid(), kHigh);

  ConnectTo(low);
  RunUntilQuiet();
  EXPECT_EQ(Take(), m_success);
  EXPECT_EQ(m_room.ConnectedBssid(), kLow);
  const std::vector<VirtualTv::Call> expected{{"wifi_connect_target", {"Den", kHigh, "5180", "3"}},
                                              {"wifi_connect_target", {"Den", kLow, "2437", "3"}}};
  EXPECT_EQ(m_tv.Calls("wifi_connect_target"), expected);
}

TEST_F(NetworkWifiObject, TakesAnyRadioWhenNoneIsNamed) {
  m_room.Drop();
  Setwell::WifiParameters parameters;
  parameters.ssid = "Den";
  parameters.securityType = WIFI_SECURITY_TYPE_WPA2_PSK;
  m_wifi->SetParameters(parameters);
  m_wifi->Connect();
  RunUntilQuiet();
  EXPECT_EQ(m_heard, m_success);
  const std::vector<VirtualTv::Call> expected{{"wifi_connect_target", {"Den", "null", "0", "3"}}};
  EXPECT_EQ(m_tv.Calls("wifi_connect_target"), expected);
}

TEST_F(NetworkWifiObject, HandsOnTheKindOfSecurityThatTheLibraryDoesNotTellApart) {
  m_room.FindRadio(kHigh)->security = WIFI_SECURITY_TYPE_WPA_FT_PSK;
  m_room.SeeAll();
  ConnectTo(Similar());
  const std::vector<VirtualTv::Call> expected{{"wifi_connect_target", {"Den", kHigh, "5180", "5"}}};
  EXPECT_EQ(m_tv.Calls("wifi_connect_target"), expected);
}

TEST_F(NetworkWifiObject, HandsOnTheSecurityThatWasAskedForWhenItIsAnother) {
  Setwell::WifiParameters parameters = ParametersFor(Similar());
  parameters.securityType = WIFI_SECURITY_TYPE_SAE;
  m_wifi->SetParameters(parameters);
  m_wifi->Connect();
  const std::vector<VirtualTv::Call> expected{{"wifi_connect_target", {"Den", kHigh, "5180", "6"}}};
  EXPECT_EQ(m_tv.Calls("wifi_connect_target"), expected);
}

TEST_F(NetworkWifiObject, TakesTheSavedPassphraseUnlessOneIsGiven) {
  WIFIData high = Similar();
  ConnectTo(high);
  RunUntilQuiet();
  EXPECT_EQ(Take(), m_success);

  m_room.Join(kLow);
  m_room.Forget("Den");
  ConnectTo(high);
  RunUntilQuiet();
  EXPECT_EQ(Take(), Failure(WIFI_ERROR_INVALID_KEY));

  high.key = kSecret;
  ConnectTo(high);
  RunUntilQuiet();
  EXPECT_EQ(Take(), m_success);
  EXPECT_EQ(m_room.ConnectedBssid(), kHigh);
}

TEST_F(NetworkWifiObject, NeverLogsAPassphrase) {
  WIFIData high = Similar();
  high.key = "wrong horse";
  ConnectTo(high);
  RunUntilQuiet();
  high.key = kSecret;
  ConnectTo(high);
  RunUntilQuiet();
  EXPECT_EQ(m_room.ConnectedBssid(), kHigh);
  EXPECT_TRUE(test_log::Has("connects to \"Den\" by 02:00:00:00:10:04 on 5180 MHz"));
  EXPECT_TRUE(test_log::Has("connected"));
  for (const std::string& line : test_log::Lines()) {
    EXPECT_EQ(line.find("horse"), std::string::npos) << line;
    EXPECT_EQ(line.find("geese"), std::string::npos) << line;
  }
}

TEST_F(NetworkWifiObject, CountsBeingThereAlreadyAsASuccess) {
  ConnectTo(Connected());
  EXPECT_EQ(m_heard, Heard{});
  RunLoopOnce();
  EXPECT_EQ(m_heard, m_success);
}

TEST_F(NetworkWifiObject, StaysAtHomeWhenCalledBackBeforeItLeft) {
  const WIFIData low = Connected();
  m_tv.SetLatency(EventKind::kLook, 5000);
  ConnectTo(Similar());
  RunLoopFor(std::chrono::seconds(1));
  ConnectTo(low);
  RunUntilQuiet();
  EXPECT_EQ(m_heard, m_success);
  EXPECT_EQ(m_room.ConnectedBssid(), kLow);
}

TEST_F(NetworkWifiObject, TellsWhyAConnectionFailed) {
  const struct {
    Radio::Temper temper;
    Heard heard;
  } rows[] = {
      {Radio::Temper::kRefuses, Failure(WIFI_ERROR_REFUSED)},
      {Radio::Temper::kNoAddress, {"let in", "error " + std::to_string(WIFI_ERROR_DHCP_FAILED)}},
  };
  const WIFIData high = Similar();
  for (const auto& row : rows) {
    m_room.FindRadio(kHigh)->temper = row.temper;
    ConnectTo(high);
    RunUntilQuiet();
    EXPECT_EQ(Take(), row.heard);
  }
  EXPECT_TRUE(test_log::Has("not connected: the access point turns the TV away (-29687031)"));
}

TEST_F(NetworkWifiObject, StaysWhereItIsWhenTheRadioIsNotOnTheAir) {
  const WIFIData high = Similar();
  m_room.SetOn(kHigh, false);
  ConnectTo(high);
  RunUntilQuiet();
  EXPECT_EQ(m_heard, Failure(WIFI_ERROR_NOT_FOUND));
  EXPECT_EQ(m_room.ConnectedBssid(), kLow);
}

TEST_F(NetworkWifiObject, TellsFromTheMainLoopThatARequestWasRefused) {
  for (const int code :
       std::initializer_list<int>{WIFI_ERROR_INVALID_PARAMETER, WIFI_ERROR_INVALID_OPERATION,
                                  WIFI_ERROR_OPERATION_FAILED, WIFI_ERROR_NOT_SUPPORTED, -4711}) {
    m_tv.Fail("wifi_connect_target", code, 1);
    ConnectTo(Similar());
    EXPECT_EQ(m_heard, Heard{}) << code;
    RunLoopOnce();
    EXPECT_EQ(Take(), Failure(code));
  }
  EXPECT_TRUE(test_log::Has("not connected: an unknown error (-4711)"));
}

TEST_F(NetworkWifiObject, RefusesToConnectToNothing) {
  m_wifi->Connect();
  RunLoopOnce();
  EXPECT_EQ(Take(), Failure(WIFI_ERROR_INVALID_PARAMETER));

  m_wifi->SetParameters(ParametersFor(Similar()));
  m_wifi->SetParameters(Setwell::NetworkParameters{});  // of no network that it knows
  m_wifi->Connect();
  RunLoopOnce();
  EXPECT_EQ(Take(), Failure(WIFI_ERROR_INVALID_PARAMETER));
  EXPECT_TRUE(m_tv.Calls("wifi_connect_target").empty());
}

TEST_F(NetworkWifiObject, TakesNoOtherRadioForOneThatItDidNotHandOut) {
  WIFIData high = Similar();
  for (const int option : {-1, high.connectionOption + 1000}) {
    high.connectionOption = option;
    ConnectTo(high);
    RunLoopOnce();
    EXPECT_EQ(Take(), Failure(WIFI_ERROR_NOT_FOUND));
  }
  EXPECT_TRUE(m_tv.Calls("wifi_connect_target").empty());
}

TEST_F(NetworkWifiObject, ForgetsARadioOnlyAfterManyOthers) {
  constexpr int kOthers = 64;
  const WIFIData high = Similar();
  std::vector<WIFIData> others;
  for (int i = 0; i < kOthers; ++i) {
    const std::string bssid = "02:00:00:00:30:" + std::to_string(10 + i);
    m_room.AddRadio({.bssid = bssid, .essid = "Den", .frequency = 2437});
    ASSERT_TRUE(m_room.Join(bssid));
    others.push_back(Connected());
    if (i + 2 == kOthers) {
      ConnectTo(high);
      EXPECT_EQ(m_tv.Calls("wifi_connect_target").size(), 1U);
    }
  }
  ConnectTo(high);
  EXPECT_EQ(m_tv.Calls("wifi_connect_target").size(), 1U);
  ConnectTo(others.front());
  EXPECT_EQ(m_tv.Calls("wifi_connect_target").size(), 2U);
  EXPECT_EQ(m_tv.Calls("wifi_connect_target").back().arguments[1], "02:00:00:00:30:10");
}

TEST_F(NetworkWifiObject, GoesToTheChannelWhereTheRadioWasSeenLast) {
  const WIFIData high = Similar();
  m_room.FindRadio(kHigh)->frequency = 5500;
  m_room.SeeAll();
  Similar();
  ConnectTo(high);
  EXPECT_EQ(m_tv.Calls("wifi_connect_target").back().arguments[2], "5500");
  RunUntilQuiet();
  EXPECT_EQ(m_heard, m_success);
}

TEST_F(NetworkWifiObject, DropsTheAnswerOfARequestThatAnotherFollowed) {
  const WIFIData low = Connected();
  const WIFIData high = Similar();
  m_room.FindRadio(kHigh)->temper = Radio::Temper::kSilent;
  ConnectTo(high);
  RunUntilQuiet();
  EXPECT_EQ(m_heard, Heard{});  // the radio does not answer
  ConnectTo(low);
  RunUntilQuiet();
  EXPECT_EQ(m_heard, m_success);  // and nothing of the first, which was aborted
  EXPECT_EQ(m_room.ConnectedBssid(), kLow);
}

TEST_F(NetworkWifiObject, DropsTheRefusalOfARequestThatAnotherFollowed) {
  m_tv.Fail("wifi_connect_target", WIFI_ERROR_OPERATION_FAILED, 1);
  ConnectTo(Similar());
  ConnectTo(Similar());
  RunUntilQuiet();
  EXPECT_EQ(m_heard, m_success);
}

TEST_F(NetworkWifiObject, TellsThatAnotherProgramsRequestTookThePlaceOfItsOwn) {
  NetworkWifi other;
  const WIFIData low = Connected();
  m_room.FindRadio(kHigh)->temper = Radio::Temper::kSilent;
  ConnectTo(Similar());
  RunUntilQuiet();
  other.SetParameters([&] {
    Setwell::WifiParameters parameters = ParametersFor(low);
    parameters.connectionOption = 0;
    return parameters;
  }());
  other.Connect();
  RunUntilQuiet();
  EXPECT_EQ(m_heard, Failure(WIFI_ERROR_OPERATION_ABORTED));
}

TEST_F(NetworkWifiObject, ForwardsASecondAnswer) {
  m_room.FindRadio(kHigh)->temper = Radio::Temper::kAnswersTwice;
  ConnectTo(Similar());
  RunUntilQuiet();
  EXPECT_EQ(m_heard, (Heard{"let in", "success", "let in", "success"}));
}

TEST_F(NetworkWifiObject, DropsASecondAnswerWhenAnotherRequestFollowedTheFirst) {
  const WIFIData low = Connected();
  m_room.FindRadio(kHigh)->temper = Radio::Temper::kAnswersTwice;
  m_listener->on_heard = [&](const std::string& event) {
    if (event == "success") {
      m_listener->on_heard = nullptr;
      ConnectTo(low);
    }
  };
  ConnectTo(Similar());
  RunUntilQuiet();
  EXPECT_EQ(m_heard, (Heard{"let in", "success", "let in", "success"}));
  EXPECT_EQ(m_room.ConnectedBssid(), kLow);
}

TEST_F(NetworkWifiObject, LeavesTheNetworkOfThatName) {
  m_wifi->Disconnect("Den");
  EXPECT_EQ(m_heard, Heard{});
  RunUntilQuiet();
  EXPECT_EQ(m_heard, Heard{"disconnected"});
  EXPECT_EQ(m_room.ConnectedBssid(), "");
}

TEST_F(NetworkWifiObject, LeavesNoOtherNetwork) {
  for (const char* name : {"De", "Den ", "den", ""}) {
    m_wifi->Disconnect(name);
  }
  m_room.Drop();
  m_wifi->Disconnect("Den");
  RunUntilQuiet();
  EXPECT_EQ(m_heard, Heard{});
  EXPECT_TRUE(m_tv.Calls("wifi_disconnect").empty());
}

TEST_F(NetworkWifiObject, StaysWhenLeavingIsRefused) {
  for (const char* function : {"wifi_get_connected_ap", "wifi_ap_get_essid", "wifi_disconnect"}) {
    m_tv.Fail(function, WIFI_ERROR_OPERATION_FAILED, 1);
    m_wifi->Disconnect("Den");
    RunUntilQuiet();
    EXPECT_EQ(m_heard, Heard{}) << function;
    EXPECT_EQ(m_room.ConnectedBssid(), kLow);
  }
  EXPECT_TRUE(test_log::Has("does not leave \"Den\": the platform cannot do it now (-29687039)"));
}

TEST_F(NetworkWifiObject, KeepsWaitingForAConnectionWhenThereWasNothingToLeave) {
  ConnectTo(Similar());
  m_wifi->Disconnect("Elsewhere");
  RunUntilQuiet();
  EXPECT_EQ(m_heard, m_success);
}

TEST_F(NetworkWifiObject, LeavesAndGoesHomeInOneBreath) {
  m_room.AddRadio({.bssid = "02:00:00:00:10:08",
                   .essid = "Den Guests",
                   .frequency = 5180,
                   .security = WIFI_SECURITY_TYPE_NONE});
  const WIFIData low = Connected();
  m_room.Join("02:00:00:00:10:08");
  m_wifi->Disconnect("Den Guests");
  ConnectTo(low);
  RunUntilQuiet();
  EXPECT_EQ(m_heard, m_success);
  EXPECT_EQ(m_room.ConnectedBssid(), kLow);
}

TEST_F(NetworkWifiObject, DropsAConnectionWhenAskedToLeave) {
  m_tv.SetLatency(EventKind::kLook, 5000);
  ConnectTo(Similar());
  m_wifi->Disconnect("Den");
  RunUntilQuiet();
  EXPECT_EQ(m_heard, Heard{"disconnected"});
  EXPECT_EQ(m_room.ConnectedBssid(), "");
}

}  // namespace

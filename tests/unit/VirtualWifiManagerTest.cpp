#include "WifiManagers.h"

#include <functional>
#include <map>
#include <string_view>

#include "PlatformFunctions.h"
#include "VirtualWifiFixture.h"

namespace {

using Names = std::vector<std::string>;

class VirtualWifiManager : public VirtualWifiFixture {
 protected:
  VirtualWifiManager() { EXPECT_EQ(wifi_manager_initialize(&m_manager), WIFI_MANAGER_ERROR_NONE); }
  static void RecordAnswer(wifi_manager_error_e result, void* answers) {
    static_cast<Answers*>(answers)->push_back(result);
  }
  int ScanChannels(const std::vector<int>& frequencies) {
    wifi_manager_specific_scan_h scan = nullptr;
    EXPECT_EQ(wifi_manager_specific_scan_create(m_manager, &scan), WIFI_MANAGER_ERROR_NONE);
    for (const int frequency : frequencies) {
      EXPECT_EQ(wifi_manager_specific_scan_set_freq(scan, frequency), WIFI_MANAGER_ERROR_NONE);
    }
    return wifi_manager_specific_ap_start_multi_scan(m_manager, scan, RecordAnswer, &m_answers);
  }
  int ScanForName(const char* essid) {
    return wifi_manager_scan_specific_ap(m_manager, essid, RecordAnswer, &m_answers);
  }
  /// Through the strongest radio of the network that the TV knows.
  int ConnectToNetwork(const char* essid) {
    for (const AccessPoint& ap : m_wifi.KnownNetworks()) {
      if (ap.radio.essid == essid) {
        const BorrowedAp handle(m_wifi.Handles(), ap);
        return wifi_manager_connect(m_manager, handle.Get(), RecordAnswer, &m_answers);
      }
    }
    return ADD_FAILURE() << essid << " is not known", 0;
  }
  /// The addresses of the radios that the TV knows, and what it calls them.
  std::map<std::string, std::string> Known() {
    std::map<std::string, std::string> known;
    for (const AccessPoint& ap : m_wifi.Known()) {
      known.emplace(ap.radio.bssid, ap.radio.essid);
    }
    return known;
  }
  std::vector<std::pair<std::string, int>> Saved() {
    std::vector<std::pair<std::string, int>> saved;
    const auto step = [](wifi_manager_config_h config, void* list) {
      char* name = nullptr;
      int frequency = 0;
      EXPECT_EQ(wifi_manager_config_get_name(config, &name), WIFI_MANAGER_ERROR_NONE);
      const int result = wifi_manager_config_get_frequency(config, &frequency);
      EXPECT_EQ(result, frequency != 0 ? WIFI_MANAGER_ERROR_NONE : WIFI_MANAGER_ERROR_OPERATION_FAILED);
      static_cast<std::vector<std::pair<std::string, int>>*>(list)->emplace_back(name, frequency);
      std::free(name);
      return true;
    };
    EXPECT_EQ(wifi_manager_config_foreach_configuration(m_manager, step, &saved),
              WIFI_MANAGER_ERROR_NONE);
    return saved;
  }
  Answers TakeAnswers() { return std::exchange(m_answers, {}); }

  wifi_manager_h m_manager = nullptr;
};

using Known = std::map<std::string, std::string>;
using Saved = std::vector<std::pair<std::string, int>>;

TEST_F(VirtualWifiManager, LooksAtEachChannelForItsLatency) {
  ASSERT_EQ(ScanChannels({5180, 2437, 5180}), WIFI_MANAGER_ERROR_NONE);  // two channels
  RunLoopFor(milliseconds(199));
  EXPECT_EQ(m_answers, Answers{});
  RunLoopFor(milliseconds(2));
  EXPECT_EQ(TakeAnswers(), Answers{WIFI_MANAGER_ERROR_NONE});
  m_tv.SetLatency(EventKind::kChannelScan, 7);
  ASSERT_EQ(ScanChannels({2437}), WIFI_MANAGER_ERROR_NONE);
  RunLoopFor(milliseconds(8));
  EXPECT_EQ(TakeAnswers(), Answers{WIFI_MANAGER_ERROR_NONE});
}

TEST_F(VirtualWifiManager, HearsWhatIsOnTheAirWhenTheTimeIsUp) {
  ASSERT_EQ(ScanChannels({2437, 5180}), WIFI_MANAGER_ERROR_NONE);
  RunLoopFor(milliseconds(150));
  m_wifi.SetOn(kLow, false);
  RunLoopFor(milliseconds(100));
  EXPECT_EQ(Known(), (::Known{{kHigh, "Den"}}));
}

TEST_F(VirtualWifiManager, BeginsTheNextScanWhenTheLastIsDone) {
  ASSERT_EQ(ScanChannels({2437}), WIFI_MANAGER_ERROR_NONE);              // 100 ms
  ASSERT_EQ(wifi_scan(Record, &m_answers), WIFI_ERROR_NONE);             // 2000 ms
  ASSERT_EQ(ScanForName("Den"), WIFI_MANAGER_ERROR_NONE);                // 2000 ms
  ASSERT_EQ(ScanChannels({2437}), WIFI_MANAGER_ERROR_NONE);              // 100 ms
  EXPECT_EQ(wifi_scan(Record, &m_answers), WIFI_ERROR_NOW_IN_PROGRESS);  // waits already
  const std::vector<std::pair<int, std::size_t>> answers_at{{99, 0},   {2, 1}, {1998, 1}, {3, 2},
                                                            {1997, 2}, {4, 3}, {96, 3},   {5, 4}};
  for (const auto& [wait_ms, answers] : answers_at) {
    RunLoopFor(milliseconds(wait_ms));
    EXPECT_EQ(m_answers.size(), answers) << wait_ms;
  }
  EXPECT_EQ(m_answers, (Answers{0, 0, 0, 0}));
}

TEST_F(VirtualWifiManager, ForgetsARadioThatHasLeftItsChannel) {
  m_wifi.SeeAll();
  m_wifi.FindRadio(kHigh)->frequency = 5500;
  m_wifi.SeeChannels({2437});
  EXPECT_EQ(Known(), (::Known{{kLow, "Den"}, {kHigh, "Den"}}));
  m_wifi.SeeChannels({5180});
  EXPECT_EQ(Known(), (::Known{{kLow, "Den"}}));
  m_wifi.SeeChannels({5500});
  EXPECT_EQ(Known(), (::Known{{kLow, "Den"}, {kHigh, "Den"}}));
}

TEST_F(VirtualWifiManager, KnowsARadioOnceThatHasMovedToAScannedChannel) {
  m_wifi.SeeAll();
  m_wifi.FindRadio(kHigh)->frequency = 2437;
  m_wifi.SeeChannels({2437});
  ASSERT_EQ(m_wifi.Known().size(), 2U);
  EXPECT_EQ(m_wifi.FindKnown(kHigh)->radio.frequency, 2437);
}

TEST_F(VirtualWifiManager, HearsNoNameOfAHiddenRadioUnlessItWasKnown) {
  m_wifi.AddRadio({.bssid = kOther, .essid = "Attic", .is_hidden = true, .frequency = 2462});
  m_wifi.Save({"Attic", WIFI_SECURITY_TYPE_WPA2_PSK, ""});
  m_wifi.SeeChannels({2462});
  EXPECT_EQ(Known(), (::Known{{kOther, ""}}));
  EXPECT_EQ(m_wifi.SeeName("Attic").size(), 1U);
  EXPECT_EQ(Known(), (::Known{{kOther, "Attic"}}));
  m_wifi.SeeChannels({2462});
  EXPECT_EQ(Known(), (::Known{{kOther, "Attic"}}));
  m_wifi.FindRadio(kOther)->essid = "Cellar";
  m_wifi.SeeChannels({2462});
  EXPECT_EQ(Known(), (::Known{{kOther, ""}}));
}

TEST_F(VirtualWifiManager, ScanForANameForgetsItsRadiosThatAreSilent) {
  m_wifi.AddRadio({.bssid = kOther, .essid = "Cafe", .security = WIFI_SECURITY_TYPE_NONE});
  m_wifi.SeeAll();
  m_wifi.SetOn(kHigh, false);
  m_wifi.SetOn(kOther, false);
  ASSERT_EQ(ScanForName("Den"), WIFI_MANAGER_ERROR_NONE);
  RunLoopFor(milliseconds(2001));
  EXPECT_EQ(Known(), (::Known{{kLow, "Den"}, {kOther, "Cafe"}}));
}

TEST_F(VirtualWifiManager, FailedScansLeaveWhatIsKnown) {
  m_wifi.SeeAll();
  ASSERT_EQ(ScanForName("Den"), WIFI_MANAGER_ERROR_NONE);
  RunLoopFor(milliseconds(2001));
  TakeAnswers();
  m_wifi.SetOn(kLow, false);
  m_wifi.FailNext(WifiRequest::kScan, WIFI_ERROR_OPERATION_FAILED);
  m_wifi.FailNext(WifiRequest::kChannelScan, WIFI_MANAGER_ERROR_WIFI_OFFLINE);
  m_wifi.FailNext(WifiRequest::kNameScan, WIFI_MANAGER_ERROR_NO_REPLY);
  const auto scan_three_times = [&] {
    ASSERT_EQ(wifi_scan(Record, &m_answers), WIFI_ERROR_NONE);
    ASSERT_EQ(ScanChannels({2437}), WIFI_MANAGER_ERROR_NONE);
    ASSERT_EQ(ScanForName("Den"), WIFI_MANAGER_ERROR_NONE);
    RunLoopFor(milliseconds(4200));
  };
  scan_three_times();
  EXPECT_EQ(TakeAnswers(), (Answers{WIFI_ERROR_OPERATION_FAILED, WIFI_MANAGER_ERROR_WIFI_OFFLINE,
                                    WIFI_MANAGER_ERROR_NO_REPLY}));
  EXPECT_EQ(Known(), (::Known{{kLow, "Den"}, {kHigh, "Den"}}));
  EXPECT_EQ(m_wifi.Managers().Find(m_manager)->found_by_name.size(), 2U);
  scan_three_times();
  EXPECT_EQ(TakeAnswers(), (Answers{0, 0, 0}));
  EXPECT_EQ(Known(), (::Known{{kHigh, "Den"}}));
  EXPECT_EQ(m_wifi.Managers().Find(m_manager)->found_by_name.size(), 1U);
}

TEST_F(VirtualWifiManager, SavedNetworksStayInTheOrderOfSaving) {
  m_wifi.Save({"Cafe", WIFI_SECURITY_TYPE_NONE, ""});
  m_wifi.Save({"Attic", WIFI_SECURITY_TYPE_WPA2_PSK, "a", 5500});
  EXPECT_EQ(Saved(), (::Saved{{"Den", 0}, {"Cafe", 0}, {"Attic", 5500}}));
  m_wifi.Join(kHigh);
  m_wifi.Save({"Attic", WIFI_SECURITY_TYPE_WPA2_PSK, "b"});
  m_wifi.Save({"Den", WIFI_SECURITY_TYPE_SAE, kSecret});
  EXPECT_EQ(Saved(), (::Saved{{"Den", 5180}, {"Cafe", 0}, {"Attic", 5500}, {"Den", 0}}));
  EXPECT_EQ(m_wifi.FindSaved("Attic", WIFI_SECURITY_TYPE_WPA2_PSK)->passphrase, "b");
  m_wifi.Forget("Cafe");
  m_wifi.Save({"Cafe", WIFI_SECURITY_TYPE_NONE, ""});
  EXPECT_EQ(Saved(), (::Saved{{"Den", 5180}, {"Attic", 5500}, {"Den", 0}, {"Cafe", 0}}));
}

TEST_F(VirtualWifiManager, SavedNetworkKeepsItsFrequencyWhenAPassphraseOpensItAnew) {
  const wifi_target_s target = To(kHigh, 0, kSecret);
  ASSERT_EQ(Connect(target), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(5000));
  EXPECT_EQ(TakeAnswers(), Answers{WIFI_ERROR_NONE});
  EXPECT_EQ(Saved(), (::Saved{{"Den", 5180}}));
}

TEST_F(VirtualWifiManager, ConnectsWithoutALookByTheStrongestRadioThatItKnows) {
  m_wifi.SeeAll();
  m_wifi.FindRadio(kHigh)->rssi = -30;  // not known yet
  ASSERT_EQ(ConnectToNetwork("Den"), WIFI_MANAGER_ERROR_NONE);
  RunLoopFor(milliseconds(1));
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_ASSOCIATION);
  RunLoopFor(milliseconds(1001));
  EXPECT_EQ(TakeAnswers(), Answers{WIFI_MANAGER_ERROR_NONE});
  EXPECT_EQ(m_wifi.ConnectedBssid(), kLow);
}

TEST_F(VirtualWifiManager, TellsThatTheStrongestRadioHasGone) {
  m_wifi.SeeAll();
  m_wifi.SetOn(kLow, false);
  ASSERT_EQ(ConnectToNetwork("Den"), WIFI_MANAGER_ERROR_NONE);
  RunLoopFor(milliseconds(5000));
  EXPECT_EQ(TakeAnswers(), Answers{WIFI_MANAGER_ERROR_NO_REPLY});
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_DISCONNECTED);
}

TEST_F(VirtualWifiManager, AccessPointThatWasNotSeenLatelyIsNotKnownForBeingAskedFor) {
  m_wifi.SeeAll();
  const AccessPoint gone = *m_wifi.FindKnown(kHigh);
  m_wifi.RemoveRadio(kHigh);
  m_wifi.RemoveRadio(kLow);
  m_wifi.SeeAll();
  const BorrowedAp handle(m_wifi.Handles(), gone);
  ASSERT_EQ(wifi_manager_connect(m_manager, handle.Get(), RecordAnswer, &m_answers),
            WIFI_MANAGER_ERROR_NONE);
  RunLoopFor(milliseconds(5000));
  EXPECT_EQ(TakeAnswers(), Answers{WIFI_MANAGER_ERROR_NO_REPLY});
  EXPECT_EQ(Known(), ::Known{});
}

TEST_F(VirtualWifiManager, ConnectionCanBeToldToFailOnceWithAnyCode) {
  m_wifi.SeeAll();
  for (const int code :
       {WIFI_MANAGER_ERROR_NOW_IN_PROGRESS, WIFI_MANAGER_ERROR_INVALID_KEY, WIFI_MANAGER_ERROR_NO_REPLY,
        WIFI_MANAGER_ERROR_SECURITY_RESTRICTED, WIFI_MANAGER_ERROR_INVALID_GATEWAY,
        WIFI_MANAGER_ERROR_ALREADY_EXISTS, static_cast<wifi_manager_error_e>(-4242)}) {
    m_wifi.FailNext(WifiRequest::kConnect, code);
    ASSERT_EQ(ConnectToNetwork("Den"), WIFI_MANAGER_ERROR_NONE);
    RunLoopFor(milliseconds(5000));
    EXPECT_EQ(TakeAnswers(), Answers{code});
    EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_DISCONNECTED);
  }
  m_wifi.FailNext(WifiRequest::kConnect, WIFI_ERROR_REFUSED);
  m_wifi.FailNext(WifiRequest::kConnect, 0);  // taken back
  ASSERT_EQ(ConnectToNetwork("Den"), WIFI_MANAGER_ERROR_NONE);
  RunLoopFor(milliseconds(5000));
  EXPECT_EQ(TakeAnswers(), Answers{WIFI_MANAGER_ERROR_NONE});
}

TEST_F(VirtualWifiManager, ConnectionToWhereTheTvIsCanFailAndStandsThen) {
  m_wifi.Join(kLow);
  m_wifi.FailNext(WifiRequest::kConnect, WIFI_MANAGER_ERROR_OPERATION_FAILED);
  ASSERT_EQ(ConnectToNetwork("Den"), WIFI_MANAGER_ERROR_NONE);
  ASSERT_EQ(m_answers, Answers{});
  RunLoopFor(milliseconds(5000));
  EXPECT_EQ(TakeAnswers(), Answers{WIFI_MANAGER_ERROR_OPERATION_FAILED});
  EXPECT_EQ(m_wifi.ConnectedBssid(), kLow);
}

TEST_F(VirtualWifiManager, DisconnectionCanBeToldToFailAndTheConnectionStands) {
  m_wifi.Join(kLow);
  m_wifi.FailNext(WifiRequest::kDisconnect, WIFI_ERROR_OPERATION_FAILED);
  const BorrowedAp handle(m_wifi.Handles(), *m_wifi.Connected());
  ASSERT_EQ(wifi_disconnect(handle.Get(), Record, &m_answers), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(5000));
  EXPECT_EQ(TakeAnswers(), Answers{WIFI_ERROR_OPERATION_FAILED});
  EXPECT_EQ(m_wifi.ConnectedBssid(), kLow);
}

TEST_F(VirtualWifiManager, AnswerCanBeLateOnce) {
  m_wifi.SeeAll();
  m_tv.DelayNext(EventKind::kConnect, 39'000);
  ASSERT_EQ(ConnectToNetwork("Den"), WIFI_MANAGER_ERROR_NONE);
  RunLoopFor(milliseconds(39'999));
  EXPECT_EQ(m_answers, Answers{});
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_CONFIGURATION);
  RunLoopFor(milliseconds(10));
  EXPECT_EQ(TakeAnswers(), Answers{WIFI_MANAGER_ERROR_NONE});
  m_wifi.Drop();
  ASSERT_EQ(ConnectToNetwork("Den"), WIFI_MANAGER_ERROR_NONE);
  RunLoopFor(milliseconds(1010));
  EXPECT_EQ(TakeAnswers(), Answers{WIFI_MANAGER_ERROR_NONE});
}

TEST_F(VirtualWifiManager, LateAnswerIsNotHeardWhenALaterRequestTookItsPlace) {
  m_wifi.AddRadio({.bssid = kOther, .essid = "Cafe", .security = WIFI_SECURITY_TYPE_NONE});
  m_wifi.SeeAll();
  m_tv.DelayNext(EventKind::kConnect, 39'000);
  ASSERT_EQ(ConnectToNetwork("Den"), WIFI_MANAGER_ERROR_NONE);
  RunLoopFor(milliseconds(20'000));
  ASSERT_EQ(ConnectToNetwork("Cafe"), WIFI_MANAGER_ERROR_NONE);
  RunLoopFor(milliseconds(1010));
  EXPECT_EQ(m_answers, (Answers{WIFI_MANAGER_ERROR_OPERATION_ABORTED, WIFI_MANAGER_ERROR_NONE}));
  RunLoopFor(milliseconds(60'000));
  EXPECT_EQ(m_answers.size(), 2U);
  EXPECT_EQ(m_wifi.ConnectedBssid(), kOther);
}

TEST_F(VirtualWifiManager, NoHandleIsForgotten) {
  m_wifi.SeeAll();
  ASSERT_EQ(ScanForName("Den"), WIFI_MANAGER_ERROR_NONE);
  ASSERT_EQ(ConnectToNetwork("Den"), WIFI_MANAGER_ERROR_NONE);
  RunLoopFor(milliseconds(5000));
  Saved();
  const auto see = [](wifi_manager_ap_h ap, void* wifi) {
    EXPECT_NE(static_cast<Wifi*>(wifi)->Handles().Find(ap), nullptr);
    return true;
  };
  EXPECT_EQ(wifi_manager_foreach_found_ap(m_manager, see, &m_wifi), WIFI_MANAGER_ERROR_NONE);
  EXPECT_EQ(wifi_manager_foreach_found_specific_ap(m_manager, see, &m_wifi), WIFI_MANAGER_ERROR_NONE);
  EXPECT_EQ(m_wifi.Handles().Count(), 0U);
  EXPECT_EQ(m_wifi.Managers().GetConfigs().Count(), 0U);
  EXPECT_EQ(wifi_manager_deinitialize(m_manager), WIFI_MANAGER_ERROR_NONE);
  EXPECT_EQ(m_wifi.Managers().Count(), 0U);
}

TEST_F(VirtualWifiManager, ClosedPlatformTakesNoRequest) {
  m_wifi.Join(kLow);
  m_wifi.SeeAll();
  m_wifi.Close();
  const auto no_verdict = [](wifi_manager_error_e, bool, char*, void*) { ADD_FAILURE(); };
  for (const int result : {ScanChannels({2437}), ScanForName("Den"), ConnectToNetwork("Den"),
                           wifi_ap_is_captive_portal_network(no_verdict, nullptr)}) {
    EXPECT_EQ(result, WIFI_MANAGER_ERROR_OPERATION_FAILED);
  }
  RunLoopFor(milliseconds(5000));
  EXPECT_EQ(m_answers, Answers{});
  m_wifi.Open();
  ASSERT_EQ(ScanChannels({2437}), WIFI_MANAGER_ERROR_NONE);
  RunLoopFor(milliseconds(101));
  EXPECT_EQ(m_answers, Answers{WIFI_MANAGER_ERROR_NONE});
}

TEST_F(VirtualWifiManager, RecordOfCallsHoldsNamesAndNoPassphrase) {
  m_wifi.SeeAll();
  m_tv.ClearCalls();
  ASSERT_EQ(ScanChannels({2437}), WIFI_MANAGER_ERROR_NONE);
  ASSERT_EQ(ScanForName("Den"), WIFI_MANAGER_ERROR_NONE);
  ASSERT_EQ(ConnectToNetwork("Den"), WIFI_MANAGER_ERROR_NONE);
  Saved();
  using Calls = std::vector<VirtualTv::Call>;
  EXPECT_EQ(m_tv.Calls(), (Calls{{"wifi_manager_specific_scan_create", {}},
                                 {"wifi_manager_specific_scan_set_freq", {"2437"}},
                                 {"wifi_manager_specific_ap_start_multi_scan", {}},
                                 {"wifi_manager_scan_specific_ap", {"Den"}},
                                 {"wifi_manager_connect", {kLow}},
                                 {"wifi_manager_config_foreach_configuration", {}},
                                 {"wifi_manager_config_get_name", {"Den"}},
                                 {"wifi_manager_config_get_frequency", {"Den"}}}));
}

TEST_F(VirtualWifiManager, EveryFunctionCanBeToldToFailAndDoesNothingThen) {
  m_wifi.Join(kLow);
  wifi_manager_specific_scan_h scan = nullptr;
  ASSERT_EQ(wifi_manager_specific_scan_create(m_manager, &scan), WIFI_MANAGER_ERROR_NONE);
  ASSERT_EQ(wifi_manager_specific_scan_set_freq(scan, 2437), WIFI_MANAGER_ERROR_NONE);
  wifi_manager_ap_h ap = m_wifi.Handles().Add(*m_wifi.Connected());
  wifi_manager_config_h config = m_wifi.Managers().GetConfigs().Add({});
  wifi_manager_h manager = nullptr;
  wifi_manager_ap_h clone = nullptr;
  wifi_manager_specific_scan_h other_scan = nullptr;
  int number = 7;
  char* text = nullptr;
  bool required = false;
  auto security = WIFI_SECURITY_TYPE_EAP;
  auto mode = WIFI_MANAGER_CONNECTION_MODE_80211B;
  const auto no_ap = [](wifi_ap_h, void*) { return ADD_FAILURE(), true; };
  const auto no_config = [](wifi_manager_config_h, void*) { return ADD_FAILURE(), true; };
  const auto no_verdict = [](wifi_manager_error_e, bool, char*, void*) { ADD_FAILURE(); };
  const std::map<std::string_view, std::function<int()>> calls = {
      {"wifi_ap_is_captive_portal_network",
       [&] { return wifi_ap_is_captive_portal_network(no_verdict, nullptr); }},
      {"wifi_manager_ap_clone", [&] { return wifi_manager_ap_clone(&clone, ap); }},
      {"wifi_manager_ap_destroy", [&] { return wifi_manager_ap_destroy(ap); }},
      {"wifi_manager_ap_get_connection_mode",
       [&] { return wifi_manager_ap_get_connection_mode(ap, &mode); }},
      {"wifi_manager_ap_get_essid", [&] { return wifi_manager_ap_get_essid(ap, &text); }},
      {"wifi_manager_ap_get_rssi", [&] { return wifi_manager_ap_get_rssi(ap, &number); }},
      {"wifi_manager_ap_is_passphrase_required",
       [&] { return wifi_manager_ap_is_passphrase_required(ap, &required); }},
      {"wifi_manager_config_foreach_configuration",
       [&] { return wifi_manager_config_foreach_configuration(m_manager, no_config, nullptr); }},
      {"wifi_manager_config_get_frequency",
       [&] { return wifi_manager_config_get_frequency(config, &number); }},
      {"wifi_manager_config_get_name", [&] { return wifi_manager_config_get_name(config, &text); }},
      {"wifi_manager_config_get_security_type",
       [&] { return wifi_manager_config_get_security_type(config, &security); }},
      {"wifi_manager_connect",
       [&] { return wifi_manager_connect(m_manager, ap, RecordAnswer, &m_answers); }},
      {"wifi_manager_deinitialize", [&] { return wifi_manager_deinitialize(m_manager); }},
      {"wifi_manager_foreach_found_ap",
       [&] { return wifi_manager_foreach_found_ap(m_manager, no_ap, nullptr); }},
      {"wifi_manager_foreach_found_specific_ap",
       [&] { return wifi_manager_foreach_found_specific_ap(m_manager, no_ap, nullptr); }},
      {"wifi_manager_initialize", [&] { return wifi_manager_initialize(&manager); }},
      {"wifi_manager_scan_specific_ap", [&] { return ScanForName("Den"); }},
      {"wifi_manager_specific_ap_start_multi_scan",
       [&] {
         return wifi_manager_specific_ap_start_multi_scan(m_manager, scan, RecordAnswer, &m_answers);
       }},
      {"wifi_manager_specific_scan_create",
       [&] { return wifi_manager_specific_scan_create(m_manager, &other_scan); }},
      {"wifi_manager_specific_scan_set_freq",
       [&] { return wifi_manager_specific_scan_set_freq(scan, 5180); }},
  };
  m_wifi.Managers().Find(m_manager)->found_by_name = m_wifi.Known();
  std::size_t listed = 0;
  for (const std::string_view function : kPlatformFunctions) {
    if (!function.starts_with("wifi_manager_") && function != "wifi_ap_is_captive_portal_network") {
      continue;
    }
    ++listed;
    ASSERT_TRUE(calls.contains(function)) << function;
    m_tv.Fail(std::string(function), -77, 1);
    EXPECT_EQ(calls.at(function)(), -77) << function;
  }
  EXPECT_EQ(listed, calls.size());
  RunLoopFor(milliseconds(5000));
  EXPECT_EQ(m_answers, Answers{});
  EXPECT_EQ(m_wifi.Managers().Count(), 1U);
  EXPECT_EQ(m_wifi.Managers().FindScan(scan)->frequencies, std::set<int>{2437});
  EXPECT_EQ(manager, nullptr);
  EXPECT_EQ(clone, nullptr);
  EXPECT_EQ(other_scan, nullptr);
  EXPECT_EQ(number, 7);
  EXPECT_EQ(text, nullptr);
  EXPECT_FALSE(required);
  EXPECT_EQ(security, WIFI_SECURITY_TYPE_EAP);
  EXPECT_EQ(mode, WIFI_MANAGER_CONNECTION_MODE_80211B);
  EXPECT_EQ(wifi_manager_ap_destroy(ap), WIFI_MANAGER_ERROR_NONE);
}

}  // namespace

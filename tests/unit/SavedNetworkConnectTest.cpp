#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "Popups.h"
#include "SavedNetworksRoom.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

// The command to connect to a saved network, from the settings application's document to the status that
// it sees and the popup.

namespace {

/// Longer than every scan and connection, shorter than the limit of an attempt.
constexpr auto kAttempt = 10s;

class SavedNetworkConnect : public testing::Test, protected SavedNetworksRoom {
 protected:
  ~SavedNetworkConnect() override {
    End();
    EXPECT_EQ(wifi.Handles().Count(), 0U) << "every access point is let go of";
    EXPECT_EQ(wifi.Managers().Count(), m_leftHandles) << "every handle is ended";
  }

  /// Starts with these networks, the first two of which are published.
  void StartWith(const std::vector<std::pair<std::string, int>>& networks) {
    Store(networks);
    Start();
    RunLoopFor(2s);
    Forget();
  }
  void StartAtHome() {
    StartWith({{"Home", 5180}, {"Office", 2437}, {"Attic", 2462}, {"Garden", 2412}});
  }

  std::size_t m_leftHandles = 0;  // that the platform did not let go of
};

TEST_F(SavedNetworkConnect, GoesThereAndPublishesEachStep) {
  StartAtHome();
  Connect("Office");
  EXPECT_EQ(test_log::Messages().at(0), "START");
  EXPECT_TRUE(test_log::Has("command value = 1"));
  EXPECT_TRUE(test_log::Has("END"));
  EXPECT_EQ(PublishedStatuses(), Texts{"Home:Connected Office:Connecting"});
  RunLoopFor(kAttempt);
  EXPECT_EQ(wifi.ConnectedBssid(), kOffice);
  constexpr char kAtOffice[] = "Home:DisConnected Office:Connected";
  EXPECT_EQ(PublishedStatuses(), (Texts{"Home:Connected Office:Connecting", kAtOffice, kAtOffice}))
      << "the end is published once for each record";
  EXPECT_EQ(Requests(), (Texts{"specific_scan_set_freq 2437", std::string("connect ") + kOffice}));
  EXPECT_TRUE(test_log::Has("ssid = Office found"));
  EXPECT_TRUE(test_log::Has("WIFI_CONNECT RESPONSE ERROR = 0 error string = NONE"));
  EXPECT_TRUE(test_log::Has("AP Conncted"));
  EXPECT_TRUE(test_log::Has("value = 1"));
  EXPECT_EQ(PopupsAsked(), 0U);
  RunLoopFor(60s);
  EXPECT_EQ(PublishedStatuses().size(), 3U) << "the limit of time has been ended";
}

TEST_F(SavedNetworkConnect, PublishesTheWholeDocument) {
  StartAtHome();
  Connect("Office");
  EXPECT_EQ(Published(vconf_keys::kTopSavedAP).at(0),
            R"({"count":2,"values":[{"SIGNAL_STRENGTH":-50,"SSID":"Home","STATUS":"Connected"},)"
            R"({"SIGNAL_STRENGTH":-50,"SSID":"Office","STATUS":"Connecting"}]})");
  const auto calls = tv.Calls("vconf_set_str");
  EXPECT_EQ(calls.at(0).arguments.at(1),
            "{\n\t\"count\" : 2,\n\t\"values\" : \n\t[\n\t\t{\n\t\t\t\"SIGNAL_STRENGTH\" : -50,\n"
            "\t\t\t\"SSID\" : \"Home\",\n\t\t\t\"STATUS\" : \"Connected\"\n\t\t},\n\t\t{\n"
            "\t\t\t\"SIGNAL_STRENGTH\" : -50,\n\t\t\t\"SSID\" : \"Office\",\n"
            "\t\t\t\"STATUS\" : \"Connecting\"\n\t\t}\n\t]\n}");
}

TEST_F(SavedNetworkConnect, AsksForAPortalTenSecondsAfterItHasWorked) {
  StartAtHome();
  tv.GetPackages().Install("org.orvik.browser");
  wifi.FindRadio(kOffice)->portal_url = "http://portal.example/";
  Connect("Office");
  RunLoopFor(9s);
  EXPECT_TRUE(tv.Calls("wifi_ap_is_captive_portal_network").empty());
  RunLoopFor(5s);
  EXPECT_EQ(tv.Calls("wifi_ap_is_captive_portal_network").size(), 1U);
  popups::WaitForStarted(1);
  EXPECT_EQ(popups::All().at(0).arguments, (Texts{"captiveap", "http://portal.example/"}));
}

TEST_F(SavedNetworkConnect, AsksForNoPortalWhenItHasFailed) {
  StartAtHome();
  tv.GetPackages().Install("org.orvik.browser");
  wifi.FindRadio(kOffice)->temper = Radio::Temper::kRefuses;
  Connect("Office");
  RunLoopFor(60s);
  EXPECT_EQ(PopupsAsked(), 1U);
  EXPECT_TRUE(tv.Calls("wifi_ap_is_captive_portal_network").empty());
}

TEST_F(SavedNetworkConnect, WithoutANameFindsNothingSaved) {
  StartAtHome();
  Command(R"({"COMMAND":"1"})");
  RunLoopFor(kAttempt);
  EXPECT_TRUE(test_log::Has("could not found ssid = "));
  EXPECT_TRUE(PublishedStatuses().empty());
  EXPECT_TRUE(Requests().empty());
  EXPECT_EQ(PopupsAsked(), 0U);
}

TEST_F(SavedNetworkConnect, ToWhatIsNotSavedChangesNothing) {
  StartAtHome();
  wifi.Forget("Office");
  Connect("Office");
  Connect("office");
  RunLoopFor(60s);
  EXPECT_TRUE(test_log::Has("could not found ssid = Office"));
  EXPECT_TRUE(test_log::Has("could not found ssid = office"));
  EXPECT_TRUE(PublishedStatuses().empty());
  EXPECT_EQ(PopupsAsked(), 0U);
}

TEST_F(SavedNetworkConnect, FindsAHiddenNetworkByItsName) {
  StartWith({{"Attic", 2462}, {"Home", 5180}});
  Connect("Attic");
  RunLoopFor(kAttempt);
  EXPECT_EQ(Requests(), (Texts{"specific_scan_set_freq 2462", "scan_specific_ap Attic",
                               std::string("connect ") + kAttic}));
  EXPECT_EQ(wifi.ConnectedBssid(), kAttic);
  EXPECT_EQ(TopStatuses(), "Attic:Connected Home:DisConnected");
  EXPECT_EQ(test_log::Count("could not find handle"), 1U);
  EXPECT_TRUE(test_log::Has("ssid = Attic clonedAP"));
  EXPECT_EQ(PopupsAsked(), 0U);
}

TEST_F(SavedNetworkConnect, GoesOnWhenAHiddenNetworkDoesNotSayWhetherItWantsAKey) {
  StartWith({{"Attic", 2462}, {"Home", 5180}});
  tv.Fail("wifi_manager_ap_is_passphrase_required", WIFI_MANAGER_ERROR_OPERATION_FAILED);
  Connect("Attic");
  RunLoopFor(kAttempt);
  EXPECT_TRUE(test_log::Has("passphraseRequried = 0"));
  EXPECT_EQ(TopStatuses(), "Attic:Connected Home:DisConnected");
}

TEST_F(SavedNetworkConnect, AScanThatFailsIsShownToTheUser) {
  StartAtHome();
  wifi.FailNext(WifiRequest::kChannelScan, WIFI_MANAGER_ERROR_WIFI_OFFLINE);
  Connect("Office");
  RunLoopFor(kAttempt);
  EXPECT_TRUE(test_log::Has("_ApScanDoneCb Error : WIFI_OFFLINE"));
  EXPECT_EQ(Requests(), Texts{"specific_scan_set_freq 2437"});
  EXPECT_EQ(TopStatuses(), "Home:Connected Office:DisConnected");
  EXPECT_EQ(PopupsAsked(), 1U);
}

TEST_F(SavedNetworkConnect, AScanForAHiddenNameThatFailsIsShownToTheUser) {
  StartWith({{"Attic", 2462}, {"Home", 5180}});
  wifi.FailNext(WifiRequest::kNameScan, WIFI_MANAGER_ERROR_NO_REPLY);
  Connect("Attic");
  RunLoopFor(kAttempt);
  EXPECT_TRUE(test_log::Has("Scan_hidden_ap_cabllback failed [NO_REPLY]"));
  EXPECT_EQ(Requests(), (Texts{"specific_scan_set_freq 2462", "scan_specific_ap Attic"}));
  EXPECT_EQ(TopStatuses(), "Attic:DisConnected Home:Connected");
  EXPECT_EQ(PopupsAsked(), 1U);
}

TEST_F(SavedNetworkConnect, OutOfRangeIsShownToTheUser) {
  StartWith({{"Garden", 2412}, {"Home", 5180}});
  Connect("Garden");
  RunLoopFor(kAttempt);
  EXPECT_EQ(Requests(), (Texts{"specific_scan_set_freq 2412", "scan_specific_ap Garden"}));
  EXPECT_EQ(test_log::Count("could not find handle"), 2U);
  EXPECT_TRUE(test_log::Has("value = 0"));
  constexpr char kFailed[] = "Garden:DisConnected Home:Connected";
  EXPECT_EQ(PublishedStatuses(), (Texts{"Garden:Connecting Home:Connected", kFailed, kFailed}));
  popups::WaitForStarted(1);
  EXPECT_EQ(popups::Keywords(), Texts{"cannot_connect"});
  EXPECT_EQ(wifi.ConnectedBssid(), kHome) << "the TV stays where it is";
}

TEST_F(SavedNetworkConnect, OutOfRangeAndNotOnTheTileShowsNoPopup) {
  StartAtHome();
  Connect("Garden");
  constexpr char kUnchanged[] = "Home:Connected Office:DisConnected";
  EXPECT_EQ(PublishedStatuses(), Texts{kUnchanged});
  RunLoopFor(kAttempt);
  EXPECT_EQ(PublishedStatuses(), (Texts{kUnchanged, kUnchanged, kUnchanged}));
  EXPECT_EQ(PopupsAsked(), 0U);
}

TEST_F(SavedNetworkConnect, ToWhereTheTvIsCountsAsSuccess) {
  StartAtHome();
  Connect("Home");
  RunLoopFor(kAttempt);
  EXPECT_TRUE(test_log::Has("WIFI_CONNECT RESPONSE ERROR = -30277629 error string = ALREADY_EXISTS"));
  EXPECT_TRUE(test_log::Has("AP Conncted"));
  constexpr char kAtHome[] = "Home:Connected Office:DisConnected";
  EXPECT_EQ(PublishedStatuses(), (Texts{"Home:Connecting Office:DisConnected", kAtHome, kAtHome}));
  EXPECT_EQ(PopupsAsked(), 0U);
}

TEST_F(SavedNetworkConnect, WithAWrongKeyIsShownToTheUser) {
  StartAtHome();
  wifi.Save({"Office", WIFI_SECURITY_TYPE_WPA2_PSK, "old", 2437});
  Connect("Office");
  RunLoopFor(kAttempt);
  EXPECT_TRUE(test_log::Has("AP Connection Invalid Key"));
  EXPECT_TRUE(test_log::Has("WIFI_CONNECT RESPONSE ERROR = -30277626 error string = INVALID_KEY"));
  EXPECT_EQ(TopStatuses(), "Home:DisConnected Office:DisConnected");
  EXPECT_EQ(PopupsAsked(), 1U);
}

TEST_F(SavedNetworkConnect, RequestUnderWayElsewhereIsAFailureToo) {
  StartAtHome();
  wifi.FailNext(WifiRequest::kConnect, WIFI_MANAGER_ERROR_NOW_IN_PROGRESS);
  Connect("Office");
  RunLoopFor(kAttempt);
  EXPECT_TRUE(test_log::Has("AP Connection now in progress"));
  EXPECT_TRUE(test_log::Has("WIFI_CONNECT RESPONSE ERROR = -115 error string = NOW_IN_PROGRESS"));
  EXPECT_EQ(PopupsAsked(), 1U);
}

TEST_F(SavedNetworkConnect, AnyOtherErrorIsAFailure) {
  StartAtHome();
  for (const int error :
       std::initializer_list<int>{WIFI_MANAGER_ERROR_DHCP_FAILED, WIFI_MANAGER_ERROR_NO_REPLY, -12345}) {
    Forget();
    wifi.FailNext(WifiRequest::kConnect, error);
    Connect("Office");
    RunLoopFor(kAttempt);
    EXPECT_TRUE(test_log::Has("AP Connection failed")) << error;
    EXPECT_EQ(PopupsAsked(), 1U) << error;
    EXPECT_EQ(PublishedStatuses().back(), "Home:DisConnected Office:DisConnected") << error;
  }
}

TEST_F(SavedNetworkConnect, ThatIsNotAnsweredFailsAfter35Seconds) {
  StartAtHome();
  wifi.FindRadio(kOffice)->temper = Radio::Temper::kSilent;
  Connect("Office");
  RunLoopFor(34s);
  EXPECT_EQ(TopStatuses(), "Home:Connected Office:Connecting") << "as it was published at first";
  EXPECT_EQ(PopupsAsked(), 0U);
  RunLoopFor(2s);
  constexpr char kFailed[] = "Home:DisConnected Office:DisConnected";
  EXPECT_EQ(PublishedStatuses(), (Texts{"Home:Connected Office:Connecting", kFailed, kFailed}));
  EXPECT_EQ(PopupsAsked(), 1U);
}

TEST_F(SavedNetworkConnect, AnsweredAfterTheLimitIsPublishedAllTheSame) {
  StartAtHome();
  tv.DelayNext(VirtualTv::EventKind::kConnect, 40000);
  Connect("Office");
  RunLoopFor(37s);
  EXPECT_EQ(TopStatuses(), "Home:DisConnected Office:DisConnected");
  EXPECT_EQ(PopupsAsked(), 1U);
  RunLoopFor(10s);
  EXPECT_EQ(TopStatuses(), "Home:DisConnected Office:Connected");
  EXPECT_EQ(PublishedStatuses().size(), 5U);
  EXPECT_EQ(PopupsAsked(), 1U);
}

TEST_F(SavedNetworkConnect, AnsweredTwiceIsPublishedTwice) {
  StartAtHome();
  wifi.FindRadio(kOffice)->temper = Radio::Temper::kAnswersTwice;
  Connect("Office");
  RunLoopFor(kAttempt);
  EXPECT_EQ(PublishedStatuses().size(), 5U);
  EXPECT_EQ(TopStatuses(), "Home:DisConnected Office:Connected");
}

TEST_F(SavedNetworkConnect, GivenAgainWhileConnectingStartsTheLimitAnew) {
  StartAtHome();
  wifi.FindRadio(kOffice)->temper = Radio::Temper::kSilent;
  Connect("Office");
  RunLoopFor(20s);
  Connect("Office");
  EXPECT_EQ(PopupsAsked(), 0U);
  RunLoopFor(1s);
  // The first request has lost its place, which is taken for the second's end.
  EXPECT_EQ(PopupsAsked(), 1U);
  EXPECT_TRUE(test_log::Has("WIFI_CONNECT RESPONSE ERROR = -30277628 error string = OPERATION_ABORTED"));
  RunLoopFor(60s);
  EXPECT_EQ(PopupsAsked(), 1U) << "with it the limit has ended";
}

TEST_F(SavedNetworkConnect, TheLimitOfTheFirstOfTwoCommandsEnds) {
  StartWith({{"Office", 2437}, {"Garden", 2412}});
  tv.SetLatency(VirtualTv::EventKind::kScan, 50000);  // the second hangs in the scan for the name
  tv.SetLatency(VirtualTv::EventKind::kChannelScan, 30000);
  Connect("Office");
  RunLoopFor(20s);
  Connect("Garden");
  RunLoopFor(20s);
  EXPECT_EQ(PopupsAsked(), 0U) << "40 s after the first, 20 s after the second";
  EXPECT_EQ(TopStatuses(), "Office:Connecting Garden:Connecting");
  RunLoopFor(17s);
  EXPECT_EQ(PopupsAsked(), 1U);
  EXPECT_EQ(TopStatuses(), "Office:DisConnected Garden:DisConnected");
}

TEST_F(SavedNetworkConnect, TwiceAtOnceEndsAtTheLater) {
  StartWith({{"Home", 5180}, {"Office", 2437}});
  wifi.SetOn(kGarden, true);
  Write(vconf_keys::kCommand, R"({"COMMAND":"1","SSID":"Garden"})");
  RunLoopFor(50ms);
  Connect("Office");
  RunLoopFor(kAttempt);
  EXPECT_EQ(wifi.ConnectedBssid(), kOffice);
  EXPECT_EQ(TopStatuses(), "Home:DisConnected Office:Connected");
}

TEST_F(SavedNetworkConnect, StaysConnectingWhileTheListIsPublished) {
  StartAtHome();
  wifi.FindRadio(kOffice)->temper = Radio::Temper::kSilent;
  Connect("Office");
  RunLoopFor(3s);
  SavedAPPriorityHandler::GetInstance()->UpdateVconf(true);
  RunLoopFor(2s);
  EXPECT_EQ(TopStatuses(), "Home:DisConnected Office:Connecting");
}

TEST_F(SavedNetworkConnect, WithAnEmptyTileLeavesTheLimitRunning) {
  StartWith({});
  Connect("Office");
  RunLoopFor(kAttempt);
  EXPECT_EQ(wifi.ConnectedBssid(), kOffice);
  EXPECT_EQ(Published(vconf_keys::kTopSavedAP), Texts{R"({"count":0})"}) << "only at the beginning";
  RunLoopFor(30s);
  EXPECT_EQ(test_log::Count("value = 0"), 1U) << "the limit has run out";
  Forget();
  Connect("Home");  // ends a timer that has ended
  RunLoopFor(kAttempt);
  EXPECT_EQ(wifi.ConnectedBssid(), kHome);
  EXPECT_EQ(PopupsAsked(), 0U);
}

TEST_F(SavedNetworkConnect, ToAnUnknownChannelCannotBegin) {
  StartAtHome();
  tv.Fail("wifi_manager_config_get_frequency", WIFI_MANAGER_ERROR_OPERATION_FAILED);
  Connect("Office");
  EXPECT_TRUE(test_log::Has("wifi_manager_specific_scan_set_freq API:Failed 0 error = -22"));
  RunLoopFor(60s);
  EXPECT_TRUE(PublishedStatuses().empty());
  EXPECT_EQ(PopupsAsked(), 0U);
}

TEST_F(SavedNetworkConnect, UsesTheLastOfTwoConfigurationsOfOneName) {
  StartAtHome();
  wifi.Save({"Office", WIFI_SECURITY_TYPE_SAE, "s", 5745});
  Connect("Office");
  EXPECT_EQ(Requests(), Texts{"specific_scan_set_freq 5745"});
}

TEST_F(SavedNetworkConnect, OtherCommandsDoNothing) {
  StartAtHome();
  for (const char* command : {"10", "2", "3", "0", "", "01"}) {
    Forget();
    Command(std::string(R"({"COMMAND":")") + command + R"(","SSID":"Office"})");
    EXPECT_TRUE(test_log::Has("command value = 0")) << command;
    EXPECT_TRUE(tv.Calls("wifi_manager_specific_ap_start_multi_scan").empty() ||
                std::string_view(command) == "2")
        << command;
    EXPECT_TRUE(PublishedStatuses().empty()) << command;
  }
}

TEST_F(SavedNetworkConnect, TakesACommandThatIsANumber) {
  StartAtHome();
  Command(R"({"COMMAND":1,"SSID":"Office"})");
  RunLoopFor(kAttempt);
  EXPECT_EQ(wifi.ConnectedBssid(), kOffice);
}

TEST_F(SavedNetworkConnect, HearsNothingBeforeItListens) {
  Store({{"Home", 5180}});
  SavedAPConnHander::GetInstance();
  Connect("Office");
  EXPECT_TRUE(Requests().empty());
  EXPECT_FALSE(test_log::Has("already created"));
  SavedAPConnHander::GetInstance();
  EXPECT_TRUE(test_log::Has("already created"));
}

TEST_F(SavedNetworkConnect, EndsWithItsObject) {
  StartAtHome();
  wifi.FindRadio(kGarden)->is_on = true;
  Connect("Attic");  // scans for the name when the object ends, the list scans too
  SavedAPPriorityHandler::GetInstance()->UpdateSignalStrength();
  RunLoopFor(300ms);
  delete SavedAPConnHander::GetInstance();
  Forget();
  Connect("Garden");  // the watch on it lives on
  RunLoopFor(60s);
  EXPECT_TRUE(Requests().empty());
  EXPECT_EQ(PopupsAsked(), 0U);
}

TEST_F(SavedNetworkConnect, EndsWithItsObjectAlsoWhenThePlatformDoesNotLetGo) {
  StartAtHome();
  Connect("Office");
  tv.Fail("wifi_manager_deinitialize", WIFI_MANAGER_ERROR_OPERATION_FAILED);
  delete SavedAPConnHander::GetInstance();
  RunLoopFor(kAttempt);  // the scan is answered to an object that has gone
  EXPECT_EQ(wifi.ConnectedBssid(), kHome);
  tv.StopFailing("wifi_manager_deinitialize");
  m_leftHandles = 1;
}

}  // namespace

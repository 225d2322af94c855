#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "NW_Common.h"
#include "SavedNetworksRoom.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "vconf.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

// The list of all saved networks: how it is made, kept, corrected and handed over.

namespace {

class SavedNetworkList : public testing::Test, protected SavedNetworksRoom {
 protected:
  ~SavedNetworkList() override {
    End();
    EXPECT_EQ(wifi.Handles().Count(), 0U) << "every access point is let go of";
    EXPECT_EQ(wifi.Managers().Count(), 0U) << "every handle is ended";
  }

  /// Starts with a stored list of the room's networks and lets the hand-over happen.
  void StartWithList() {
    Store({{"Home", 5180}, {"Office", 2437}, {"Attic", 2462}, {"Garden", 2412}});
    Start();
    RunLoopFor(2s);
    Forget();
  }

  static SavedAPPriorityHandler& Handler() { return *SavedAPPriorityHandler::GetInstance(); }

  /// The TV has connected there, and the connection log says so.
  void Connected(const char* bssid) {
    ASSERT_TRUE(wifi.Join(bssid));
    Forget();
    Handler().UpdateListOnAPConnect(ConnectedAp().Get());
  }

  /// The TV has left the network that it was on, and the connection log says so.
  void Disconnected() {
    const ConnectedAp left;
    wifi.Drop();
    Forget();
    Handler().UpdateListOnAPDisConnect(left.Get());
  }
};

constexpr char kLoaded[] = "Home:100 Office:100 Attic:100 Garden:100";
constexpr char kStoredList[] = "Home:-50 Office:-50 Attic:-50 Garden:-50";

TEST_F(SavedNetworkList, IsMadeOfTheConfigurationsWhenNoneIsStored) {
  Start();
  EXPECT_EQ(PublishedLists(), (Texts{kLoaded, kLoaded}));
  EXPECT_EQ(Requests(), (Texts{"specific_scan_set_freq 5180", "specific_scan_set_freq 5180"}));
  EXPECT_TRUE(Published(vconf_keys::kTopSavedAP).empty()) << "that comes a second later";
  RunLoopFor(2s);
  constexpr char kMeasured[] = "Home:-48 Office:100 Attic:100 Garden:100";
  EXPECT_EQ(PublishedLists(), (Texts{kLoaded, kLoaded, kMeasured, kMeasured}))
      << "again when each scan has ended; only the first network's channel is looked at";
  EXPECT_EQ(PublishedStatuses(), Texts{"Home:Connected Office:DisConnected"});
  EXPECT_EQ(test_log::Count("count = 4"), 1U);
}

TEST_F(SavedNetworkList, IsWrittenAsTheLibraryWritesIt) {
  for (const char* name : {"Office", "Attic", "Garden"}) {
    wifi.Forget(name);
  }
  Start();
  const HeapString text(vconf_get_str(vconf_keys::kSavedAPList));
  ASSERT_NE(text, nullptr);
  EXPECT_STREQ(text.get(),
               "{\n\t\"count\" : 1,\n\t\"values\" : \n\t[\n\t\t{\n\t\t\t\"FREQUENCY\" : 5180,\n"
               "\t\t\t\"SIGNAL_STRENGTH\" : 100,\n\t\t\t\"SSID\" : \"Home\"\n\t\t}\n\t]\n}");
  EXPECT_TRUE(test_log::Has("ssid = Home, signal_strength = 100, frequency = 5180"));
  std::string logged = text.get();  // the log makes one line of it
  std::ranges::replace(logged, '\n', ' ');
  EXPECT_EQ(test_log::Messages().back(), "Complete Data: " + logged + " count = 1");
}

TEST_F(SavedNetworkList, OfNothingIsACountOfZero) {
  for (const char* name : {"Home", "Office", "Attic", "Garden"}) {
    wifi.Forget(name);
  }
  Start();
  RunLoopFor(2s);
  EXPECT_EQ(Published(vconf_keys::kSavedAPList), (Texts{R"({"count":0})", R"({"count":0})"}));
  EXPECT_EQ(Published(vconf_keys::kTopSavedAP), Texts{R"({"count":0})"});
  EXPECT_TRUE(Requests().empty()) << "there is no channel to look at";
  EXPECT_EQ(tv.Calls("wifi_manager_specific_scan_create").size(), 2U);
}

TEST_F(SavedNetworkList, KeepsNetworksOfOneNameApartWhenItIsMade) {
  wifi.Save({"Home", WIFI_SECURITY_TYPE_WPA_PSK, "h", 2412});
  Start();
  EXPECT_EQ(SavedList(), "Home:100 Office:100 Attic:100 Garden:100 Home:100");
  RunLoopFor(2s);
  EXPECT_EQ(SavedList(), "Home:-48 Office:100 Attic:100 Garden:100 Home:-48") << "by name, all of them";
}

TEST_F(SavedNetworkList, NamesAConfigurationThatHasNone) {
  tv.Fail("wifi_manager_config_get_name", WIFI_MANAGER_ERROR_OPERATION_FAILED, 1);
  tv.Fail("wifi_manager_config_get_frequency", WIFI_MANAGER_ERROR_OPERATION_FAILED);
  Start();
  EXPECT_EQ(SavedList(), "NOT_AVAILABLE:100 Office:100 Attic:100 Garden:100");
  EXPECT_EQ(Brief(Stored(vconf_keys::kSavedAPList), "FREQUENCY"),
            "NOT_AVAILABLE:0 Office:0 Attic:0 Garden:0");
  EXPECT_TRUE(test_log::Has("wifi_manager_specific_scan_set_freq API:Failed 0 error = -22"));
}

TEST_F(SavedNetworkList, IsReadBackAsItWasStored) {
  Store({{"Garden", 2412}, {"Gone", 5220}, {"Home", 5180}});
  Start();
  EXPECT_TRUE(PublishedLists().empty());
  EXPECT_TRUE(Requests().empty());
  EXPECT_TRUE(tv.Calls("wifi_manager_config_foreach_configuration").empty())
      << "what is saved is not looked at before the next event";
  RunLoopFor(2s);
  EXPECT_EQ(PublishedStatuses(), Texts{"Garden:DisConnected Gone:DisConnected"});
  EXPECT_EQ(Brief(Stored(vconf_keys::kTopSavedAP), "SIGNAL_STRENGTH"), "Garden:-50 Gone:-50");
}

TEST_F(SavedNetworkList, TakesAStatusThatIsStored) {
  Write(vconf_keys::kSavedAPList,
        R"({"count":1,"values":[{"SSID":"X","SIGNAL_STRENGTH":-1,"FREQUENCY":2412,"STATUS":"S"}]})");
  Start();
  Handler().UpdateVconf(false);
  EXPECT_EQ(Stored(vconf_keys::kSavedAPList),
            R"({"count":1,"values":[{"FREQUENCY":2412,"SIGNAL_STRENGTH":-1,"SSID":"X","STATUS":"S"}]})");
}

TEST_F(SavedNetworkList, SurvivesARestart) {
  Start();
  RunLoopFor(2s);
  Connected(kOffice);
  RunLoopFor(2s);
  const std::string before = Stored(vconf_keys::kSavedAPList);
  EXPECT_EQ(Brief(before, "SIGNAL_STRENGTH"), "Office:-61 Home:-48 Attic:100 Garden:100");
  End();
  Start();
  RunLoopFor(2s);
  Handler().UpdateVconf(true);
  EXPECT_EQ(Stored(vconf_keys::kSavedAPList), before);
}

TEST_F(SavedNetworkList, IsHandedOverOnceAfterSeveralPublications) {
  StartWithList();
  Handler().UpdateVconf(true);
  RunLoopFor(400ms);
  Handler().UpdateVconf(true);
  RunLoopFor(400ms);
  Handler().UpdateVconf(true);
  EXPECT_TRUE(PublishedStatuses().empty());
  RunLoopFor(3s);
  EXPECT_EQ(PublishedStatuses().size(), 1U);
  EXPECT_EQ(PublishedLists().size(), 3U);
}

TEST_F(SavedNetworkList, MovesANetworkThatConnectsToTheFront) {
  StartWithList();
  Connected(kAttic);
  EXPECT_EQ(PublishedLists(), (Texts{"Attic:100 Home:-50 Office:-50 Garden:-50",
                                     "Attic:100 Home:-50 Office:-50 Garden:-50"}));
  EXPECT_EQ(Brief(Stored(vconf_keys::kSavedAPList), "FREQUENCY"),
            "Attic:2462 Home:5180 Office:2437 Garden:2412");
  EXPECT_TRUE(test_log::Has(" ap nem = Attic,new Frequency = 2462"));
  EXPECT_EQ(Requests(), Texts{"specific_scan_set_freq 2462"});
  RunLoopFor(2s);
  EXPECT_EQ(PublishedLists().size(), 3U);
  EXPECT_EQ(SavedList(), "Attic:-74 Home:-48 Office:-50 Garden:-50");
  EXPECT_EQ(TopStatuses(), "Attic:Connected Home:DisConnected");
  Handler().UpdateVconf(false);
  EXPECT_EQ(Brief(Stored(vconf_keys::kSavedAPList), "STATUS"), "Attic:Connected Home: Office: Garden:");
}

TEST_F(SavedNetworkList, TakesInANetworkThatItDidNotKnow) {
  StartWithList();
  wifi.AddRadio({.bssid = "AA:BB:CC:DD:EE:09", .essid = "New", .frequency = 5745, .rssi = -40});
  Connected("AA:BB:CC:DD:EE:09");
  RunLoopFor(2s);
  EXPECT_EQ(SavedList(), "New:-40 Home:-48 Office:-50 Attic:-50 Garden:-50");
  EXPECT_EQ(TopStatuses(), "New:Connected Home:DisConnected");
}

TEST_F(SavedNetworkList, RemovesOnlyTheFirstOfANameThatConnects) {
  Store({{"Office", 1}, {"Home", 2}, {"Home", 3}});
  Start();
  Connected(kHome);
  EXPECT_EQ(SavedList(), "Home:100 Office:-50 Home:-50");
  EXPECT_EQ(Brief(Stored(vconf_keys::kSavedAPList), "FREQUENCY"), "Home:5180 Office:2437 Home:5180");
}

TEST_F(SavedNetworkList, LeavesAConnectionWithoutANameAlone) {
  StartWithList();
  const ConnectedAp ap;
  tv.Fail("wifi_ap_get_essid", WIFI_ERROR_OPERATION_FAILED);
  Handler().UpdateListOnAPConnect(ap.Get());
  RunLoopFor(2s);
  EXPECT_TRUE(PublishedLists().empty());
}

TEST_F(SavedNetworkList, LosesWhatIsForgottenWhenTheTvDisconnects) {
  StartWithList();
  wifi.Forget("Office");
  Disconnected();
  EXPECT_EQ(PublishedLists(),
            (Texts{kStoredList, "Home:-50 Attic:-50 Garden:-50", "Home:-50 Attic:-50 Garden:-50"}));
  EXPECT_TRUE(test_log::Has(" orig size = 4 newssize = 3"));
  EXPECT_EQ(test_log::Count("Found Removed AP, remove from list"), 1U);
  Handler().UpdateVconf(false);
  EXPECT_EQ(Brief(Stored(vconf_keys::kSavedAPList), "STATUS"), "Home:Disconnected Attic: Garden:");
}

TEST_F(SavedNetworkList, IsLookedThroughAlsoWhenTheNetworkLeftHasNoName) {
  StartWithList();
  wifi.Forget("Office");
  tv.Fail("wifi_ap_get_essid", WIFI_ERROR_OPERATION_FAILED);
  Disconnected();
  EXPECT_EQ(PublishedLists().size(), 3U);
  EXPECT_EQ(SavedList(), "Home:-50 Attic:-50 Garden:-50");
  Handler().UpdateVconf(false);
  EXPECT_EQ(Brief(Stored(vconf_keys::kSavedAPList), "STATUS"), "Home: Attic: Garden:");
}

TEST_F(SavedNetworkList, ForgetsOne) {
  StartWithList();
  wifi.Forget("Home");
  Command(R"({"COMMAND":"2"})");
  EXPECT_EQ(PublishedLists(), (Texts{kStoredList, "Office:-50 Attic:-50 Garden:-50"}));
  RunLoopFor(2s);
  EXPECT_EQ(PublishedLists().size(), 3U) << "once more when the scan has ended";
  EXPECT_EQ(TopStatuses(), "Office:DisConnected Attic:DisConnected");
}

TEST_F(SavedNetworkList, ForgetsAll) {
  StartWithList();
  for (const char* name : {"Home", "Office", "Attic", "Garden"}) {
    wifi.Forget(name);
  }
  Command(R"({"COMMAND":"2"})");
  RunLoopFor(2s);
  EXPECT_EQ(Stored(vconf_keys::kSavedAPList), R"({"count":0})");
  EXPECT_EQ(Stored(vconf_keys::kTopSavedAP), R"({"count":0})");
  EXPECT_EQ(test_log::Count("Found Removed AP, remove from list"), 0U);
}

TEST_F(SavedNetworkList, DoesNotGetNewNetworksByTheLookForForgottenOnes) {
  StartWithList();
  wifi.Save({"New", WIFI_SECURITY_TYPE_WPA2_PSK, "n", 2412});
  Command(R"({"COMMAND":"2"})");
  EXPECT_EQ(SavedList(), kStoredList);
}

TEST_F(SavedNetworkList, StaysWhenTheWifiManagerDoesNotSayWhatIsSaved) {
  StartWithList();
  tv.Fail("wifi_manager_config_foreach_configuration", WIFI_MANAGER_ERROR_OPERATION_FAILED);
  Command(R"({"COMMAND":"2"})");
  EXPECT_TRUE(
      test_log::Has("[MULTIPROFILE] fail wifi_manager_config_foreach_configuration =>-30277631"));
  EXPECT_EQ(PublishedLists(), Texts{kStoredList});
}

TEST_F(SavedNetworkList, IsEmptyAfterAResetThoughConfigurationsExist) {
  StartWithList();
  Command(R"({"COMMAND":"3"})");
  EXPECT_EQ(Published(vconf_keys::kSavedAPList), Texts{R"({"count":0})"});
  RunLoopFor(2s);
  EXPECT_EQ(Published(vconf_keys::kTopSavedAP), Texts{R"({"count":0})"});
  Connected(kOffice);
  RunLoopFor(2s);
  EXPECT_EQ(SavedList(), "Office:-61") << "they come back one by one as they connect";
}

TEST_F(SavedNetworkList, IsEmptyAfterARestartThatFollowsAReset) {
  StartWithList();
  Command(R"({"COMMAND":"3"})");
  End();
  Forget();
  Start();
  RunLoopFor(2s);
  EXPECT_TRUE(test_log::Has("request.empty() - return"));
  EXPECT_TRUE(PublishedLists().empty());
  EXPECT_TRUE(PublishedStatuses().empty()) << "nothing is handed over";
}

TEST_F(SavedNetworkList, TakesNoOtherCommand) {
  StartWithList();
  wifi.Forget("Home");
  for (const char* command : {R"({"COMMAND":"22"})", R"({"COMMAND":"4"})", R"({"COMMAND":""})", "{}",
                              R"({"COMMAND":null})", R"({"command":"3"})", R"({"COMMAND":"1"})"}) {
    Command(command);
  }
  RunLoopFor(2s);
  EXPECT_TRUE(PublishedLists().empty());
}

TEST_F(SavedNetworkList, TakesACommandThatIsANumber) {
  StartWithList();
  Command(R"({"COMMAND":3})");
  EXPECT_EQ(Stored(vconf_keys::kSavedAPList), R"({"count":0})");
}

TEST_F(SavedNetworkList, KeepsSignalsOfWhatWasNotSeen) {
  StartWithList();
  wifi.SetOn(kHome, false);
  Handler().UpdateSignalStrength();
  RunLoopFor(1s);
  EXPECT_EQ(SavedList(), kStoredList);
  EXPECT_EQ(PublishedLists().size(), 1U);
}

TEST_F(SavedNetworkList, PublishesNothingWhenTheScanFails) {
  StartWithList();
  wifi.FailNext(WifiRequest::kChannelScan, WIFI_MANAGER_ERROR_WIFI_OFFLINE);
  Handler().UpdateSignalStrength();
  RunLoopFor(1s);
  EXPECT_TRUE(PublishedLists().empty());
  EXPECT_TRUE(test_log::Has("_ApScanDoneCb Error : -30277614"));
}

TEST_F(SavedNetworkList, TakesTheWeakestSignalForOneThatCannotBeRead) {
  StartWithList();
  tv.Fail("wifi_manager_ap_get_rssi", WIFI_MANAGER_ERROR_OPERATION_FAILED);
  Handler().UpdateSignalStrength();
  RunLoopFor(1s);
  EXPECT_EQ(SavedList(), "Home:-120 Office:-50 Attic:-50 Garden:-50");
  EXPECT_TRUE(test_log::Has("Fail to get signal strength"));
}

TEST_F(SavedNetworkList, PassesOverWhatHasNoName) {
  StartWithList();
  tv.Fail("wifi_manager_ap_get_essid", WIFI_MANAGER_ERROR_OPERATION_FAILED);
  Handler().UpdateSignalStrength();
  RunLoopFor(1s);
  EXPECT_EQ(SavedList(), kStoredList);
  EXPECT_EQ(PublishedLists().size(), 1U);
  EXPECT_TRUE(test_log::Has("wifi_manager_ap_get_essid API:Failed"));
}

TEST_F(SavedNetworkList, HearsOfConnectionsAlsoAsACallback) {
  StartWithList();
  ASSERT_TRUE(wifi.Join(kOffice));
  const ConnectedAp ap;
  Forget();
  using Callback = SavedAPPriorityHandler;
  Callback::connection_state_callback(WIFI_CONNECTION_STATE_ASSOCIATION, ap.Get(), &Handler());
  Callback::connection_state_callback(WIFI_CONNECTION_STATE_CONFIGURATION, ap.Get(), &Handler());
  Callback::connection_state_callback(WIFI_CONNECTION_STATE_DISCONNECTED, ap.Get(), &Handler());
  EXPECT_EQ(test_log::Messages(), Texts{"association  =>"});
  Callback::connection_state_callback(WIFI_CONNECTION_STATE_CONNECTED, ap.Get(), &Handler());
  EXPECT_EQ(test_log::Messages().at(1), "state connected");
  EXPECT_EQ(SavedList(), "Office:100 Home:-50 Attic:-50 Garden:-50");
  Forget();
  Callback::connection_state_callback(WIFI_CONNECTION_STATE_CONNECTED, ap.Get(), nullptr);
  EXPECT_EQ(test_log::Messages(), Texts{" User data is NULL"});
}

TEST_F(SavedNetworkList, MakesTheWifiInterfaceReadyAndSaysWhenItCannot) {
  StartWithList();
  tv.Fail("wifi_initialize", WIFI_ERROR_OPERATION_FAILED, 1);
  EXPECT_EQ(Handler().RegisterWifiEvents(), WIFI_ERROR_OPERATION_FAILED);
  EXPECT_EQ(test_log::Messages(), Texts{"Failed to Initialize wifi [-29687039]"});
  test_log::Clear();
  tv.Fail("wifi_initialize", WIFI_ERROR_NOT_SUPPORTED, 1);
  EXPECT_EQ(Handler().RegisterWifiEvents(), WIFI_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(Handler().RegisterWifiEvents(), WIFI_ERROR_NONE);
  EXPECT_TRUE(test_log::Messages().empty());
}

TEST_F(SavedNetworkList, IsNotTouchedByWhatComesAfterItsEnd) {
  Start();  // two scans are under way, and the hand-over
  const ConnectedAp ap;
  delete &Handler();
  Forget();
  Command(R"({"COMMAND":"3"})");  // the watch on it lives on
  RunLoopFor(5s);
  EXPECT_TRUE(PublishedLists().empty());
  EXPECT_TRUE(PublishedStatuses().empty());
}

}  // namespace

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "C5GhzSwitchHandler.h"
#include "MainLoop.h"
#include "State5GhzFinal.h"
#include "SwitchRoom.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "system_info.h"

using namespace std::chrono_literals;

namespace {

using Words = std::vector<std::string>;
using Path = std::vector<int>;

/// Long enough for the TV to look, to connect and to get an address.
constexpr auto kMove = 5s;

class Switch : public testing::Test, protected SwitchRoom {
 protected:
  Switch() {
    handler.Init();
    RunLoopOnce();
    tv.ClearCalls();
    test_log::Clear();
  }

  Radio& Home() { return *wifi.FindRadio(kHome); }
  Radio& Home5G() { return *wifi.FindRadio(kHome5G); }

  /// The TV has not seen the 5 GHz radio yet.
  void Hide5GUntilTheNextScan() {
    wifi.SetOn(kHome5G, false);
    wifi.SeeAll();
    wifi.SetOn(kHome5G, true);
  }

  /// Makes the 5 GHz network one that everybody may join, and that the TV does not know.
  void Open5G() {
    wifi.Forget("Home 5G");
    Home5G().security = WIFI_SECURITY_TYPE_NONE;
    Home5G().passphrase = "";
    wifi.SeeAll();
  }

  void StartAndAsk() {
    Start();
    RunLoopFor(kMove);
    ASSERT_EQ(handler.GetState(), STATE_SHOWPOPUP);
  }

  std::vector<std::string> Requests() {
    std::vector<std::string> requests;
    for (const auto& call : tv.Calls()) {
      if (call.function == "wifi_connect_target" || call.function == "wifi_disconnect" ||
          call.function == "wifi_scan") {
        requests.push_back(call.function.substr(5));
        for (const std::string& argument : call.arguments) {
          if (argument == kHome || argument == kHome5G) {
            requests.back() += argument == kHome ? " Home" : " Home 5G";
          }
        }
      }
    }
    return requests;
  }
};

TEST_F(Switch, AskedForAndConfirmedStays) {
  StartAndAsk();
  EXPECT_EQ(wifi.ConnectedBssid(), kHome5G);
  EXPECT_EQ(handler.GetUserSelection(), -1);
  Say("CONNECTPRESSED");
  RunLoopFor(100s);
  EXPECT_EQ(Entered(), (Path{1, 2, 3, 6, 0}));
  EXPECT_EQ(wifi.ConnectedBssid(), kHome5G);
  EXPECT_EQ(Written(), Words{"SHOWPOPUP"});
  EXPECT_EQ(handler.GetUserSelection(), 1);
  EXPECT_EQ(handler.GetRequestType(), eUserRequest);
  EXPECT_EQ(Requests(), std::vector<std::string>{"connect_target Home 5G"});
  EXPECT_TRUE(test_log::Has("Similar AP found without scan,go to connect [Home 5G]"));
  EXPECT_TRUE(test_log::Has("Popup button pressed =>1"));
  EXPECT_EQ(Stored(vconf_keys::kAuto5GhzSwitchSettings), "1") << "the user asked, not the machine";
}

TEST_F(Switch, AskedForAndDeclinedGoesHome) {
  StartAndAsk();
  Say("CANCELPRESSED");
  RunLoopFor(100s);
  EXPECT_EQ(Entered(), (Path{1, 2, 3, 4, 6, 0}));
  EXPECT_EQ(wifi.ConnectedBssid(), kHome);
  EXPECT_EQ(Written(), (Words{"SHOWPOPUP", "PAGECHANGED"}));
  EXPECT_EQ(handler.GetUserSelection(), 0);
  EXPECT_TRUE(test_log::Has("Is Similar AP Favourite==1"));
  EXPECT_TRUE(test_log::Has("Rollback connection completed show success UI 1"));
  EXPECT_TRUE(test_log::Has("rollback successfully done "));
}

TEST_F(Switch, LeavingTheScreenWithThePopupUpCountsAsDeclining) {
  StartAndAsk();
  test_log::Clear();
  Stop();
  RunLoopFor(100s);
  EXPECT_EQ(test_log::Messages().at(0), "5ghz vconf change =>STOP5GHZCONNECTION");
  EXPECT_EQ(test_log::Messages().at(1), "Set State => 0");
  EXPECT_TRUE(test_log::Has("Popup button pressed =>0"));
  EXPECT_EQ(Entered(), (Path{4, 6, 0}));
  EXPECT_EQ(wifi.ConnectedBssid(), kHome);
  EXPECT_EQ(handler.GetUserSelection(), 0);
}

TEST_F(Switch, AnAnswerWithoutAPopupChangesNothing) {
  Say("CONNECTPRESSED");
  Say("CANCELPRESSED");
  RunLoopOnce();
  EXPECT_TRUE(Entered().empty());
  EXPECT_EQ(handler.GetUserSelection(), -1);
}

TEST_F(Switch, ThePopupWaitsForTheUserHoweverLongItTakes) {
  StartAndAsk();
  RunLoopFor(24h);
  EXPECT_EQ(handler.GetState(), STATE_SHOWPOPUP);
  Say("CONNECTPRESSED");
  RunLoopOnce();
  EXPECT_EQ(handler.GetState(), STATE_IDLE);
}

TEST_F(Switch, ARadioThatRefusesSendsTheTvHomeFromAnIdleCallback) {
  Home5G().temper = Radio::Temper::kRefuses;
  Start();
  RunLoopFor(kMove);
  EXPECT_EQ(Entered(), (Path{1, 2, 4, 6, 0}));
  EXPECT_TRUE(test_log::Has("Ap failed to connect,Notify fail UI,transit to rollback state"));
  EXPECT_EQ(wifi.ConnectedBssid(), kHome);
  EXPECT_EQ(Written(), Words{"PAGECHANGED"});
  EXPECT_EQ(handler.GetUserSelection(), -1);
}

TEST_F(Switch, ARadioThatHasGoneLeavesTheTvWhereItIs) {
  wifi.SetOn(kHome5G, false);
  Start();
  RunLoopFor(kMove);
  EXPECT_EQ(Entered(), (Path{1, 2, 4, 6, 0}));
  EXPECT_EQ(wifi.ConnectedBssid(), kHome);
  EXPECT_EQ(Written(), Words{"PAGECHANGED"});
}

TEST_F(Switch, ARadioThatNeverAnswersIsGivenUpAfter50Seconds) {
  Home5G().temper = Radio::Temper::kSilent;
  Start();
  RunLoopFor(49s);
  EXPECT_EQ(handler.GetState(), STATE_CONNECTING);
  RunLoopFor(2s + kMove);
  EXPECT_EQ(Entered(), (Path{1, 2, 4, 6, 0}));
  EXPECT_EQ(wifi.ConnectedBssid(), kHome);
  EXPECT_EQ(Written(), Words{"PAGECHANGED"});
}

TEST_F(Switch, AHomeThatNeverAnswersIsGivenUpAfter40Seconds) {
  Home5G().temper = Radio::Temper::kRefuses;
  Home().temper = Radio::Temper::kSilent;
  Start();
  RunLoopFor(kMove);
  EXPECT_EQ(handler.GetState(), STATE_ROLLBACK);
  RunLoopFor(34s);
  EXPECT_EQ(handler.GetState(), STATE_ROLLBACK);
  RunLoopFor(3s);
  EXPECT_EQ(Entered(), (Path{1, 2, 4, 6, 0}));
  EXPECT_TRUE(test_log::Has("Reached to final state ,operation success ,going to idle"));
  EXPECT_FALSE(test_log::Has("rollback successfully done "));
  EXPECT_TRUE(Written().empty()) << "nobody is told that the TV has no network";
}

TEST_F(Switch, AHomeThatRefusesEndsTheRollBackToo) {
  Home5G().temper = Radio::Temper::kRefuses;
  Home().temper = Radio::Temper::kRefuses;
  Start();
  RunLoopFor(kMove);
  EXPECT_EQ(Entered(), (Path{1, 2, 4, 6, 0}));
  EXPECT_TRUE(test_log::Has("Rollback connection completed show success UI 0"));
  EXPECT_TRUE(test_log::Has("Ap failed to connect, transit to complete state"));
  EXPECT_EQ(Written(), Words{"PAGECHANGED"});
}

TEST_F(Switch, RollBackDisconnectsOnlyANonFavourite) {
  Open5G();
  StartAndAsk();
  Say("CANCELPRESSED");
  RunLoopFor(kMove);
  EXPECT_TRUE(test_log::Has("Is Similar AP Favourite==0"));
  EXPECT_EQ(Requests(), (std::vector<std::string>{"connect_target Home 5G", "disconnect Home 5G",
                                                  "connect_target Home"}));
  EXPECT_EQ(wifi.ConnectedBssid(), kHome);
}

TEST_F(Switch, AFavouriteIsNotDisconnectedBeforeGoingHome) {
  StartAndAsk();
  Say("CANCELPRESSED");
  RunLoopFor(kMove);
  EXPECT_EQ(Requests(), (std::vector<std::string>{"connect_target Home 5G", "connect_target Home"}));
}

TEST_F(Switch, LooksAroundWhenNoSimilarAccessPointIsKnown) {
  Hide5GUntilTheNextScan();
  Start();
  RunLoopOnce();
  EXPECT_TRUE(test_log::Has("Similar AP not found without scan,go for wifi scanning"));
  EXPECT_EQ(handler.GetState(), STATE_INIT);
  RunLoopFor(kMove);
  EXPECT_TRUE(test_log::Has("Event Received => Wifi Scan complete"));
  EXPECT_TRUE(test_log::Has("Similar AP found after scan,go to connect [Home 5G]"));
  EXPECT_EQ(Entered(), (Path{1, 2, 3}));
}

TEST_F(Switch, EndsWhenTheScanFindsNone) {
  wifi.RemoveRadio(kHome5G);
  wifi.SeeAll();
  Start();
  RunLoopFor(kMove);
  EXPECT_EQ(Entered(), (Path{1, 5, 0}));
  EXPECT_TRUE(test_log::Has("No similar ap found,even after scan,go to error state"));
  EXPECT_TRUE(test_log::Has("Reached to error state ,notify UI and go to idle state"));
  EXPECT_EQ(Written(), Words{"PAGECHANGED"});
  EXPECT_EQ(wifi.ConnectedBssid(), kHome);
}

TEST_F(Switch, EndsWithoutAScanWhenTheNetworkNeedsAKeyThatIsNotSaved) {
  wifi.Forget("Home 5G");
  Start();
  RunLoopFor(kMove);
  EXPECT_EQ(Entered(), (Path{1, 5, 0}));
  EXPECT_TRUE(test_log::Has("Not allowed to switch"));
  EXPECT_TRUE(Requests().empty());
  EXPECT_EQ(Written(), Words{"PAGECHANGED"});
}

TEST_F(Switch, ANetworkFoundByTheScanThatNeedsAKeyCountsAsNone) {
  wifi.Forget("Home 5G");
  Hide5GUntilTheNextScan();
  Start();
  RunLoopFor(kMove);
  EXPECT_EQ(Entered(), (Path{1, 5, 0}));
  EXPECT_TRUE(test_log::Has("No similar ap found,even after scan,go to error state"));
  EXPECT_FALSE(test_log::Has("Not allowed to switch"));
}

TEST_F(Switch, AScanThatCannotBeginEndsAtOnce) {
  Hide5GUntilTheNextScan();
  tv.Fail("wifi_scan", WIFI_ERROR_OPERATION_FAILED);
  Start();
  RunLoopOnce();
  EXPECT_EQ(Entered(), (Path{1, 5, 0}));
}

struct Trouble {
  const char* name;
  void (*report)();
  eSwitchRequestType type;
};

void PrintTo(const Trouble& trouble, std::ostream* out) {
  *out << trouble.name;
}

class AutomaticSwitch : public Switch, public testing::WithParamInterface<Trouble> {};

TEST_P(AutomaticSwitch, AsksNobodyAndStays) {
  GetParam().report();
  RunLoopFor(kMove);
  EXPECT_EQ(Entered(), (Path{1, 2, 3, 6, 0}));
  EXPECT_EQ(wifi.ConnectedBssid(), kHome5G);
  EXPECT_TRUE(Written().empty());
  EXPECT_EQ(handler.GetUserSelection(), 1);
  EXPECT_EQ(handler.GetRequestType(), GetParam().type);
}

TEST_P(AutomaticSwitch, HappensOnceUntilTheModeIsSwitchedOnAgain) {
  Home5G().temper = Radio::Temper::kRefuses;
  GetParam().report();
  RunLoopFor(kMove);
  EXPECT_EQ(wifi.ConnectedBssid(), kHome);
  EXPECT_EQ(Stored(vconf_keys::kAuto5GhzSwitchSettings), "0") << "also when it failed";
  EXPECT_TRUE(Written().empty());
  GetParam().report();
  RunLoopFor(kMove);
  EXPECT_TRUE(test_log::Has("Auto switching mode not allowed "));
  EXPECT_EQ(Entered(), (Path{1, 2, 4, 6, 0}));
  SetAutoSwitchingMode(1);
  GetParam().report();
  RunLoopFor(kMove);
  EXPECT_EQ(Entered(), (Path{1, 2, 4, 6, 0, 1, 2, 4, 6, 0}));
}

TEST_P(AutomaticSwitch, IsRefusedWhileTheSettingsApplicationRuns) {
  vconf_set_int(vconf_keys::kNetworkAppStatus, 1);
  GetParam().report();
  RunLoopOnce();
  EXPECT_TRUE(test_log::Has("vconf value db/menu/network/networkapp_status=>1"));
  EXPECT_TRUE(test_log::Has("Cannot handle awm events, networksettings is running"));
  EXPECT_TRUE(test_log::Has("Not valid to start connection switching"));
  EXPECT_TRUE(Written().empty());
  EXPECT_EQ(Stored(vconf_keys::kAuto5GhzSwitchSettings), "1") << "a refused request costs nothing";
}

TEST_P(AutomaticSwitch, IsNotRefusedByAnyOtherStatusOfTheSettingsApplication) {
  vconf_set_int(vconf_keys::kNetworkAppStatus, 2);
  GetParam().report();
  RunLoopFor(kMove);
  EXPECT_EQ(wifi.ConnectedBssid(), kHome5G);
}

TEST_P(AutomaticSwitch, IsNotLedIntoAnOpenNetworkThatIsNotSaved) {
  Open5G();
  GetParam().report();
  RunLoopFor(kMove);
  EXPECT_TRUE(test_log::Has("Not allowed to switch"));
  EXPECT_EQ(Entered(), (Path{1, 5, 0}));
  EXPECT_TRUE(Written().empty()) << "automatic requests tell nobody";
}

TEST_P(AutomaticSwitch, WithoutWifiIsRefusedForThat) {
  wifi.Drop();
  GetParam().report();
  RunLoopOnce();
  EXPECT_TRUE(test_log::Has("EV006 cannot send , ap is not connected"));
  EXPECT_TRUE(test_log::Has("Current network is not wireless, cannot switch to 5Ghz"));
}

INSTANTIATE_TEST_SUITE_P(By, AutomaticSwitch,
                         testing::Values(Trouble{"Buffering", SwitchRoom::Buffer, eStreamingBuffering},
                                         Trouble{"LowResolution", SwitchRoom::FallToLowResolution,
                                                 eStreamingLowResolution}),
                         [](const auto& case_info) { return std::string(case_info.param.name); });

TEST_F(Switch, AnAccessPointThatAnswersTwiceIsHeardTwice) {
  Home5G().temper = Radio::Temper::kAnswersTwice;
  StartAndAsk();
  EXPECT_EQ(test_log::Count("Connection Result => 1"), 2U);
  EXPECT_EQ(test_log::Count("Events unhandled 2"), 1U);
  EXPECT_EQ(Entered(), (Path{1, 2, 3}));
}

TEST_F(Switch, TheSecondAnswerToAnAutomaticMoveMeetsIdle) {
  Home5G().temper = Radio::Temper::kAnswersTwice;
  Buffer();
  RunLoopFor(kMove);
  EXPECT_EQ(test_log::Count("Process Event =>2 ,send to state =>0"), 1U);
  EXPECT_EQ(Entered(), (Path{1, 2, 3, 6, 0}));
}

TEST_F(Switch, ASecondRequestDuringTheScanBeginsAnew) {
  Hide5GUntilTheNextScan();
  Start();
  RunLoopFor(1s);
  Start();
  RunLoopFor(kMove);
  EXPECT_EQ(Entered(), (Path{1, 1, 2, 3}));
}

TEST_F(Switch, ASecondRequestOfAnotherKindDuringTheScanTakesItsPlace) {
  Hide5GUntilTheNextScan();
  Start();
  RunLoopFor(1s);
  Buffer();
  RunLoopFor(kMove);
  EXPECT_EQ(Entered(), (Path{1, 1, 2, 3, 6, 0}));
  EXPECT_EQ(handler.GetRequestType(), eStreamingBuffering);
  EXPECT_TRUE(Written().empty());
}

TEST_F(Switch, ASecondRequestWhileConnectingIsRefused) {
  tv.SetLatency(VirtualTv::EventKind::kLook, 10'000);
  Start();
  RunLoopFor(1s);
  Start();
  RunLoopOnce();
  EXPECT_TRUE(test_log::Has("Already switching to 5ghz, ignore new request"));
  EXPECT_EQ(Written(), Words{"PAGECHANGED"});
  RunLoopFor(20s);
  EXPECT_EQ(handler.GetState(), STATE_SHOWPOPUP) << "the first request goes on";
}

TEST_F(Switch, ASecondRequestWithThePopupUpIsRefusedAndTheUserIsStillAsked) {
  StartAndAsk();
  Start();
  RunLoopOnce();
  EXPECT_TRUE(test_log::Has("Ap is already 5ghz ,cannot switch"));
  EXPECT_EQ(Written(), (Words{"SHOWPOPUP", "PAGECHANGED"}));
  EXPECT_EQ(handler.GetOriginalWiFiData().bssid, kHome);
  Say("CANCELPRESSED");
  RunLoopFor(kMove);
  EXPECT_EQ(wifi.ConnectedBssid(), kHome) << "and not what the refused request saw";
}

TEST_F(Switch, ARequestTakesThePlaceOfThePopupWhenTheTvHasFallenBackMeanwhile) {
  StartAndAsk();
  wifi.Join(kHome);
  Start();
  RunLoopFor(kMove);
  EXPECT_EQ(Entered(), (Path{1, 2, 3, 1, 2, 3}));
  Say("CANCELPRESSED");
  RunLoopFor(kMove);
  EXPECT_EQ(test_log::Count("Popup button pressed =>0"), 1U) << "the first popup is gone";
  EXPECT_EQ(wifi.ConnectedBssid(), kHome);
}

TEST_F(Switch, AnAutomaticRequestTakesThePlaceOfThePopupToo) {
  StartAndAsk();
  wifi.Join(kHome);
  Buffer();
  RunLoopFor(kMove);
  EXPECT_EQ(Entered(), (Path{1, 2, 3, 1, 2, 3, 6, 0}));
  Say("CANCELPRESSED");
  RunLoopFor(kMove);
  EXPECT_EQ(wifi.ConnectedBssid(), kHome5G) << "nobody is asked any more";
}

TEST_F(Switch, StopWhileConnectingUnlocksNewRequestsAndStopsNothing) {
  Home5G().temper = Radio::Temper::kSilent;
  tv.SetLatency(VirtualTv::EventKind::kLook, 60'000);
  Start();
  RunLoopFor(10s);
  Stop();
  RunLoopOnce();
  EXPECT_EQ(handler.GetState(), STATE_IDLE);
  EXPECT_EQ(Entered(), (Path{1, 2}));
  RunLoopFor(42s);
  EXPECT_EQ(Entered().at(2), STATE_ROLLBACK) << "its time runs on";
}

TEST_F(Switch, ARequestAfterStopHasItsOwn50Seconds) {
  tv.SetLatency(VirtualTv::EventKind::kLook, 120'000);
  Start();
  RunLoopFor(10s);
  Stop();
  RunLoopFor(10s);
  Start();
  RunLoopFor(45s);
  EXPECT_EQ(Entered(), (Path{1, 2, 1, 2})) << "the first one's time has ended with it";
  RunLoopFor(8s);
  EXPECT_EQ(Entered().at(4), STATE_ROLLBACK);
}

TEST_F(Switch, RemembersTheAccessPointsWithWhatWasMeasuredThere) {
  EXPECT_EQ(handler.GetOriginalWiFiData().protocol, "");
  StartAndAsk();
  EXPECT_EQ(handler.GetOriginalWiFiData().bssid, kHome);
  EXPECT_EQ(handler.GetOriginalWiFiData().frequency, 2437);
  EXPECT_EQ(handler.GetOriginalWiFiData().rssi, -62);
  EXPECT_EQ(handler.GetOriginalWiFiData().protocol, "802.11n");
  EXPECT_FALSE(handler.GetOriginalWiFiData().is5Ghz);
  EXPECT_EQ(handler.GetSimilarWiFiData().bssid, kHome5G);
  EXPECT_EQ(handler.GetSimilarWiFiData().protocol, "") << "measured when the user has decided";
  Say("CONNECTPRESSED");
  RunLoopOnce();
  EXPECT_EQ(handler.GetSimilarWiFiData().protocol, "802.11ac");
  EXPECT_EQ(handler.GetSimilarWiFiData().channelInterference, 0);
  EXPECT_EQ(handler.GetMacDiff(), 4);
}

TEST_F(Switch, AllowsAMoveWhenTheModelDoesNotNameItsChip) {
  tv.Fail("system_info_get_value_int", SYSTEM_INFO_ERROR_NOT_SUPPORTED);
  StartAndAsk();
}

TEST_F(Switch, EndsWithTheDaemon) {
  Home5G().temper = Radio::Temper::kSilent;
  Start();
  RunLoopFor(kMove);
  handler.DeInit();
  EXPECT_EQ(handler.GetState(), STATE_IDLE);
  test_log::Clear();
  RunLoopFor(100s);
  Start();
  Buffer();
  FallToLowResolution();
  RunLoopFor(100s);
  EXPECT_TRUE(Entered().empty());
  EXPECT_EQ(CountPrefix("5ghz vconf change"), 0U);
}

TEST_F(Switch, HearsNoAnswerAfterTheDaemonStoppedIt) {
  Start();
  RunLoopOnce();
  ASSERT_EQ(handler.GetState(), STATE_CONNECTING);
  handler.DeInit();
  RunLoopFor(kMove);
  EXPECT_EQ(wifi.ConnectedBssid(), kHome5G) << "the platform ends what it has begun";
  EXPECT_EQ(CountPrefix("Connection Result"), 0U);
}

TEST_F(Switch, ThePopupEndsWithTheDaemon) {
  StartAndAsk();
  handler.DeInit();
  test_log::Clear();
  Say("CONNECTPRESSED");
  RunLoopOnce();
  EXPECT_TRUE(test_log::Messages().empty());
}

TEST_F(Switch, WorksAgainAfterTheDaemonStoppedAndStartedIt) {
  handler.DeInit();
  handler.Init();
  StartAndAsk();
}

TEST_F(Switch, AnUnknownStateIsNotEntered) {
  StartAndAsk();
  handler.m_TransitState(static_cast<OPERATIONSTATE>(7));
  EXPECT_EQ(handler.GetState(), STATE_SHOWPOPUP);
  Say("CONNECTPRESSED");
  RunLoopOnce();
  EXPECT_EQ(handler.GetState(), STATE_IDLE) << "the popup's state is still there";
}

TEST(SwitchBeforeItsStart, HasNoStateThatCouldHearAnything) {
  SwitchRoom room;
  room.handler.m_OnScanDone();
  EXPECT_EQ(test_log::Messages(), std::vector<std::string>{"states empty,cannot process event"});
}

TEST(SwitchStart, ListensAndRestsInIdle) {
  SwitchRoom room;
  room.tv.ClearCalls();
  room.handler.Init();
  std::vector<std::string> keys;
  for (const auto& call : room.tv.Calls("vconf_notify_key_changed")) {
    keys.push_back(call.arguments.at(0));
  }
  EXPECT_EQ(keys, (std::vector<std::string>{vconf_keys::kStreamingBuffer, vconf_keys::kStreamingLowRes,
                                            vconf_keys::kLaunchNS}));
  EXPECT_EQ(test_log::Messages(),
            (std::vector<std::string>{"START", "Transit operation =>0", "Set State => 0", "END"}));
}

TEST(SwitchOnTheChipThatCannotDoIt, ListensToNothingAndKeepsTheLibrary) {
  SwitchRoom room;
  room.tv.SetFeature("product/wifi_vendor", "7");
  room.tv.ClearCalls();
  room.handler.Init();
  EXPECT_EQ(test_log::Messages(),
            (std::vector<std::string>{"START", "WIFI_VENDOR_MT7603U", "feature not supported"}));
  EXPECT_EQ(room.tv.Calls("wifi_initialize").size(), 1U);
  EXPECT_TRUE(room.tv.Calls("vconf_notify_key_changed").empty());
  test_log::Clear();
  room.handler.DeInit();
  EXPECT_EQ(test_log::Messages(),
            (std::vector<std::string>{"WIFI_VENDOR_MT7603U", "feature not supported"}));
  EXPECT_TRUE(room.tv.Calls("vconf_ignore_key_changed").empty());
  EXPECT_TRUE(room.tv.Calls("connection_destroy").empty()) << "the library is given back elsewhere only";
}

TEST(SwitchOnTheChipThatCannotDoIt, RefusesARequestThatComesAllTheSame) {
  SwitchRoom room;
  room.tv.SetFeature("product/wifi_vendor", "7");
  EXPECT_FALSE(room.handler.StartConnection(eStreamingBuffering));
  EXPECT_TRUE(test_log::Has("feature not supported on mt7603"));
}

struct ProtocolCase {
  int mode;
  const char* text;
};

TEST(SwitchProtocol, HasTheNameOfItsGeneration) {
  SwitchRoom room;
  room.handler.Init();
  for (const ProtocolCase& protocol :
       {ProtocolCase{1, "802.11b"}, ProtocolCase{2, "802.11g"}, ProtocolCase{3, "802.11n"},
        ProtocolCase{4, "802.11a"}, ProtocolCase{5, "802.11ac"}, ProtocolCase{6, "802.11ax"},
        ProtocolCase{0, "unknown"}, ProtocolCase{7, "unknown"}}) {
    room.wifi.FindRadio(SwitchRoom::kHome)->mode =
        static_cast<wifi_manager_connection_mode_e>(protocol.mode);
    room.wifi.SeeAll();
    EXPECT_EQ(room.handler.GetProtocol(), protocol.text) << protocol.mode;
  }
  room.wifi.Drop();
  EXPECT_EQ(room.handler.GetProtocol(), "unknown");
}

TEST(SwitchMacDiff, IsTheDistanceOfTheLastOctets) {
  C5GhzSwitchHandler& handler = *GetPOCInstance();
  for (const auto& [original, similar, difference] :
       {std::tuple{"AA:BB:CC:DD:EE:01", "AA:BB:CC:DD:EE:05", 4},
        std::tuple{"AA:BB:CC:DD:EE:05", "AA:BB:CC:DD:EE:01", 4},
        std::tuple{"AA:BB:CC:DD:EE:ff", "AA:BB:CC:DD:EE:00", 255},
        std::tuple{"AA:BB:CC:DD:EE:0A", "12:34:56:78:9A:0A", 0},
        std::tuple{"0123456789abcdef", "aa:bb:cc:dd:ee:f", 0}}) {
    handler.GetOriginalWiFiData().bssid = original;
    handler.GetSimilarWiFiData().bssid = similar;
    EXPECT_EQ(handler.GetMacDiff(), difference) << original << " and " << similar;
  }
}

TEST(SwitchMacDiff, OfAShortAddressIsTheLibrarysException) {
  C5GhzSwitchHandler& handler = *GetPOCInstance();
  handler.GetOriginalWiFiData().bssid = "AA:BB:CC:DD:EE:01";
  handler.GetSimilarWiFiData().bssid = "AA:BB:CC:DD:EE";
  EXPECT_THROW(handler.GetMacDiff(), std::out_of_range);
  handler.GetSimilarWiFiData().bssid = "AA:BB:CC:DD:EE:";
  EXPECT_THROW(handler.GetMacDiff(), std::invalid_argument);
  handler.GetSimilarWiFiData().bssid = "AA:BB:CC:DD:EE:XY";
  EXPECT_THROW(handler.GetMacDiff(), std::invalid_argument);
}

TEST(SwitchStates, ThatPassOnHaveNoEarForEvents) {
  SwitchRoom room;
  CState5GhzError error(room.handler);
  EXPECT_EQ(room.handler.GetState(), STATE_ERROR);
  CState5GhzComplete complete(room.handler);
  EXPECT_EQ(room.handler.GetState(), STATE_COMPLETE);
  for (const auto kind :
       {IEvents::EVENT_START, IEvents::EVENT_SCAN_DONE, IEvents::EVENT_CONNECTION_RESULT}) {
    error.m_OnEvent(IEvents(kind, true));
    complete.m_OnEvent(IEvents(kind, false));
    EXPECT_EQ(test_log::Count("Events unhandled " + std::to_string(kind)), 2U);
  }
}

/// The process ends as it is; what is left is the handler's to end, after main().
class SwitchAtTheEndOfTheProcess : public Switch, public testing::WithParamInterface<int> {};

TEST_P(SwitchAtTheEndOfTheProcess, LeavesNothingBehindInAnyState) {
  const int state = GetParam();
  if (state == STATE_INIT) {
    Hide5GUntilTheNextScan();
  } else if (state == STATE_CONNECTING) {
    Home5G().temper = Radio::Temper::kSilent;
  } else if (state == STATE_ROLLBACK) {
    Home5G().temper = Radio::Temper::kRefuses;
    Home().temper = Radio::Temper::kSilent;
  }
  if (state != STATE_IDLE) {
    Start();
    RunLoopFor(state == STATE_INIT ? 1s : kMove);
  }
  EXPECT_EQ(handler.GetState(), state);
}

INSTANTIATE_TEST_SUITE_P(States, SwitchAtTheEndOfTheProcess,
                         testing::Values(STATE_IDLE, STATE_INIT, STATE_CONNECTING, STATE_SHOWPOPUP,
                                         STATE_ROLLBACK));

}  // namespace

// What is logged of Wi-Fi connections, from the platform's callback to the KPI logger.

#include "NetworkWirelessLog.h"

#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ConnectionRoom.h"
#include "IgnorePopup.h"

using namespace std::chrono_literals;

namespace {

using Texts = std::vector<std::string>;

constexpr char kNotSeen[] = "[Cannot start CKPIWIFIENV ,no ap connected =>]";

class ConnectionLog : public ConnectionRoom {};

TEST_F(ConnectionLog, NewNetworkIsReportedWithAllThatIsInRange) {
  m_wifi.Forget("home");
  RegisterOnAnIdleTv();
  Connect(kLow);
  EXPECT_EQ(
      Records(),
      (std::vector<Sent>{{"21_wireless", "WIFI_ENV", "EV001",
                          "{mac=AA-BB-CC;freq=2437;prot=802.11n;bw=20;num=3;"
                          "slist=-47@2437|-55@5180|-80@2462;security=4;rssi=-47;ntype=2;linkspeed=00;"
                          "ip=2;interfer=0;ipv6=1;aptype=0;dualap=1;dhcplt=3600;lansts=0;mprofile=2;"
                          "diffmac=4;dualfreq=5180;dualrssi=-55;dualprot=802.11ac;moduleid=7663\n;"
                          "oobe=0;axap=2}"}}));
}

TEST_F(ConnectionLog, SavedNetworkIsReportedWithItsSignal) {
  RegisterOnAnIdleTv();
  Connect(kLow);
  EXPECT_EQ(Records(), (std::vector<Sent>{{"21_wireless", "WIFI_RSSI", "EV002",
                                           "{rssi=-47;freq=2437;linkspeed=00;interfer=0;ip=2;ipv6=1;"
                                           "aptype=0;multiprofile=3;snr=32;protocol=802.11n;axap=2}"}}));
}

TEST_F(ConnectionLog, NetworkIsNewOnceAndThenTheSame) {
  m_wifi.Forget("home");
  RegisterOnAnIdleTv();
  Connect(kLow);
  Reconnect(kLow);
  EXPECT_EQ(Events(), (Texts{kEnv, kRssi}));
  EXPECT_EQ(Count("[Previous connected  AP =>  , New Ap => home ]"), 1U);
  EXPECT_EQ(Count("[Previous connected  AP => home , New Ap => home ]"), 1U);
  EXPECT_EQ(Count("Updating vconf"), 1U);
}

TEST_F(ConnectionLog, NetworkThatIsNotSavedAnyMoreIsNewAgain) {
  RegisterOnAnIdleTv();
  Connect(kLow);
  m_wifi.Drop();
  m_wifi.Forget("home");
  Settle();
  Connect(kLow);
  EXPECT_EQ(Events(), (Texts{kRssi, kEnv}));
}

TEST_F(ConnectionLog, OnePlaceInTheSavedListForEachConnection) {
  RegisterOnAnIdleTv();
  Connect(kLow);
  EXPECT_TRUE(Stored(vconf_keys::kTopSavedAP).find("\"home\"") != std::string::npos);
  EXPECT_TRUE(Stored(vconf_keys::kTopSavedAP).find("\"Connected\"") != std::string::npos);
  m_wifi.Drop();
  Settle();
  EXPECT_TRUE(Stored(vconf_keys::kTopSavedAP).find("\"home\"") != std::string::npos);
  EXPECT_TRUE(Stored(vconf_keys::kTopSavedAP).find("\"Connected\"") == std::string::npos);
}

TEST_F(ConnectionLog, NetworkWithIPv6OnlyMovesToTheFrontAndIsNotReported) {
  Low().ipv4 = "";
  m_wifi.Forget("home");
  RegisterOnAnIdleTv();
  Connect(kLow);
  EXPECT_EQ(m_wifi.ConnectedBssid(), kLow);
  EXPECT_EQ(Count("[NOT IPV4 connected => false ]"), 1U);
  EXPECT_EQ(Count("[IPV4 not connected , seems ipv6 connected ]"), 1U);
  EXPECT_TRUE(Events().empty());
  EXPECT_EQ(Stored(vconf_keys::kApName), "(none)");
  EXPECT_EQ(Stored(vconf_keys::kConnectedApBssid), "(none)");
  EXPECT_FALSE(test_log::Has("IsBSSIDChanged =>1"));
  EXPECT_TRUE(Stored(vconf_keys::kTopSavedAP).find("\"home\"") != std::string::npos);
}

TEST_F(ConnectionLog, SingleBandRouterMakesNoRecordOfANewNetwork) {
  m_wifi.Save({.essid = "elsewhere"});
  RegisterOnAnIdleTv();
  Connect(kNeighbour);
  EXPECT_TRUE(test_log::Has("WPS Scan fail"));
  EXPECT_FALSE(test_log::Has("[OnEV001Done => 1]"));
  EXPECT_TRUE(Events().empty());
  EXPECT_EQ(Stored(vconf_keys::kApName), "neighbour") << "the keys are kept all the same";
  EXPECT_EQ(Stored(vconf_keys::kConnectedApBssid), kNeighbour);
}

TEST_F(ConnectionLog, IdleMeasurementStaysAndKeepsNoReconnectionFromItsRecord) {
  RegisterOnAnIdleTv();
  Connect(kNeighbour);  // a new network without a second band
  Reconnect(kNeighbour);
  EXPECT_EQ(Events(), Texts{kRssi});
  EXPECT_FALSE(test_log::Has("[KPI001 is already running ,ignore KPI001 "));
  m_wifi.Forget("home");
  Connect(kLow);
  EXPECT_EQ(Events(), (Texts{kRssi, kEnv})) << "the next new network takes its place";
}

TEST_F(ConnectionLog, ReconnectionWaitsForNothingWhileANewNetworkIsMeasured) {
  m_wifi.Forget("home");
  RegisterOnAnIdleTv();
  const wifi_ap_h ap = TakeConnected(kLow);
  BeginMeasurement(ap);
  Tell(WIFI_CONNECTION_STATE_ASSOCIATION, ap);  // saved by now
  Tell(WIFI_CONNECTION_STATE_CONNECTED, ap);
  EXPECT_EQ(Count("[KPI001 is already running ,ignore KPI001 "), 1U);
  Settle();
  EXPECT_EQ(Events(), Texts{kEnv});
  wifi_ap_destroy(ap);
}

TEST_F(ConnectionLog, SecondNewNetworkTakesThePlaceOfOneThatIsMeasured) {
  RegisterOnAnIdleTv();
  const wifi_ap_h ap = TakeConnected(kLow);
  BeginMeasurement(ap);
  Tell(WIFI_CONNECTION_STATE_CONNECTED, ap);  // no association with a saved network in between
  Settle();
  EXPECT_EQ(Count("[OnEV001Done => 1]"), 1U);
  EXPECT_EQ(Events(), Texts{kEnv});
  wifi_ap_destroy(ap);
}

TEST_F(ConnectionLog, SecondReconnectionTakesThePlaceOfOneThatIsMeasured) {
  RegisterOnAnIdleTv();
  const wifi_ap_h ap = TakeConnected(kLow);
  Tell(WIFI_CONNECTION_STATE_ASSOCIATION, ap);
  Tell(WIFI_CONNECTION_STATE_CONNECTED, ap);
  Tell(WIFI_CONNECTION_STATE_CONNECTED, ap);
  Settle();
  EXPECT_EQ(Count("[OnEV002Done => 1]"), 1U);
  EXPECT_EQ(Events(), Texts{kRssi});
  wifi_ap_destroy(ap);
}

TEST_F(ConnectionLog, BothKindsAreMeasuredSideBySide) {
  RegisterOnAnIdleTv();
  const wifi_ap_h ap = TakeConnected(kLow);
  Tell(WIFI_CONNECTION_STATE_ASSOCIATION, ap);
  Tell(WIFI_CONNECTION_STATE_CONNECTED, ap);
  m_wifi.Forget("home");
  wifi_ap_h stranger = nullptr;
  ASSERT_EQ(wifi_get_connected_ap(&stranger), WIFI_ERROR_NONE);
  Tell(WIFI_CONNECTION_STATE_ASSOCIATION, stranger);
  Tell(WIFI_CONNECTION_STATE_CONNECTED, stranger);
  Settle();
  EXPECT_EQ(Events(), (Texts{kRssi, kEnv}));
  EXPECT_EQ(Count("Run Wifi Mon =>"), 1U) << "in one pass";
  wifi_ap_destroy(ap);
  wifi_ap_destroy(stranger);
}

TEST_F(ConnectionLog, MeasurementThatOutlivesItsConnectionMakesNoRecordOfANewNetwork) {
  m_wifi.Forget("home");
  RegisterOnAnIdleTv();
  const wifi_ap_h ap = TakeConnected(kLow);
  BeginMeasurement(ap);
  m_wifi.Drop();
  Settle();
  EXPECT_EQ(Count("[OnEV001Done => 1]"), 1U);
  EXPECT_EQ(Count("No Connected AP"), 1U);
  EXPECT_TRUE(Events().empty());
  wifi_ap_destroy(ap);
}

TEST_F(ConnectionLog, NoMeasurementIsKeptWhenItsRecordIsMade) {
  registerWifiEvents();  // in a connection; without one, a measurement that could not begin stays
  Settle();
  m_wifi.Forget("home");
  for (const char* event : {kEnv, kRssi}) {
    m_wifi.Drop();
    Settle();
    Connect(kLow);
    ASSERT_EQ(Events().back(), event);
    // A measurement holds the Wi-Fi monitor, which otherwise begins anew and names its first listener
    // 101.
    EXPECT_EQ(CNWSingleton<WifiMonHandler>::GetInstance()->Start(nullptr), 100) << event;
  }
}

TEST_F(ConnectionLog, EachStateIsLogged) {
  RegisterOnAnIdleTv();
  Connect(kLow);
  m_wifi.Drop();
  Settle();
  Texts states;
  for (const std::string& message : test_log::Messages()) {
    if (message == "entry" || message == "association  =>" || message == " state : Connected" ||
        message.starts_with("connectio state =>")) {
      states.push_back(message);
    }
  }
  EXPECT_EQ(states, (Texts{"entry", "association  =>", "entry", "connectio state =>2", "entry",
                           " state : Connected", "entry"}));
}

TEST_F(ConnectionLog, UnknownStateAndAFailureAreOnlyLogged) {
  RegisterOnAnIdleTv();
  m_tv.ClearCalls();
  Tell(WIFI_CONNECTION_STATE_FAILURE, nullptr);
  Tell(static_cast<wifi_connection_state_e>(9), nullptr);
  EXPECT_EQ(test_log::Messages(),
            (Texts{"entry", "connectio state =>-1", "entry", "connectio state =>9"}));
  EXPECT_TRUE(m_tv.Calls().empty());
}

TEST_F(ConnectionLog, CallbackWithoutItsObjectIsOnlyLogged) {
  WirelessLog::connection_state_callback(WIFI_CONNECTION_STATE_CONNECTED, nullptr, nullptr);
  EXPECT_EQ(test_log::Messages(), (Texts{"entry", " User data is NULL"}));
}

TEST_F(ConnectionLog, StatesWithoutAnAccessPointHurtNobody) {
  RegisterOnAnIdleTv();
  for (int state = -1; state <= 4; ++state) {
    Tell(static_cast<wifi_connection_state_e>(state), nullptr);
  }
  Settle();
  EXPECT_TRUE(Events().empty());
}

// The keys of the connected access point, and the permission to move to 5 GHz.

struct Band {
  const char* name;
  int frequency;
  const char* mode;
};

void PrintTo(const Band& band, std::ostream* out) {
  *out << band.name;
}

class BandOfAConnection : public ConnectionRoom, public testing::WithParamInterface<Band> {};

TEST_P(BandOfAConnection, DecidesWhetherTheTvMayMoveTo5GHz) {
  Low().frequency = GetParam().frequency;
  RegisterOnAnIdleTv();
  SetAutoSwitchingMode(GetParam().mode[0] == '0' ? 1 : 0);
  Connect(kLow);
  EXPECT_TRUE(test_log::Has("IsBSSIDChanged =>1"));
  EXPECT_EQ(Stored(vconf_keys::kAuto5GhzSwitchSettings), GetParam().mode);
}

TEST_P(BandOfAConnection, DecidesNothingWhenTheAccessPointIsTheOneOfBefore) {
  Low().frequency = GetParam().frequency;
  RegisterOnAnIdleTv();
  Connect(kLow);
  ASSERT_EQ(Stored(vconf_keys::kConnectedApBssid), "(none)");
  vconf_set_str(vconf_keys::kConnectedApBssid, kLow);
  vconf_set_str(vconf_keys::kAuto5GhzSwitchSettings, "as it was");
  Reconnect(kLow);
  EXPECT_TRUE(test_log::Has("IsBSSIDChanged =>0"));
  EXPECT_EQ(Stored(vconf_keys::kAuto5GhzSwitchSettings), "as it was");
}

INSTANTIATE_TEST_SUITE_P(Frequencies, BandOfAConnection,
                         testing::Values(Band{"On2437", 2437, "1"}, Band{"On2484", 2484, "1"},
                                         Band{"On2485", 2485, "0"}, Band{"On5180", 5180, "0"}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(ConnectionLog, UnreadableFrequencyLetsTheTvMove) {
  RegisterOnAnIdleTv();
  SetAutoSwitchingMode(0);
  m_tv.Fail("wifi_ap_get_frequency", WIFI_ERROR_OPERATION_FAILED);
  Connect(kHigh);
  EXPECT_EQ(Stored(vconf_keys::kAuto5GhzSwitchSettings), "1");
}

TEST_F(ConnectionLog, NewNetworkPutsItsBssidAndItsNameIntoTheKeys) {
  RegisterOnAnIdleTv();
  Connect(kHigh);
  EXPECT_EQ(Events(), Texts{kEnv});
  EXPECT_EQ(Stored(vconf_keys::kApName), "home-5G");
  EXPECT_EQ(Stored(vconf_keys::kConnectedApBssid), kHigh);
}

TEST_F(ConnectionLog, ReconnectionPutsItsBssidIntoTheKeyWhenItIsMeasured) {
  vconf_set_str(vconf_keys::kConnectedApBssid, kHigh);
  RegisterOnAnIdleTv();
  Connect(kLow);
  ASSERT_EQ(Events(), Texts{kRssi});
  EXPECT_NE(Records()[0].description.find("multiprofile=2;"), std::string::npos)
      << "what was there until then counts: " << Records()[0].description;
  EXPECT_EQ(Stored(vconf_keys::kConnectedApBssid), kLow);
}

struct SavedBssid {
  const char* name;
  const char* saved;
  bool is_changed;
};

void PrintTo(const SavedBssid& saved, std::ostream* out) {
  *out << saved.name;
}

class BssidOfAConnection : public ConnectionRoom, public testing::WithParamInterface<SavedBssid> {};

TEST_P(BssidOfAConnection, IsComparedWithTheOneOfBeforeOverItsLength) {
  if (GetParam().saved != nullptr) {
    vconf_set_str(vconf_keys::kConnectedApBssid, GetParam().saved);
  }
  const wifi_ap_h ap = TakeConnected(kLow);
  EXPECT_EQ(WirelessLog::IsBSSIDChanged(ap), GetParam().is_changed);
  EXPECT_TRUE(test_log::Has(GetParam().is_changed ? "IsBSSIDChanged =>1" : "IsBSSIDChanged =>0"));
  wifi_ap_destroy(ap);
}

INSTANTIATE_TEST_SUITE_P(Keys, BssidOfAConnection,
                         testing::Values(SavedBssid{"Same", "AA:BB:CC:DD:EE:01", false},
                                         SavedBssid{"None", nullptr, true},
                                         SavedBssid{"Empty", "", true},
                                         SavedBssid{"LastDigit", "AA:BB:CC:DD:EE:02", true},
                                         SavedBssid{"OtherCase", "aa:bb:cc:dd:ee:01", true},
                                         SavedBssid{"Shorter", "AA:BB:CC:DD:EE:0", true},
                                         SavedBssid{"OneMore", "AA:BB:CC:DD:EE:011", true}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(ConnectionLog, BssidsAreComparedOverEighteenCharactersAtMost) {
  // Of a platform whose addresses are longer than ours.
  m_wifi.AddRadio({.bssid = "AA:BB:CC:DD:EE:FF:01", .essid = "long"});
  const wifi_ap_h ap = TakeConnected("AA:BB:CC:DD:EE:FF:01");
  vconf_set_str(vconf_keys::kConnectedApBssid, "AA:BB:CC:DD:EE:FF:77");
  EXPECT_FALSE(WirelessLog::IsBSSIDChanged(ap));
  vconf_set_str(vconf_keys::kConnectedApBssid, "AA:BB:CC:DD:EE:FF-01");
  EXPECT_TRUE(WirelessLog::IsBSSIDChanged(ap)) << "the eighteenth counts";
  wifi_ap_destroy(ap);
}

TEST_F(ConnectionLog, UnreadableBssidIsNoChange) {
  const wifi_ap_h ap = TakeConnected(kLow);
  m_tv.Fail("wifi_ap_get_bssid", WIFI_ERROR_OPERATION_FAILED);
  EXPECT_FALSE(WirelessLog::IsBSSIDChanged(ap));
  WirelessLog::UpdateBSSIDVconf(ap);
  EXPECT_EQ(Stored(vconf_keys::kConnectedApBssid), "(none)");
  wifi_ap_destroy(ap);
}

TEST_F(ConnectionLog, FoundAccessPointsAreToldByTheirSignalAndFrequency) {
  EXPECT_EQ(WirelessLog::GetFoundApfreqBand({}), "");
  EXPECT_EQ(WirelessLog::GetFoundApfreqBand({{-62, 2427}}), "-62@2427");
  EXPECT_EQ(WirelessLog::GetFoundApfreqBand({{-62, 2427}, {-65, 5220}}), "-62@2427|-65@5220");
}

TEST_F(ConnectionLog, FoundAccessPointThatCannotBeReadCountsWithZeros) {
  const wifi_ap_h ap = TakeConnected(kLow);
  m_tv.Fail("wifi_ap_get_frequency", WIFI_ERROR_OPERATION_FAILED);
  m_tv.Fail("wifi_ap_get_rssi", WIFI_ERROR_OPERATION_FAILED);
  WirelessLog::FoundAps list;
  EXPECT_TRUE(WirelessLog::FoundApCallback(ap, &list)) << "the walk goes on";
  EXPECT_EQ(WirelessLog::GetFoundApfreqBand(list), "0@0");
  wifi_ap_destroy(ap);
}

// The gates on a record's way.

TEST_F(ConnectionLog, WithoutAGatewayTheRecordWaitsForTheMonitorsReport) {
  m_internet.SetGateway(false);
  RegisterOnAnIdleTv();
  Connect(kLow);
  EXPECT_TRUE(test_log::Has("CheckKPISendCondition => false"));
  EXPECT_FALSE(test_log::Has("SendKPIData() is invoked !!"));
  EXPECT_TRUE(Events().empty());
  m_internet.SetGateway(true);
  Settle();
  EXPECT_TRUE(test_log::Has(" [GATEWAY] State callback Result : [true]"));
  EXPECT_EQ(Count("result is CONNECTION_ERROR_NONE"), 1U);
  EXPECT_EQ(Events(), Texts{kRssi});
}

TEST_F(ConnectionLog, OnlyAWorkingGatewaySendsWhatWaits) {
  m_internet.SetGateway(false);
  RegisterOnAnIdleTv();
  Connect(kLow);
  for (const char* step : {"PHY", "DNS", "HTTP", "gateway", ""}) {
    m_internet.Report(CONNECTION_ERROR_NONE, step);
  }
  m_internet.Report(CONNECTION_ERROR_OPERATION_FAILED, "GATEWAY");
  Settle();
  EXPECT_TRUE(test_log::Has(" [GATEWAY] State callback Result : [false]"));
  EXPECT_FALSE(test_log::Has("result is CONNECTION_ERROR_NONE"));
  EXPECT_FALSE(test_log::Has("SendKPIData() is invoked !!"));
}

TEST_F(ConnectionLog, WithoutConsentTheRecordWaitsForIt) {
  vconf_set_int(vconf_keys::kDisclaimerAgree, 0);
  RegisterOnAnIdleTv();
  Connect(kLow);
  EXPECT_TRUE(test_log::Has("[Logger is not ready => ]"));
  EXPECT_TRUE(Events().empty());
  vconf_set_int(vconf_keys::kDisclaimerAgree, 1);
  RunLoopFor(6s);
  EXPECT_EQ(Events(), Texts{kRssi});
}

// The start and the end.

TEST_F(ConnectionLog, TvThatStartsConnectedReportsItsConnection) {
  registerWifiEvents();
  EXPECT_TRUE(test_log::Has("[ Update ap_name vconf => home ]"));
  EXPECT_TRUE(test_log::Has("Current AP name [home]"));
  EXPECT_TRUE(test_log::Has(" KPI module initialised"));
  EXPECT_EQ(Stored(vconf_keys::kApName), "home");
  Settle();
  EXPECT_EQ(Events(), Texts{kRssi});
  EXPECT_EQ(Count("[OnEV002Done => 1]"), 1U);
}

TEST_F(ConnectionLog, TvThatStartsWithoutAConnectionKeepsTheNameOfBefore) {
  vconf_set_str(vconf_keys::kApName, "cabin");
  m_wifi.Drop();
  registerWifiEvents();
  Settle();
  EXPECT_TRUE(test_log::Has("Current AP name [cabin]"));
  EXPECT_TRUE(test_log::Has(kNotSeen));
  EXPECT_EQ(Stored(vconf_keys::kApName), "cabin");
  EXPECT_TRUE(Events().empty());
}

TEST_F(ConnectionLog, RegistrationThatEndsWithAMeasurementPendingLeavesNothing) {
  registerWifiEvents();
  deRegisterWifiEvents();
  EXPECT_FALSE(CNWSingleton<NetworkMonitor>::GetInstance() == nullptr);
  test_log::Clear();
  m_wifi.Drop();
  AskFor(kLow);
  RunLoopFor(10s);
  m_internet.Report(CONNECTION_ERROR_NONE, "GATEWAY");
  RunLoopFor(1s);
  for (const char* message : {"entry", "Inside _TimerCB =>", "[OnDone received => 1]",
                              " [GATEWAY] State callback Result : [true]"}) {
    EXPECT_FALSE(test_log::Has(message)) << message;
  }
  EXPECT_TRUE(Events().empty());
}

TEST_F(ConnectionLog, EndsInsideItsOwnCallbacks) {
  // As a stop of the daemon that an event brings about.
  RegisterOnAnIdleTv();
  Connect(kLow);
  const MonitorHandle stopper = NetworkMonitor::GetInstance()->RegisterCb(
      [](bool, const std::string&) { deRegisterWifiEvents(); });
  EXPECT_GT(stopper, 0);
  m_internet.SetGateway(false);
  Settle();
  m_internet.SetGateway(true);
  Settle();
  EXPECT_FALSE(test_log::Has("result is CONNECTION_ERROR_NONE"));
}

TEST_F(ConnectionLog, RefusedWifiIsLoggedByItsCodeAndRegistrationGoesOn) {
  m_tv.Fail("wifi_initialize", -29687039, 1);
  registerWifiEvents();
  EXPECT_EQ(Count("Failed to Initialize wifi [-29687039]"), 1U);
  EXPECT_EQ(m_tv.Calls("wifi_set_connection_state_changed_cb").size(), 1U);
  deRegisterWifiEvents();
  m_tv.Fail("wifi_initialize", WIFI_ERROR_NOT_SUPPORTED, 1);
  registerWifiEvents();
  EXPECT_FALSE(test_log::Has("Failed to Initialize wifi [-95]")) << "no other code is";
}

TEST_F(ConnectionLog, WithoutAConnectionHandleNothingElseIsRegistered) {
  m_tv.Fail("connection_create", CONNECTION_ERROR_OUT_OF_MEMORY, 1);
  m_tv.ClearCalls();
  registerWifiEvents();
  EXPECT_EQ(Count("Connection handle NULL"), 1U);
  EXPECT_EQ(m_tv.Calls().size(), 2U) << "wifi_initialize and this";
}

TEST_F(ConnectionLog, RefusedCallbackIsLogged) {
  m_tv.Fail("wifi_set_connection_state_changed_cb", WIFI_ERROR_INVALID_OPERATION, 1);
  registerWifiEvents();
  EXPECT_EQ(Count("Error in wifi_set_connection_state_changed_cb wireless [-38]!!"), 1U);
  Settle();
  EXPECT_EQ(Events(), Texts{kRssi}) << "the present connection is reported all the same";
}

// What cannot be read when a new network is measured.

struct Gap {
  const char* function;
  const char* message;
  const char* description;  ///< how it begins
};

void PrintTo(const Gap& gap, std::ostream* out) {
  *out << gap.function;
}

class GapInANewNetwork : public ConnectionRoom, public testing::WithParamInterface<Gap> {};

TEST_P(GapInANewNetwork, IsLoggedAndTheRecordIsMadeOfTheRest) {
  m_wifi.Forget("home");
  RegisterOnAnIdleTv();
  const wifi_ap_h ap = TakeConnected(kLow);
  BeginMeasurement(ap);
  wifi_ap_destroy(ap);
  m_tv.Fail(GetParam().function, WIFI_ERROR_OPERATION_FAILED);
  RunLoopUntil([] { return test_log::Has("[OnEV001Done => 1]"); });
  EXPECT_EQ(Count(GetParam().message), 1U);
  const std::vector<Sent> records = Records();
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].event, kEnv);
  EXPECT_EQ(records[0].description.substr(0, records[0].description.find(";security")),
            GetParam().description);
}

INSTANTIATE_TEST_SUITE_P(
    Properties, GapInANewNetwork,
    testing::Values(Gap{"wifi_ap_get_essid", "Fail to get AP name",
                        "{mac=AA-BB-CC;freq=2437;prot=802.11n;bw=20;num=3;"
                        "slist=-47@2437|-55@5180|-80@2462"},
                    Gap{"wifi_ap_get_bssid", "mac address  (null)", ""},
                    Gap{"wifi_ap_get_frequency", "frequency = 0",
                        "{mac=AA-BB-CC;freq=0;prot=802.11n;bw=20;num=3;slist=-47@0|-55@0|-80@0"},
                    Gap{"wifi_ap_get_bandwidth", "bandwidth = 0",
                        "{mac=AA-BB-CC;freq=2437;prot=802.11n;bw=0;num=3;"
                        "slist=-47@2437|-55@5180|-80@2462"},
                    Gap{"wifi_manager_ap_get_connection_mode", "bandwidth = 20",
                        "{mac=AA-BB-CC;freq=2437;prot=unknown;bw=20;num=3;"
                        "slist=-47@2437|-55@5180|-80@2462"},
                    Gap{"wifi_foreach_found_aps", "Fail to get AP info (can't get AP list)",
                        "{mac=AA-BB-CC;freq=2437;prot=802.11n;bw=20;num=0;slist="}),
    [](const auto& info) { return std::string(info.param.function); });

TEST_F(ConnectionLog, NamesOfWhatItMeasuresAreInTheLog) {
  m_wifi.Forget("home");
  RegisterOnAnIdleTv();
  Connect(kLow);
  for (const char* message : {"RV =>0 , bFavourite =>0", "mac address  AA:BB:CC:DD:EE:01",
                              "frequency = 2437", "bandwidth = 20", "CheckKPISendCondition => true"}) {
    EXPECT_EQ(Count(message), 1U) << message;
  }
  test_log::Clear();
  Reconnect(kLow);
  EXPECT_EQ(Count("RV =>0 , bFavourite =>1"), 1U);
  EXPECT_EQ(Count("ssid [home] auto assocaition"), 1U);
}

TEST_F(ConnectionLog, UnreadableNameOfASavedNetworkIsLoggedWithItsCode) {
  const wifi_ap_h ap = TakeConnected(kLow);
  m_tv.Fail("wifi_ap_get_essid", WIFI_ERROR_OPERATION_FAILED, 1);
  std::string name = "as it was";
  EXPECT_FALSE(WirelessLog::IsAutoConnectAP(ap, name));
  EXPECT_EQ(name, "as it was");
  EXPECT_EQ(Count("essid failed -29687039"), 1U);
  EXPECT_TRUE(WirelessLog::IsAutoConnectAP(ap, name));
  EXPECT_EQ(name, "home");
  wifi_ap_destroy(ap);
}

TEST_F(ConnectionLog, UnreadableGatewayIsNone) {
  m_tv.Fail("connection_profile_check_default_gateway", -7, 1);
  EXPECT_FALSE(WirelessLog::CheckKPISendCondition());
  EXPECT_EQ(Count("connection_profile_check_default_gateway -7"), 1U);
  EXPECT_EQ(Count("CheckKPISendCondition => false"), 1U);
}

// Instant-on.

TEST_F(ConnectionLog, EachInstantOnRestartsTheWindowAndReportsTheConnection) {
  RegisterIgnorePopup();
  registerWifiEvents();
  Settle();
  m_tv.ClearCalls();
  test_log::Clear();
  for (std::size_t times = 1; times <= 2; ++times) {
    vconf_set_str(vconf_keys::kNotifyPelorus, "instant_on");
    RunLoopFor(30s);
    EXPECT_EQ(Count("[Start Ignore Timer] >>>"), times);
    EXPECT_EQ(Events(), Texts(times, kRssi));
  }
  EXPECT_FALSE(test_log::Has("Ignore attached >>Timer is Expired ")) << "60 s, but 30 s each";
  RunLoopFor(11s);
  EXPECT_EQ(Count("Ignore attached >>Timer is Expired "), 1U);
  UnRegisterIgnorePopup();
}

TEST_F(ConnectionLog, TwoInstantOnsInARowReportTheConnectionOnce) {
  RegisterIgnorePopup();
  registerWifiEvents();
  Settle();
  m_tv.ClearCalls();
  WakeupOnInstantON();
  WakeupOnInstantON();
  Settle();
  EXPECT_EQ(Events(), Texts{kRssi}) << "the second measurement took the place of the first";
  UnRegisterIgnorePopup();
}

TEST_F(ConnectionLog, InstantOffAndOtherWordsReportNothing) {
  RegisterIgnorePopup();
  registerWifiEvents();
  Settle();
  m_tv.ClearCalls();
  for (const char* word : {"instant_off", "Instant_On", "instant_on "}) {
    vconf_set_str(vconf_keys::kNotifyPelorus, word);
    Settle();
  }
  EXPECT_TRUE(Events().empty());
  UnRegisterIgnorePopup();
}

TEST_F(ConnectionLog, InstantOnWithoutAConnectionReportsNothing) {
  RegisterIgnorePopup();
  RegisterOnAnIdleTv();
  vconf_set_str(vconf_keys::kNotifyPelorus, "instant_on");
  Settle();
  EXPECT_EQ(Count(kNotSeen), 1U);
  EXPECT_TRUE(Events().empty());
  UnRegisterIgnorePopup();
}

TEST_F(ConnectionLog, MayBeRegisteredAgain) {
  RegisterOnAnIdleTv();
  deRegisterWifiEvents();
  registerWifiEvents();
  Settle();
  test_log::Clear();
  Connect(kLow);
  EXPECT_EQ(Events(), Texts{kRssi}) << "once";
  EXPECT_EQ(Count(" state : Connected"), 1U);
}

TEST_F(ConnectionLog, EndWithoutABeginningTouchesNothing) {
  m_tv.ClearCalls();
  deRegisterWifiEvents();
  deRegisterWifiEvents();
  EXPECT_TRUE(m_tv.Calls().empty());
}

TEST_F(ConnectionLog, IsOneObjectUntilItIsDestroyed) {
  WirelessLog* const first = &Log();
  EXPECT_EQ(&Log(), first);
  CNetworkWirelessLogSingleton<WirelessLog>::Destroy();
  CNetworkWirelessLogSingleton<WirelessLog>::Destroy();
}

}  // namespace

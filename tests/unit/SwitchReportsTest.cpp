// What the KPI journal hears of the move to 5 GHz.

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "SwitchRoom.h"
#include "TestLog.h"
#include "VirtualTv.h"

using namespace std::chrono_literals;

namespace {

constexpr auto kMove = 5s;
using Arguments = std::vector<std::string>;

class SwitchReports : public testing::Test, protected SwitchRoom {
 protected:
  SwitchReports() {
    vconf_set_int(vconf_keys::kDisclaimerAgree, 1);
    handler.Init();
    RunLoopOnce();
    tv.ClearCalls();
    test_log::Clear();
  }

  /// What the logger was handed: service, event, code, description.
  std::vector<Arguments> Records() {
    std::vector<Arguments> records;
    for (const auto& call : tv.Calls("AddEventLogSync")) {
      records.push_back(call.arguments);
    }
    return records;
  }

  std::vector<std::string> Codes() {
    std::vector<std::string> codes;
    for (const Arguments& record : Records()) {
      codes.push_back(record.at(2));
    }
    return codes;
  }

  /// Where in the log a message is that begins like this.
  static std::ptrdiff_t Place(std::string_view prefix) {
    const std::vector<std::string> messages = test_log::Messages();
    const auto found = std::ranges::find_if(
        messages, [prefix](const std::string& message) { return message.starts_with(prefix); });
    EXPECT_NE(found, messages.end()) << prefix;
    return found - messages.begin();
  }

  void Answer(const char* word) {
    Start();
    RunLoopFor(kMove);
    ASSERT_EQ(handler.GetState(), STATE_SHOWPOPUP);
    EXPECT_TRUE(Records().empty()) << "nothing is decided yet";
    Say(word);
    RunLoopFor(kMove);
  }
};

TEST_F(SwitchReports, AConfirmedMoveIsReported) {
  Answer("CONNECTPRESSED");
  EXPECT_EQ(Records(),
            (std::vector<Arguments>{
                {"21_wireless", "WIFI_BANDSWITCH", "EV005",
                 "{swreason=0;diffmac=4;rssis=-62/2437|-55/5220;interferences=0/2437|0/5220;"
                 "protocols=802.11n/2437|802.11ac/5220;select=1;appid=NONE;iptype=2;aptype=0;security=4;"
                 "moduleid=0}"}}));
}

TEST_F(SwitchReports, ADeclinedMoveIsReportedBeforeTheTvGoesHome) {
  Answer("CANCELPRESSED");
  ASSERT_EQ(Codes(), std::vector<std::string>{"EV005"});
  EXPECT_NE(Records()[0].at(3).find(";select=0;"), std::string::npos);
  EXPECT_NE(Records()[0].at(3).find("protocols=802.11n/2437|802.11ac/5220"), std::string::npos)
      << "measured while the TV is still on 5 GHz";
  EXPECT_LT(Place("EV005 Data =>swreason=0;"), Place("Transit operation =>4"));
}

TEST_F(SwitchReports, AMoveThatFailedIsNotReported) {
  wifi.FindRadio(kHome5G)->temper = Radio::Temper::kRefuses;
  Start();
  RunLoopFor(kMove);
  EXPECT_TRUE(Records().empty());
}

struct Trouble {
  const char* name;
  void (*report)();
  const char* lqevent;
};

void PrintTo(const Trouble& trouble, std::ostream* out) {
  *out << trouble.name;
}

class SwitchReportsOfTrouble : public SwitchReports, public testing::WithParamInterface<Trouble> {};

TEST_P(SwitchReportsOfTrouble, ComeFirstAndThoseOfTheMoveAfterThem) {
  vconf_set_int("memory/sp-kpi/net_rssi", -71);
  vconf_set_int("memory/sp-kpi/net_interfer", 33);
  vconf_set_int("memory/sp-kpi/net_linkspeed", 65);
  vconf_set_str("memory/appfw/current_fullscreen_appid", "org.player");
  GetParam().report();
  RunLoopFor(kMove);
  const std::vector<Arguments> records = Records();
  ASSERT_EQ(Codes(), (std::vector<std::string>{"EV006", "EV005"}));
  EXPECT_EQ(records[0], (Arguments{"21_wireless", "AWM", "EV006",
                                   std::string("{lqevent=") + GetParam().lqevent +
                                       ";ntype=2;rssi=-71;interfer=33;appid=org.player;mac=AA-BB-CC;"
                                       "freq=2437;prot=802.11n;bw=20;security=4;linkspeed=65;ip=2;"
                                       "aptype=0;dualap=1;moduleid=0}"}));
  EXPECT_TRUE(records[1].at(3).starts_with("{swreason=1;diffmac=4;")) << records[1].at(3);
  EXPECT_NE(records[1].at(3).find(";select=1;"), std::string::npos) << records[1].at(3);
  EXPECT_LT(Place("EV006 Message =>lqevent="), Place("vconf value db/menu/network/networkapp_status"));
}

TEST_P(SwitchReportsOfTrouble, AreSentAlsoWhenTheTvMayNotMove) {
  SetAutoSwitchingMode(0);
  GetParam().report();
  RunLoopFor(kMove);
  EXPECT_EQ(Codes(), std::vector<std::string>{"EV006"});
  EXPECT_LT(Place("EV006 Message =>lqevent="), Place("Auto switching mode not allowed "));
}

TEST_P(SwitchReportsOfTrouble, AreNotSentWithoutWifiAndTheMoveIsAskedForAllTheSame) {
  wifi.Drop();
  GetParam().report();
  RunLoopFor(kMove);
  EXPECT_TRUE(Records().empty());
  EXPECT_LT(Place("EV006 cannot send , ap is not connected"),
            Place("Current network is not wireless, cannot switch to 5Ghz"));
}

TEST_P(SwitchReportsOfTrouble, AreNotSentWhenTheStateOfWifiIsNotKnown) {
  tv.Fail("wifi_get_connection_state", WIFI_ERROR_OPERATION_FAILED);
  GetParam().report();
  RunLoopFor(kMove);
  EXPECT_EQ(Codes(), std::vector<std::string>{"EV005"});
}

TEST_P(SwitchReportsOfTrouble, WaitForTheUsersConsent) {
  vconf_set_int(vconf_keys::kDisclaimerAgree, 0);
  GetParam().report();
  RunLoopFor(kMove);
  EXPECT_TRUE(Records().empty());
  vconf_set_int(vconf_keys::kDisclaimerAgree, 1);
  RunLoopFor(6s);
  EXPECT_EQ(Codes(), (std::vector<std::string>{"EV006", "EV005"}));
}

INSTANTIATE_TEST_SUITE_P(By, SwitchReportsOfTrouble,
                         testing::Values(Trouble{"Buffering", SwitchRoom::Buffer, "1"},
                                         Trouble{"LowResolution", SwitchRoom::FallToLowResolution, "2"}),
                         [](const auto& case_info) { return std::string(case_info.param.name); });

TEST_F(SwitchReports, AnAddressThatIsTooShortCostsOneFieldAndNotTheMove) {
  for (const char* address : {"", "AA:BB:CC:DD:EE", "AA:BB:CC:DD:EE:", "AA:BB:CC:DD:EE:XY"}) {
    wifi.Join(kHome);
    tv.ClearCalls();
    Start();
    RunLoopFor(kMove);
    handler.GetSimilarWiFiData().bssid = address;
    Say("CONNECTPRESSED");
    RunLoopFor(kMove);
    EXPECT_EQ(handler.GetState(), STATE_IDLE);
    ASSERT_EQ(Records().size(), 1U);
    EXPECT_NE(Records()[0].at(3).find(";diffmac=0;"), std::string::npos);
  }
  EXPECT_EQ(CountPrefix("exception "), 4U);
}

TEST_F(SwitchReports, ALoggerThatFailsDoesNotHinderTheMove) {
  tv.Fail("AddEventLogSync", -28);
  Answer("CONNECTPRESSED");
  EXPECT_EQ(handler.GetState(), STATE_IDLE);
  EXPECT_EQ(wifi.ConnectedBssid(), kHome5G);
}

}  // namespace

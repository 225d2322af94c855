// The records that other components of the TV have sent: why a Wi-Fi popup came up, what the user chose
// in it, how a connection test went.

#include <cctype>
#include <chrono>
#include <optional>
#include <string>

#include "Journal.h"
#include "NW_Common.h"
#include "PopupKpiRoom.h"

using namespace std::chrono_literals;

namespace {

TEST_F(PopupKpiRelay, ListensToBothKeysFromInitToDeInit) {
  m_relay.DeInit();
  m_tv.ClearCalls();
  m_relay.Init();
  m_relay.DeInit();
  const auto calls = m_tv.Calls();
  const Texts names{"vconf_notify_key_changed memory/menu/network/pelorus_command",
                    "vconf_notify_key_changed memory/menu/network/wireless_kpi_info",
                    "vconf_ignore_key_changed memory/menu/network/pelorus_command",
                    "vconf_ignore_key_changed memory/menu/network/wireless_kpi_info"};
  Texts called;
  for (const auto& call : calls) {
    called.push_back(call.function + " " + call.arguments.at(0));
  }
  EXPECT_EQ(called, names);

  Forget();
  Say("wifi_reconnection_kpi");
  HandOver(kTest);
  ExpectNothing("after DeInit()");
  EXPECT_FALSE(test_log::Has("command =>wifi_reconnection_kpi"));
}

struct Told {
  const char* keyword;
  std::optional<int> reason;
  std::optional<int> selection;
};

void PrintTo(const Told& told, std::ostream* out) {
  *out << told.keyword;
}

class EachKeyword : public PopupKpiRelay, public testing::WithParamInterface<Told> {};

TEST_P(EachKeyword, IsKeptAndSentAsItsRecord) {
  const auto& [keyword, reason, selection] = GetParam();
  Say(keyword);
  EXPECT_EQ(m_relay.GetPopupReason(), reason.value_or(-1));
  EXPECT_EQ(m_relay.GetPopupSelection(), selection.value_or(-1));
  const std::string record = reason ? IconClick(*reason) : PopupSelection(selection.value_or(-1));
  EXPECT_EQ(Sent(), Texts{record});
  EXPECT_EQ(test_log::Count(std::string("command =>") + keyword), 1U);
  const std::string description = record.substr(record.find('{') + 1);
  EXPECT_EQ(
      test_log::Count((reason ? "EV008=>" : "EV009=>") + description.substr(0, description.size() - 1)),
      1U);

  // In the journal, whole.
  EXPECT_EQ(journal::Texts("service"), Texts{"21_wireless"});
  EXPECT_EQ(journal::Texts("event"), Texts{reason ? "WIFI_ICON_CLICK" : "WIFI_POP_UP_SELECT"});
  EXPECT_EQ(journal::Texts("code"), Texts{reason ? "EV008" : "EV009"});
  EXPECT_EQ(journal::Texts("description"), Texts{record.substr(record.find('{'))});

  // Each time it is said, and the key is left as it is.
  Say(keyword);
  EXPECT_EQ(Sent(), (Texts{record, record}));
  const HeapString left(vconf_get_str(vconf_keys::kPelorusCommand));
  EXPECT_STREQ(left.get(), keyword);
}

/// Almost each keyword is a text that nobody has agreed upon.
TEST_P(EachKeyword, IsTakenToTheLetter) {
  const std::string keyword = GetParam().keyword;
  std::string upper = keyword;
  upper.front() = static_cast<char>(std::toupper(upper.front()));
  for (const std::string& text :
       {keyword + " ", " " + keyword, keyword + "\n", upper, keyword.substr(0, keyword.size() - 1),
        keyword.substr(1), keyword + keyword, "\"" + keyword + "\""}) {
    Say(text);
    EXPECT_TRUE(test_log::Has("command =>" + OnOneLine(text))) << text;
    ExpectNothing(text);
  }
}

INSTANTIATE_TEST_SUITE_P(Of, EachKeyword,
                         testing::Values(Told{"no_network_connect_popup_shown_kpi", 0, std::nullopt},
                                         Told{"wifi_on_off_popup_shown_kpi", 1, std::nullopt},
                                         Told{"wifi_reconnection_kpi", 2, std::nullopt},
                                         Told{"wifi_on_off_popup_yespressed_kpi", std::nullopt, 0},
                                         Told{"wifi_on_off_popup_nopressed_kpi", std::nullopt, 1},
                                         Told{"wifi_on_off_popup_exit_others_kpi", std::nullopt, 2}),
                         [](const auto& test) { return std::string(test.param.keyword); });

TEST_F(PopupKpiRelay, IgnoresTheDaemonsOwnKeywordsAndEverythingElse) {
  for (const char* text : {"", " ", "ethernet_attached", "ethernet_detached", "dongle_attached",
                           "dongle_detached", "vesta_networksettings", "captiveap", "quillhotspot",
                           "cannot_connect", "kpi", "EV008", "0", kTest}) {
    Say(text);
    EXPECT_TRUE(test_log::Has(std::string("command =>") + text)) << text;
    ExpectNothing(text);
  }
}

TEST_F(PopupKpiRelay, TakesADocumentForNoKeywordAndAKeywordForNoDocument) {
  Say(kTest);
  HandOver("wifi_reconnection_kpi");
  HandOver(R"("wifi_reconnection_kpi")");
  ExpectNothing("on the wrong key");
}

TEST_F(PopupKpiRelay, KeepsEachValueUntilTheNextOfItsKind) {
  Say("wifi_on_off_popup_shown_kpi");
  Say("wifi_on_off_popup_nopressed_kpi");
  HandOver(kTest);
  Say("wifi_reconnection_kpi");
  EXPECT_EQ(m_relay.GetPopupReason(), 2);
  EXPECT_EQ(m_relay.GetPopupSelection(), 1);
  EXPECT_EQ(m_relay.GetExecutionMethod(), "manual");
  EXPECT_EQ(m_relay.GetTestResult(), "success");
  EXPECT_EQ(Sent(),
            (Texts{IconClick(1), PopupSelection(1), TestResult("manual", "success"), IconClick(2)}));
}

/// The store tells of each write and carries no value.
TEST_F(PopupKpiRelay, ReadsTheLastOfTwoWordsThatWereWrittenAtOnce) {
  ASSERT_EQ(vconf_set_str(vconf_keys::kPelorusCommand, "wifi_on_off_popup_shown_kpi"), VCONF_OK);
  Say("wifi_on_off_popup_yespressed_kpi");
  EXPECT_EQ(Sent(), (Texts{PopupSelection(0), PopupSelection(0)}));
  EXPECT_EQ(m_relay.GetPopupReason(), -1);
}

TEST_F(PopupKpiRelay, ReadsTheRoomWhenItIsTold) {
  Say("wifi_reconnection_kpi");
  ASSERT_EQ(vconf_set_str(vconf_keys::kCurrentFullscreenAppId, "org.orvik.browser"), VCONF_OK);
  Say("wifi_reconnection_kpi");
  EXPECT_EQ(Sent().at(1), "WIFI_ICON_CLICK EV008 {appid=org.orvik.browser;aptype=0;click_reason=2}");
}

TEST_F(PopupKpiRelay, EndsItsMeasurementAfterTheRecordIsHandedOver) {
  Say("wifi_reconnection_kpi");
  const auto calls = m_tv.Calls();
  ASSERT_GE(calls.size(), 2U);
  EXPECT_EQ(calls.at(calls.size() - 2).function, "AddEventLogSync");
  EXPECT_EQ(calls.back().function, "connection_destroy");
}

TEST_F(PopupKpiRelay, WaitsForTheUsersConsent) {
  ASSERT_EQ(vconf_set_int(vconf_keys::kDisclaimerAgree, 0), VCONF_OK);
  RunLoopOnce();
  Say("wifi_reconnection_kpi");
  HandOver(kTest);
  EXPECT_TRUE(test_log::Has("[Logger is not ready => ]"));
  EXPECT_EQ(Sent(), Texts{});
  ASSERT_EQ(vconf_set_int(vconf_keys::kDisclaimerAgree, 1), VCONF_OK);
  RunLoopFor(6s);
  EXPECT_EQ(Sent(), (Texts{IconClick(2), TestResult("manual", "success")}));
}

TEST_F(PopupKpiRelay, WaitsForAGateway) {
  m_internet.SetGateway(false);
  Say("wifi_on_off_popup_nopressed_kpi");
  EXPECT_EQ(Sent(), Texts{});
  m_internet.SetGateway(true);
  Say("wifi_on_off_popup_shown_kpi");
  EXPECT_EQ(Sent(), (Texts{PopupSelection(1), IconClick(1)}));
}

TEST_F(PopupKpiRelay, RefusedByTheLoggerGoesWithTheNext) {
  m_tv.Fail("AddEventLogSync", -1, 1);
  Say("wifi_reconnection_kpi");
  EXPECT_EQ(Sent().size(), 1U);
  EXPECT_TRUE(test_log::Has("AddEventLog failed,errorcode -1"));
  m_tv.ClearCalls();
  Say("wifi_on_off_popup_nopressed_kpi");
  EXPECT_EQ(Sent(), (Texts{IconClick(2), PopupSelection(1)}));
}

TEST_F(PopupKpiRelay, HasNothingToSayOfKeysThatHaveNoText) {
  for (const char* key : {vconf_keys::kPelorusCommand, vconf_keys::kWirelessKpiInfo}) {
    ASSERT_EQ(vconf_set_int(key, 7), VCONF_OK);
    RunLoopOnce();
    EXPECT_FALSE(m_tv.Calls("vconf_get_str").empty()) << key;
    ExpectNothing(key);
    for (const std::string& message : test_log::Messages()) {
      EXPECT_FALSE(message.starts_with("command =>")) << message;
    }
  }
}

/// A platform function that fails, and what is handed over of two keywords and a document then, and of
/// the same once it works again.
struct Failure {
  const char* function;
  Texts sent;
  std::size_t kept = 0;  ///< records that wait
};

void PrintTo(const Failure& failure, std::ostream* out) {
  *out << failure.function;
}

const Texts kWhole{IconClick(1), PopupSelection(2), TestResult("manual", "success")};

class PopupKpiRelayFailure : public PopupKpiRelay, public testing::WithParamInterface<Failure> {
 protected:
  /// The relay listens anew, so that the functions of the start meet the failure too. The log service
  /// has read the consent by then, as in the daemon.
  void SetUp() override {
    PopupKpiRelay::SetUp();
    Flush();
    m_relay.DeInit();
    Forget();
  }
  static void TellAll() {
    Say("wifi_on_off_popup_shown_kpi");
    Say("wifi_on_off_popup_exit_others_kpi");
    HandOver(kTest);
  }
};

TEST_P(PopupKpiRelayFailure, ForGoodIsNeverFatalAndPasses) {
  m_tv.Fail(GetParam().function, -99);
  m_relay.Init();
  TellAll();
  EXPECT_EQ(Sent(), GetParam().sent);
  m_relay.DeInit();
  m_tv.StopFailing(GetParam().function);
  m_relay.DeInit();  // the failure may have been of the first one

  m_tv.ClearCalls();
  m_relay.Init();
  Flush();
  EXPECT_EQ(Sent().size(), GetParam().kept);
  m_tv.ClearCalls();
  TellAll();
  EXPECT_EQ(Sent(), kWhole);
}

TEST_P(PopupKpiRelayFailure, OnceLeavesTheRestWhole) {
  m_relay.Init();
  m_tv.Fail(GetParam().function, -99, 1);
  TellAll();
  m_tv.StopFailing(GetParam().function);
  m_tv.ClearCalls();
  Flush();
  m_tv.ClearCalls();
  TellAll();
  EXPECT_EQ(Sent(), kWhole);
  EXPECT_EQ(m_relay.GetPopupReason(), 1);
  EXPECT_EQ(m_relay.GetPopupSelection(), 2);
}

const Texts kWithoutApp{"WIFI_ICON_CLICK EV008 {appid=NONE;aptype=0;click_reason=1}"};

INSTANTIATE_TEST_SUITE_P(
    Of, PopupKpiRelayFailure,
    testing::Values(Failure{"vconf_notify_key_changed", {}}, Failure{"vconf_ignore_key_changed", kWhole},
                    Failure{"vconf_get_str", {}}, Failure{"vconf_get_int", kWhole},
                    Failure{"connection_create", kWhole}, Failure{"connection_destroy", kWhole},
                    Failure{"connection_check_hotspot", kWhole},
                    Failure{"connection_profile_check_default_gateway", {}, 3},
                    Failure{"AddEventLogSync", {IconClick(1), IconClick(1), IconClick(1)}, 3}),
    [](const auto& test) { return std::string(test.param.function); });

TEST_F(PopupKpiRelay, HearsOneKeyWhenTheOtherCannotBeWatched) {
  m_relay.DeInit();
  m_tv.Fail("vconf_notify_key_changed", VCONF_ERROR, 1);
  m_relay.Init();
  Say("wifi_reconnection_kpi");
  EXPECT_EQ(Sent(), Texts{});
  HandOver(kTest);
  EXPECT_EQ(Sent(), Texts{TestResult("manual", "success")});
}

TEST_F(PopupKpiRelay, IsSilentForAWriteItCannotReadAndHearsTheNext) {
  m_tv.Fail("vconf_get_str", VCONF_ERROR, 1);
  Say("wifi_reconnection_kpi");
  ExpectNothing("unread");
  m_tv.Fail("vconf_get_str", VCONF_ERROR, 1);
  HandOver(kTest);
  ExpectNothing("unread");
  Say("wifi_reconnection_kpi");
  HandOver(kTest);
  EXPECT_EQ(Sent(), (Texts{IconClick(2), TestResult("manual", "success")}));
}

}  // namespace

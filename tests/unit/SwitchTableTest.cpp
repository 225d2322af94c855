#include "SwitchTable.h"

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include <glib.h>
#include <gtest/gtest.h>

#include "FSMWifiListner.h"
#include "SwitchRoom.h"
#include "system_info.h"

using namespace std::chrono_literals;
using switch_table::Event;
using switch_table::Outcome;
using switch_table::Request;
using switch_table::Row;
using switch_table::Situation;
using switch_table::SituationInfo;

namespace {

constexpr unsigned kNeverMs = 1'000'000'000;
constexpr char kGuests[] = "AA:BB:CC:DD:EE:09";

/// The room for one cell of the table: no answer comes by itself.
class Cell {
 public:
  Cell(const SituationInfo& situation, const Row& row, const char* trouble_key)
      : m_situation(situation), m_row(row), m_trouble_key(trouble_key) {
    // Where the TV is while it is between two radios: neither at the one nor at the other.
    m_room.wifi.AddRadio({.bssid = kGuests, .essid = "Guests", .passphrase = "secret"});
    for (const auto kind : {VirtualTv::EventKind::kScan, VirtualTv::EventKind::kLook}) {
      m_room.tv.SetLatency(kind, kNeverMs);
    }
    m_room.handler.Init();
    for (const char* key :
         {vconf_keys::kLaunchNS, vconf_keys::kStreamingBuffer, vconf_keys::kStreamingLowRes}) {
      vconf_notify_key_changed(key, OnDelivery, this);
    }
  }

  ~Cell() {
    m_room.tv.SetFeature("product/wifi_vendor", "0");  // or DeInit() leaves the watches
    m_room.handler.DeInit();
    for (const char* key :
         {vconf_keys::kLaunchNS, vconf_keys::kStreamingBuffer, vconf_keys::kStreamingLowRes}) {
      vconf_ignore_key_changed(key, OnDelivery);
    }
    RunLoopOnce();
  }

  void Check() {
    Reach();
    ASSERT_EQ(m_room.handler.GetState(), m_situation.number) << "the test cannot reach the situation";
    Prepare();
    const int selection = m_room.handler.GetUserSelection();
    m_room.tv.ClearCalls();
    test_log::Clear();
    Happen();
    Expect(selection);
  }

 private:
  static void OnDelivery(keynode_t* /*node*/, void* self) { ++static_cast<Cell*>(self)->m_deliveries; }

  /// Writes, and runs the loop until the writing was heard and no further: what is idle waits.
  template <class Write>
  void Deliver(Write&& write) {
    const int before = m_deliveries;
    write();
    while (m_deliveries == before) {
      g_main_context_iteration(nullptr, FALSE);
    }
  }

  void Reach();
  void Ask(bool finds);
  void Prepare();
  void Happen();
  void Expect(int selection);
  [[nodiscard]] bool IsRequest() const {
    return m_row.event >= Event::kStart && m_row.event <= Event::kTroubleBoth;
  }
  [[nodiscard]] bool IsWhoAskedUser() const {
    return IsRequest() ? m_row.source == switch_table::Source::kApplication : m_situation.is_by_user;
  }

  SwitchRoom m_room;
  const SituationInfo& m_situation;
  const Row& m_row;
  const char* m_trouble_key;
  CWifiEventListener m_listener{m_room.handler};
  int m_deliveries = 0;
};

void Cell::Ask(bool finds) {
  if (!finds) {
    m_room.tv.Fail("wifi_foreach_found_aps", WIFI_ERROR_OPERATION_FAILED);
  }
  if (m_situation.is_by_user) {
    Deliver(SwitchRoom::Start);
  } else {
    Deliver(SwitchRoom::Buffer);
  }
  m_room.tv.StopFailing("wifi_foreach_found_aps");
}

void Cell::Reach() {
  RunLoopOnce();
  switch (m_situation.object) {
    case STATE_IDLE:
      break;
    case STATE_INIT:
      Ask(false);
      break;
    case STATE_CONNECTING:
      Ask(true);
      m_room.wifi.Join(kGuests);
      if (m_situation.id == Situation::kConnectingFailed) {
        m_listener.OnConnectionError({WIFI_ERROR_REFUSED, "refused"});
      }
      break;
    case STATE_SHOWPOPUP:
      Ask(true);
      m_room.wifi.Join(SwitchRoom::kHome5G);
      m_listener.OnWifiConnectSuccess();
      break;
    case STATE_ROLLBACK:
      Ask(true);
      m_room.wifi.Join(kGuests);
      m_listener.OnConnectionError({WIFI_ERROR_REFUSED, "refused"});
      RunLoopOnce();
      break;
    case STATE_ERROR:
    case STATE_COMPLETE:
      FAIL() << "nothing rests there";
  }
  if (m_situation.number != m_situation.object) {
    Deliver(SwitchRoom::Stop);
  }
}

/// Makes the world as the event wants it.
void Cell::Prepare() {
  VirtualTv& tv = m_room.tv;
  SetAutoSwitchingMode(1);
  switch (m_row.event) {
    case Event::kStartUnknown:
    case Event::kTroubleUnknown:
    case Event::kScanNone:
      tv.Fail("wifi_foreach_found_aps", WIFI_ERROR_OPERATION_FAILED);
      break;
    case Event::kStartForbidden:
    case Event::kTroubleForbidden:
    case Event::kScanForbidden:
      m_room.wifi.Forget("Home 5G");
      break;
    case Event::kStartNoAp:
    case Event::kTroubleNoAp:
      tv.Fail("wifi_get_connected_ap", WIFI_ERROR_OPERATION_FAILED);
      break;
    case Event::kStartOn5Ghz:
    case Event::kTroubleOn5Ghz:
      m_room.wifi.Join(SwitchRoom::kHome5G);
      break;
    case Event::kStartWired:
    case Event::kTroubleWired:
      tv.PlugCable();
      break;
    case Event::kStartChip:
    case Event::kTroubleChip:
      tv.SetFeature("product/wifi_vendor", "7");
      break;
    case Event::kTroubleModeOff:
      SetAutoSwitchingMode(0);
      break;
    case Event::kTroubleSettings:
      vconf_set_int(vconf_keys::kNetworkAppStatus, 1);
      break;
    case Event::kTroubleBoth:
      SetAutoSwitchingMode(0);
      vconf_set_int(vconf_keys::kNetworkAppStatus, 1);
      break;
    default:
      break;
  }
}

void Cell::Happen() {
  switch (m_row.event) {
    case Event::kStart:
    case Event::kStartUnknown:
    case Event::kStartForbidden:
    case Event::kStartNoAp:
    case Event::kStartOn5Ghz:
    case Event::kStartWired:
    case Event::kStartChip:
      Deliver(SwitchRoom::Start);
      break;
    case Event::kTrouble:
    case Event::kTroubleUnknown:
    case Event::kTroubleForbidden:
    case Event::kTroubleNoAp:
    case Event::kTroubleOn5Ghz:
    case Event::kTroubleWired:
    case Event::kTroubleChip:
    case Event::kTroubleModeOff:
    case Event::kTroubleSettings:
    case Event::kTroubleBoth:
      Deliver([this] { SwitchRoom::Report(m_trouble_key, 3); });
      break;
    case Event::kNoTrouble:
      Deliver([this] { SwitchRoom::Report(m_trouble_key, 0); });
      break;
    case Event::kUnreadableTrouble:
      Deliver([this] { vconf_set_str(m_trouble_key, "3"); });
      break;
    case Event::kStop:
      Deliver(SwitchRoom::Stop);
      break;
    case Event::kConnectPressed:
      Deliver([] { SwitchRoom::Say("CONNECTPRESSED"); });
      break;
    case Event::kCancelPressed:
      Deliver([] { SwitchRoom::Say("CANCELPRESSED"); });
      break;
    case Event::kShowPopupWord:
      Deliver([] { SwitchRoom::Say("SHOWPOPUP"); });
      break;
    case Event::kPageChanged:
      Deliver([] { SwitchRoom::Say("PAGECHANGED"); });
      break;
    case Event::kOtherWord:
      for (const char* word : {"LaunchNS", "", "start5ghzconnection", "START5GHZCONNECTION ", "1"}) {
        Deliver([word] { SwitchRoom::Say(word); });
      }
      break;
    case Event::kNoWord:
      Deliver([] { vconf_set_int(vconf_keys::kLaunchNS, 1); });
      break;
    case Event::kScanFound:
    case Event::kScanNone:
    case Event::kScanForbidden:
      m_listener.OnWifiScanComplete();
      break;
    case Event::kConnected:
      m_listener.OnConnected();
      break;
    case Event::kConnectSuccess:
      m_listener.OnWifiConnectSuccess();
      break;
    case Event::kConnectError:
      m_listener.OnConnectionError({WIFI_ERROR_REFUSED, "refused"});
      break;
    case Event::kOnlyLogged:
      m_listener.OnInternetOnline();
      m_listener.OnAPConnected(true);
      m_listener.OnAPConnected(false);
      break;
    case Event::kNotHeard:
      m_listener.OnDisconnected();
      m_listener.OnListeningError();
      m_listener.OnCaptiveAP(nullptr);
      m_listener.OnNonCaptiveAP();
      break;
    case Event::kLoopTurn:
      RunLoopOnce();
      break;
    case Event::k40Seconds:
      RunLoopFor(41s);
      break;
    case Event::k50Seconds:
      RunLoopFor(51s);
      break;
    case Event::kEventStart:
      m_room.handler.m_ProcessEvent(IEvents(IEvents::EVENT_START, true));
      break;
    case Event::kDaemonStops:
      m_room.handler.DeInit();
      break;
  }
}

void Cell::Expect(int selection) {
  const auto index = static_cast<std::size_t>(m_situation.id);
  const Outcome& outcome = *m_row.outcomes[index];

  std::vector<int> path;
  int number = outcome.number == Outcome::kUnset ? m_situation.number : outcome.number;
  for (std::size_t i = 0; i < outcome.step_count; ++i) {
    number = outcome.steps[i].state;
    path.push_back(number);
  }
  EXPECT_EQ(SwitchRoom::Entered(), path);
  EXPECT_EQ(m_room.handler.GetState(), number);

  if (!outcome.line.empty()) {
    EXPECT_EQ(SwitchRoom::CountPrefix(outcome.line), 1U) << outcome.line;
  }
  EXPECT_EQ(SwitchRoom::CountPrefix("Events unhandled "), outcome.code == "logd" ? 1U : 0U);

  std::vector<std::string> words;
  if (outcome.asks) {
    words.emplace_back("SHOWPOPUP");
  }
  if (outcome.is_told && IsWhoAskedUser()) {
    words.emplace_back("PAGECHANGED");
  }
  EXPECT_EQ(m_room.Written(), words);

  const auto connections = m_room.tv.Calls("wifi_connect_target");
  const bool connects =
      outcome.request == Request::kConnectSimilar || outcome.request == Request::kConnectOriginal;
  ASSERT_EQ(connections.size(), connects ? 1U : 0U);
  if (connects) {
    const char* bssid =
        outcome.request == Request::kConnectSimilar ? SwitchRoom::kHome5G : SwitchRoom::kHome;
    EXPECT_NE(std::ranges::find(connections[0].arguments, bssid), connections[0].arguments.end());
  }
  EXPECT_EQ(m_room.tv.Calls("wifi_scan").size(), outcome.request == Request::kScan ? 1U : 0U);
  EXPECT_TRUE(m_room.tv.Calls("wifi_disconnect").empty()) << "a favourite is not disconnected";

  const bool is_accepted = outcome.step_count > 0 && outcome.steps[0].state == STATE_INIT;
  const bool is_decided = outcome.selection != Outcome::kUnselected;
  EXPECT_EQ(m_room.handler.GetUserSelection(),
            is_decided ? outcome.selection : (is_accepted ? -1 : selection));

  EXPECT_EQ(SwitchRoom::CountPrefix("EV005 Data =>"), is_decided ? 1U : 0U);

  const bool is_trouble = IsRequest() && m_row.source == switch_table::Source::kPlayer;
  EXPECT_EQ(SwitchRoom::CountPrefix("EV006 Message =>"), is_trouble ? 1U : 0U);
  if (is_accepted) {
    EXPECT_EQ(m_room.handler.GetRequestType(), !is_trouble ? eUserRequest
                                               : m_trouble_key == vconf_keys::kStreamingBuffer
                                                   ? eStreamingBuffering
                                                   : eStreamingLowResolution);
  }
  const bool was_off = m_row.event == Event::kTroubleModeOff || m_row.event == Event::kTroubleBoth;
  EXPECT_EQ(SwitchRoom::Stored(vconf_keys::kAuto5GhzSwitchSettings),
            was_off || (is_trouble && is_accepted) ? "0" : "1");
}

class SwitchTable : public testing::TestWithParam<SituationInfo> {};

std::vector<Event> EventsOf(const switch_table::Row* begin, const switch_table::Row* end) {
  std::vector<Event> events;
  std::transform(begin, end, std::back_inserter(events), [](const Row& row) { return row.event; });
  return events;
}

/// Puts the world back as the next cell expects it.
void TidyUp() {
  VirtualTv& tv = VirtualTv::Instance();
  tv.StopFailing("wifi_foreach_found_aps");
  tv.StopFailing("wifi_get_connected_ap");
  tv.UnplugCable();
  vconf_set_int(vconf_keys::kNetworkAppStatus, 0);
  RunLoopFor(std::chrono::milliseconds(kNeverMs) + 1s);  // the platform ends what it was asked for
}

TEST_P(SwitchTable, SaysWhatComesOfEachEvent) {
  for (const Row& row : switch_table::kRows) {
    for (const char* key : {vconf_keys::kStreamingBuffer, vconf_keys::kStreamingLowRes}) {
      if (row.source != switch_table::Source::kPlayer && key != vconf_keys::kStreamingBuffer) {
        continue;
      }
      SCOPED_TRACE(std::string(GetParam().name) + ": " + std::string(row.text) + " (" + key + ")");
      Cell(GetParam(), row, key).Check();
      TidyUp();
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Situations, SwitchTable, testing::ValuesIn(switch_table::kSituations),
                         [](const auto& case_info) {
                           std::string name(case_info.param.name);
                           std::erase_if(name, [](char c) { return !g_ascii_isalnum(c); });
                           return name;
                         });

TEST(SwitchTableItself, HasEveryEventOnce) {
  const std::vector<Event> events =
      EventsOf(std::begin(switch_table::kRows), std::end(switch_table::kRows));
  for (int number = 0; number <= static_cast<int>(Event::kDaemonStops); ++number) {
    EXPECT_EQ(std::ranges::count(events, static_cast<Event>(number)), 1) << "event " << number;
  }
}

TEST(SwitchTableItself, HasEverySituationAtItsPlace) {
  for (std::size_t i = 0; i < switch_table::kSituationCount; ++i) {
    EXPECT_EQ(static_cast<std::size_t>(switch_table::kSituations[i].id), i);
  }
}

TEST(SwitchTableItself, UsesEveryOutcome) {
  for (const Outcome& outcome : switch_table::kOutcomes) {
    EXPECT_TRUE(std::ranges::any_of(switch_table::kRows, [&outcome](const Row& row) {
      return std::ranges::find(row.outcomes, &outcome) != row.outcomes.end();
    })) << outcome.code;
  }
}

}  // namespace

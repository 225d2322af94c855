#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "IState.h"

/// The move to 5 GHz as data: what each situation makes of each thing that can happen. The tests walk
/// the table against the handler; the picture in docs/flows/band-switch.md is made from it. To change
/// how the move behaves, change a cell, run the tests, and `./dev docs` (see BandSwitchPicture.cpp).
namespace switch_table {

/// Where the handler can rest, and what tells two rests in the same state apart.
enum class Situation {
  kIdle,
  kInit,
  kInitAuto,
  kInitStopped,
  kConnecting,
  kConnectingAuto,
  kConnectingFailed,
  kConnectingStopped,
  kShowPopup,
  kRollBack,
  kRollBackAuto,
  kRollBackStopped,
};

struct SituationInfo {
  Situation id;
  std::string_view name;
  std::string_view meaning;
  OPERATIONSTATE object;  ///< the state that hears of events
  OPERATIONSTATE number;  ///< the state by which requests are refused
  bool is_by_user;        ///< whether the settings application asked
};

inline constexpr SituationInfo kSituations[] = {
    {Situation::kIdle, "Idle", "no request yet", STATE_IDLE, STATE_IDLE, true},
    {Situation::kInit, "Init", "the user asked; a scan runs", STATE_INIT, STATE_INIT, true},
    {Situation::kInitAuto, "Init, auto", "the player had trouble; a scan runs", STATE_INIT, STATE_INIT,
     false},
    {Situation::kInitStopped, "Init, stopped", "as Init, after STOP", STATE_INIT, STATE_IDLE, true},
    {Situation::kConnecting, "Connecting", "the user asked; no answer yet", STATE_CONNECTING,
     STATE_CONNECTING, true},
    {Situation::kConnectingAuto, "Connecting, auto", "the player had trouble; no answer yet",
     STATE_CONNECTING, STATE_CONNECTING, false},
    {Situation::kConnectingFailed, "Connecting, failed", "as Connecting, before the idle callback",
     STATE_CONNECTING, STATE_CONNECTING, true},
    {Situation::kConnectingStopped, "Connecting, stopped", "as Connecting, after STOP", STATE_CONNECTING,
     STATE_IDLE, true},
    {Situation::kShowPopup, "ShowPopup", "the TV is on 5 GHz; the user is asked", STATE_SHOWPOPUP,
     STATE_SHOWPOPUP, true},
    {Situation::kRollBack, "RollBack", "the user asked; the TV goes back", STATE_ROLLBACK,
     STATE_ROLLBACK, true},
    {Situation::kRollBackAuto, "RollBack, auto", "the player had trouble; the TV goes back",
     STATE_ROLLBACK, STATE_ROLLBACK, false},
    {Situation::kRollBackStopped, "RollBack, stopped", "as RollBack, after STOP", STATE_ROLLBACK,
     STATE_IDLE, true},
};
inline constexpr std::size_t kSituationCount = std::size(kSituations);

/// What can happen.
enum class Event {
  // "db/menu/network/launchNS" gets "START5GHZCONNECTION", and ...
  kStart,           // a similar access point is known
  kStartUnknown,    // none is known
  kStartForbidden,  // the one that is known needs a key that is not saved
  kStartNoAp,       // the access point that the TV is on cannot be read
  kStartOn5Ghz,     // the TV is on 5 GHz
  kStartWired,      // the cable carries the TV's traffic
  kStartChip,       // the Wi-Fi chip is the one that cannot do it
  // "memory/sp-kpi/neterr_streaming_buffer" or "..._lowres" gets a number other than 0, and ...
  kTrouble,
  kTroubleUnknown,
  kTroubleForbidden,
  kTroubleNoAp,
  kTroubleOn5Ghz,
  kTroubleWired,
  kTroubleChip,
  kTroubleModeOff,   // automatic switching is off
  kTroubleSettings,  // the settings application runs
  kTroubleBoth,      // both
  // one of these keys gets
  kNoTrouble,          // 0
  kUnreadableTrouble,  // what is no number
  // "db/menu/network/launchNS" gets
  kStop,
  kConnectPressed,
  kCancelPressed,
  kShowPopupWord,
  kPageChanged,
  kOtherWord,
  kNoWord,  // what is no text
  // the network-setup library reports
  kScanFound,
  kScanNone,
  kScanForbidden,
  kConnected,
  kConnectSuccess,
  kConnectError,
  kOnlyLogged,  // online, access point connected
  kNotHeard,    // disconnected, listening error, captive or not
  // time
  kLoopTurn,
  k40Seconds,
  k50Seconds,
  // the daemon
  kEventStart,  // tells the state that a request was accepted
  kDaemonStops,
};

/// The state entered, and why, in the words of the picture.
struct Step {
  OPERATIONSTATE state;
  std::string_view why;
};

/// What the platform is asked for.
enum class Request {
  kNone,
  kScan,
  kConnectSimilar,
  kConnectOriginal,
};

/// What comes of an event.
struct Outcome {
  std::string_view code;  ///< names it in the table below
  std::string_view name;  ///< in the table of the picture
  std::string_view line;  ///< logged; empty for none
  std::array<Step, 3> steps{};
  std::size_t step_count = 0;
  Request request = Request::kNone;
  bool is_told = false;         ///< whether the application is told, if it asked
  bool asks = false;            ///< whether the user is asked
  int selection = kUnselected;  ///< what the user, or the machine, decided; reported by EV005
  int number = kUnset;          ///< the state's number, where no step sets it

  static constexpr int kUnselected = -2;
  static constexpr int kUnset = -1;
};

inline constexpr std::string_view kAtOnce = "at once";

inline constexpr Outcome kOutcomes[] = {
    {".", "·", ""},
    {"logd", "logged", "Events unhandled "},
    {.code = "unlk", .name = "unlocked", .line = "Set State => 0", .number = STATE_IDLE},
    {.code = "wire",
     .name = "refused: not wireless",
     .line = "Current network is not wireless, cannot switch to 5Ghz",
     .is_told = true},
    {.code = "chip",
     .name = "refused: chip",
     .line = "feature not supported on mt7603",
     .is_told = true},
    {.code = "busy",
     .name = "refused: busy",
     .line = "Already switching to 5ghz, ignore new request",
     .is_told = true},
    {.code = "mode",
     .name = "refused: mode off",
     .line = "Auto switching mode not allowed ",
     .is_told = true},
    {.code = "sett",
     .name = "refused: settings run",
     .line = "Cannot handle awm events, networksettings is running",
     .is_told = true},
    {.code = "noap",
     .name = "refused: no access point",
     .line = "No ap connected, cannot switch to 5Ghz",
     .is_told = true},
    {.code = "on5g",
     .name = "refused: on 5 GHz",
     .line = "Ap is already 5ghz ,cannot switch",
     .is_told = true},
    {.code = "conn",
     .name = "→ Connecting",
     .line = "Similar AP found without scan,go to connect [Home 5G]",
     .steps = {{{STATE_INIT, "request accepted"}, {STATE_CONNECTING, "similar access point known"}}},
     .step_count = 2,
     .request = Request::kConnectSimilar},
    {.code = "scan",
     .name = "→ Init",
     .line = "Similar AP not found without scan,go for wifi scanning",
     .steps = {{{STATE_INIT, "request accepted"}}},
     .step_count = 1,
     .request = Request::kScan},
    {.code = "forb",
     .name = "→ Error → Idle",
     .line = "Not allowed to switch",
     .steps = {{{STATE_INIT, "request accepted"}, {STATE_ERROR, "not allowed"}, {STATE_IDLE, kAtOnce}}},
     .step_count = 3,
     .is_told = true},
    {.code = "scnd",
     .name = "→ Connecting",
     .line = "Similar AP found after scan,go to connect [Home 5G]",
     .steps = {{{STATE_CONNECTING, "found by the scan"}}},
     .step_count = 1,
     .request = Request::kConnectSimilar},
    {.code = "scno",
     .name = "→ Error → Idle",
     .line = "No similar ap found,even after scan,go to error state",
     .steps = {{{STATE_ERROR, "not found by the scan"}, {STATE_IDLE, kAtOnce}}},
     .step_count = 2,
     .is_told = true},
    {.code = "asks",
     .name = "→ ShowPopup",
     .line = "Connection done event received =>1",
     .steps = {{{STATE_SHOWPOPUP, "connected"}}},
     .step_count = 1,
     .asks = true},
    {.code = "stay",
     .name = "→ ShowPopup → Complete → Idle",
     .line = "Connection done event received =>1",
     .steps = {{{STATE_SHOWPOPUP, "connected"},
                {STATE_COMPLETE, "automatic request"},
                {STATE_IDLE, kAtOnce}}},
     .step_count = 3,
     .selection = 1},
    {"fail", "failed", "Ap failed to connect,Notify fail UI,transit to rollback state"},
    {.code = "back",
     .name = "→ RollBack",
     .line = "Is Similar AP Favourite==1",
     .steps = {{{STATE_ROLLBACK, "failed, from an idle callback"}}},
     .step_count = 1,
     .request = Request::kConnectOriginal},
    {.code = "late",
     .name = "→ RollBack",
     .line = "Is Similar AP Favourite==1",
     .steps = {{{STATE_ROLLBACK, "50 s"}}},
     .step_count = 1,
     .request = Request::kConnectOriginal},
    {.code = "lost",
     .name = "→ RollBack → Complete → Idle",
     .line = "Reached to final state ,operation success ,going to idle",
     .steps = {{{STATE_ROLLBACK, "failed, from an idle callback"},
                {STATE_COMPLETE, "40 s"},
                {STATE_IDLE, kAtOnce}}},
     .step_count = 3,
     .request = Request::kConnectOriginal},
    {.code = "kept",
     .name = "→ Complete → Idle",
     .line = "Popup button pressed =>1",
     .steps = {{{STATE_COMPLETE, "confirmed"}, {STATE_IDLE, kAtOnce}}},
     .step_count = 2,
     .selection = 1},
    {.code = "decl",
     .name = "→ RollBack",
     .line = "Popup button pressed =>0",
     .steps = {{{STATE_ROLLBACK, "declined, or STOP"}}},
     .step_count = 1,
     .request = Request::kConnectOriginal,
     .selection = 0},
    {.code = "home",
     .name = "→ Complete → Idle",
     .line = "rollback successfully done ",
     .steps = {{{STATE_COMPLETE, "connected, or failed"}, {STATE_IDLE, kAtOnce}}},
     .step_count = 2,
     .is_told = true},
    {.code = "nohm",
     .name = "→ Complete → Idle",
     .line = "Ap failed to connect, transit to complete state",
     .steps = {{{STATE_COMPLETE, "connected, or failed"}, {STATE_IDLE, kAtOnce}}},
     .step_count = 2,
     .is_told = true},
    {.code = "hmlt",
     .name = "→ Complete → Idle",
     .line = "Reached to final state ,operation success ,going to idle",
     .steps = {{{STATE_COMPLETE, "40 s"}, {STATE_IDLE, kAtOnce}}},
     .step_count = 2},
    {.code = "ends",
     .name = "→ Idle",
     .line = "Transit operation =>0",
     .steps = {{{STATE_IDLE, "the daemon stops"}}},
     .step_count = 1},
};

/// Who makes an event happen.
enum class Source {
  kApplication,
  kPlayer,
  kLibrary,
  kTime,
  kDaemon,
};

using OutcomeRow = std::array<const Outcome*, kSituationCount>;

struct Row {
  OutcomeRow outcomes;
  Event event;
  Source source;
  std::string_view text;  ///< in the table of the picture
};

/// The outcomes by their codes, one for each situation. Anything else does not compile.
consteval OutcomeRow Cells(std::string_view codes) {
  OutcomeRow cells{};
  for (const Outcome*& cell : cells) {
    codes.remove_prefix(std::min(codes.find_first_not_of(' '), codes.size()));
    const std::string_view code = codes.substr(0, codes.find(' '));
    cell = std::ranges::find(kOutcomes, code, &Outcome::code);
    if (cell == std::end(kOutcomes)) {
      throw "unknown code";
    }
    codes.remove_prefix(code.size());
  }
  if (codes.find_first_not_of(' ') != std::string_view::npos) {
    throw "too many codes";
  }
  return cells;
}

// clang-format off: a table
inline constexpr Row kRows[] = {
    //      Idle Init InAu InSt Conn CoAu CoFa CoSt Popu Roll RoAu RoSt
    {Cells("conn conn conn conn busy busy busy conn on5g busy busy conn"), Event::kStart,
     Source::kApplication, "START; a similar access point is known"},
    {Cells("scan scan scan scan busy busy busy scan on5g busy busy scan"), Event::kStartUnknown,
     Source::kApplication, "START; none is known"},
    {Cells("forb forb forb forb busy busy busy forb on5g busy busy forb"), Event::kStartForbidden,
     Source::kApplication, "START; the one known needs a key"},
    {Cells("noap noap noap noap busy busy busy noap noap busy busy noap"), Event::kStartNoAp,
     Source::kApplication, "START; present access point unreadable"},
    {Cells("on5g on5g on5g on5g busy busy busy on5g on5g busy busy on5g"), Event::kStartOn5Ghz,
     Source::kApplication, "START; the TV is on 5 GHz"},
    {Cells("wire wire wire wire wire wire wire wire wire wire wire wire"), Event::kStartWired,
     Source::kApplication, "START; the cable carries the traffic"},
    {Cells("chip chip chip chip chip chip chip chip chip chip chip chip"), Event::kStartChip,
     Source::kApplication, "START; the chip cannot do it"},
    {Cells("conn conn conn conn busy busy busy conn on5g busy busy conn"), Event::kTrouble,
     Source::kPlayer, "trouble; a similar access point is known"},
    {Cells("scan scan scan scan busy busy busy scan on5g busy busy scan"), Event::kTroubleUnknown,
     Source::kPlayer, "trouble; none is known"},
    {Cells("forb forb forb forb busy busy busy forb on5g busy busy forb"), Event::kTroubleForbidden,
     Source::kPlayer, "trouble; the one known needs a key"},
    {Cells("noap noap noap noap busy busy busy noap noap busy busy noap"), Event::kTroubleNoAp,
     Source::kPlayer, "trouble; present access point unreadable"},
    {Cells("on5g on5g on5g on5g busy busy busy on5g on5g busy busy on5g"), Event::kTroubleOn5Ghz,
     Source::kPlayer, "trouble; the TV is on 5 GHz"},
    {Cells("wire wire wire wire wire wire wire wire wire wire wire wire"), Event::kTroubleWired,
     Source::kPlayer, "trouble; the cable carries the traffic"},
    {Cells("chip chip chip chip chip chip chip chip chip chip chip chip"), Event::kTroubleChip,
     Source::kPlayer, "trouble; the chip cannot do it"},
    {Cells("mode mode mode mode busy busy busy mode mode busy busy mode"), Event::kTroubleModeOff,
     Source::kPlayer, "trouble; automatic switching is off"},
    {Cells("sett sett sett sett busy busy busy sett sett busy busy sett"), Event::kTroubleSettings,
     Source::kPlayer, "trouble; the settings application runs"},
    {Cells("mode mode mode mode busy busy busy mode mode busy busy mode"), Event::kTroubleBoth,
     Source::kPlayer, "trouble; both of these"},
    {Cells(" .    .    .    .    .    .    .    .    .    .    .    .  "), Event::kNoTrouble,
     Source::kPlayer, "no trouble: 0"},
    {Cells(" .    .    .    .    .    .    .    .    .    .    .    .  "), Event::kUnreadableTrouble,
     Source::kPlayer, "no number"},
    {Cells("unlk unlk unlk unlk unlk unlk unlk unlk decl unlk unlk unlk"), Event::kStop,
     Source::kApplication, "STOP"},
    {Cells(" .    .    .    .    .    .    .    .   kept  .    .    .  "), Event::kConnectPressed,
     Source::kApplication, "CONNECTPRESSED"},
    {Cells(" .    .    .    .    .    .    .    .   decl  .    .    .  "), Event::kCancelPressed,
     Source::kApplication, "CANCELPRESSED"},
    {Cells(" .    .    .    .    .    .    .    .    .    .    .    .  "), Event::kShowPopupWord,
     Source::kApplication, "SHOWPOPUP"},
    {Cells(" .    .    .    .    .    .    .    .    .    .    .    .  "), Event::kPageChanged,
     Source::kApplication, "PAGECHANGED"},
    {Cells(" .    .    .    .    .    .    .    .    .    .    .    .  "), Event::kOtherWord,
     Source::kApplication, "any other text"},
    {Cells(" .    .    .    .    .    .    .    .    .    .    .    .  "), Event::kNoWord,
     Source::kApplication, "no text"},
    {Cells(" .   scnd scnd scnd  .    .    .    .   logd  .    .    .  "), Event::kScanFound,
     Source::kLibrary, "scan done; one was found"},
    {Cells(" .   scno scno scno  .    .    .    .   logd  .    .    .  "), Event::kScanNone,
     Source::kLibrary, "scan done; none was found"},
    {Cells(" .   scno scno scno  .    .    .    .   logd  .    .    .  "), Event::kScanForbidden,
     Source::kLibrary, "scan done; the one found needs a key"},
    {Cells(" .    .    .    .   asks stay asks asks logd home home home"), Event::kConnected,
     Source::kLibrary, "OnConnected"},
    {Cells(" .    .    .    .   asks stay asks asks logd home home home"), Event::kConnectSuccess,
     Source::kLibrary, "OnWifiConnectSuccess"},
    {Cells(" .    .    .    .   fail fail fail fail logd nohm nohm nohm"), Event::kConnectError,
     Source::kLibrary, "OnConnectionError"},
    {Cells(" .    .    .    .    .    .    .    .    .    .    .    .  "), Event::kOnlyLogged,
     Source::kLibrary, "OnInternetOnline, OnAPConnected"},
    {Cells(" .    .    .    .    .    .    .    .    .    .    .    .  "), Event::kNotHeard,
     Source::kLibrary, "any other report"},
    {Cells(" .    .    .    .    .    .   back  .    .    .    .    .  "), Event::kLoopTurn,
     Source::kTime, "the loop is idle"},
    {Cells(" .    .    .    .    .    .   lost  .    .   hmlt hmlt hmlt"), Event::k40Seconds,
     Source::kTime, "40 s"},
    {Cells(" .    .    .    .   late late lost late  .   hmlt hmlt hmlt"), Event::k50Seconds,
     Source::kTime, "50 s"},
    {Cells(" .    .    .    .    .    .    .    .   logd  .    .    .  "), Event::kEventStart,
     Source::kDaemon, "told of its request"},
    {Cells("ends ends ends ends ends ends ends ends ends ends ends ends"), Event::kDaemonStops,
     Source::kDaemon, "the daemon stops"},
};
// clang-format on

}  // namespace switch_table

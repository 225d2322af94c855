#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <glib.h>
#include <gtest/gtest.h>

#include "MainLoop.h"
#include "PlatformFunctions.h"
#include "SettingsWatcher.h"
#include "SwitchRoom.h"
#include "TestLog.h"
#include "VirtualTv.h"

using namespace std::chrono_literals;

namespace {

/// The settings application, as another process: it answers the question after a second.
class SettingsApplication {
 public:
  /// @param answer  what the user presses
  explicit SettingsApplication(const char* answer) : m_answer(answer) {
    SettingsWatcher::Instance().Watch(vconf_keys::kLaunchNS, OnWord, this);
  }
  ~SettingsApplication() {
    SettingsWatcher::Instance().Ignore(vconf_keys::kLaunchNS, OnWord);
    if (m_timer != 0) {
      g_source_remove(m_timer);
    }
  }
  SettingsApplication(const SettingsApplication&) = delete;
  SettingsApplication& operator=(const SettingsApplication&) = delete;

 private:
  static void OnWord(keynode_t* /*node*/, void* self) {
    auto* application = static_cast<SettingsApplication*>(self);
    const auto word = settings::ReadText(vconf_keys::kLaunchNS);
    if (word == "SHOWPOPUP" && application->m_timer == 0) {
      application->m_timer = g_timeout_add(1000, Press, application);
    }
  }
  static gboolean Press(gpointer self) {
    auto* application = static_cast<SettingsApplication*>(self);
    application->m_timer = 0;
    SwitchRoom::Say(application->m_answer);
    return G_SOURCE_REMOVE;
  }

  const char* m_answer;
  guint m_timer = 0;
};

/// One evening of the switch.
struct Evening {
  const char* name;
  void (*prepare)(SwitchRoom& room);
  void (*begin)();
  const char* answer;  ///< what the user presses, when asked
  bool is_asked;
  const char* ending;  ///< the states that are entered, and where the TV is then
};

void PrintTo(const Evening& evening, std::ostream* out) {
  *out << evening.name;
}

void AsItIs(SwitchRoom& /*room*/) {}

void FiveRefuses(SwitchRoom& room) {
  room.wifi.FindRadio(SwitchRoom::kHome5G)->temper = Radio::Temper::kRefuses;
}

void FiveIsSilent(SwitchRoom& room) {
  room.wifi.FindRadio(SwitchRoom::kHome5G)->temper = Radio::Temper::kSilent;
}

void HomeIsSilentToo(SwitchRoom& room) {
  FiveRefuses(room);
  room.wifi.FindRadio(SwitchRoom::kHome)->temper = Radio::Temper::kSilent;
}

void FiveIsOpenAndUnknown(SwitchRoom& room) {
  room.wifi.Forget("Home 5G");
  Radio& five = *room.wifi.FindRadio(SwitchRoom::kHome5G);
  five.security = WIFI_SECURITY_TYPE_NONE;
  five.passphrase = "";
  room.wifi.SeeAll();
}

void FiveWasNotSeenYet(SwitchRoom& room) {
  room.wifi.SetOn(SwitchRoom::kHome5G, false);
  room.wifi.SeeAll();
  room.wifi.SetOn(SwitchRoom::kHome5G, true);
}

constexpr Evening kEvenings[] = {
    {"Accepted", AsItIs, SwitchRoom::Start, "CONNECTPRESSED", true, "1 2 3 6 0 on 5 GHz"},
    {"Declined", AsItIs, SwitchRoom::Start, "CANCELPRESSED", true, "1 2 3 4 6 0 at home"},
    {"DeclinedAndNotSaved", FiveIsOpenAndUnknown, SwitchRoom::Start, "CANCELPRESSED", true,
     "1 2 3 4 6 0 at home"},
    {"Refused", FiveRefuses, SwitchRoom::Start, "CONNECTPRESSED", false, "1 2 4 6 0 at home"},
    {"Silent", FiveIsSilent, SwitchRoom::Start, "CONNECTPRESSED", false, "1 2 4 6 0 at home"},
    {"RollBackSilent", HomeIsSilentToo, SwitchRoom::Start, "CONNECTPRESSED", false, "1 2 4 6 0 nowhere"},
    {"Buffering", AsItIs, SwitchRoom::Buffer, "CANCELPRESSED", false, "1 2 3 6 0 on 5 GHz"},
    {"LowResolution", AsItIs, SwitchRoom::FallToLowResolution, "CANCELPRESSED", false,
     "1 2 3 6 0 on 5 GHz"},
    {"FoundByScan", FiveWasNotSeenYet, SwitchRoom::Start, "CONNECTPRESSED", true, "1 2 3 6 0 on 5 GHz"},
};

enum Times : unsigned {
  kForGood = 1,
  kOnceFromStart = 2,    // the first call at all
  kOnceFromRequest = 4,  // the first call after the handler has begun to listen
  kOnce = kOnceFromStart | kOnceFromRequest,
  kAlways = kForGood | kOnce,
};

bool Any(const Evening& /*evening*/) {
  return true;
}
bool IsAsked(const Evening& evening) {
  return evening.is_asked;
}
bool IsByUser(const Evening& evening) {
  return evening.begin == SwitchRoom::Start;
}
bool IsAutomatic(const Evening& evening) {
  return !IsByUser(evening);
}
bool IsBuffering(const Evening& evening) {
  return evening.begin == SwitchRoom::Buffer;
}
bool Scans(const Evening& evening) {
  return evening.prepare == FiveWasNotSeenYet;
}
bool NeedsSavedNetwork(const Evening& evening) {
  return evening.prepare != FiveIsOpenAndUnknown;
}

/// Where an evening ends otherwise than undisturbed.
struct Deviation {
  std::string_view function;
  unsigned times;
  bool (*evenings)(const Evening& evening);
  const char* ending;
};

constexpr char kNeverBegins[] = "at home";
constexpr char kNoneFound[] = "1 5 0 at home";
constexpr char kGoesBack[] = "1 2 4 6 0 at home";
constexpr char kWaitsForAnAnswer[] = "1 2 3 on 5 GHz";

constexpr Deviation kDeviations[] = {
    // The request is not heard. The key of buffering is the first that is watched.
    {"vconf_notify_key_changed", kForGood, Any, kNeverBegins},
    {"vconf_notify_key_changed", kOnceFromStart, IsBuffering, kNeverBegins},
    {"vconf_get_str", kAlways, IsByUser, kNeverBegins},
    {"vconf_get_int", kAlways, IsAutomatic, kNeverBegins},
    // Whether the TV may move by itself is not known. Once only, it is the report before that suffers.
    {"vconf_get_str", kForGood, IsAutomatic, kNeverBegins},
    // The network is not known to be wireless.
    {"connection_create", kForGood, Any, kNeverBegins},
    {"connection_get_current_profile", kAlways, Any, kNeverBegins},
    {"connection_profile_get_type", kAlways, Any, kNeverBegins},
    // The way back would not be known. Once only, it is the report before that suffers.
    {"wifi_get_connected_ap", kForGood, Any, kNeverBegins},
    {"wifi_get_connected_ap", kOnce, IsByUser, kNeverBegins},
    {"wifi_ap_get_bssid", kForGood, Any, kNeverBegins},
    {"wifi_ap_get_bssid", kOnce, IsByUser, kNeverBegins},
    {"wifi_ap_get_frequency", kForGood, Any, kNeverBegins},
    {"wifi_ap_get_frequency", kOnce, IsByUser, kNeverBegins},
    {"wifi_ap_get_security_type", kForGood, Any, kNeverBegins},
    {"wifi_ap_get_security_type", kOnce, IsByUser, kNeverBegins},
    {"wifi_ap_get_essid", kAlways, Any, kNeverBegins},
    // Nothing to move to. Once only, the scan makes up for it.
    {"wifi_foreach_found_aps", kForGood, Any, kNoneFound},
    {"wifi_ap_is_favorite", kForGood, NeedsSavedNetwork, kNoneFound},
    {"wifi_scan", kAlways, Scans, kNoneFound},
    {"wifi_connect_target", kAlways, Any, kGoesBack},
    // The user is not asked, or not heard.
    {"vconf_set_str", kAlways, IsAsked, kWaitsForAnAnswer},
    {"vconf_notify_key_changed", kOnceFromRequest, IsAsked, kWaitsForAnAnswer},
};

std::string Expected(const Evening& evening, std::string_view function, Times times) {
  const auto* const deviation = std::ranges::find_if(kDeviations, [&](const Deviation& each) {
    return each.function == function && (each.times & times) != 0 && each.evenings(evening);
  });
  return deviation == std::end(kDeviations) ? evening.ending : deviation->ending;
}

class SwitchFailures : public testing::TestWithParam<Evening> {};

/// The states that were entered, and where the TV is.
std::string Ending(SwitchRoom& room) {
  std::string ending;
  for (const int state : SwitchRoom::Entered()) {
    ending += std::to_string(state) + " ";
  }
  const std::string place = room.wifi.ConnectedBssid();
  return ending + (place == SwitchRoom::kHome     ? "at home"
                   : place == SwitchRoom::kHome5G ? "on 5 GHz"
                                                  : "nowhere");
}

int CodeOf(const std::string& function) {
  return function.starts_with("wifi_") ? WIFI_ERROR_OPERATION_FAILED : -1;
}

/// @param function  empty: none fails
std::string Play(const Evening& evening, const std::string& function, Times times) {
  vconf_set_int(vconf_keys::kDisclaimerAgree, 1);
  RunLoopFor(5s);  // the records' sender takes note of it
  SwitchRoom room;
  const SettingsApplication application(evening.answer);
  evening.prepare(room);
  const int how_often = times == kForGood ? VirtualTv::kForGood : 1;
  if (!function.empty() && times != kOnceFromRequest) {
    room.tv.Fail(function, CodeOf(function), how_often);
  }
  room.handler.Init();
  RunLoopOnce();
  if (!function.empty() && times == kOnceFromRequest) {
    room.tv.Fail(function, CodeOf(function), how_often);
  }
  test_log::Clear();
  evening.begin();
  RunLoopFor(150s);  // more than all limits of time
  std::string ending = Ending(room);
  EXPECT_EQ(SwitchRoom::CountPrefix("exception "), 0U);
  room.handler.DeInit();
  room.tv.StopFailing(function);
  room.handler.DeInit();  // ends what could not be ended
  RunLoopFor(10s);
  return ending;
}

TEST_P(SwitchFailures, OfEachPlatformFunctionEndWhereTheyShould) {
  std::vector<std::string> functions(std::begin(kPlatformFunctions), std::end(kPlatformFunctions));
  functions.emplace_back("AddEventLogSync");
  for (const std::string& function : functions) {
    for (const Times times : {kForGood, kOnceFromStart, kOnceFromRequest}) {
      SCOPED_TRACE(function + (times == kForGood         ? " for good"
                               : times == kOnceFromStart ? " once, from the start"
                                                         : " once, from the request"));
      EXPECT_EQ(Play(GetParam(), function, times), Expected(GetParam(), function, times));
    }
  }
  EXPECT_EQ(Play(GetParam(), "", kForGood), GetParam().ending) << "nothing of it stays";
}

INSTANTIATE_TEST_SUITE_P(Evenings, SwitchFailures, testing::ValuesIn(kEvenings),
                         [](const auto& case_info) { return std::string(case_info.param.name); });

}  // namespace

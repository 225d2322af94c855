#include <algorithm>
#include <ostream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "PlatformFunctions.h"
#include "SavedNetworksRoom.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

namespace {

/// One evening with saved networks, which begins at home. When it has ended: the list with its signals,
/// the tile with its statuses, where the TV is, how often the user was told that it did not work.
struct Evening {
  const char* name;
  bool has_list;  ///< a list was stored by a former life
  void (*happen)(SavedNetworksRoom& room);
  const char* ending;
};

void PrintTo(const Evening& evening, std::ostream* out) {
  *out << evening.name;
}

void Nothing(SavedNetworksRoom& /*room*/) {}

void GoToOffice(SavedNetworksRoom& /*room*/) {
  SavedNetworksRoom::Connect("Office");
}

void GoToHidden(SavedNetworksRoom& /*room*/) {
  SavedNetworksRoom::Connect("Attic");
}

void GoOutOfRange(SavedNetworksRoom& room) {
  room.wifi.SetOn(SavedNetworksRoom::kOffice, false);
  SavedNetworksRoom::Connect("Office");
}

void ForgetOne(SavedNetworksRoom& room) {
  room.wifi.Forget("Home");
  SavedNetworksRoom::Command(R"({"COMMAND":"2"})");
}

void Reset(SavedNetworksRoom& /*room*/) {
  SavedNetworksRoom::Command(R"({"COMMAND":"3"})");
}

// The connection log hands over the access point.

void Arrive(SavedNetworksRoom& room) {
  room.wifi.Join(SavedNetworksRoom::kOffice);
  wifi_ap_h ap = nullptr;
  wifi_get_connected_ap(&ap);
  SavedAPPriorityHandler::GetInstance()->UpdateListOnAPConnect(ap);
  wifi_ap_destroy(ap);
}

void Leave(SavedNetworksRoom& room) {
  wifi_ap_h ap = nullptr;
  wifi_get_connected_ap(&ap);
  room.wifi.Drop();
  SavedAPPriorityHandler::GetInstance()->UpdateListOnAPDisConnect(ap);
  wifi_ap_destroy(ap);
}

constexpr char kUntouched[] =
    "Home:-50 Office:-50 Attic:-50 | Home:Connected Office:DisConnected | at home | 0";
constexpr char kNotMeasured[] =
    "Home:100 Office:100 Attic:100 Garden:100 | Home:Connected Office:DisConnected | at home | 0";
constexpr char kArrivedNotMeasured[] =
    "Office:100 Home:-50 Attic:-50 | Home:DisConnected Office:Connected | in the office | 0";
constexpr char kLeftNotMeasured[] =
    "Home:-50 Office:-50 Attic:-50 | Home:DisConnected Office:DisConnected | nowhere | 0";

constexpr Evening kEvenings[] = {
    {"FirstStart", false, Nothing,
     "Home:-48 Office:100 Attic:100 Garden:100 | Home:Connected Office:DisConnected | at home | 0"},
    {"Restart", true, Nothing, kUntouched},
    {"Office", true, GoToOffice,
     "Home:-50 Office:-50 Attic:-50 | Home:DisConnected Office:Connected | in the office | 0"},
    {"Hidden", true, GoToHidden,
     "Home:-50 Office:-50 Attic:-50 | Home:DisConnected Office:DisConnected | in the attic | 0"},
    {"OutOfRange", true, GoOutOfRange,
     "Home:-50 Office:-50 Attic:-50 | Home:Connected Office:DisConnected | at home | 1"},
    {"ForgetOne", true, ForgetOne,
     "Office:-50 Attic:-50 | Office:DisConnected Attic:DisConnected | at home | 0"},
    {"Reset", true, Reset, " |  | at home | 0"},
    {"Arrive", true, Arrive,
     "Office:-61 Home:-48 Attic:-50 | Home:DisConnected Office:Connected | in the office | 0"},
    {"Leave", true, Leave,
     "Home:-48 Office:-50 Attic:-50 | Home:DisConnected Office:DisConnected | nowhere | 0"},
};

enum When : unsigned {
  kOnceFromStart = 1,  // the first call at all
  kForGoodFromStart = 2,
  kOnceLater = 4,  // the first call after the start
  kForGoodLater = 8,
  kFromStart = kOnceFromStart | kForGoodFromStart,
  kLater = kOnceLater | kForGoodLater,
  kOnce = kOnceFromStart | kOnceLater,
  kForGood = kForGoodFromStart | kForGoodLater,
  kAlways = kOnce | kForGood,
};

/// Where an evening ends otherwise than undisturbed.
struct Deviation {
  std::string_view function;
  unsigned when;
  const char* evenings;
  const char* ending;
};

constexpr Deviation kDeviations[] = {
    // The stored list is not there, or a command is not heard.
    {"vconf_get_str", kFromStart, "Restart",
     "Home:-48 Office:100 Attic:100 Garden:100 | Home:Connected Office:DisConnected | at home | 0"},
    {"vconf_get_str", kForGoodFromStart, "Office Hidden OutOfRange ForgetOne Reset",
     "Home:-48 Office:100 Attic:100 Garden:100 | Home:Connected Office:DisConnected | at home | 0"},
    {"vconf_get_str", kOnceFromStart, "Office",
     "Home:-48 Office:100 Attic:100 Garden:100 | Home:DisConnected Office:Connected | in the office | "
     "0"},
    {"vconf_get_str", kLater, "Office Hidden OutOfRange", kUntouched},
    {"vconf_get_str", kForGoodLater, "ForgetOne Reset", kUntouched},
    {"vconf_get_str", kOnceFromStart, "Hidden",
     "Home:-48 Office:100 Attic:100 Garden:100 | Home:DisConnected Office:DisConnected | in the attic | "
     "0"},
    {"vconf_get_str", kOnceFromStart, "OutOfRange",
     "Home:-48 Office:100 Attic:100 Garden:100 | Home:Connected Office:DisConnected | at home | 1"},
    {"vconf_get_str", kOnceFromStart, "ForgetOne",
     "Office:100 Attic:100 Garden:100 | Office:DisConnected Attic:DisConnected | at home | 0"},
    {"vconf_get_str", kFromStart, "Arrive",
     "Office:-61 Home:-48 Attic:100 Garden:100 | Home:DisConnected Office:Connected | in the office | "
     "0"},
    {"vconf_get_str", kFromStart, "Leave",
     "Home:-48 Office:100 Attic:100 Garden:100 | Home:DisConnected Office:DisConnected | nowhere | 0"},
    {"vconf_notify_key_changed", kFromStart, "Office Hidden OutOfRange", kUntouched},
    {"vconf_notify_key_changed", kForGoodFromStart, "ForgetOne Reset", kUntouched},
    // What was published last stands.
    {"vconf_set_str", kForGoodFromStart, "FirstStart", " |  | at home | 0"},
    {"vconf_set_str", kFromStart, "Restart", "Home:-50 Office:-50 Attic:-50 |  | at home | 0"},
    {"vconf_set_str", kForGoodFromStart, "ForgetOne", "Home:-50 Office:-50 Attic:-50 |  | at home | 0"},
    {"vconf_set_str", kForGoodFromStart | kOnceLater, "Reset",
     "Home:-50 Office:-50 Attic:-50 |  | at home | 0"},
    {"vconf_set_str", kForGoodLater, "ForgetOne Reset", kUntouched},
    {"vconf_set_str", kForGoodFromStart, "Office Arrive",
     "Home:-50 Office:-50 Attic:-50 |  | in the office | 0"},
    {"vconf_set_str", kForGoodLater, "Office Arrive",
     "Home:-50 Office:-50 Attic:-50 | Home:Connected Office:DisConnected | in the office | 0"},
    {"vconf_set_str", kForGoodFromStart, "Hidden",
     "Home:-50 Office:-50 Attic:-50 |  | in the attic | 0"},
    {"vconf_set_str", kForGoodLater, "Hidden",
     "Home:-50 Office:-50 Attic:-50 | Home:Connected Office:DisConnected | in the attic | 0"},
    {"vconf_set_str", kForGoodFromStart, "OutOfRange", "Home:-50 Office:-50 Attic:-50 |  | at home | 1"},
    {"vconf_set_str", kForGoodFromStart, "Leave", "Home:-50 Office:-50 Attic:-50 |  | nowhere | 0"},
    {"vconf_set_str", kForGoodLater, "Leave",
     "Home:-50 Office:-50 Attic:-50 | Home:Connected Office:DisConnected | nowhere | 0"},
    // Nobody knows where the TV is: the tile says what it knew, or that it is nowhere.
    {"wifi_ap_get_essid", kFromStart, "FirstStart",
     "Home:-48 Office:100 Attic:100 Garden:100 | Home: Office: | at home | 0"},
    {"wifi_ap_get_essid", kFromStart, "Restart",
     "Home:-50 Office:-50 Attic:-50 | Home: Office: | at home | 0"},
    {"wifi_ap_get_essid", kForGood, "OutOfRange",
     "Home:-50 Office:-50 Attic:-50 | Home:DisConnected Office:DisConnected | at home | 1"},
    {"wifi_ap_get_essid", kForGood | kOnceLater, "ForgetOne",
     "Office:-50 Attic:-50 | Office: Attic: | at home | 0"},
    {"wifi_ap_get_essid", kForGoodFromStart, "Arrive",
     "Home:-50 Office:-50 Attic:-50 | Home: Office: | in the office | 0"},
    {"wifi_ap_get_essid", kLater, "Arrive",
     "Home:-50 Office:-50 Attic:-50 | Home:Connected Office:DisConnected | in the office | 0"},
    {"wifi_get_connected_ap", kFromStart, "FirstStart",
     "Home:-48 Office:100 Attic:100 Garden:100 | Home:DisConnected Office:DisConnected | at home | 0"},
    {"wifi_get_connected_ap", kFromStart, "Restart",
     "Home:-50 Office:-50 Attic:-50 | Home:DisConnected Office:DisConnected | at home | 0"},
    {"wifi_get_connected_ap", kForGood, "Office",
     "Home:-50 Office:-50 Attic:-50 | Home:DisConnected Office:DisConnected | in the office | 0"},
    {"wifi_get_connected_ap", kForGoodFromStart, "Arrive",
     "Home:-50 Office:-50 Attic:-50 | Home:DisConnected Office:DisConnected | in the office | 0"},
    {"wifi_get_connected_ap", kForGood, "OutOfRange",
     "Home:-50 Office:-50 Attic:-50 | Home:DisConnected Office:DisConnected | at home | 1"},
    {"wifi_get_connected_ap", kLater, "Arrive",
     "Home:-50 Office:-50 Attic:-50 | Home:Connected Office:DisConnected | in the office | 0"},
    // Not found: looked for by its name, and given up. Only the tile's networks have a popup.
    {"wifi_manager_ap_clone", kForGood, "Office",
     "Home:-50 Office:-50 Attic:-50 | Home:Connected Office:DisConnected | at home | 1"},
    {"wifi_manager_ap_clone", kAlways, "Hidden", kUntouched},
    // Each name that cannot be read ends the attempt, which goes on all the same; no signal is known.
    {"wifi_manager_ap_get_essid", kForGoodFromStart, "FirstStart", kNotMeasured},
    {"wifi_manager_ap_get_essid", kOnce, "Office",
     "Home:-50 Office:-50 Attic:-50 | Home:DisConnected Office:Connected | in the office | 1"},
    {"wifi_manager_ap_get_essid", kForGood, "Office",
     "Home:-50 Office:-50 Attic:-50 | Home:Connected Office:DisConnected | at home | 3"},
    {"wifi_manager_ap_get_essid", kForGood, "Hidden", kUntouched},
    {"wifi_manager_ap_get_essid", kAlways, "OutOfRange",
     "Home:-50 Office:-50 Attic:-50 | Home:Connected Office:DisConnected | at home | 2"},
    {"wifi_manager_ap_get_essid", kOnce, "Arrive",
     "Office:-61 Home:-50 Attic:-50 | Home:DisConnected Office:Connected | in the office | 0"},
    {"wifi_manager_ap_get_essid", kForGood, "Arrive", kArrivedNotMeasured},
    {"wifi_manager_ap_get_essid", kAlways, "Leave", kLeftNotMeasured},
    {"wifi_manager_ap_get_rssi", kForGoodFromStart, "FirstStart",
     "Home:-120 Office:100 Attic:100 Garden:100 | Home:Connected Office:DisConnected | at home | 0"},
    {"wifi_manager_ap_get_rssi", kOnce, "Arrive",
     "Office:-61 Home:-120 Attic:-50 | Home:DisConnected Office:Connected | in the office | 0"},
    {"wifi_manager_ap_get_rssi", kForGood, "Arrive",
     "Office:-120 Home:-120 Attic:-50 | Home:DisConnected Office:Connected | in the office | 0"},
    {"wifi_manager_ap_get_rssi", kAlways, "Leave",
     "Home:-120 Office:-50 Attic:-50 | Home:DisConnected Office:DisConnected | nowhere | 0"},
    // What is saved is not known: nothing to connect to, nothing forgotten, no channel to look at.
    {"wifi_manager_config_foreach_configuration", kFromStart, "FirstStart", " |  | at home | 0"},
    {"wifi_manager_config_foreach_configuration", kAlways, "Office Hidden OutOfRange ForgetOne",
     kUntouched},
    {"wifi_manager_config_foreach_configuration", kAlways, "Arrive", kArrivedNotMeasured},
    {"wifi_manager_config_foreach_configuration", kAlways, "Leave", kLeftNotMeasured},
    {"wifi_manager_config_get_frequency", kFromStart, "FirstStart", kNotMeasured},
    {"wifi_manager_config_get_frequency", kForGood, "Office Hidden OutOfRange", kUntouched},
    {"wifi_manager_config_get_frequency", kForGood, "Arrive", kArrivedNotMeasured},
    {"wifi_manager_config_get_name", kOnceFromStart, "FirstStart",
     "NOT_AVAILABLE:100 Office:100 Attic:100 Garden:100 | NOT_AVAILABLE:DisConnected "
     "Office:DisConnected | at home | 0"},
    {"wifi_manager_config_get_name", kForGoodFromStart, "FirstStart",
     "NOT_AVAILABLE:100 NOT_AVAILABLE:100 NOT_AVAILABLE:100 NOT_AVAILABLE:100 | "
     "NOT_AVAILABLE:DisConnected NOT_AVAILABLE:DisConnected | at home | 0"},
    {"wifi_manager_config_get_name", kForGood, "Office Hidden OutOfRange", kUntouched},
    {"wifi_manager_config_get_name", kOnce, "ForgetOne", "Attic:-50 | Attic:DisConnected | at home | 0"},
    {"wifi_manager_config_get_name", kForGood, "ForgetOne", " |  | at home | 0"},
    {"wifi_manager_config_get_name", kForGood, "Arrive", kArrivedNotMeasured},
    {"wifi_manager_config_get_name", kOnce, "Leave",
     "Office:-50 Attic:-50 | Office:DisConnected Attic:DisConnected | nowhere | 0"},
    {"wifi_manager_config_get_name", kForGood, "Leave", " |  | nowhere | 0"},
    // The attempt ends at that step.
    {"wifi_manager_connect", kAlways, "Office",
     "Home:-50 Office:-50 Attic:-50 | Home:Connected Office:DisConnected | at home | 1"},
    {"wifi_manager_connect", kAlways, "Hidden", kUntouched},
    {"wifi_manager_foreach_found_ap", kForGoodFromStart, "FirstStart", kNotMeasured},
    {"wifi_manager_foreach_found_ap", kAlways, "Office",
     "Home:-50 Office:-50 Attic:-50 | Home:DisConnected Office:Connected | in the office | 1"},
    {"wifi_manager_foreach_found_ap", kAlways, "OutOfRange",
     "Home:-50 Office:-50 Attic:-50 | Home:Connected Office:DisConnected | at home | 2"},
    {"wifi_manager_foreach_found_ap", kAlways, "Arrive", kArrivedNotMeasured},
    {"wifi_manager_foreach_found_ap", kAlways, "Leave", kLeftNotMeasured},
    {"wifi_manager_foreach_found_specific_ap", kAlways, "Hidden", kUntouched},
    {"wifi_manager_foreach_found_specific_ap", kAlways, "OutOfRange",
     "Home:-50 Office:-50 Attic:-50 | Home:Connected Office:DisConnected | at home | 2"},
    // Without a handle, or without a scan, an attempt does not begin and no signal is known.
    {"wifi_manager_initialize", kForGoodFromStart, "FirstStart", " |  | at home | 0"},
    {"wifi_manager_initialize", kFromStart, "Office Hidden OutOfRange", kUntouched},
    {"wifi_manager_initialize", kForGoodFromStart, "ForgetOne", kUntouched},
    {"wifi_manager_initialize", kForGoodFromStart, "Arrive", kArrivedNotMeasured},
    {"wifi_manager_initialize", kForGoodFromStart, "Leave", kLeftNotMeasured},
    {"wifi_manager_scan_specific_ap", kAlways, "Hidden", kUntouched},
    {"wifi_manager_specific_ap_start_multi_scan", kForGoodFromStart, "FirstStart", kNotMeasured},
    {"wifi_manager_specific_ap_start_multi_scan", kAlways, "Office Hidden OutOfRange", kUntouched},
    {"wifi_manager_specific_ap_start_multi_scan", kAlways, "Arrive", kArrivedNotMeasured},
    {"wifi_manager_specific_ap_start_multi_scan", kAlways, "Leave", kLeftNotMeasured},
    {"wifi_manager_specific_scan_create", kForGoodFromStart, "FirstStart", kNotMeasured},
    {"wifi_manager_specific_scan_create", kAlways, "Office Hidden OutOfRange", kUntouched},
    {"wifi_manager_specific_scan_create", kAlways, "Arrive", kArrivedNotMeasured},
    {"wifi_manager_specific_scan_create", kAlways, "Leave", kLeftNotMeasured},
    {"wifi_manager_specific_scan_set_freq", kForGoodFromStart, "FirstStart", kNotMeasured},
    {"wifi_manager_specific_scan_set_freq", kAlways, "Office Hidden OutOfRange", kUntouched},
    {"wifi_manager_specific_scan_set_freq", kAlways, "Arrive", kArrivedNotMeasured},
    {"wifi_manager_specific_scan_set_freq", kAlways, "Leave", kLeftNotMeasured},
};

std::string Expected(const Evening& evening, std::string_view function, unsigned when) {
  const std::string name = std::string(" ") + evening.name + " ";
  const auto* const deviation = std::ranges::find_if(kDeviations, [&](const Deviation& each) {
    const std::string evenings = std::string(" ") + each.evenings + " ";
    return each.function == function && (each.when & when) != 0 &&
           evenings.find(name) != std::string::npos;
  });
  return deviation == std::end(kDeviations) ? evening.ending : deviation->ending;
}

std::string Ending(SavedNetworksRoom& room) {
  const std::string place = room.wifi.ConnectedBssid();
  return SavedNetworksRoom::SavedList() + " | " + SavedNetworksRoom::TopStatuses() + " | " +
         (place == SavedNetworksRoom::kHome     ? "at home"
          : place == SavedNetworksRoom::kOffice ? "in the office"
          : place == SavedNetworksRoom::kAttic  ? "in the attic"
                                                : "nowhere") +
         " | " + std::to_string(room.PopupsAsked());
}

/// @param function  empty: none fails
std::string Play(const Evening& evening, const std::string& function, unsigned when) {
  SavedNetworksRoom room;
  SavedNetworksRoom::Write(vconf_keys::kTopSavedAP, "");
  if (evening.has_list) {
    SavedNetworksRoom::Store({{"Home", 5180}, {"Office", 2437}, {"Attic", 2462}});
  } else {
    SavedNetworksRoom::Write(vconf_keys::kSavedAPList, "");
  }
  const auto fail = [&] {
    const int code = function.starts_with("wifi_") ? WIFI_MANAGER_ERROR_OPERATION_FAILED : -1;
    room.tv.Fail(function, code, (when & kForGood) != 0 ? VirtualTv::kForGood : 1);
  };
  if ((when & kFromStart) != 0 && !function.empty()) {
    fail();
  }
  SavedNetworksRoom::Start();
  RunLoopFor(3s);
  room.Forget();
  if ((when & kLater) != 0 && !function.empty()) {
    fail();
  }
  evening.happen(room);
  RunLoopFor(60s);  // more than all limits of time
  const std::string ending = Ending(room);
  EXPECT_TRUE(std::ranges::none_of(test_log::Messages(), [](const std::string& message) {
    return message.starts_with("exception ");
  }));
  room.tv.StopFailing(function);
  SavedNetworksRoom::End();
  return ending;
}

class SavedNetworkFailures : public testing::TestWithParam<Evening> {};

TEST_P(SavedNetworkFailures, OfEachPlatformFunctionEndWhereTheyShould) {
  for (const std::string_view function : kPlatformFunctions) {
    for (const unsigned when : {kOnceFromStart, kForGoodFromStart, kOnceLater, kForGoodLater}) {
      SCOPED_TRACE(std::string(function) + ((when & kForGood) != 0 ? " for good" : " once") +
                   ((when & kLater) != 0 ? ", later" : ", from the start"));
      EXPECT_EQ(Play(GetParam(), std::string(function), when), Expected(GetParam(), function, when));
    }
  }
  EXPECT_EQ(Play(GetParam(), "", kAlways), GetParam().ending) << "nothing of it stays";
}

INSTANTIATE_TEST_SUITE_P(Evenings, SavedNetworkFailures, testing::ValuesIn(kEvenings),
                         [](const auto& case_info) { return std::string(case_info.param.name); });

}  // namespace

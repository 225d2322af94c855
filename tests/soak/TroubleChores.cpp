// What goes wrong: functions that fail, answers that take long, values that make no sense, another
// model.

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

#include "Household.h"
#include "PlatformFunctions.h"
#include "vconf_keys.h"

namespace soak {
namespace {

using namespace std::chrono_literals;

/// With these the daemon gives something back. What it is not let give back it still has, which would
/// look like something that it had forgotten.
constexpr std::string_view kGivingBack[] = {
    "connection_destroy",
    "connection_profile_destroy",
    "connection_unset_network_monitor_cb",
    "package_info_destroy",
    "tel_deinit",
    "usb_device_fini",
    "usb_device_free_device_list",
    "usb_unset_connected_cb",
    "vconf_ignore_key_changed",
    "wifi_ap_destroy",
    "wifi_manager_ap_destroy",
    "wifi_manager_deinitialize",
    "wifi_unset_connection_state_changed_cb",
};

std::string FunctionToFail(Dice& dice) {
  for (;;) {
    const std::string_view function = dice.Pick(kPlatformFunctions);
    if (std::ranges::find(kGivingBack, function) == std::end(kGivingBack)) {
      return std::string(function);
    }
  }
}

void FunctionFails(Diary& diary, Dice& dice) {
  constexpr const char* kCodes[] = {"-1",  "-5",   "-12",       "-22",       "-38",
                                    "-99", "-115", "-29687039", "-30277631", "-30277629"};
  const std::string function = FunctionToFail(dice);
  const char* const code = dice.Pick(kCodes);
  if (dice.OneIn(3)) {
    diary.Now({"fail", function, code});
    diary.After(dice.Wait(100ms, 20min), {"heal", function});
    return;
  }
  diary.Now({"fail", function, code, std::to_string(dice.OneIn(2) ? 1 : dice.Between(2, 6))});
}

void SlowAnswers(Diary& diary, Dice& dice) {
  constexpr const char* kKinds[] = {"cable",   "dongle",  "report",     "scan",         "look",
                                    "connect", "address", "disconnect", "channel-scan", "wifi-state",
                                    "portal",  "profile", "stick"};
  const char* const kind = dice.Pick(kKinds);
  const std::string time = InMs(dice.Wait(1ms, 2min));
  if (dice.OneIn(3)) {
    diary.Now({"latency", kind, time});
    diary.After(dice.Wait(1min, 1h), {"latency", kind, InMs(dice.Wait(1ms, 2s))});
  } else {
    diary.Now({"delay", kind, time});
  }
}

std::string Rubbish(Dice& dice) {
  constexpr const char* kWords[] = {"",
                                    "0",
                                    "1",
                                    "{",
                                    "[]",
                                    "{}",
                                    "null",
                                    "{\"count\":3,\"values\":[{\"SSID\":\"Home\"}]}",
                                    "{\"count\":\"x\",\"values\":7}",
                                    "{\"COMMAND\":{},\"SSID\":[]}",
                                    "{\"COMMAND\":\"2\"}",
                                    "{\"COMMAND\":\"1\",\"SSID\":\"Cellar\"}",
                                    "02:00:00:00:00:10|02:00:00:00:00:14",
                                    "::::",
                                    "\xC3\xA9\xE2\x82\xAC",
                                    "'a",
                                    "true"};
  if (!dice.OneIn(6)) {
    return dice.Pick(kWords);
  }
  std::string text;
  for (int i = dice.Between(1, 300); i > 0; --i) {
    text += static_cast<char>(dice.Between(' ', '~'));
  }
  return text;
}

/// Somebody writes what belongs to another, of the wrong type or of the right one.
void Scribble(Diary& diary, Dice& dice) {
  constexpr const char* kNumbers[] = {"0", "1", "2", "7", "-1", "2147483647", "-2147483648"};
  const std::string key(dice.Pick(vconf_keys::kCatalogue).name);
  switch (dice.Below(5)) {
    case 0:
    case 1:
      diary.Now({"set", key, "int", dice.Pick(kNumbers)});
      break;
    case 2:
      diary.Now({"set", key, "bool", dice.OneIn(2) ? "true" : "false"});
      break;
    case 3:
      diary.Now({"set", key, "string", Rubbish(dice)});
      break;
    default:
      diary.Now({"set", key, "raw", Rubbish(dice)});
      break;
  }
}

struct Fact {
  const char* name;
  const char* usual;
  const char* unusual[3];
};

void AnotherModel(Diary& diary, Dice& dice) {
  constexpr Fact kFacts[] = {
      {"network.network_support", "3", {"0", "2", "many"}},
      {"networkui.network_popup_supported", "true", {"false", "maybe", ""}},
      {"product.b2b_option_support", "false", {"true", "false", "1"}},
      {"projector_feature_support", "false", {"true", "true", "x"}},
      {"projector.engine_type", "0", {"1", "3", "x"}},
      {"tv_model_type", "0", {"1", "6", "-1"}},
      {"product/wifi_vendor", "1", {"7", "7", "x"}},
      {"product/sw_version", "T-SOAK-1.0", {"", "T-SOAK-2.0 beta", "?"}},
  };
  const Fact& fact = dice.Pick(kFacts);
  diary.Now({"feature", "set", fact.name, dice.Pick(fact.unusual)});
  diary.After(dice.Wait(10ms, 30min), {"feature", "set", fact.name, fact.usual});
}

}  // namespace

const std::vector<Chore>& TroubleChores() {
  static const std::vector<Chore> chores = {
      {"a function fails", 16, FunctionFails},
      {"slow answers", 6, SlowAnswers},
      {"scribble", 10, Scribble},
      {"another model", 4, AnotherModel},
  };
  return chores;
}

}  // namespace soak

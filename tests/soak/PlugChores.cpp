// What is plugged, pulled and switched around the TV, and the way to the internet.

#include "Household.h"

namespace soak {
namespace {

using namespace std::chrono_literals;

void Cable(Diary& diary, Dice& dice) {
  switch (dice.Below(6)) {
    case 0:  // a loose plug
      for (int i = dice.Between(2, 5); i > 0; --i) {
        diary.Now({"cable", dice.OneIn(2) ? "plug" : "unplug"});
        diary.LetPass(dice.Wait(1ms, 300ms));
      }
      break;
    case 1:
      diary.Now({"cable", "state", std::to_string(dice.Between(-1, 3))});
      break;
    case 2:
      diary.Now({"cable", "plug"});
      diary.After(dice.Wait(1s, 2h), {"cable", "unplug"});
      break;
    default:
      diary.Now({"cable", dice.OneIn(2) ? "plug" : "unplug"});
      break;
  }
}

void Dongle(Diary& diary, Dice& dice) {
  diary.Now({"dongle", dice.OneIn(2) ? "insert" : "remove"});
  if (dice.OneIn(3)) {
    diary.After(dice.Wait(5ms, 10min), {"dongle", dice.OneIn(2) ? "insert" : "remove"});
  }
}

void Telephony(Diary& diary, Dice& dice) {
  diary.Now({"telephony", dice.OneIn(3) ? "stop" : "start"});
}

void Stick(Diary& diary, Dice& dice) {
  constexpr const char* kSticks[] = {"holiday", "old one"};
  const char* const stick = dice.Pick(kSticks);
  switch (dice.Below(4)) {
    case 0:
      diary.Now({"stick", "insert", stick, "broken"});
      break;
    case 1:
      diary.Now({"stick", "unmount", stick});
      break;
    default:
      diary.Now({"stick", "insert", stick});
      break;
  }
  diary.After(dice.Wait(10ms, 3h), {"stick", "remove", stick});
}

void ClosePopup(Diary& diary, Dice& dice) {
  diary.After(dice.Wait(500ms, 5min), {"close", "popup"});
}

void InternetHealth(Diary& diary, Dice& dice) {
  constexpr const char* kSteps[] = {"gateway", "dns", "http"};
  const char* const step = dice.Pick(kSteps);
  diary.Now({"internet", step, "off"});
  if (!dice.OneIn(8)) {
    diary.After(dice.Wait(20ms, 30min), {"internet", step, "on"});
  }
}

void InternetReport(Diary& diary, Dice& dice) {
  constexpr const char* kSteps[] = {"PHY", "GATEWAY", "DNS", "HTTP", "http", ""};
  constexpr const char* kResults[] = {"0", "-1", "1", "-77", "2147483647"};
  diary.Now({"internet", "report", dice.Pick(kSteps), dice.Pick(kResults)});
}

void InternetFacts(Diary& diary, Dice& dice) {
  constexpr const char* kFour[] = {"", "10.0.0.7", "192.168.1.20", "172.31.4.4", "93.184.216.34"};
  constexpr const char* kSix[] = {"", "2001:db8::7", "fe80::1", "fd00::2"};
  switch (dice.Below(3)) {
    case 0:
      diary.Now({"internet", "hotspot", std::to_string(dice.Between(-1, 2))});
      break;
    case 1:
      diary.Now({"internet", "lease", std::to_string(dice.OneIn(3) ? 0 : dice.Between(60, 90'000))});
      break;
    default:
      diary.Now({"internet", "addresses", dice.OneIn(2) ? "cable" : "dongle",
                 std::string("ipv4=") + dice.Pick(kFour), std::string("ipv6=") + dice.Pick(kSix)});
      break;
  }
}

void Speaker(Diary& diary, Dice& dice) {
  diary.Now({"speaker", std::to_string(dice.Between(-1, 5))});
}

void Package(Diary& diary, Dice& dice) {
  constexpr const char* kPackages[] = {"org.orvik.browser", "org.orvik.browser", "org.example.game"};
  diary.Now({"package", dice.OneIn(2) ? "install" : "remove", dice.Pick(kPackages)});
}

}  // namespace

const std::vector<Chore>& PlugChores() {
  static const std::vector<Chore> chores = {
      {"cable", 14, Cable},
      {"dongle", 6, Dongle},
      {"telephony", 4, Telephony},
      {"stick", 2, Stick},
      {"close popup", 16, ClosePopup},
      {"internet health", 9, InternetHealth},
      {"internet report", 3, InternetReport},
      {"internet facts", 3, InternetFacts},
      {"speaker", 1, Speaker},
      {"package", 2, Package},
  };
  return chores;
}

}  // namespace soak

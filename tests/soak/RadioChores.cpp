// The radios around the TV, and what its owner does with Wi-Fi.

#include <string>

#include "Household.h"

namespace soak {
namespace {

using namespace std::chrono_literals;

constexpr const char* kRadios[] = {kHome,
                                   kHome,
                                   kFastHome,
                                   kFastHome,
                                   "02:00:00:00:00:20",
                                   "02:00:00:00:00:30",
                                   "02:00:00:00:00:40",
                                   "02:00:00:00:00:51",
                                   "02:00:00:00:00:52"};
constexpr const char* kNames[] = {"Home",
                                  "Cellar",
                                  "The office",
                                  "Aunt's caf\xC3\xA9",
                                  "Guest 51",
                                  "Guest 52",
                                  "Nowhere",
                                  "\"quoted\" \\ name",
                                  "12345678901234567890123456789012"};

void Connect(Diary& diary, Dice& dice) {
  const char* const radio = dice.Pick(kRadios);
  if (dice.OneIn(6)) {
    diary.Now({"wifi", "connect", radio, "passphrase=wrong"});
  } else {
    diary.Now({"wifi", "connect", radio});
  }
  if (dice.OneIn(4)) {
    diary.After(dice.Wait(1ms, 30s), {"wifi", "drop"});
  }
}

void Join(Diary& diary, Dice& dice) {
  diary.Now({"wifi", "join", dice.Pick(kRadios)});
}

void Drop(Diary& diary, Dice& /*dice*/) {
  diary.Now({"wifi", "drop"});
}

void SeeAll(Diary& diary, Dice& /*dice*/) {
  diary.Now({"wifi", "see-all"});
}

/// A power strip that is switched off, a microwave oven, a walk through the house.
void PowerCut(Diary& diary, Dice& dice) {
  const char* const radio = dice.Pick(kRadios);
  diary.Now({"radio", "off", radio});
  if (!dice.OneIn(6)) {
    diary.After(dice.Wait(10ms, 1h), {"radio", "on", radio});
  }
}

void Signal(Diary& diary, Dice& dice) {
  diary.Now({"radio", "signal", dice.Pick(kRadios), std::to_string(dice.Between(-119, -20))});
  if (dice.OneIn(3)) {
    diary.Now({"wifi", "snr", std::to_string(dice.Between(-20, 60))});
  }
}

void Temper(Diary& diary, Dice& dice) {
  constexpr const char* kTempers[] = {"refuses", "silent", "answers-twice", "no-address"};
  const char* const radio = dice.Pick(kRadios);
  diary.Now({"radio", "temper", radio, dice.Pick(kTempers)});
  if (!dice.OneIn(10)) {
    diary.After(dice.Wait(1s, 1h), {"radio", "temper", radio, "accepts"});
  }
}

void Portal(Diary& diary, Dice& dice) {
  const char* const radio = dice.Pick(kRadios);
  diary.Now(
      {"radio", "portal", radio, dice.OneIn(3) ? "none" : "http://portal.example/welcome?room=12&tv"});
}

/// A visitor's telephone, or a router that is exchanged for another one.
void Visitor(Diary& diary, Dice& dice) {
  constexpr const char* kSecurities[] = {"open", "wep", "wpa", "wpa2", "wpa3", "wpa-ft", "enterprise"};
  constexpr const char* kModes[] = {"b", "g", "n", "a", "ac", "ax", "unknown"};
  constexpr const char* kFrequencies[] = {"2412", "2437", "2472", "5180", "5500", "5825", "5955"};
  const std::string radio = dice.OneIn(2) ? "02:00:00:00:00:51" : "02:00:00:00:00:52";
  if (dice.OneIn(4)) {
    diary.Now({"radio", "remove", radio});
    return;
  }
  const std::string frequency = std::string("frequency=") + dice.Pick(kFrequencies);
  const std::string security = std::string("security=") + dice.Pick(kSecurities);
  const std::string mode = std::string("mode=") + dice.Pick(kModes);
  const std::string width = "bandwidth=" + std::to_string(dice.Between(0, 4) * 20);
  const std::string rssi = "rssi=" + std::to_string(dice.Between(-100, -30));
  const char* const name = dice.OneIn(4)         ? dice.Pick(kNames)
                           : radio.back() == '1' ? "Guest 51"
                                                 : "Guest 52";
  switch (dice.Below(4)) {
    case 0:
      diary.Now({"radio", "add", radio, name, "hidden", frequency, security, mode, width, rssi});
      break;
    case 1:
      diary.Now({"radio", "add", radio, name, "off", frequency, security, mode, width, rssi});
      break;
    case 2:
      diary.Now({"radio", "add", radio, name, frequency, security, mode, width, rssi,
                 "ipv4=", "ipv6=2001:db8::51", "portal=http://portal.example/"});
      break;
    default:
      diary.Now({"radio", "add", radio, name, frequency, security, mode, width, rssi, "ipv4=172.16.0.9",
                 "passphrase=sesame12", "temper=silent"});
      break;
  }
}

void Save(Diary& diary, Dice& dice) {
  const char* const name = dice.Pick(kNames);
  switch (dice.Below(4)) {
    case 0:
      diary.Now({"wifi", "forget", name});
      break;
    case 1:
      diary.Now({"wifi", "save", name, "security=open"});
      break;
    default:
      diary.Now({"wifi", "save", name, "passphrase=sesame12",
                 dice.OneIn(2) ? "frequency=2437" : "frequency=5180"});
      break;
  }
}

void FailNext(Diary& diary, Dice& dice) {
  constexpr const char* kRequests[] = {"scan",    "channel-scan", "name-scan",
                                       "connect", "disconnect",   "portal"};
  constexpr const char* kCodes[] = {"-30277631", "-30277626", "-30277629", "-115",
                                    "-29687037", "-29687033", "-1",        "0"};
  diary.Now({"wifi", "fail-next", dice.Pick(kRequests), dice.Pick(kCodes)});
}

}  // namespace

const std::vector<Chore>& RadioChores() {
  static const std::vector<Chore> chores = {
      {"connect", 16, Connect}, {"join", 4, Join},          {"drop", 6, Drop},
      {"see all", 2, SeeAll},   {"power cut", 8, PowerCut}, {"signal", 5, Signal},
      {"temper", 5, Temper},    {"portal", 3, Portal},      {"visitor", 4, Visitor},
      {"save", 4, Save},        {"fail next", 5, FailNext},
  };
  return chores;
}

}  // namespace soak

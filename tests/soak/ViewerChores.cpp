// The viewer, the video player and the settings application, and the programs that write settings.

#include <string>

#include "Household.h"
#include "vconf_keys.h"

namespace soak {
namespace {

using namespace std::chrono_literals;
using namespace vconf_keys;

void SetText(Diary& diary, const char* key, const std::string& value) {
  diary.Now({"set", key, "string", value});
}

void Film(Diary& diary, Dice& dice) {
  const char* const trouble = dice.OneIn(2) ? "buffering" : "lowres";
  if (dice.OneIn(2)) {
    SetText(diary, kAuto5GhzSwitchSettings, "1");
  }
  diary.Now({"player", "interference", std::to_string(dice.Between(-5, 100))});
  diary.Now({"player", "rssi", std::to_string(dice.Between(-100, 0))});
  diary.Now({"player", "linkspeed", std::to_string(dice.Between(0, 1200))});
  diary.LetPass(dice.Wait(1ms, 10s));
  for (int i = dice.Between(1, 3); i > 0; --i) {
    diary.Now({"player", trouble, std::to_string(dice.Between(1, 9))});
    diary.LetPass(dice.Wait(1ms, 20s));
  }
  diary.After(dice.Wait(100ms, 5min), {"player", trouble, "0"});
}

/// He opens the settings, asks for the fast network, and does what people do then.
void AskForFiveGhz(Diary& diary, Dice& dice) {
  constexpr const char* kAnswers[] = {"confirm", "decline", "none"};
  diary.Now({"settings-app", "open"});
  diary.After(1ms, {"settings-app", "answer", dice.Pick(kAnswers), InMs(dice.Wait(1ms, 20s))});
  diary.LetPass(dice.Wait(2ms, 10s));
  for (int i = dice.Between(1, 3); i > 0; --i) {
    diary.Now({"settings-app", "ask"});
    diary.LetPass(dice.Wait(1ms, 40s));
  }
  switch (dice.Below(5)) {
    case 0:
      diary.Now({"settings-app", "stop"});
      break;
    case 1:
      diary.After(dice.Wait(10ms, 1min), {"settings-app", "confirm"});
      break;
    case 2:
      diary.After(dice.Wait(10ms, 1min), {"settings-app", "decline"});
      break;
    default:
      break;
  }
  if (!dice.OneIn(4)) {
    diary.After(dice.Wait(100ms, 10min), {"settings-app", "close"});
  }
}

void TapSavedNetwork(Diary& diary, Dice& dice) {
  constexpr const char* kNames[] = {"Home", "Home", "Cellar", "The office", "Guest 51", "Nowhere"};
  diary.Now({"settings-app", "open"});
  for (int i = dice.Between(1, 3); i > 0; --i) {
    diary.LetPass(dice.Wait(1ms, 40s));
    if (dice.OneIn(6)) {
      diary.Now({"settings-app", "forget", dice.Pick(kNames)});
    } else if (dice.OneIn(12)) {
      diary.Now({"settings-app", "reset"});
    } else {
      diary.Now({"settings-app", "connect", dice.Pick(kNames)});
    }
  }
  diary.After(dice.Wait(1s, 5min), {"settings-app", "close"});
}

void PowerButton(Diary& diary, Dice& dice) {
  SetText(diary, kNotifyPelorus, "instant_off");
  diary.LetPass(dice.Wait(10ms, 8h));
  SetText(diary, kNotifyPelorus, "instant_on");
}

void Consent(Diary& diary, Dice& dice) {
  diary.Now({"set", kDisclaimerAgree, "int", "0"});
  diary.After(dice.Wait(1ms, 1h), {"set", kDisclaimerAgree, "int", "1"});
}

void Wizard(Diary& diary, Dice& dice) {
  constexpr const char* kSteps[] = {"PNP_SETUP", "INITIAL_SETUP", "MARQUEE_SETUP", "HOTPLUG_SETUP",
                                    "TERMS_SETUP"};
  SetText(diary, kWizardMode, dice.Pick(kSteps));
  diary.After(dice.Wait(100ms, 20min), {"set", kWizardMode, "string", "OFF"});
}

void Certificates(Diary& diary, Dice& dice) {
  constexpr const char* kFiles[] = {"Root/ca.pem",      "Root/ca.der",   "Client/tv.p12",
                                    "Client/notes.txt", "Client/tv.cer", "connmancertpath/old.pem"};
  for (int i = dice.Between(0, 3); i > 0; --i) {
    diary.Now({"create", "file", std::string("/home/owner/share/") + dice.Pick(kFiles)});
  }
  if (dice.OneIn(2)) {
    diary.Now({"wifi", "connect", "02:00:00:00:00:30"});
    diary.LetPass(dice.Wait(1s, 20s));
  }
  SetText(diary, kEapCertificateStatus, dice.OneIn(8) ? "removed" : "installed");
}

void FactoryReset(Diary& diary, Dice& dice) {
  diary.Now({"set", kFactoryReset, "int", std::to_string(dice.Between(-1, 2))});
  diary.After(dice.Wait(1s, 1h), {"set", kFactoryReset, "int", "0"});
}

void OpenNetworkSettings(Diary& diary, Dice& dice) {
  constexpr const char* kWords[] = {"LaunchNS",           "LaunchNS",       "START5GHZCONNECTION",
                                    "STOP5GHZCONNECTION", "CONNECTPRESSED", "CANCELPRESSED",
                                    "PAGECHANGED",        "SHOWPOPUP"};
  SetText(diary, kLaunchNS, dice.Pick(kWords));
}

void OtherModules(Diary& diary, Dice& dice) {
  constexpr const char* kKeywords[] = {"no_network_connect_popup_shown_kpi",
                                       "wifi_on_off_popup_shown_kpi",
                                       "wifi_reconnection_kpi",
                                       "wifi_on_off_popup_yespressed_kpi",
                                       "wifi_on_off_popup_nopressed_kpi",
                                       "wifi_on_off_popup_exit_others_kpi",
                                       "something else"};
  constexpr const char* kDocuments[] = {
      R"({"id":"EV011","execution_method":"manual","marquee_test_result":"success"})",
      R"({"id":"EV011","execution_method":"automatic"})",
      R"({"id":"EV010"})",
      R"({"id":["EV011"]})",
      R"({"id":"EV011","execution_method":{}})",
      "{\"id\":"};
  if (dice.OneIn(2)) {
    SetText(diary, kPelorusCommand, dice.Pick(kKeywords));
  } else {
    SetText(diary, kWirelessKpiInfo, dice.Pick(kDocuments));
  }
}

void Capture(Diary& diary, Dice& dice) {
  constexpr const char* kSizes[] = {"40", "4096", "1048576", "1048577"};
  if (dice.OneIn(2)) {
    diary.Now({"capture", "size", dice.Pick(kSizes)});
  }
  diary.Now({"set", kStartStopTcpDump, "int", "1"});
  if (dice.OneIn(5)) {
    diary.After(dice.Wait(1ms, 2min), {"capture", "end"});
  }
  if (dice.OneIn(4)) {
    diary.After(dice.Wait(1ms, 10s), {"set", kStartStopTcpDump, "int", "1"});
  }
  if (!dice.OneIn(6)) {
    diary.After(dice.Wait(10ms, 10min), {"set", kStartStopTcpDump, "int", dice.OneIn(4) ? "2" : "0"});
  }
}

void NetworkType(Diary& diary, Dice& dice) {
  constexpr const char* kTypes[] = {"Wired", "Wireless", "Wireless", "Cellular", "wireless", ""};
  SetText(diary, kNetworkType, dice.Pick(kTypes));
}

}  // namespace

const std::vector<Chore>& ViewerChores() {
  static const std::vector<Chore> chores = {
      {"film", 8, Film},
      {"ask for 5 GHz", 8, AskForFiveGhz},
      {"tap a saved network", 7, TapSavedNetwork},
      {"power button", 3, PowerButton},
      {"consent", 2, Consent},
      {"wizard", 2, Wizard},
      {"certificates", 4, Certificates},
      {"factory reset", 1, FactoryReset},
      {"open the network settings", 3, OpenNetworkSettings},
      {"other modules", 3, OtherModules},
      {"network type", 2, NetworkType},
      {"capture", 1, Capture},
  };
  return chores;
}

}  // namespace soak

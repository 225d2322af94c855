#include "ScenarioWords.h"

namespace scenario {

Json::Value Player(const Words& words) {
  const auto value = words.size() == 3 ? ParseNumber(words[2]) : std::nullopt;
  if (!value) {
    throw Misuse{"player buffering|lowres|interference|rssi|linkspeed NUMBER"};
  }
  Json::Value request = About("player");
  request["report"] = words[1];
  request["value"] = *value;
  return request;
}

Json::Value SettingsApplication(const Words& words) {
  constexpr char kUsage[] =
      "settings-app open | close | ask | stop | confirm | decline | answer confirm|decline|none [TIME] "
      "| "
      "connect ESSID | forget ESSID | reset";
  if (words.size() == 2 && (words[1] == "confirm" || words[1] == "decline")) {
    Json::Value request = About("settings-app");
    request["action"] = "press";
    request["button"] = words[1];
    return request;
  }
  if (words.size() == 3 && (words[1] == "connect" || words[1] == "forget")) {
    Json::Value request = About("settings-app");
    request["action"] = words[1];
    request["essid"] = words[2];
    return request;
  }
  if (words.size() < 3 || words[1] != "answer") {
    return Action(words, {"open", "close", "ask", "stop", "reset"}, kUsage);
  }
  const auto delay = words.size() == 4 ? ParseDuration(words[3]) : std::nullopt;
  if (words.size() > 4 || (words.size() == 4 && !delay)) {
    throw Misuse{kUsage};
  }
  Json::Value request = About("settings-app");
  request["action"] = "answer";
  request["answer"] = words[2];
  if (delay) {
    request["ms"] = static_cast<Json::Int64>(delay->count());
  }
  return request;
}

Json::Value Package(const Words& words) {
  if (words.size() != 3 || (words[1] != "install" && words[1] != "remove")) {
    throw Misuse{"package install ID | package remove ID"};
  }
  Json::Value request = About("package");
  request["action"] = words[1];
  request["id"] = words[2];
  return request;
}

Json::Value Speaker(const Words& words) {
  const auto selection = words.size() == 2 ? ParseNumber(words[1]) : std::nullopt;
  if (!selection) {
    throw Misuse{"speaker NUMBER"};
  }
  Json::Value request = About("speaker");
  request["selection"] = *selection;
  return request;
}

}  // namespace scenario

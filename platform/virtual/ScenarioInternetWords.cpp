#include "ScenarioWords.h"

namespace scenario {

Json::Value InternetHealth(const Words& words) {
  constexpr char kUsage[] =
      "internet gateway|dns|http on|off | report STEP RESULT | hotspot NUMBER | lease SECONDS";
  const std::string subject = words.size() > 1 ? words[1] : "";
  Json::Value request = About("internet");
  if (words.size() == 3 && (words[2] == "on" || words[2] == "off")) {
    request["action"] = "set";
    request["step"] = subject;
    request["works"] = words[2] == "on";
    return request;
  }
  const auto number = words.size() > 2 ? ParseNumber(words.back()) : std::nullopt;
  if (!number) {
    throw Misuse{kUsage};
  }
  request["action"] = subject;
  if (words.size() == 4 && subject == "report") {
    request["step"] = words[2];
    request["result"] = *number;
  } else if (words.size() == 3 && subject == "hotspot") {
    request["status"] = *number;
  } else if (words.size() == 3 && subject == "lease") {
    request["seconds"] = *number;
  } else {
    throw Misuse{kUsage};
  }
  return request;
}

}  // namespace scenario

#include "ScenarioWords.h"

namespace scenario {
namespace {

Json::Value Addresses(const Words& words, const char* usage) {
  if (words.size() < 4) {
    throw Misuse{usage};
  }
  Json::Value request = About("internet");
  request["action"] = "addresses";
  request["network"] = words[2];
  for (std::size_t i = 3; i < words.size(); ++i) {
    const std::size_t equals = words[i].find('=');
    const std::string family = words[i].substr(0, equals);
    if (equals == std::string::npos || (family != "ipv4" && family != "ipv6") ||
        request.isMember(family)) {
      throw Misuse{usage};
    }
    request[family] = words[i].substr(equals + 1);
  }
  return request;
}

}  // namespace

Json::Value InternetHealth(const Words& words) {
  constexpr char kUsage[] =
      "internet gateway|dns|http on|off | report STEP RESULT | hotspot NUMBER | lease SECONDS | "
      "addresses "
      "cable|dongle [ipv4=ADDRESS] [ipv6=ADDRESS]";
  const std::string subject = words.size() > 1 ? words[1] : "";
  Json::Value request = About("internet");
  if (words.size() == 3 && (words[2] == "on" || words[2] == "off")) {
    request["action"] = "set";
    request["step"] = subject;
    request["works"] = words[2] == "on";
    return request;
  }
  if (subject == "addresses") {
    return Addresses(words, kUsage);
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

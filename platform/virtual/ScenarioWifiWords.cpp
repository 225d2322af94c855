#include <map>
#include <string_view>

#include "ScenarioWords.h"

namespace scenario {
namespace {

enum class OptionType { kText, kNumber };
using Options = std::map<std::string, OptionType, std::less<>>;

const Options& RadioOptions() {
  static const Options options = {
      {"frequency", OptionType::kNumber}, {"security", OptionType::kText},
      {"passphrase", OptionType::kText},  {"rssi", OptionType::kNumber},
      {"bandwidth", OptionType::kNumber}, {"mode", OptionType::kText},
      {"temper", OptionType::kText},      {"ipv4", OptionType::kText},
      {"ipv6", OptionType::kText},        {"portal", OptionType::kText},
  };
  return options;
}

const Options& NetworkOptions() {
  static const Options options = {{"security", OptionType::kText},
                                  {"passphrase", OptionType::kText},
                                  {"frequency", OptionType::kNumber}};
  return options;
}

/// Takes in a word of the form "rssi=-50".
void TakeOption(const std::string& word, const Options& options, const char* usage,
                Json::Value& request) {
  const std::size_t equals = word.find('=');
  const std::string name = word.substr(0, equals);
  const auto option = options.find(name);
  if (equals == std::string::npos || option == options.end() || request.isMember(name)) {
    throw Misuse{usage};
  }
  const std::string value = word.substr(equals + 1);
  if (option->second == OptionType::kText) {
    request[name] = value;
    return;
  }
  const auto number = ParseNumber(value);
  if (!number) {
    throw Misuse{std::string("a number for ") + name};
  }
  request[name] = *number;
}

Json::Value AddRadio(const Words& words) {
  constexpr char kUsage[] =
      "radio add BSSID ESSID [hidden] [off] [frequency=MHZ] [security=WORD] [passphrase=TEXT] "
      "[rssi=DBM] "
      "[bandwidth=MHZ] [mode=WORD] [temper=WORD] [ipv4=ADDRESS] [ipv6=ADDRESS] [portal=URL]";
  if (words.size() < 4) {
    throw Misuse{kUsage};
  }
  Json::Value request = About("radio");
  request["action"] = "add";
  request["bssid"] = words[2];
  request["essid"] = words[3];
  for (std::size_t i = 4; i < words.size(); ++i) {
    if (words[i] == "hidden") {
      request["hidden"] = true;
    } else if (words[i] == "off") {
      request["on"] = false;
    } else {
      TakeOption(words[i], RadioOptions(), kUsage, request);
    }
  }
  return request;
}

Json::Value SaveNetwork(const Words& words) {
  constexpr char kUsage[] = "wifi save ESSID [security=WORD] [passphrase=TEXT] [frequency=MHZ]";
  if (words.size() < 3) {
    throw Misuse{kUsage};
  }
  Json::Value request = About("wifi");
  request["action"] = "save";
  request["essid"] = words[2];
  for (std::size_t i = 3; i < words.size(); ++i) {
    TakeOption(words[i], NetworkOptions(), kUsage, request);
  }
  return request;
}

Json::Value ConnectTo(const Words& words) {
  constexpr char kUsage[] = "wifi connect BSSID [passphrase=TEXT]";
  constexpr std::string_view kPassphrase = "passphrase=";
  const bool has_passphrase = words.size() == 4 && words[3].starts_with(kPassphrase);
  if (words.size() != 3 && !has_passphrase) {
    throw Misuse{kUsage};
  }
  Json::Value request = About("wifi");
  request["action"] = "connect";
  request["bssid"] = words[2];
  if (has_passphrase) {
    request["passphrase"] = words[3].substr(kPassphrase.size());
  }
  return request;
}

Json::Value FailNext(const Words& words) {
  const auto code = words.size() == 4 ? ParseNumber(words[3]) : std::nullopt;
  if (!code) {
    throw Misuse{"wifi fail-next scan|channel-scan|name-scan|connect|disconnect|portal CODE"};
  }
  Json::Value request = About("wifi");
  request["action"] = "fail-next";
  request["request"] = words[2];
  request["code"] = *code;
  return request;
}

}  // namespace

Json::Value Radio(const Words& words) {
  const std::string action = words.size() > 1 ? words[1] : "";
  if (action == "add") {
    return AddRadio(words);
  }
  Json::Value request = About("radio");
  request["action"] = action;
  if (words.size() == 3 && (action == "remove" || action == "on" || action == "off")) {
    request["bssid"] = words[2];
    return request;
  }
  if (words.size() == 4 && action == "temper") {
    request["bssid"] = words[2];
    request["temper"] = words[3];
    return request;
  }
  if (words.size() == 4 && action == "portal") {
    request["bssid"] = words[2];
    request["portal"] = words[3] == "none" ? "" : words[3];
    return request;
  }
  const auto rssi = words.size() == 4 && action == "signal" ? ParseNumber(words[3]) : std::nullopt;
  if (!rssi) {
    throw Misuse{
        "radio add BSSID ESSID [OPTION...] | remove BSSID | on BSSID | off BSSID | signal BSSID DBM | "
        "temper BSSID accepts|refuses|silent|answers-twice|no-address | portal BSSID URL|none"};
  }
  request["bssid"] = words[2];
  request["rssi"] = *rssi;
  return request;
}

Json::Value Wifi(const Words& words) {
  const std::string action = words.size() > 1 ? words[1] : "";
  if (action == "save") {
    return SaveNetwork(words);
  }
  if (action == "connect") {
    return ConnectTo(words);
  }
  if (action == "fail-next") {
    return FailNext(words);
  }
  Json::Value request = About("wifi");
  request["action"] = action;
  const auto number = words.size() == 3 && action == "snr" ? ParseNumber(words[2]) : std::nullopt;
  if (number) {
    request["snr"] = *number;
  } else if (words.size() == 3 && action == "forget") {
    request["essid"] = words[2];
  } else if (words.size() == 3 && action == "join") {
    request["bssid"] = words[2];
  } else if (words.size() != 2 || (action != "drop" && action != "see-all")) {
    throw Misuse{
        "wifi join BSSID | connect BSSID [passphrase=TEXT] | drop | see-all | save ESSID [OPTION...] | "
        "forget ESSID | fail-next REQUEST CODE | snr DB"};
  }
  return request;
}

}  // namespace scenario

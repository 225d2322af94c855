#include "ScenarioRequest.h"

#include <charconv>
#include <cmath>
#include <iterator>
#include <map>
#include <string_view>

#include <glib.h>

#include "ScenarioWords.h"

namespace scenario {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kLongest = std::chrono::days(40);

Json::Value Cable(const Words& words) {
  if (words.size() == 3 && words[1] == "state") {
    if (const auto state = ParseNumber(words[2])) {
      Json::Value request = About("cable");
      request["action"] = "state";
      request["state"] = *state;
      return request;
    }
  }
  return Action(words, {"plug", "unplug"}, "cable plug | cable unplug | cable state NUMBER");
}

Json::Value Dongle(const Words& words) {
  return Action(words, {"insert", "remove"}, "dongle insert | dongle remove");
}

Json::Value Telephony(const Words& words) {
  return Action(words, {"start", "stop"}, "telephony start | telephony stop");
}

Json::Value Feature(const Words& words) {
  if (words.size() != 4 || words[1] != "set") {
    throw Misuse{"feature set NAME VALUE"};
  }
  Json::Value request = About("feature");
  request["action"] = "set";
  request["name"] = words[2];
  request["value"] = words[3];
  return request;
}

Json::Value Fail(const Words& words) {
  const auto code = words.size() >= 3 ? ParseNumber(words[2]) : std::nullopt;
  const auto times = words.size() == 4 ? ParseNumber(words[3]) : std::nullopt;
  if (!code || words.size() > 4 || (words.size() == 4 && !times)) {
    throw Misuse{"fail FUNCTION CODE [TIMES]"};
  }
  Json::Value request = About("fail");
  request["function"] = words[1];
  request["code"] = *code;
  if (times) {
    request["times"] = *times;
  }
  return request;
}

Json::Value Heal(const Words& words) {
  if (words.size() != 2) {
    throw Misuse{"heal FUNCTION"};
  }
  Json::Value request = About("stop-failing");
  request["function"] = words[1];
  return request;
}

/// "latency KIND TIME", or "delay KIND TIME".
Json::Value Duration(const Words& words) {
  const auto duration = words.size() == 3 ? ParseDuration(words[2]) : std::nullopt;
  if (!duration) {
    throw Misuse{words[0] + " KIND TIME, with TIME such as 50ms"};
  }
  Json::Value request = About(words[0].c_str());
  request["kind"] = words[1];
  request["ms"] = static_cast<Json::Int64>(duration->count());
  return request;
}

Json::Value Plain(const Words& words) {
  if (words.size() != 1) {
    throw Misuse{words[0] + ", and nothing more"};
  }
  return About(words[0].c_str());
}

using Maker = Json::Value (*)(const Words&);
const std::map<std::string, Maker>& Makers() {
  static const std::map<std::string, Maker> makers = {
      {"cable", Cable},       {"dongle", Dongle},    {"telephony", Telephony},
      {"fail", Fail},         {"heal", Heal},        {"feature", Feature},
      {"calls", Plain},       {"latency", Duration}, {"delay", Duration},
      {"clear-calls", Plain}, {"status", Plain},     {"radio", Radio},
      {"wifi", Wifi},         {"player", Player},    {"settings-app", SettingsApplication},
      {"package", Package},   {"speaker", Speaker},  {"internet", InternetHealth},
      {"stick", Stick},       {"capture", Capture}};
  return makers;
}

}  // namespace

Json::Value About(const char* what) {
  Json::Value request;
  request["do"] = what;
  return request;
}

Json::Value Action(const Words& words, std::initializer_list<const char*> actions, const char* usage) {
  for (const char* action : actions) {
    if (words.size() == 2 && words[1] == action) {
      Json::Value request = About(words[0].c_str());
      request["action"] = action;
      return request;
    }
  }
  throw Misuse{usage};
}

bool IsTvCommand(const std::string& first_word) {
  return Makers().contains(first_word);
}

std::vector<std::string> TvCommands() {
  std::vector<std::string> commands;
  for (const auto& [word, maker] : Makers()) {
    commands.push_back(word);
  }
  return commands;
}

std::optional<Json::Value> RequestOf(const Words& words, std::string& error) {
  const auto maker = words.empty() ? Makers().end() : Makers().find(words.front());
  if (maker == Makers().end()) {
    error = words.empty() ? "no command" : "unknown command \"" + words.front() + "\"";
    return std::nullopt;
  }
  try {
    return maker->second(words);
  } catch (const Misuse& misuse) {
    error = "expected: " + misuse.usage;
    return std::nullopt;
  }
}

std::optional<milliseconds> ParseDuration(const std::string& text) {
  char* unit = nullptr;
  const double number = g_ascii_strtod(text.c_str(), &unit);
  const bool has_number = unit != text.c_str() && text.front() >= '0' && text.front() <= '9';
  const std::string_view name = unit;
  const double factor = name == "ms"    ? 1
                        : name == "s"   ? 1000
                        : name == "min" ? 60'000
                        : name == "h"   ? 3'600'000
                                        : 0;
  const double total = number * factor;
  if (!has_number || factor == 0 || !(total <= static_cast<double>(kLongest.count()))) {
    return std::nullopt;
  }
  return milliseconds(std::llround(total));
}

std::optional<int> ParseNumber(const std::string& text) {
  int number = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  return result.ec == std::errc() && result.ptr == end ? std::optional(number) : std::nullopt;
}

}  // namespace scenario

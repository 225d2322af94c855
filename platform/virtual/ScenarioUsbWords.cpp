#include "ScenarioWords.h"

namespace scenario {

Json::Value Stick(const Words& words) {
  constexpr char kUsage[] = "stick insert [NAME] [broken] | remove [NAME] | unmount [NAME]";
  Words rest = words;
  const bool is_broken = rest.size() > 2 && rest[1] == "insert" && rest.back() == "broken";
  if (is_broken) {
    rest.pop_back();
  }
  if (rest.size() < 2 || rest.size() > 3 ||
      (rest[1] != "insert" && rest[1] != "remove" && rest[1] != "unmount")) {
    throw Misuse{kUsage};
  }
  Json::Value request = About("stick");
  request["action"] = rest[1];
  if (rest.size() == 3) {
    request["name"] = rest[2];
  }
  if (is_broken) {
    request["broken"] = true;
  }
  return request;
}

Json::Value Capture(const Words& words) {
  constexpr char kUsage[] = "capture size BYTES | capture end";
  const auto bytes = words.size() == 3 && words[1] == "size" ? ParseNumber(words[2]) : std::nullopt;
  if (!bytes) {
    return Action(words, {"end"}, kUsage);
  }
  Json::Value request = About("capture");
  request["action"] = "size";
  request["bytes"] = *bytes;
  return request;
}

}  // namespace scenario

#pragma once

#include <string>

#include <json/value.h>

#include "ScenarioRequest.h"

/// Making requests out of a command's words: the makers of each subject, first word included.
namespace scenario {

/// A command's words are not what it needs.
struct Misuse {
  std::string usage;
};

/// A request that is about `what` and says no more.
Json::Value About(const char* what);

/// A request to do one of `actions`, when the words say just that. @throws Misuse
Json::Value Action(const Words& words, std::initializer_list<const char*> actions, const char* usage);

Json::Value Radio(const Words& words);
Json::Value Wifi(const Words& words);
Json::Value Player(const Words& words);
Json::Value InternetHealth(const Words& words);
Json::Value SettingsApplication(const Words& words);
Json::Value Package(const Words& words);
Json::Value Speaker(const Words& words);
Json::Value Stick(const Words& words);
Json::Value Capture(const Words& words);

}  // namespace scenario

#pragma once

#include <json/value.h>

class VirtualTv;

/// Requests about the programs of the TV: the video player and the network settings application.
namespace tv_commands {

/// Each throws Refused (CommandRequest.h) and has then changed nothing.
void DoPlayer(VirtualTv& tv, const Json::Value& request);
void DoSettingsApp(VirtualTv& tv, const Json::Value& request);

Json::Value SettingsAppStatus(VirtualTv& tv);

}  // namespace tv_commands

#pragma once

#include <json/value.h>

class VirtualTv;

/// Requests about the programs of the TV: the video player, the network settings application, what is
/// installed, and where the sound goes.
namespace tv_commands {

/// Each throws Refused (CommandRequest.h) and has then changed nothing.
void DoPlayer(VirtualTv& tv, const Json::Value& request);
void DoSettingsApp(VirtualTv& tv, const Json::Value& request);
void DoPackage(VirtualTv& tv, const Json::Value& request);
void DoSpeaker(VirtualTv& tv, const Json::Value& request);

Json::Value SettingsAppStatus(VirtualTv& tv);
Json::Value PackagesStatus(VirtualTv& tv);

}  // namespace tv_commands

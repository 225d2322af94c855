#pragma once

#include <json/value.h>

class VirtualTv;

/// Requests about the way from the TV to the internet.
namespace tv_commands {

/// Throws Refused (CommandRequest.h) and has then changed nothing.
void DoInternet(VirtualTv& tv, const Json::Value& request);

Json::Value InternetStatus(VirtualTv& tv);

}  // namespace tv_commands

#pragma once

#include <json/value.h>

class VirtualTv;

/// Requests about the sticks in the TV's USB sockets and the captures that are brought to them.
namespace tv_commands {

/// Each throws Refused (CommandRequest.h) and has then changed nothing.
void DoStick(VirtualTv& tv, const Json::Value& request);
void DoCapture(VirtualTv& tv, const Json::Value& request);

Json::Value SticksStatus(VirtualTv& tv);
Json::Value CaptureStatus(VirtualTv& tv);

}  // namespace tv_commands

#pragma once

#include <json/value.h>

class VirtualTv;

/// Requests about the radios in the room and the TV's Wi-Fi.
namespace tv_commands {

/// Each throws Refused (CommandRequest.h) and has then changed nothing.
void DoRadio(VirtualTv& tv, const Json::Value& request);
void DoWifi(VirtualTv& tv, const Json::Value& request);

/// Neither tells a passphrase.
Json::Value RadiosStatus(VirtualTv& tv);
Json::Value WifiStatus(VirtualTv& tv);

}  // namespace tv_commands

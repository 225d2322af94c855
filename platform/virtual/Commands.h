#pragma once

#include <string>
#include <string_view>

#include <json/value.h>

class VirtualTv;

/// What can be asked of the virtual TV from outside: one JSON object each way. A request names what it
/// is about in "do"; docs/virtual-tv.md lists them all.
namespace tv_commands {

/// Carries out a request.
/// @return {"ok": true, ...} or {"ok": false, "error": why}; a refused request has changed nothing
Json::Value Execute(VirtualTv& tv, const Json::Value& request);

/// The same for a line of text of any bytes.
/// @return one line, without its newline
std::string Answer(VirtualTv& tv, std::string_view line);

}  // namespace tv_commands

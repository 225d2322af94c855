#pragma once

#include <string>
#include <string_view>

/// The vendor's half of a hardware address: "AA-BB-CC" of "AA:BB:CC:DD:EE:FF". The other half would tell
/// one household from another, and never gets into a record.
/// @return "ff-ff-ff" for what is too short to have one
std::string GetMacPrefix(std::string_view mac);

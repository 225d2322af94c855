#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct WatchOptions {
  std::vector<std::string> keys;  ///< names that the store accepts
  std::uint64_t count = 0;        ///< lines after which to end; 0 to go on until interrupted
  bool json = false;
};

/// Prints a line for each write of the keys, on a main loop of its own, until the count is reached, or
/// SIGINT or SIGTERM arrives.
/// @return one of exit_codes
int WatchSettings(const WatchOptions& options);

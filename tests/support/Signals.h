#pragma once

#include <cstdint>
#include <fstream>
#include <string>

#include <sys/types.h>

/// What the kernel says of a process's signals.
/// @param what  "SigBlk", "SigIgn" or "SigCgt"
/// @return a bit for each signal, see SignalBit(); 0 as well when there is no such process
inline std::uint64_t SignalsOf(pid_t pid, const std::string& what) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(what + ":")) {
      return std::stoull(line.substr(what.size() + 1), nullptr, 16);
    }
  }
  return 0;
}

constexpr std::uint64_t SignalBit(int signal) {
  return std::uint64_t{1} << (signal - 1);
}

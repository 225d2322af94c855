#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

namespace soak {

/// How far a life has come, in memory that it shares with whoever started its process: what is written
/// here outlives a crash.
struct Report {
  char failure[64];    ///< what kind of failure; empty for none
  char details[2048];  ///< for people
  std::uint64_t hash;  ///< of all that was done to the daemon and all that it asked for
  std::uint64_t steps;
  std::uint64_t refused;  ///< of these, by the TV: what was not to be done
  std::uint64_t calls;    ///< of platform functions
  std::uint64_t popups;
  std::int64_t captures;  ///< connections that were opened for captures, and not closed
  std::uint64_t records;  ///< that were handed to the KPI journal
  std::uint64_t pulse;    ///< goes on while the life does
  int chapter;            ///< that is played, from 0
  int step;               ///< the last one of that chapter which was begun; -1 before the first
};

/// The first failure is the one that counts.
inline void Fail(Report& report, const std::string& kind, const std::string& details) {
  if (report.failure[0] == '\0') {
    std::snprintf(report.failure, sizeof report.failure, "%s", kind.c_str());
    std::snprintf(report.details, sizeof report.details, "%s", details.c_str());
  }
}

/// Takes something into the hash.
inline void Mix(Report& report, const std::string& text) {
  for (const char c : text) {
    report.hash = (report.hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
  }
  report.hash = (report.hash ^ 0xFF) * 0x100000001B3;
}

}  // namespace soak

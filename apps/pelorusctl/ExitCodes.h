#pragma once

/// What the program ends with; scripts rely on the numbers, and the man page lists them.
namespace exit_codes {

inline constexpr int kDone = 0;
inline constexpr int kFailed =
    1;  ///< refused or failed: no value or record, a damaged one, cannot read or write
inline constexpr int kUsage = 2;        ///< the command line makes no sense: unknown command, bad value
inline constexpr int kUnreachable = 3;  ///< there is no settings store, KPI journal or TV to talk to

}  // namespace exit_codes

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

/// What the benchmarks print in the end: one line for each comparison and one for each target. bench/run
/// repeats the lines that begin with "PASS" or "OVER TARGET" after everything else.
namespace report {

/// @return the value below which `share` of the samples lie; takes a copy because it sorts
inline double Quantile(std::vector<double> samples, double share) {
  if (samples.empty()) {
    return 0;
  }
  const auto at = static_cast<std::size_t>(share * static_cast<double>(samples.size() - 1) + 0.5);
  std::nth_element(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(at), samples.end());
  return samples[at];
}

inline double Median(const std::vector<double>& samples) {
  return Quantile(samples, 0.5);
}

inline void Heading(const char* text) {
  std::printf("\n%s\n", text);
}

/// One comparison. The ratio says how many times more (time, memory) the peer takes.
inline void Ratio(const std::string& what, double ours, const std::string& peer, double theirs,
                  const char* unit) {
  std::printf("  %-34s pelorus %9.2f %-3s %-24s %9.2f %-3s  peer/pelorus %8.3f\n", what.c_str(), ours,
              unit, peer.c_str(), theirs, unit, ours > 0 ? theirs / ours : 0.0);
}

inline void Target(bool met, const std::string& text) {
  std::printf("%s: %s\n", met ? "PASS" : "OVER TARGET", text.c_str());
}

}  // namespace report

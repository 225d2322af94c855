#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>

namespace soak {

/// Chance that is the same for the same seed, with every standard library.
class Dice {
 public:
  explicit Dice(std::uint64_t seed) : m_random(seed) {}

  /// From 0 to n - 1.
  std::size_t Below(std::size_t n) { return static_cast<std::size_t>(m_random() % n); }
  /// Both included.
  int Between(int least, int most) {
    return least + static_cast<int>(Below(static_cast<std::size_t>(most - least) + 1));
  }
  bool OneIn(std::size_t n) { return Below(n) == 0; }

  template <class T, std::size_t count>
  const T& Pick(const T (&values)[count]) {
    return values[Below(count)];
  }

  /// A time between the two, short ones as likely as those ten times longer.
  std::chrono::milliseconds Wait(std::chrono::milliseconds least, std::chrono::milliseconds most) {
    const double low = std::log(static_cast<double>(std::max<std::int64_t>(1, least.count())));
    const double high = std::log(static_cast<double>(std::max<std::int64_t>(1, most.count())));
    constexpr std::size_t kGrain = 1'000'000;
    const double where = static_cast<double>(Below(kGrain)) / kGrain;
    return std::chrono::milliseconds(std::llround(std::exp(low + where * (high - low))));
  }

 private:
  std::mt19937_64 m_random;
};

}  // namespace soak

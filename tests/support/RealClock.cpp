#include "VirtualClock.h"

// What a program gets that does not link the virtual clock.

namespace virtual_clock {

[[gnu::weak]] bool IsLinked() {
  return false;
}
[[gnu::weak]] void SetHorizon(std::optional<std::chrono::nanoseconds> /*since_start*/) {}
[[gnu::weak]] std::chrono::nanoseconds Now() {
  return std::chrono::steady_clock::now().time_since_epoch();
}
[[gnu::weak]] void Advance(std::chrono::nanoseconds /*duration*/) {}

}  // namespace virtual_clock

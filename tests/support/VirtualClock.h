#pragma once

#include <chrono>
#include <optional>

/// The clock of a test process. A program that links pelorus-test-clock has its clock_gettime() and
/// poll() replaced: time stands still, and when GLib would sleep in poll() the clock jumps instead.
/// Without that library the process runs on real time.
namespace virtual_clock {

/// Whether this program has a virtual clock.
bool IsLinked();

/// How far poll() may jump before it must really wait; nullopt: it may not jump at all.
void SetHorizon(std::optional<std::chrono::nanoseconds> since_start);

/// Virtual time since the process started.
std::chrono::nanoseconds Now();

/// Moves the clock by hand.
void Advance(std::chrono::nanoseconds duration);

}  // namespace virtual_clock

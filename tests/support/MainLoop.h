#pragma once

#include <chrono>
#include <functional>

/// Running the default main loop from a test.

/// Lets that much time pass. On the virtual clock (a test that links pelorus-test-clock) it takes none:
/// the timers due in it fire in their order. Elsewhere it is real time.
void RunLoopFor(std::chrono::milliseconds duration);

/// Handles everything that is ready now and returns without letting time pass.
void RunLoopOnce();

/// Runs the loop until the fact is so, with the virtual clock standing still while it waits for the
/// real world (another process, the kernel). A test failure after `limit` of real time.
void RunLoopUntil(const std::function<bool()>& fact,
                  std::chrono::milliseconds limit = std::chrono::seconds(10));

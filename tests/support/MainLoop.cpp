#include "MainLoop.h"

#include <glib.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include "VirtualClock.h"

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

namespace {

/// Real time, also where clock_gettime() is the virtual clock's.
nanoseconds RealNow() {
  timespec time{};
  syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &time);
  return std::chrono::seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

void RunVirtually(milliseconds duration) {
  const nanoseconds end = virtual_clock::Now() + duration;
  virtual_clock::SetHorizon(end);
  while (virtual_clock::Now() < end) {
    g_main_context_iteration(nullptr, TRUE);
  }
  virtual_clock::SetHorizon(std::nullopt);
  RunLoopOnce();
}

}  // namespace

void RunLoopFor(milliseconds duration) {
  if (virtual_clock::IsLinked()) {
    RunVirtually(duration);
    return;
  }
  const nanoseconds end = RealNow() + duration;
  for (nanoseconds now = RealNow(); now < end; now = RealNow()) {
    const auto left = std::chrono::ceil<milliseconds>(end - now);
    const guint timer = g_timeout_add(
        static_cast<guint>(left.count()), [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; },
        nullptr);
    g_main_context_iteration(nullptr, TRUE);
    g_source_remove(timer);
  }
}

void RunLoopOnce() {
  while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
  }
}

void RunLoopUntil(const std::function<bool()>& fact, milliseconds limit) {
  const nanoseconds end = RealNow() + limit;
  while (!fact()) {
    if (RealNow() > end) {
      ADD_FAILURE() << "what the test waits for did not come in " << limit.count() << " ms";
      return;
    }
    g_main_context_iteration(nullptr, FALSE);
    usleep(200);
  }
}

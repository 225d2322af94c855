#include "VirtualClock.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>

#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

namespace {

// The real clock is read once; both clocks then move together by what the loop would have slept.
std::atomic<std::int64_t> g_passed{0};
std::atomic<std::int64_t> g_horizon{-1};  // -1: no jump allowed

/// The whole second that comes next: GLib lets timers of seconds end at one moment within the second, so
/// that what happens would depend on the fraction in which the process was started.
timespec RealTime(clockid_t clock) {
  timespec time{};
  syscall(SYS_clock_gettime, clock, &time);
  return {time.tv_sec + 1, 0};
}

timespec StartOf(clockid_t clock) {
  static const timespec monotonic = RealTime(CLOCK_MONOTONIC);
  static const timespec wall = RealTime(CLOCK_REALTIME);
  return clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE ? wall : monotonic;
}

int RealPoll(pollfd* fds, nfds_t count, int timeout_ms) {
  return static_cast<int>(syscall(SYS_poll, fds, count, timeout_ms));
}

/// Whether a thread beside this one has work to do. Those that sleep until they are woken, as GLib's own
/// workers do, have none.
bool IsAnotherThreadBusy() {
  constexpr char kThreads[] = "/proc/self/task";
  constexpr nlink_t kLinksOfOneThread = 3;
  struct stat status {};
  if (stat(kThreads, &status) != 0 || status.st_nlink <= kLinksOfOneThread) {
    return false;
  }
  std::error_code error;
  for (const auto& thread : std::filesystem::directory_iterator(kThreads, error)) {
    std::string line;
    std::getline(std::ifstream(thread.path() / "stat"), line);
    const std::size_t name_end = line.rfind(") ");
    const bool is_busy =
        name_end != std::string::npos && (line[name_end + 2] == 'R' || line[name_end + 2] == 'D');
    if (is_busy && thread.path().filename() != std::to_string(gettid())) {
      return true;
    }
  }
  return false;
}

}  // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* time) {
  switch (clock) {
    case CLOCK_MONOTONIC:
    case CLOCK_MONOTONIC_COARSE:
    case CLOCK_BOOTTIME:
    case CLOCK_REALTIME:
    case CLOCK_REALTIME_COARSE: {
      constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
      *time = StartOf(clock);
      const std::int64_t nanoseconds_now = time->tv_nsec + g_passed.load();
      time->tv_sec += nanoseconds_now / kNanosecondsPerSecond;
      time->tv_nsec = nanoseconds_now % kNanosecondsPerSecond;
      return 0;
    }
    default:
      return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
  }
}

// What is ready wins; else, instead of sleeping, the clock jumps to the end of the sleep or to the
// horizon, whichever is nearer. A poll that may not jump waits for the real world, a little at a time.
// Only the main loop's thread moves the clock: GLib's own worker threads sleep without a limit. While
// another thread works, time stands still, so that no timer overtakes what it is about to tell the loop.
extern "C" int poll(pollfd* fds, nfds_t count, int timeout_ms) {
  if (gettid() != getpid()) {
    return RealPoll(fds, count, timeout_ms);
  }
  const bool is_another_busy = IsAnotherThreadBusy();  // before the look at what it has told
  const int ready = RealPoll(fds, count, 0);
  if (ready != 0 || timeout_ms == 0) {
    return ready;
  }
  const std::int64_t room = g_horizon.load() - g_passed.load();
  if (room > 0 && is_another_busy) {
    constexpr int kLookAgainMs = 1;
    return RealPoll(fds, count, kLookAgainMs);
  }
  if (room > 0) {
    const std::int64_t sleep = timeout_ms < 0 ? room : nanoseconds(milliseconds(timeout_ms)).count();
    g_passed += std::min(sleep, room);
    return 0;
  }
  constexpr int kRealWaitMs = 5;
  return RealPoll(fds, count, kRealWaitMs);
}

namespace virtual_clock {

bool IsLinked() {
  return true;
}

void SetHorizon(std::optional<nanoseconds> since_start) {
  g_horizon = since_start ? since_start->count() : -1;
}

nanoseconds Now() {
  return nanoseconds(g_passed.load());
}

void Advance(nanoseconds duration) {
  g_passed += duration.count();
}

}  // namespace virtual_clock

#include "ChildProgram.h"

#include <array>
#include <cerrno>

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

namespace {

static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<pid_t>::is_always_lock_free,
              "they are stored to in signal context");

/// The programs that are up, 0 in the places that are free. More than are ever up together.
std::array<std::atomic<pid_t>, 64> g_children{};

void Remember(pid_t pid) {
  for (std::atomic<pid_t>& child : g_children) {
    pid_t none = 0;
    if (child.compare_exchange_strong(none, pid)) {
      return;
    }
  }
}

/// Reaps one of them that has ended. Never waits: a spawn that failed brings a SIGCHLD with nothing to
/// reap, while others run on.
void ReapOne() {
  for (std::atomic<pid_t>& child : g_children) {
    pid_t pid = child.load();
    if (pid == 0) {
      continue;
    }
    const pid_t reaped = waitpid(pid, nullptr, WNOHANG);
    if (reaped != 0) {  // now, or before by somebody else
      child.compare_exchange_strong(pid, 0);
    }
    if (reaped == pid) {
      return;
    }
  }
}

}  // namespace

int StartChildProgram(const char* path, char* const arguments[], void (*handler)(int),
                      std::atomic<bool>& is_running, pid_t& pid) {
  signal(SIGCHLD, handler);
  // Set before the spawn: a program that ends at once may be reaped before posix_spawn() returns here.
  is_running.store(true);
  const int result = posix_spawn(&pid, path, nullptr, nullptr, arguments, nullptr);
  if (result != 0) {
    is_running.store(false);
    return result;
  }
  Remember(pid);
  ReapOne();  // the one that ended before it was remembered, when its signal found nothing to reap
  return result;
}

void ReapChildProgram(std::atomic<bool>& is_running) {
  const int saved_errno = errno;
  ReapOne();
  is_running.store(false);
  errno = saved_errno;
}

#include "ChildProgram.h"

#include <cerrno>

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

static_assert(std::atomic<bool>::is_always_lock_free, "the flags are stored to in signal context");

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
  // The spawn blocks all signals of its thread. If the program ended meanwhile, another thread was told,
  // which has no children to reap.
  waitpid(pid, nullptr, WNOHANG);
  return result;
}

void ReapChildProgram(std::atomic<bool>& is_running) {
  const int saved_errno = errno;
  int status = 0;
  // Without blocking: a spawn that failed leaves a SIGCHLD without a child to reap, while another child
  // may run on. And no children of other threads: one that runs system() there waits for its own.
  waitpid(-1, &status, WNOHANG | __WNOTHREAD);
  is_running.store(false);
  errno = saved_errno;
}

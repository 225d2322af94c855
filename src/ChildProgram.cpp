#include "ChildProgram.h"

#include <array>
#include <cerrno>

#include <sched.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

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

#ifdef __SANITIZE_THREAD__
/// ThreadSanitizer takes a process that shares the daemon's memory for a forked one.
int Spawn(const char* path, char* const arguments[], pid_t& pid) {
  return posix_spawn(&pid, path, nullptr, nullptr, arguments, nullptr);
}
#else
struct Program {
  const char* path;
  char* const* arguments;
  int error;  ///< why it could not be started
};

/// The new process, until it has become the program: it shares the daemon's memory, and the daemon's
/// thread waits for it.
int BecomeProgram(void* data) {
  auto* program = static_cast<Program*>(data);
  char* const no_environment[] = {nullptr};
  execve(program->path, program->arguments, no_environment);
  program->error = errno;
  return 127;
}

/// What posix_spawn() does, without its 128 system calls to keep handlers of signals out of the new
/// process: the daemon has one handler, for the end of a child, and the new process has no child. A user
/// waits for these programs, and it makes a fifteenth of the way from a cable to its popup.
int Spawn(const char* path, char* const arguments[], pid_t& pid) {
  alignas(16) static std::array<char, 16 * 1024> stack;
  Program program{path, arguments, 0};
  const pid_t started =
      clone(BecomeProgram, stack.data() + stack.size(), CLONE_VM | CLONE_VFORK | SIGCHLD, &program);
  if (started < 0) {
    return errno;
  }
  if (program.error != 0) {
    waitpid(started, nullptr, 0);
    return program.error;
  }
  pid = started;
  return 0;
}
#endif

}  // namespace

int StartChildProgram(const char* path, char* const arguments[], void (*handler)(int),
                      std::atomic<bool>& is_running, pid_t& pid) {
  signal(SIGCHLD, handler);
  // Set before the spawn: a program that ends at once may be reaped before Spawn() returns here.
  is_running.store(true);
  const int result = Spawn(path, arguments, pid);
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

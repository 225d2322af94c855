#include "Child.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace soak {
namespace {

using std::chrono::nanoseconds;
using std::chrono::seconds;

/// With which a sanitizer ends a process; see SoakMain.cpp.
constexpr int kSanitizerExit = 23;

/// Memory that parent and child share.
class SharedReport {
 public:
  SharedReport()
      : m_memory(
            mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
    if (m_memory == MAP_FAILED) {
      std::perror("soak: shared memory");
      std::exit(2);
    }
  }
  ~SharedReport() { munmap(m_memory, sizeof(Report)); }
  SharedReport(const SharedReport&) = delete;
  SharedReport& operator=(const SharedReport&) = delete;

  [[nodiscard]] Report& Get() const { return *static_cast<Report*>(m_memory); }

 private:
  void* m_memory;
};

/// The wall's: this program's own clock is the virtual one.
nanoseconds RealNow() {
  timespec time{};
  syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &time);
  return seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

[[noreturn]] void BeTheChild(const Plan& plan, const Limits& limits, Report& report) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (limits.is_quiet) {
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
  }
  std::exit(Live(plan, report));
}

/// @return what waitpid() says of it
int WaitFor(pid_t child, const Report& report, const Limits& limits, bool& is_hung) {
  constexpr useconds_t kLookEveryUs = 1000;
  std::uint64_t pulse = report.pulse;
  nanoseconds since = RealNow();
  int status = 0;
  while (waitpid(child, &status, WNOHANG) == 0) {
    usleep(kLookEveryUs);
    const auto now_pulse = const_cast<const volatile Report&>(report).pulse;
    if (now_pulse != pulse) {
      pulse = now_pulse;
      since = RealNow();
    } else if (RealNow() - since > limits.silence) {
      is_hung = true;
      kill(child, SIGKILL);
      waitpid(child, &status, 0);
      break;
    }
  }
  return status;
}

}  // namespace

Outcome LiveInChild(const Plan& plan, const Limits& limits) {
  const SharedReport shared;
  Report& report = shared.Get();
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child < 0) {
    std::perror("soak: fork");
    std::exit(2);
  }
  if (child == 0) {
    BeTheChild(plan, limits, report);
  }
  bool is_hung = false;
  const int status = WaitFor(child, report, limits, is_hung);
  Outcome outcome{report.failure, report.details, report};
  if (!outcome.failure.empty()) {
    return outcome;
  }
  if (is_hung) {
    outcome.failure = "hang";
    outcome.details = "no step for " + std::to_string(limits.silence.count()) + " s";
  } else if (WIFSIGNALED(status)) {
    outcome.failure = "signal " + std::to_string(WTERMSIG(status));
    outcome.details = strsignal(WTERMSIG(status));
  } else if (WEXITSTATUS(status) == kSanitizerExit) {
    outcome.failure = "sanitizer";
    outcome.details = "see what it wrote";
  } else if (WEXITSTATUS(status) != 0) {
    outcome.failure = "exit " + std::to_string(WEXITSTATUS(status));
    outcome.details = "the daemon's process ended so";
  }
  return outcome;
}

}  // namespace soak

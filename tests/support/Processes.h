#pragma once

#include <cstdlib>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

/// Other processes of a test: copies of it that do one thing and end.
namespace processes {

/// @return the process id; the process ends with 0 when no expectation of `work` failed
template <class Work>
[[nodiscard]] pid_t Start(Work&& work) {
  const pid_t pid = fork();
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // no test leaves one behind, however it ends
    work();
    _exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
  }
  return pid;
}

/// Waits for its end; a test failure when one of its expectations failed or a signal ended it.
inline void Join(pid_t pid) {
  int status = -1;
  ASSERT_EQ(waitpid(pid, &status, 0), pid);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
}

/// Runs it to its end.
template <class Work>
void Run(Work&& work) {
  Join(Start(std::forward<Work>(work)));
}

}  // namespace processes

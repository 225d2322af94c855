#include "Terminal.h"

#include <string>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

namespace {

bool TakesOutput(int descriptor) {
  pollfd descriptors{descriptor, POLLOUT, 0};
  return poll(&descriptors, 1, 0) == 1 && (descriptors.revents & POLLOUT) != 0;
}

}  // namespace

void PrepareTerminal() {
  signal(SIGPIPE, SIG_IGN);
  signal(SIGTTOU, SIG_IGN);
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    // A standard descriptor that is closed would be handed out for the next file that is opened, and get
    // the messages.
    if (fcntl(descriptor, F_GETFD) < 0 && open("/dev/null", O_RDWR) != descriptor) {
      return;
    }
  }
}

void ShowOnTerminal(const Text& text) {
  const bool error_is_terminal = isatty(STDERR_FILENO) == 1;
  const bool output_is_terminal = isatty(STDOUT_FILENO) == 1;
  const int descriptor = !error_is_terminal && output_is_terminal ? STDOUT_FILENO : STDERR_FILENO;
  const std::string line = error_is_terminal || output_is_terminal
                               ? "\033[1m[Pelorus] " + text.title + "\033[0m\n  " + text.body + "\n"
                               : "Pelorus: " + text.title + " - " + text.body + "\n";
  if (TakesOutput(descriptor)) {
    // One write, so that lines of the daemon's log on the same terminal do not cut it in two.
    [[maybe_unused]] const ssize_t written = write(descriptor, line.data(), line.size());
  }
}

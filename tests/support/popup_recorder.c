/* Stands where the notification program stands: says in one line what it was started with, then stays
 * until it is ended, as a popup does that nobody has dismissed. */
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <sys/prctl.h>
#include <unistd.h>

int main(int argc, char** argv, char** environment) {
  /* It must not outlive its test, nor hold the test's output open. */
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  close(STDOUT_FILENO);
  close(STDERR_FILENO);

  char line[4096];
  int variables = 0;
  while (environment != NULL && environment[variables] != NULL) {
    ++variables;
  }
  int length = snprintf(line, sizeof line, "%d\t%d\t%d", (int)getpid(), variables, argc);
  for (int i = 0; i < argc && length < (int)sizeof line - 1; ++i) {
    length += snprintf(line + length, sizeof line - (size_t)length, "\t%s", argv[i]);
  }
  length = length < (int)sizeof line - 1 ? length : (int)sizeof line - 1;
  line[length++] = '\n';
  const int record = open("/run/popups", O_WRONLY | O_CREAT | O_APPEND, 0644);
  if (record < 0 || write(record, line, (size_t)length) != length) {
    return 1;
  }
  close(record);
  pause();
  return 0;
}

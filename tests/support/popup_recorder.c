/* Stands where a program stands that the daemon starts: says in one line what it was started with, then
 * stays until it is ended, as a popup does that nobody has dismissed. The notification program says it
 * in /run/popups, and the soft access point manager, which knows its name by where it stands, in
 * /run/softap-managers. */
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/prctl.h>
#include <unistd.h>

int main(int argc, char** argv, char** environment) {
  /* It must not outlive its test, nor hold the test's output open. */
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  close(STDOUT_FILENO);
  close(STDERR_FILENO);

  char path[4096] = "";
  if (readlink("/proc/self/exe", path, sizeof path - 1) < 0) {
    return 1;
  }
  const char* name = strrchr(path, '/');
  const int is_manager = name != NULL && strcmp(name, "/softap-manager") == 0;

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
  const int record =
      open(is_manager ? "/run/softap-managers" : "/run/popups", O_WRONLY | O_CREAT | O_APPEND, 0644);
  if (record < 0 || write(record, line, (size_t)length) != length) {
    return 1;
  }
  close(record);
  pause();
  return 0;
}

/* Preloaded into a daemon: tells when it enters its main loop, GLib's or systemd's, by writing the time
 * to the descriptor named in START_PROBE_FD. */
#include <dlfcn.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

static void Tell(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  const char* descriptor = getenv("START_PROBE_FD");
  if (descriptor == NULL) {
    return;
  }
  const long long time_ns = now.tv_sec * 1000000000LL + now.tv_nsec;
  const int fd = atoi(descriptor);
  if (write(fd, &time_ns, sizeof time_ns) != sizeof time_ns) {
    abort();
  }
  close(fd);
  unsetenv("START_PROBE_FD");
}

void g_main_loop_run(void* loop);
void g_main_loop_run(void* loop) {
  Tell();
  void (*real)(void*);
  *(void**)&real = dlsym(RTLD_NEXT, "g_main_loop_run");
  real(loop);
}

int sd_event_loop(void* event);
int sd_event_loop(void* event) {
  Tell();
  int (*real)(void*);
  *(void**)&real = dlsym(RTLD_NEXT, "sd_event_loop");
  return real(event);
}

/* The least a program can do that starts another at each cable event: a netlink socket, a comparison and
 * posix_spawn(). What the daemon's way from the event to the popup is measured against.
 *
 * usage: minimal_cable INTERFACE PROGRAM */
#include <errno.h>
#include <signal.h>
#include <stdio.h>

#include "cable_events.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: minimal_cable INTERFACE PROGRAM\n");
    return 2;
  }
  const int events = OpenLinkEvents();
  const int cable = (int)if_nametoindex(argv[1]);
  if (events < 0 || cable == 0) {
    perror("minimal_cable");
    return 1;
  }
  signal(SIGCHLD, SIG_IGN);
  int attached = -1;
  char buffer[LINK_EVENT_BYTES];
  for (;;) {
    const int length = (int)recv(events, buffer, sizeof buffer, 0);
    if (length < 0 && errno != EINTR) {
      perror("minimal_cable");
      return 1;
    }
    const int now = CarrierIn(buffer, length, cable);
    if (now >= 0 && now != attached) {
      attached = now;
      StartProgram(argv[2], now);
    }
  }
}

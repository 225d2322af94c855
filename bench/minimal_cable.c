/* The least a program can do that starts another at each cable event: a netlink socket, a comparison and
 * posix_spawn(). What the daemon's way from the event to the popup is measured against.
 *
 * usage: minimal_cable INTERFACE PROGRAM */
#include <errno.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <sys/socket.h>
#include <unistd.h>

static int OpenLinkEvents(void) {
  const int events = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
  const struct sockaddr_nl address = {.nl_family = AF_NETLINK, .nl_groups = RTMGRP_LINK};
  if (events < 0 || bind(events, (const struct sockaddr*)&address, sizeof address) != 0) {
    return -1;
  }
  return events;
}

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
  char buffer[16384];
  for (;;) {
    int length = (int)recv(events, buffer, sizeof buffer, 0);
    if (length < 0 && errno != EINTR) {
      perror("minimal_cable");
      return 1;
    }
    for (const struct nlmsghdr* message = (const struct nlmsghdr*)buffer; NLMSG_OK(message, length);
         message = NLMSG_NEXT(message, length)) {
      const struct ifinfomsg* link = NLMSG_DATA(message);
      if (message->nlmsg_type != RTM_NEWLINK || link->ifi_index != cable) {
        continue;
      }
      const int now = (link->ifi_flags & IFF_RUNNING) != 0;
      if (now == attached) {
        continue;
      }
      attached = now;
      char* arguments[] = {now ? "ethernet_attached" : "ethernet_detached", NULL};
      char* environment[] = {NULL};
      pid_t child;
      posix_spawn(&child, argv[2], NULL, NULL, arguments, environment);
    }
  }
}

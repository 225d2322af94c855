/* What the C programs of the cable's benchmark have in common: how they hear of the cable, and how they
 * start the program. */
#pragma once

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <spawn.h>
#include <stddef.h>
#include <sys/socket.h>
#include <sys/types.h>

/* Room for one datagram: the kernel sends each link event in one of its own. */
#define LINK_EVENT_BYTES 16384

/* @return a socket at which the kernel tells each change of an interface, -1 with errno */
static inline int OpenLinkEvents(void) {
  const int events = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
  const struct sockaddr_nl address = {.nl_family = AF_NETLINK, .nl_groups = RTMGRP_LINK};
  if (events < 0 || bind(events, (const struct sockaddr*)&address, sizeof address) != 0) {
    return -1;
  }
  return events;
}

/* @param length  of what was received, at most LINK_EVENT_BYTES; a failure's -1 says nothing of anything
 * @return 1 or 0: whether the interface has a carrier now; -1 when it is not told of */
static inline int CarrierIn(const char* datagram, int length, int interface) {
  int carrier = -1;
  for (const struct nlmsghdr* message = (const struct nlmsghdr*)datagram; NLMSG_OK(message, length);
       message = NLMSG_NEXT(message, length)) {
    const struct ifinfomsg* link = (const struct ifinfomsg*)NLMSG_DATA(message);
    if (message->nlmsg_type == RTM_NEWLINK && link->ifi_index == interface) {
      carrier = (link->ifi_flags & IFF_RUNNING) != 0;
    }
  }
  return carrier;
}

static inline void StartProgram(const char* path, int attached) {
  char* arguments[] = {attached ? "ethernet_attached" : "ethernet_detached", NULL};
  char* environment[] = {NULL};
  pid_t child;
  posix_spawn(&child, path, NULL, NULL, arguments, environment);
}

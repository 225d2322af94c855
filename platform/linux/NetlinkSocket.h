#pragma once

#include <functional>
#include <initializer_list>
#include <memory>

#include <glib.h>
#include <linux/netlink.h>

struct nl_msg;
struct nl_sock;

/// A socket to the kernel's routing and link tables, read on the main loop. Whoever uses it subscribes
/// first and then dumps, so that nothing that happens in between is missed. Main-loop thread only.
class NetlinkSocket {
 public:
  using MessageHandler = std::function<void(const nlmsghdr*)>;
  using OverrunHandler = std::function<void()>;

  /// Subscribes to groups (RTNLGRP_*).
  /// @param on_message  called once for each message of the groups, in the kernel's order
  /// @param on_overrun  called when the kernel had to drop messages, after the last one before the gap:
  /// the
  ///                    moment to dump again
  /// @param priority    of the main loop, for whoever must hear of an event before other sockets do
  /// @return null when the kernel refuses; logged. Both handlers may end the socket.
  static std::unique_ptr<NetlinkSocket> Open(std::initializer_list<int> groups,
                                             MessageHandler on_message, OverrunHandler on_overrun,
                                             int priority = G_PRIORITY_DEFAULT);
  ~NetlinkSocket();
  NetlinkSocket(const NetlinkSocket&) = delete;
  NetlinkSocket& operator=(const NetlinkSocket&) = delete;

  /// Asks for a whole table and waits for it: the kernel answers at once.
  /// @param request    RTM_GETLINK, RTM_GETROUTE, or another table of the same kind
  /// @param on_start   called before the first message, and again when the table changed under the dump
  /// and
  ///                   it starts over
  /// @param on_message  called for each entry, and for each message of the groups that came in between;
  /// these
  ///                    do not come to the socket's own handler
  bool Dump(int request, const std::function<void()>& on_start, const MessageHandler& on_message);

 private:
  /// Outlives the socket while one of its handlers is running.
  struct State;
  explicit NetlinkSocket(std::shared_ptr<State> state);
  static gboolean OnReadable(gint fd, GIOCondition condition, gpointer state);

  std::shared_ptr<State> m_state;
};

#pragma once

#include <functional>
#include <memory>

#include <linux/netlink.h>

struct nl_msg;
struct nl_sock;

/// A socket on which the kernel is asked for its tables of links and routes. It hears of nothing but the
/// answers: what changes is told by KernelEvents. Main-loop thread only.
class NetlinkSocket {
 public:
  using MessageHandler = std::function<void(const nlmsghdr*)>;

  /// @return null when the kernel refuses; logged
  static std::unique_ptr<NetlinkSocket> Open();
  ~NetlinkSocket();
  NetlinkSocket(const NetlinkSocket&) = delete;
  NetlinkSocket& operator=(const NetlinkSocket&) = delete;

  /// Asks for a whole table and waits for it: the kernel answers at once.
  /// @param request     RTM_GETLINK, RTM_GETROUTE, or another table of the same kind
  /// @param on_start    called before the first message, and again when the table changed under the dump
  ///                    and it starts over
  /// @param on_message  called for each entry
  /// @return false when the kernel does not answer; logged
  bool Dump(int request, const std::function<void()>& on_start, const MessageHandler& on_message);

 private:
  explicit NetlinkSocket(nl_sock* socket) : m_socket(socket) {}
  static int OnMessage(nl_msg* message, void* self);
  static int OnDone(nl_msg* message, void* self);

  nl_sock* const m_socket;
  const MessageHandler* m_on_message = nullptr;  // while a dump runs
  bool m_is_done = false;
};

#include "NetlinkSocket.h"

#include <netlink/errno.h>
#include <netlink/msg.h>
#include <netlink/netlink.h>
#include <netlink/route/rtnl.h>
#include <netlink/socket.h>
#include <poll.h>
#include <sys/socket.h>

#include "PlatformLog.h"

namespace {

/// The largest message that the kernel makes for these tables, without asking for its size each time.
constexpr std::size_t kMessageBytes = 32 * 1024;
constexpr int kAnswerLimitMs = 1000;
constexpr int kDumpTries = 10;

/// Whether an error of nl_recvmsgs() means that messages were lost.
bool IsLoss(int result) {
  return result == -NLE_NOMEM || result == -NLE_MSG_TRUNC || result == -NLE_MSG_OVERFLOW;
}

}  // namespace

std::unique_ptr<NetlinkSocket> NetlinkSocket::Open() {
  nl_sock* socket = nl_socket_alloc();
  if (socket == nullptr) {
    PLATFORM_LOG(DLOG_ERROR, "no memory to ask the kernel");
    return nullptr;
  }
  std::unique_ptr<NetlinkSocket> opened(new NetlinkSocket(socket));
  nl_socket_disable_seq_check(socket);  // what is left of a dump that was given up may still come
  nl_socket_disable_auto_ack(socket);
  nl_socket_disable_msg_peek(socket);
  nl_socket_set_msg_buf_size(socket, kMessageBytes);
  nl_socket_modify_cb(socket, NL_CB_VALID, NL_CB_CUSTOM, OnMessage, opened.get());
  nl_socket_modify_cb(socket, NL_CB_FINISH, NL_CB_CUSTOM, OnDone, opened.get());
  int result = nl_connect(socket, NETLINK_ROUTE);
  result = result < 0 ? result : nl_socket_set_nonblocking(socket);
  if (result < 0) {
    PLATFORM_LOG(DLOG_ERROR, "cannot ask the kernel: %s", nl_geterror(result));
    return nullptr;
  }
  return opened;
}

NetlinkSocket::~NetlinkSocket() {
  nl_socket_free(m_socket);
}

int NetlinkSocket::OnMessage(nl_msg* message, void* self) {
  (*static_cast<NetlinkSocket*>(self)->m_on_message)(nlmsg_hdr(message));
  return NL_OK;
}

int NetlinkSocket::OnDone(nl_msg* /*message*/, void* self) {
  static_cast<NetlinkSocket*>(self)->m_is_done = true;
  return NL_STOP;
}

bool NetlinkSocket::Dump(int request, const std::function<void()>& on_start,
                         const MessageHandler& on_message) {
  m_on_message = &on_message;
  int result = -NLE_AGAIN;
  for (int i = 0; i < kDumpTries && result < 0; ++i) {
    on_start();
    m_is_done = false;
    result = nl_rtgen_request(m_socket, request, AF_UNSPEC, NLM_F_DUMP);
    bool is_lossy = false;
    while (result >= 0 && !m_is_done) {
      result = nl_recvmsgs_default(m_socket);
      pollfd answer{nl_socket_get_fd(m_socket), POLLIN, 0};
      if (result == -NLE_AGAIN && poll(&answer, 1, kAnswerLimitMs) > 0) {
        result = 0;
      } else if (IsLoss(result)) {
        is_lossy = true;  // to be read to its end: the kernel begins no other before
        result = 0;
      }
    }
    result = is_lossy && result >= 0 ? -NLE_DUMP_INTR : result;
  }
  m_on_message = nullptr;
  if (result < 0) {
    PLATFORM_LOG(DLOG_ERROR, "cannot read the kernel's table %d: %s", request, nl_geterror(result));
  }
  return result >= 0;
}

#include "NetlinkSocket.h"

#include <cerrno>
#include <cstring>
#include <memory>

#include <glib-unix.h>
#include <netlink/errno.h>
#include <netlink/msg.h>
#include <netlink/netlink.h>
#include <netlink/route/rtnl.h>
#include <netlink/socket.h>
#include <poll.h>
#include <sys/socket.h>

#include "PlatformLog.h"

namespace {

/// Room for some thousand link messages: a burst is worked off one by one and not summed up.
constexpr int kReceiveBufferBytes = 16 * 1024 * 1024;
/// The largest message that the kernel makes for these tables, without asking for its size each time.
constexpr std::size_t kMessageBytes = 32 * 1024;
constexpr int kAnswerLimitMs = 1000;
constexpr int kDumpTries = 10;

void EnlargeReceiveBuffer(nl_sock* socket) {
  const int fd = nl_socket_get_fd(socket);
  // The first needs a privilege; the second is cut to what the machine allows.
  if (setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBufferBytes, sizeof kReceiveBufferBytes) !=
          0 &&
      setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &kReceiveBufferBytes, sizeof kReceiveBufferBytes) != 0) {
    PLATFORM_LOG(DLOG_WARN, "netlink receive buffer stays small: %s", std::strerror(errno));
  }
}

/// As g_unix_fd_add(), but without keeping the source out of a main loop that its own callback runs: no
/// callback here runs one, and to keep it out GLib writes to its wake-up descriptor twice an event,
/// which costs one more round of the loop as well.
guint Watch(int fd, int priority, GUnixFDSourceFunc callback, gpointer data) {
  g_autoptr(GSource) source = g_unix_fd_source_new(fd, G_IO_IN);
  g_source_set_callback(source, G_SOURCE_FUNC(callback), data, nullptr);
  g_source_set_priority(source, priority);
  g_source_set_can_recurse(source, TRUE);
  return g_source_attach(source, nullptr);
}

enum class Reading { kMessages, kNothing, kLoss };

/// Whether an error of nl_recvmsgs() means that messages were lost.
bool IsLoss(int result) {
  return result == -NLE_NOMEM || result == -NLE_MSG_TRUNC || result == -NLE_MSG_OVERFLOW;
}

}  // namespace

struct NetlinkSocket::State : std::enable_shared_from_this<NetlinkSocket::State> {
  nl_sock* socket = nl_socket_alloc();
  guint source = 0;
  MessageHandler on_message;
  OverrunHandler on_overrun;
  const MessageHandler* dump_handler = nullptr;  // while a dump runs
  bool is_dump_done = false;
  bool is_open = true;

  State() = default;
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  ~State() { nl_socket_free(socket); }

  static int OnMessage(nl_msg* message, void* self) {
    auto* state = static_cast<State*>(self);
    if (state->is_open) {
      (*state->dump_handler)(nlmsg_hdr(message));
    }
    return NL_OK;
  }
  /// One datagram of the groups, without libnl, which clears 32 KiB for each and copies what it holds:
  /// that and its code gone cold cost a fiftieth of the way from a cable to its popup.
  Reading ReadEvents() {
    alignas(nlmsghdr) char buffer[kMessageBytes];
    const ssize_t length = recv(nl_socket_get_fd(socket), buffer, sizeof buffer, MSG_TRUNC);
    if (length < 0) {
      return errno == ENOBUFS ? Reading::kLoss : Reading::kNothing;
    }
    if (length > static_cast<ssize_t>(sizeof buffer)) {
      return Reading::kLoss;
    }
    auto left = static_cast<int>(length);
    for (auto* message = reinterpret_cast<nlmsghdr*>(buffer); is_open && NLMSG_OK(message, left);
         message = NLMSG_NEXT(message, left)) {
      if (message->nlmsg_type == NLMSG_OVERRUN) {
        return Reading::kLoss;
      }
      if (message->nlmsg_type >= NLMSG_MIN_TYPE) {  // below are the ends of dumps and refusals
        on_message(message);
      }
    }
    return Reading::kMessages;
  }
  static int OnDumpDone(nl_msg* /*message*/, void* self) {
    static_cast<State*>(self)->is_dump_done = true;
    return NL_STOP;
  }
};

std::unique_ptr<NetlinkSocket> NetlinkSocket::Open(std::initializer_list<int> groups,
                                                   MessageHandler on_message, OverrunHandler on_overrun,
                                                   int priority) {
  auto state = std::make_shared<State>();
  state->on_message = std::move(on_message);
  state->on_overrun = std::move(on_overrun);
  nl_sock* socket = state->socket;
  if (socket == nullptr) {
    return nullptr;
  }
  nl_socket_disable_seq_check(socket);  // what nobody asked for has no sequence number
  nl_socket_disable_auto_ack(socket);
  nl_socket_disable_msg_peek(socket);
  nl_socket_set_msg_buf_size(socket, kMessageBytes);
  nl_socket_modify_cb(socket, NL_CB_VALID, NL_CB_CUSTOM, State::OnMessage, state.get());
  nl_socket_modify_cb(socket, NL_CB_FINISH, NL_CB_CUSTOM, State::OnDumpDone, state.get());
  int result = nl_connect(socket, NETLINK_ROUTE);
  for (const int group : groups) {
    result = result < 0 ? result : nl_socket_add_membership(socket, group);
  }
  result = result < 0 ? result : nl_socket_set_nonblocking(socket);
  if (result < 0) {
    PLATFORM_LOG(DLOG_ERROR, "no network events: %s", nl_geterror(result));
    return nullptr;
  }
  EnlargeReceiveBuffer(socket);
  state->source = Watch(nl_socket_get_fd(socket), priority, OnReadable, state.get());
  return std::unique_ptr<NetlinkSocket>(new NetlinkSocket(std::move(state)));
}

NetlinkSocket::NetlinkSocket(std::shared_ptr<State> state) : m_state(std::move(state)) {}

NetlinkSocket::~NetlinkSocket() {
  m_state->is_open = false;
  g_source_remove(m_state->source);
}

gboolean NetlinkSocket::OnReadable(gint /*fd*/, GIOCondition /*condition*/, gpointer state_pointer) {
  auto* borrowed = static_cast<State*>(state_pointer);
  const std::shared_ptr<State> state = borrowed->shared_from_this();
  if (state->ReadEvents() == Reading::kLoss) {
    PLATFORM_LOG(DLOG_WARN, "the kernel dropped network events");
    // It says so first; what it had kept before the gap is still to be read.
    while (state->is_open && state->ReadEvents() == Reading::kMessages) {
    }
    if (state->is_open) {
      state->on_overrun();
    }
  }
  return G_SOURCE_CONTINUE;
}

bool NetlinkSocket::Dump(int request, const std::function<void()>& on_start,
                         const MessageHandler& on_message) {
  const std::shared_ptr<State> state = m_state;
  state->dump_handler = &on_message;
  int result = -NLE_AGAIN;
  for (int i = 0; i < kDumpTries && result < 0; ++i) {
    on_start();
    state->is_dump_done = false;
    result = nl_rtgen_request(state->socket, request, AF_UNSPEC, NLM_F_DUMP);
    bool is_lossy = false;
    while (result >= 0 && !state->is_dump_done) {
      result = nl_recvmsgs_default(state->socket);
      pollfd answer{nl_socket_get_fd(state->socket), POLLIN, 0};
      if (result == -NLE_AGAIN && poll(&answer, 1, kAnswerLimitMs) > 0) {
        result = 0;
      } else if (IsLoss(result)) {
        is_lossy = true;  // to be read to its end: the kernel begins no other before
        result = 0;
      }
    }
    result = is_lossy && result >= 0 ? -NLE_DUMP_INTR : result;
  }
  state->dump_handler = nullptr;
  if (result < 0) {
    PLATFORM_LOG(DLOG_ERROR, "cannot read the kernel's table %d: %s", request, nl_geterror(result));
  }
  return result >= 0;
}

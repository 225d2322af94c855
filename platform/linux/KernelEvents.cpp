#include "KernelEvents.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <glib-unix.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include "FileDescriptor.h"
#include "ListenerList.h"
#include "PlatformLog.h"

namespace {

/// Room for some thousand link messages: a burst is worked off one by one and not summed up.
constexpr int kReceiveBufferBytes = 16 * 1024 * 1024;
/// The largest message that the kernel makes of these groups.
constexpr std::size_t kMessageBytes = 32 * 1024;
constexpr unsigned kGroups =
    RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;

void EnlargeReceiveBuffer(int socket) {
  // The first needs a privilege; the second is cut to what the machine allows.
  if (setsockopt(socket, SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBufferBytes, sizeof kReceiveBufferBytes) !=
          0 &&
      setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &kReceiveBufferBytes, sizeof kReceiveBufferBytes) != 0) {
    PLATFORM_LOG(DLOG_WARN, "netlink receive buffer stays small: %s", std::strerror(errno));
  }
}

enum class Reading { kMessages, kNothing, kLoss };

}  // namespace

class KernelEvents::Socket : public std::enable_shared_from_this<Socket> {
 public:
  /// @return the socket of those who listen already, or a new one; null when the kernel refuses, with
  ///         errno
  static std::shared_ptr<Socket> Share() {
    static std::weak_ptr<Socket> shared;
    if (auto socket = shared.lock()) {
      return socket;
    }
    auto socket = std::make_shared<Socket>();
    if (!socket->Open()) {
      return nullptr;
    }
    shared = socket;
    return socket;
  }

  Socket() : m_socket(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE)) {}
  ~Socket() {
    if (m_source != nullptr) {
      g_source_destroy(m_source);
      g_source_unref(m_source);
    }
  }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  void Add(Turn turn, const KernelEvents* owner, MessageHandler on_message, LossHandler on_loss) {
    m_listeners[turn == Turn::kFirst ? 0 : 1].Add({owner, std::move(on_message), std::move(on_loss)});
  }
  void Remove(const KernelEvents* owner) {
    for (auto& listeners : m_listeners) {
      listeners.RemoveIf([&](const Listener& listener) { return listener.owner == owner; });
    }
  }

  /// Reads one datagram: the kernel sends each event in one of its own. Without libnl, which clears 32
  /// KiB for each and copies what it holds: between a cable and its popup, each piece of code gone cold
  /// counts.
  Reading Read() {
    alignas(nlmsghdr) char buffer[kMessageBytes];
    const ssize_t length = recv(m_socket.get(), buffer, sizeof buffer, MSG_TRUNC);
    if (length < 0) {
      return errno == ENOBUFS ? Reading::kLoss : Reading::kNothing;
    }
    if (length > static_cast<ssize_t>(sizeof buffer)) {
      return Reading::kLoss;
    }
    auto left = static_cast<int>(length);
    for (auto* message = reinterpret_cast<nlmsghdr*>(buffer); NLMSG_OK(message, left);
         message = NLMSG_NEXT(message, left)) {
      if (message->nlmsg_type == NLMSG_OVERRUN) {
        return Reading::kLoss;
      }
      if (message->nlmsg_type >= NLMSG_MIN_TYPE) {  // below are no events
        ForEach([&](const Listener& listener) { listener.on_message(message); });
      }
    }
    return Reading::kMessages;
  }

  void OnLoss() {
    PLATFORM_LOG(DLOG_WARN, "the kernel dropped network events");
    // It says so first; what it had kept before the gap is still to be read.
    while (Read() == Reading::kMessages) {
    }
    ForEach([](const Listener& listener) { listener.on_loss(); });
  }

 private:
  struct Listener {
    const KernelEvents* owner;
    MessageHandler on_message;
    LossHandler on_loss;
  };

  template <class Function>
  void ForEach(Function&& function) const {
    for (const auto& listeners : m_listeners) {
      listeners.ForEach(function);
    }
  }

  [[nodiscard]] bool Open() {
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = kGroups;
    if (!m_socket.ok() ||
        bind(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
      return false;
    }
    EnlargeReceiveBuffer(m_socket.get());
    m_source = g_unix_fd_source_new(m_socket.get(), G_IO_IN);
    g_source_set_callback(m_source, G_SOURCE_FUNC(OnReadable), this, nullptr);
    // The user is waiting for the popup of a cable, nobody for anything else.
    g_source_set_priority(m_source, G_PRIORITY_HIGH);
    // No callback here runs a main loop of its own. To keep the source out of one GLib would write to
    // its wake-up descriptor twice an event, which costs one more round of the loop as well.
    g_source_set_can_recurse(m_source, TRUE);
    g_source_attach(m_source, nullptr);
    return true;
  }

  static gboolean OnReadable(gint /*fd*/, GIOCondition /*condition*/, gpointer self) {
    const auto socket = static_cast<Socket*>(self)->shared_from_this();  // the last listener may end
    if (socket->Read() == Reading::kLoss) {
      socket->OnLoss();
    }
    return G_SOURCE_CONTINUE;
  }

  const FileDescriptor m_socket;
  GSource* m_source = nullptr;
  std::array<ListenerList<Listener>, 2> m_listeners;  // in the order of their turns
};

std::unique_ptr<KernelEvents> KernelEvents::Listen(Turn turn, MessageHandler on_message,
                                                   LossHandler on_loss) {
  auto socket = Socket::Share();
  if (socket == nullptr) {
    PLATFORM_LOG(DLOG_ERROR, "no network events: %s", std::strerror(errno));
    return nullptr;
  }
  std::unique_ptr<KernelEvents> events(new KernelEvents(std::move(socket)));
  events->m_socket->Add(turn, events.get(), std::move(on_message), std::move(on_loss));
  return events;
}

KernelEvents::~KernelEvents() {
  m_socket->Remove(this);
}

bool KernelEvents::CatchUp() {
  const auto socket = m_socket;  // a listener may end this object
  bool has_come = false;
  Reading reading = socket->Read();
  for (; reading == Reading::kMessages; reading = socket->Read()) {
    has_come = true;
  }
  if (reading == Reading::kLoss) {
    socket->OnLoss();
    has_come = true;
  }
  return has_come;
}

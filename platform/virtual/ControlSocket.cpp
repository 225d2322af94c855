#include "ControlSocket.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string_view>
#include <utility>

#include <gio/gunixsocketaddress.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "Commands.h"
#include "VirtualTv.h"

namespace {

constexpr char kProvisionalMark = '~';

bool IsSomebodyThere(const sockaddr_un& address) {
  const int probe = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  const bool answered =
      probe >= 0 && (connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ||
                     errno == EAGAIN);  // its queue is full
  if (probe >= 0) {
    close(probe);
  }
  return answered;
}

/// Whether the socket may take that place, whose directory is made.
bool IsFree(const std::string& path, std::string& error) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() + 1 >= sizeof address.sun_path) {
    error = "a socket's path has 1 to 106 bytes";
    return false;
  }
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  g_autofree char* directory = g_path_get_dirname(path.c_str());
  if (g_mkdir_with_parents(directory, 0755) != 0) {
    error = std::string(directory) + ": " + g_strerror(errno);
    return false;
  }
  struct stat found {};
  if (lstat(path.c_str(), &found) != 0) {
    return true;
  }
  if (!S_ISSOCK(found.st_mode)) {
    error = path + " is there and is no socket";
    return false;
  }
  if (IsSomebodyThere(address)) {
    error = path + ": another TV answers there";
    return false;
  }
  return true;
}

}  // namespace

class ControlSocket::Client {
 public:
  Client(ControlSocket& owner, GSocketConnection* connection)
      : m_owner(owner), m_connection(G_SOCKET_CONNECTION(g_object_ref(connection))) {
    g_socket_set_blocking(Socket(), FALSE);
    WaitFor(G_IO_IN);
  }
  ~Client() {
    WaitForNothing();
    g_object_unref(m_connection);  // the last reference, which closes it
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

 private:
  enum class Life { kGoesOn, kEnds };

  [[nodiscard]] GSocket* Socket() const { return g_socket_connection_get_socket(m_connection); }

  void WaitForNothing() {
    if (m_source != nullptr) {
      g_source_destroy(m_source);
      g_source_unref(m_source);
      m_source = nullptr;
    }
  }

  void WaitFor(GIOCondition condition) {
    if (m_source != nullptr && m_condition == condition) {
      return;
    }
    WaitForNothing();
    m_condition = condition;
    m_source = g_socket_create_source(Socket(), condition, nullptr);
    const GSocketSourceFunc on_ready = [](GSocket*, GIOCondition, gpointer self) -> gboolean {
      auto* client = static_cast<Client*>(self);
      if (client->OnReady() == Life::kEnds) {
        client->m_owner.Drop(client);
      }
      return G_SOURCE_CONTINUE;  // means nothing to a source that was destroyed
    };
    g_source_set_callback(m_source, G_SOURCE_FUNC(on_ready), this, nullptr);
    g_source_attach(m_source, nullptr);
  }

  /// One round: a little is read, answered and written, and the loop goes on to others. Nothing is read
  /// while answers wait to be written, which holds back a client that asks and does not listen.
  Life OnReady() {
    if (m_output.empty() && !HasLine() && Read() == Life::kEnds) {
      return Life::kEnds;
    }
    AnswerLines();
    if (!m_output.empty() && Write() == Life::kEnds) {
      return Life::kEnds;
    }
    if (m_is_refused && m_output.empty()) {
      return Life::kEnds;
    }
    WaitFor(m_output.empty() && !HasLine() ? G_IO_IN : G_IO_OUT);
    return Life::kGoesOn;
  }

  [[nodiscard]] bool HasLine() const { return m_input.find('\n') != std::string::npos; }

  Life Read() {
    char chunk[4096];
    g_autoptr(GError) error = nullptr;
    const gssize length = g_socket_receive(Socket(), chunk, sizeof chunk, nullptr, &error);
    if (length > 0) {
      m_input.append(chunk, static_cast<std::size_t>(length));
      return Life::kGoesOn;
    }
    // A line without its end is not carried out: its sender died over it.
    return length < 0 && IsTemporary(error) ? Life::kGoesOn : Life::kEnds;
  }

  void AnswerLines() {
    constexpr std::size_t kEnoughAnswers = std::size_t{64} * 1024;
    while (!m_is_refused && m_output.size() < kEnoughAnswers) {
      const std::size_t end = m_input.find('\n');
      if (std::min(end, m_input.size()) > kLongestLine) {
        m_output += "{\"error\":\"the line is too long\",\"ok\":false}\n";
        m_input.clear();
        m_is_refused = true;
      } else if (end == std::string::npos) {
        return;
      } else {
        m_output += tv_commands::Answer(m_owner.m_tv, std::string_view(m_input).substr(0, end)) + "\n";
        m_input.erase(0, end + 1);
      }
    }
  }

  Life Write() {
    g_autoptr(GError) error = nullptr;
    const gssize length = g_socket_send(Socket(), m_output.data(), m_output.size(), nullptr, &error);
    if (length < 0) {
      return IsTemporary(error) ? Life::kGoesOn : Life::kEnds;
    }
    m_output.erase(0, static_cast<std::size_t>(length));
    return Life::kGoesOn;
  }

  static bool IsTemporary(const GError* error) {
    return g_error_matches(error, G_IO_ERROR, G_IO_ERROR_WOULD_BLOCK) != FALSE;
  }

  ControlSocket& m_owner;  // owns this object
  GSocketConnection* m_connection;
  GSource* m_source = nullptr;
  GIOCondition m_condition = G_IO_IN;  // what m_source waits for
  std::string m_input;
  std::string m_output;
  bool m_is_refused = false;
};

std::unique_ptr<ControlSocket> ControlSocket::Open(VirtualTv& tv, const std::string& path,
                                                   std::string& error) {
  if (!IsFree(path, error)) {
    return nullptr;
  }
  std::unique_ptr<ControlSocket> door(new ControlSocket(tv, path));
  return door->Listen(error) ? std::move(door) : nullptr;
}

ControlSocket::ControlSocket(VirtualTv& tv, std::string path) : m_tv(tv), m_path(std::move(path)) {}

// Bound beside its place and moved there when it listens: who finds the socket finds a TV that answers,
// and its mode is in force from the first client on.
bool ControlSocket::Listen(std::string& error) {
  const std::string provisional = m_path + kProvisionalMark;
  unlink(provisional.c_str());
  g_autoptr(GError) problem = nullptr;
  g_autoptr(GSocket) socket =
      g_socket_new(G_SOCKET_FAMILY_UNIX, G_SOCKET_TYPE_STREAM, G_SOCKET_PROTOCOL_DEFAULT, &problem);
  g_autoptr(GSocketAddress) address = g_unix_socket_address_new(provisional.c_str());
  g_autoptr(GSocketService) service = g_socket_service_new();
  if (socket == nullptr || !g_socket_bind(socket, address, FALSE, &problem) ||
      chmod(provisional.c_str(), 0600) != 0 || !g_socket_listen(socket, &problem) ||
      !g_socket_listener_add_socket(G_SOCKET_LISTENER(service), socket, nullptr, &problem) ||
      rename(provisional.c_str(), m_path.c_str()) != 0) {
    error = m_path + ": " + (problem != nullptr ? problem->message : g_strerror(errno));
    return false;
  }
  g_signal_connect(service, "incoming", G_CALLBACK(OnIncoming), this);
  m_service = static_cast<GSocketService*>(g_steal_pointer(&service));
  return true;
}

ControlSocket::~ControlSocket() {
  m_clients.clear();
  if (m_service == nullptr) {
    return;
  }
  g_signal_handlers_disconnect_by_data(m_service, this);
  g_socket_service_stop(m_service);
  g_socket_listener_close(G_SOCKET_LISTENER(m_service));
  g_object_unref(m_service);
  unlink(m_path.c_str());
}

gboolean ControlSocket::OnIncoming(GSocketService* /*service*/, GSocketConnection* connection,
                                   GObject* /*source*/, gpointer self) {
  auto* door = static_cast<ControlSocket*>(self);
  if (door->m_clients.size() < kMostClients) {
    door->m_clients.push_back(std::make_unique<Client>(*door, connection));
  }
  return TRUE;
}

void ControlSocket::Drop(const Client* client) {
  m_clients.remove_if([client](const std::unique_ptr<Client>& held) { return held.get() == client; });
}

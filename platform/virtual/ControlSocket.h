#pragma once

#include <cstdlib>
#include <list>
#include <memory>
#include <string>

#include <gio/gio.h>

class VirtualTv;

/// The door through which the virtual TV is driven from outside: a Unix stream socket on which each
/// line is a request (see Commands.h) and each is answered by one line, in order. Several clients may
/// be there at a time, and none can hold up the main loop: one that does not read its answers is not
/// read from, one that sends a line beyond kLongestLine is told so and dropped. Owned by the platform
/// layer from its start to its stop; main-loop thread only.
class ControlSocket {
 public:
  /// Names the socket in place of the default one.
  static constexpr char kPathVariable[] = "PELORUS_TV_SOCKET";
  static constexpr char kDefaultPath[] = "/run/pelorus/tv.sock";
  static constexpr std::size_t kLongestLine = std::size_t{64} * 1024;
  static constexpr std::size_t kMostClients = 32;

  /// The path by the environment, for those who open the door and those who knock.
  static std::string ConfiguredPath() {
    const char* path = std::getenv(kPathVariable);
    return path != nullptr && *path != '\0' ? path : kDefaultPath;
  }

  /// Opens the door. A socket that nobody answers on any more is replaced; one on which another TV
  /// answers, and anything that is no socket, is left alone.
  /// @param tv     outlives this object
  /// @param error  out: why, on failure
  /// @return null on failure
  static std::unique_ptr<ControlSocket> Open(VirtualTv& tv, const std::string& path, std::string& error);

  /// Drops the clients and removes the socket.
  ~ControlSocket();
  ControlSocket(const ControlSocket&) = delete;
  ControlSocket& operator=(const ControlSocket&) = delete;

 private:
  class Client;

  ControlSocket(VirtualTv& tv, std::string path);
  bool Listen(std::string& error);
  static gboolean OnIncoming(GSocketService* service, GSocketConnection* connection, GObject* source,
                             gpointer self);
  void Drop(const Client* client);

  VirtualTv& m_tv;
  std::string m_path;
  GSocketService* m_service = nullptr;
  std::list<std::unique_ptr<Client>> m_clients;
};

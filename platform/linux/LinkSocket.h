#pragma once

#include <memory>
#include <string>
#include <vector>

#include <sys/socket.h>

#include "FileDescriptor.h"

/// The address of a service in the network.
struct Endpoint {
  sockaddr_storage address{};
  socklen_t length = 0;

  [[nodiscard]] int Family() const { return address.ss_family; }
  [[nodiscard]] const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&address); }
};

/// @param ip    as text
/// @param link  the interface of a link-local address
/// @return of length 0 when it is no address
[[nodiscard]] Endpoint EndpointOf(const std::string& ip, int port, int link);

/// @return whether it is on this machine
[[nodiscard]] bool IsLoopback(const Endpoint& endpoint);

/// A socket that does not wait, and whose packets leave through one interface, whatever the routes say.
/// @param type  SOCK_*
/// @return of no descriptor when the kernel refuses; errno says why
[[nodiscard]] std::unique_ptr<FileDescriptor> OpenOnLink(const Endpoint& to, int type, int link);

#include "LinkSocket.h"

#include <cstring>

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>

Endpoint EndpointOf(const std::string& ip, int port, int link) {
  Endpoint endpoint;
  auto* ipv4 = reinterpret_cast<sockaddr_in*>(&endpoint.address);
  auto* ipv6 = reinterpret_cast<sockaddr_in6*>(&endpoint.address);
  if (inet_pton(AF_INET, ip.c_str(), &ipv4->sin_addr) == 1) {
    ipv4->sin_family = AF_INET;
    ipv4->sin_port = htons(static_cast<std::uint16_t>(port));
    endpoint.length = sizeof(sockaddr_in);
  } else if (inet_pton(AF_INET6, ip.c_str(), &ipv6->sin6_addr) == 1) {
    ipv6->sin6_family = AF_INET6;
    ipv6->sin6_port = htons(static_cast<std::uint16_t>(port));
    ipv6->sin6_scope_id = IN6_IS_ADDR_LINKLOCAL(&ipv6->sin6_addr) ? static_cast<std::uint32_t>(link) : 0;
    endpoint.length = sizeof(sockaddr_in6);
  }
  return endpoint;
}

bool IsLoopback(const Endpoint& endpoint) {
  if (endpoint.Family() == AF_INET) {
    const auto* ipv4 = reinterpret_cast<const sockaddr_in*>(&endpoint.address);
    return (ntohl(ipv4->sin_addr.s_addr) >> 24) == IN_LOOPBACKNET;
  }
  return IN6_IS_ADDR_LOOPBACK(&reinterpret_cast<const sockaddr_in6*>(&endpoint.address)->sin6_addr);
}

std::unique_ptr<FileDescriptor> OpenOnLink(const Endpoint& to, int type, int link) {
  auto socket_of =
      std::make_unique<FileDescriptor>(socket(to.Family(), type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  char name[IFNAMSIZ] = "";
  if (!socket_of->ok() || IsLoopback(to)) {
    return socket_of;
  }
  if (if_indextoname(static_cast<unsigned>(link), name) == nullptr ||
      setsockopt(socket_of->get(), SOL_SOCKET, SO_BINDTODEVICE, name,
                 static_cast<socklen_t>(std::strlen(name))) != 0) {
    return std::make_unique<FileDescriptor>(-1);
  }
  return socket_of;
}

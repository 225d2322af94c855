#include "KernelTables.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <string_view>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>  // before the kernel's own headers, which then leave out what it has
#include <netinet/in.h>

#include <linux/if_addr.h>
#include <linux/if_arp.h>
#include <linux/if_link.h>
#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <netlink/attr.h>
#include <netlink/msg.h>

#include "DefaultRoute.h"
#include "NetlinkSocket.h"

namespace {

constexpr int kHardwareAddressBytes = 6;

bool FindBestRoute(NetlinkSocket& socket, std::optional<DefaultRoute>& best) {
  return socket.Dump(
      RTM_GETROUTE, [&] { best.reset(); },
      [&](const nlmsghdr* message) {
        const auto route = ParseDefaultRoute(message);
        if (route && (!best || route->metric < best->metric)) {
          best = route;
        }
      });
}

bool FindLink(NetlinkSocket& socket, int index, std::optional<Link>& found) {
  return socket.Dump(
      RTM_GETLINK, [&] { found.reset(); },
      [&](const nlmsghdr* message) {
        const auto link = ParseLink(message);
        if (link && link->index == index) {
          found = link;
        }
      });
}

/// How little an address is wanted.
int RankOf(const sockaddr* address) {
  if (address->sa_family == AF_INET) {
    const auto ip = ntohl(reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr);
    return (ip >> 16) == 0xA9FE ? 1 : 0;
  }
  const in6_addr& ip = reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
  if (IN6_IS_ADDR_LINKLOCAL(&ip)) {
    return 2;
  }
  return (ip.s6_addr[0] & 0xFE) == 0xFC ? 1 : 0;
}

std::string TextOf(const sockaddr* address) {
  const void* const ip =
      address->sa_family == AF_INET
          ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in*>(address)->sin_addr)
          : &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
  char text[INET6_ADDRSTRLEN] = "";
  inet_ntop(address->sa_family, ip, text, sizeof text);
  return text;
}

/// @return nullopt for an interface without one, as a modem's may be
std::optional<std::string> HardwareAddressIn(const nlmsghdr* message) {
  const nlattr* address =
      nlmsg_find_attr(const_cast<nlmsghdr*>(message), sizeof(ifinfomsg), IFLA_ADDRESS);
  if (address == nullptr || nla_len(address) != kHardwareAddressBytes) {
    return std::nullopt;
  }
  const auto* bytes = static_cast<const unsigned char*>(nla_data(address));
  std::string text;
  for (int i = 0; i < kHardwareAddressBytes; ++i) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    text += i == 0 ? "" : ":";
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 0xF];
  }
  return text;
}

bool IsOfType(const Link& link, connection_type_e type) {
  switch (type) {
    case CONNECTION_TYPE_ETHERNET:
      return IsWired(link);
    case CONNECTION_TYPE_WIFI:
      return link.device_type == "wlan";
    case CONNECTION_TYPE_CELLULAR:
      return link.device_type == "wwan";
    case CONNECTION_TYPE_DISCONNECTED:
      break;
  }
  return false;
}

}  // namespace

namespace kernel_tables {

bool FindDefaultRoute(std::optional<DefaultRoute>& route, std::optional<Link>& link) {
  const auto socket = NetlinkSocket::Open();
  std::optional<DefaultRoute> best;
  std::optional<Link> found;
  if (socket == nullptr || !FindBestRoute(*socket, best) ||
      (best && !FindLink(*socket, best->link_index, found))) {
    return false;
  }
  if (found) {
    found->device_type = DeviceTypeOf(found->index);
  }
  route = best;
  link = found;
  return true;
}

bool FindTrafficLink(std::optional<Link>& link) {
  std::optional<DefaultRoute> route;
  std::optional<Link> found;
  if (!FindDefaultRoute(route, found)) {
    return false;
  }
  const bool carries = found && found->has_carrier;
  link = carries ? std::move(found) : std::nullopt;
  return true;
}

std::optional<std::string> AddressOf(int link_index, connection_address_family_e family) {
  char name[IFNAMSIZ];
  ifaddrs* all = nullptr;
  if (if_indextoname(static_cast<unsigned>(link_index), name) == nullptr || getifaddrs(&all) != 0) {
    return std::nullopt;
  }
  const int wanted = family == CONNECTION_ADDRESS_FAMILY_IPV4 ? AF_INET : AF_INET6;
  const sockaddr* best = nullptr;
  for (const ifaddrs* entry = all; entry != nullptr; entry = entry->ifa_next) {
    const sockaddr* address = entry->ifa_addr;
    if (address == nullptr || address->sa_family != wanted ||
        std::string_view(name) != entry->ifa_name) {
      continue;
    }
    if (best == nullptr || RankOf(address) < RankOf(best)) {
      best = address;
    }
  }
  auto text = best == nullptr ? std::nullopt : std::optional(TextOf(best));
  freeifaddrs(all);
  return text;
}

std::optional<int> FindCable() {
  const auto socket = NetlinkSocket::Open();
  std::optional<int> found;
  const auto on_link = [&](const nlmsghdr* message) {
    auto link = ParseLink(message);
    if (!link || !link->has_carrier || (found && *found < link->index)) {
      return;
    }
    link->device_type = DeviceTypeOf(link->index);
    if (IsWired(*link)) {
      found = link->index;
    }
  };
  const bool is_complete = socket != nullptr && socket->Dump(
                                                    RTM_GETLINK, [&] { found.reset(); }, on_link);
  return is_complete ? found : std::nullopt;
}

std::optional<int> LeaseOf(int link_index, connection_address_family_e family) {
  const auto socket = NetlinkSocket::Open();
  const auto wanted = AddressOf(link_index, family);
  std::optional<int> seconds;
  const auto on_address = [&](const nlmsghdr* message) {
    auto* header = const_cast<nlmsghdr*>(message);  // the parser reads it only
    nlattr* attributes[IFA_MAX + 1];
    if (!nlmsg_valid_hdr(header, sizeof(ifaddrmsg)) ||
        nlmsg_parse(header, sizeof(ifaddrmsg), attributes, IFA_MAX, nullptr) < 0) {
      return;
    }
    const auto* address = static_cast<const ifaddrmsg*>(nlmsg_data(header));
    // A pair of machines has the address of the other end in the second.
    const nlattr* ip =
        attributes[IFA_LOCAL] != nullptr ? attributes[IFA_LOCAL] : attributes[IFA_ADDRESS];
    const nlattr* times = attributes[IFA_CACHEINFO];
    const int bytes = address->ifa_family == AF_INET ? sizeof(in_addr) : sizeof(in6_addr);
    char text[INET6_ADDRSTRLEN] = "";
    if (static_cast<int>(address->ifa_index) != link_index || ip == nullptr || nla_len(ip) != bytes ||
        times == nullptr || nla_len(times) < static_cast<int>(sizeof(ifa_cacheinfo)) ||
        inet_ntop(address->ifa_family, nla_data(ip), text, sizeof text) == nullptr || *wanted != text) {
      return;
    }
    constexpr std::uint32_t kForever = 0xFFFFFFFF;
    const std::uint32_t valid = static_cast<const ifa_cacheinfo*>(nla_data(times))->ifa_valid;
    if (valid != kForever && valid != 0) {
      seconds = static_cast<int>(std::min<std::uint32_t>(valid, std::numeric_limits<int>::max()));
    }
  };
  const bool is_complete = socket != nullptr && wanted &&
                           socket->Dump(
                               RTM_GETADDR, [&] { seconds.reset(); }, on_address);
  return is_complete ? seconds : std::nullopt;
}

std::optional<std::string> HardwareAddressOf(connection_type_e type) {
  const auto socket = NetlinkSocket::Open();
  if (socket == nullptr) {
    return std::nullopt;
  }
  std::optional<std::string> found;
  bool has_carrier = false;
  const auto on_start = [&] {
    found.reset();
    has_carrier = false;
  };
  const bool is_complete = socket->Dump(RTM_GETLINK, on_start, [&](const nlmsghdr* message) {
    auto link = ParseLink(message);
    if (!link || (found && (has_carrier || !link->has_carrier))) {
      return;
    }
    link->device_type = DeviceTypeOf(link->index);
    const auto address = HardwareAddressIn(message);
    if (address && IsOfType(*link, type)) {
      found = address;
      has_carrier = link->has_carrier;
    }
  });
  return is_complete ? found : std::nullopt;
}

bool IsNeighbourSilent(int link_index, const std::string& address) {
  const auto socket = NetlinkSocket::Open();
  bool is_silent = false;
  const auto on_neighbour = [&](const nlmsghdr* message) {
    auto* header = const_cast<nlmsghdr*>(message);  // the parser reads it only
    if (!nlmsg_valid_hdr(header, sizeof(ndmsg))) {
      return;
    }
    const auto* neighbour = static_cast<const ndmsg*>(nlmsg_data(header));
    const nlattr* destination = nlmsg_find_attr(header, sizeof(ndmsg), NDA_DST);
    const int bytes = neighbour->ndm_family == AF_INET ? sizeof(in_addr) : sizeof(in6_addr);
    char text[INET6_ADDRSTRLEN] = "";
    if (destination != nullptr && nla_len(destination) == bytes &&
        neighbour->ndm_ifindex == link_index &&
        inet_ntop(neighbour->ndm_family, nla_data(destination), text, sizeof text) != nullptr &&
        address == text) {
      is_silent = (neighbour->ndm_state & (NUD_INCOMPLETE | NUD_FAILED)) != 0;
    }
  };
  return socket != nullptr &&
         socket->Dump(
             RTM_GETNEIGH, [&] { is_silent = false; }, on_neighbour) &&
         is_silent;
}

}  // namespace kernel_tables

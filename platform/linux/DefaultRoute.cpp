#include "DefaultRoute.h"

#include <cstdlib>

#include <arpa/inet.h>
#include <linux/if_arp.h>
#include <linux/rtnetlink.h>
#include <netlink/attr.h>
#include <netlink/msg.h>

namespace {

std::optional<std::uint32_t> NumberOf(const nlattr* attribute) {
  if (attribute == nullptr || nla_len(attribute) < static_cast<int>(sizeof(std::uint32_t))) {
    return std::nullopt;
  }
  return nla_get_u32(attribute);
}

/// The interface of a route, or of the first of its ways when it has several.
int LinkOf(nlattr* const* attributes) {
  if (const auto index = NumberOf(attributes[RTA_OIF])) {
    return static_cast<int>(*index);
  }
  const nlattr* ways = attributes[RTA_MULTIPATH];
  if (ways == nullptr || nla_len(ways) < static_cast<int>(sizeof(rtnexthop))) {
    return 0;
  }
  return static_cast<const rtnexthop*>(nla_data(ways))->rtnh_ifindex;
}

std::string TextOf(int family, const void* address) {
  char text[INET6_ADDRSTRLEN] = "";
  inet_ntop(family, address, text, sizeof text);
  return text;
}

/// A route of the older protocol may lead to a router of the newer one.
std::string GatewayOf(nlattr* const* attributes) {
  const nlattr* gateway = attributes[RTA_GATEWAY];
  if (gateway != nullptr &&
      (nla_len(gateway) == sizeof(in_addr) || nla_len(gateway) == sizeof(in6_addr))) {
    return TextOf(nla_len(gateway) == sizeof(in_addr) ? AF_INET : AF_INET6, nla_data(gateway));
  }
  const nlattr* via = attributes[RTA_VIA];
  constexpr int kFamilyBytes = sizeof(rtvia::rtvia_family);
  if (via != nullptr && nla_len(via) == kFamilyBytes + static_cast<int>(sizeof(in6_addr))) {
    return TextOf(AF_INET6, static_cast<const rtvia*>(nla_data(via))->rtvia_addr);
  }
  return "";
}

}  // namespace

std::optional<DefaultRoute> ParseDefaultRoute(const nlmsghdr* message) {
  auto* header = const_cast<nlmsghdr*>(message);  // the parser reads it only
  nlattr* attributes[RTA_MAX + 1];
  const bool is_route = message->nlmsg_type == RTM_NEWROUTE || message->nlmsg_type == RTM_DELROUTE;
  if (!is_route || !nlmsg_valid_hdr(header, sizeof(rtmsg)) ||
      nlmsg_parse(header, sizeof(rtmsg), attributes, RTA_MAX, nullptr) < 0) {
    return std::nullopt;
  }
  const auto* route = static_cast<const rtmsg*>(nlmsg_data(header));
  const bool is_ip = route->rtm_family == AF_INET || route->rtm_family == AF_INET6;
  const auto table = NumberOf(attributes[RTA_TABLE]).value_or(route->rtm_table);
  if (!is_ip || route->rtm_dst_len != 0 || route->rtm_type != RTN_UNICAST || table != RT_TABLE_MAIN ||
      (route->rtm_flags & RTM_F_CLONED) != 0) {
    return std::nullopt;
  }
  return DefaultRoute{LinkOf(attributes), NumberOf(attributes[RTA_PRIORITY]).value_or(0),
                      route->rtm_family, GatewayOf(attributes)};
}

connection_profile_type_e ProfileTypeOf(const Link& link) {
  if (link.device_type == "wlan") {
    return CONNECTION_PROFILE_TYPE_WIFI;
  }
  if (link.device_type == "wwan" || link.arp_type == ARPHRD_PPP || link.arp_type == ARPHRD_RAWIP) {
    return CONNECTION_PROFILE_TYPE_CELLULAR;
  }
  return CONNECTION_PROFILE_TYPE_ETHERNET;
}

const char* NetworkTypeOf(const Link& link) {
  switch (ProfileTypeOf(link)) {
    case CONNECTION_PROFILE_TYPE_WIFI:
      return "Wireless";
    case CONNECTION_PROFILE_TYPE_CELLULAR:
      return "Cellular";
    case CONNECTION_PROFILE_TYPE_ETHERNET:
      return "Wired";
  }
  std::abort();
}

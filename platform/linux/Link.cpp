#include "Link.h"

#include <cstring>
#include <fstream>

#include <net/if.h>  // before the kernel's own headers, which then leave out what it has

#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <netlink/attr.h>
#include <netlink/msg.h>

namespace {

std::string TextOf(const nlattr* attribute) {
  const auto* text = static_cast<const char*>(nla_data(attribute));
  return {text, strnlen(text, static_cast<std::size_t>(nla_len(attribute)))};
}

/// IFLA_LINKINFO is a nest, and the kind a member of it.
std::string KindOf(nlattr* link_info) {
  nlattr* members[IFLA_INFO_MAX + 1];
  if (link_info == nullptr || nla_parse_nested(members, IFLA_INFO_MAX, link_info, nullptr) < 0 ||
      members[IFLA_INFO_KIND] == nullptr) {
    return "";
  }
  return TextOf(members[IFLA_INFO_KIND]);
}

}  // namespace

std::optional<Link> ParseLink(const nlmsghdr* message) {
  auto* header = const_cast<nlmsghdr*>(message);  // the parser reads it only
  nlattr* attributes[IFLA_MAX + 1];
  if (!nlmsg_valid_hdr(header, sizeof(ifinfomsg)) ||
      nlmsg_parse(header, sizeof(ifinfomsg), attributes, IFLA_MAX, nullptr) < 0) {
    return std::nullopt;
  }
  const auto* info = static_cast<const ifinfomsg*>(nlmsg_data(header));
  if (info->ifi_family != AF_UNSPEC || attributes[IFLA_WIRELESS] != nullptr) {
    return std::nullopt;
  }
  Link link;
  link.index = info->ifi_index;
  link.arp_type = info->ifi_type;
  link.has_carrier = (info->ifi_flags & IFF_LOWER_UP) != 0;
  const nlattr* master = attributes[IFLA_MASTER];
  link.is_port = master != nullptr && nla_len(master) >= 4 && nla_get_u32(master) != 0;
  link.kind = KindOf(attributes[IFLA_LINKINFO]);
  return link;
}

std::string DeviceTypeOf(int index) {
  char name[IFNAMSIZ];
  if (if_indextoname(static_cast<unsigned>(index), name) == nullptr) {
    return "";
  }
  std::ifstream uevent(std::string("/sys/class/net/") + name + "/uevent");
  std::string type;
  bool is_same = false;
  for (std::string line; std::getline(uevent, line);) {
    if (line.starts_with("DEVTYPE=")) {
      type = line.substr(std::strlen("DEVTYPE="));
    }
    // In a network namespace of its own a process may still see the files of another one.
    is_same = is_same || line == "IFINDEX=" + std::to_string(index);
  }
  return is_same ? type : "";
}

bool IsWired(const Link& link) {
  if (link.arp_type != ARPHRD_ETHER || !link.device_type.empty()) {
    return false;
  }
  return link.kind.empty() || (link.kind == "veth" && !link.is_port);
}

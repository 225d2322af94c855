#include "Link.h"

#include <cstdint>
#include <cstring>
#include <fstream>
#include <string_view>

#include <net/if.h>  // before the kernel's own headers, which then leave out what it has

#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

namespace {

/// By the kernel's own macros: libnl's parser is in pages gone cold when the cable speaks.
template <class Visitor>
void ForEachAttribute(const void* first, std::size_t bytes, Visitor visit) {
  auto left = static_cast<int>(bytes);
  for (auto* attribute = static_cast<const rtattr*>(first); RTA_OK(attribute, left);
       attribute = RTA_NEXT(attribute, left)) {
    visit(attribute->rta_type & NLA_TYPE_MASK, RTA_DATA(attribute), RTA_PAYLOAD(attribute));
  }
}

/// IFLA_LINKINFO is a nest, and the kind of software a member of it.
LinkMaker MakerOf(const void* link_info, std::size_t bytes) {
  LinkMaker maker = LinkMaker::kHardware;
  ForEachAttribute(link_info, bytes, [&](int type, const void* data, std::size_t size) {
    if (type == IFLA_INFO_KIND) {
      const auto* text = static_cast<const char*>(data);
      const std::string_view kind(text, strnlen(text, size));
      maker = kind.empty()     ? LinkMaker::kHardware
              : kind == "veth" ? LinkMaker::kVeth
                               : LinkMaker::kOther;
    }
  });
  return maker;
}

}  // namespace

std::optional<Link> ParseLink(const nlmsghdr* message) {
  const bool is_link = message->nlmsg_type == RTM_NEWLINK || message->nlmsg_type == RTM_DELLINK;
  if (!is_link || message->nlmsg_len < NLMSG_LENGTH(sizeof(ifinfomsg))) {
    return std::nullopt;
  }
  const auto* info = static_cast<const ifinfomsg*>(NLMSG_DATA(message));
  Link link;
  link.index = info->ifi_index;
  link.arp_type = info->ifi_type;
  link.has_carrier = (info->ifi_flags & IFF_LOWER_UP) != 0;
  bool is_wireless_event = false;
  ForEachAttribute(
      IFLA_RTA(info), IFLA_PAYLOAD(message), [&](int type, const void* data, std::size_t size) {
        if (type == IFLA_WIRELESS) {
          is_wireless_event = true;
        } else if (type == IFLA_MASTER) {
          link.is_port = size >= sizeof(std::uint32_t) && *static_cast<const std::uint32_t*>(data) != 0;
        } else if (type == IFLA_LINKINFO) {
          link.maker = MakerOf(data, size);
        }
      });
  if (info->ifi_family != AF_UNSPEC || is_wireless_event) {
    return std::nullopt;
  }
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
  return link.maker == LinkMaker::kHardware || (link.maker == LinkMaker::kVeth && !link.is_port);
}

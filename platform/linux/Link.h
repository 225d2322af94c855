#pragma once

#include <optional>
#include <string>

#include <linux/netlink.h>

/// What an interface comes from.
enum class LinkMaker {
  kHardware,
  kVeth,  ///< software: one end of a pair
  kOther  ///< other software: a bridge, a tunnel
};

/// A network interface, as far as this backend cares about it.
struct Link {
  int index = 0;
  unsigned arp_type = 0;     ///< ARPHRD_*
  bool has_carrier = false;  ///< up, and there is a signal on the line
  bool is_port = false;      ///< belongs to a bridge, a bond, or another master
  LinkMaker maker = LinkMaker::kHardware;
  std::string device_type;  ///< what hardware it is: "wlan", "wwan"; empty for plain Ethernet
};

/// Reads an RTM_NEWLINK or RTM_DELLINK message, all but the device type.
/// @return nullopt for a damaged message, and for one that does not describe the interface itself (a
/// bridge
///         reports its ports, and the Wi-Fi stack its events, in messages of the same type)
[[nodiscard]] std::optional<Link> ParseLink(const nlmsghdr* message);

/// Looks up what ParseLink() cannot know. The interface is found by its index, so that one that is being
/// renamed is found as well.
/// @return the kernel's DEVTYPE, empty when it has none
[[nodiscard]] std::string DeviceTypeOf(int index);

/// Whether the interface is one that a network cable goes into. That is hardware Ethernet of no further
/// device type, and the veth pairs of which a container's network is made; but not the other end of such
/// a pair, which on a machine with containers is a port of their bridge.
[[nodiscard]] bool IsWired(const Link& link);

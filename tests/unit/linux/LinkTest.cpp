#include "Link.h"

#include <cstring>
#include <vector>

#include <gtest/gtest.h>
#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <netlink/attr.h>
#include <netlink/msg.h>

#include "DefaultRoute.h"
#include "WiredNetwork.h"

namespace {

/// A message as the kernel makes it.
class Message {
 public:
  Message(int type, const void* header, std::size_t length) : m_message(nlmsg_alloc_simple(type, 0)) {
    nlmsg_append(m_message, const_cast<void*>(header), length, NLMSG_ALIGNTO);
  }
  ~Message() { nlmsg_free(m_message); }
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;

  void Put(int attribute, std::uint32_t number) { nla_put_u32(m_message, attribute, number); }
  void PutKind(const char* kind) {
    nlattr* nest = nla_nest_start(m_message, IFLA_LINKINFO);
    nla_put_string(m_message, IFLA_INFO_KIND, kind);
    nla_nest_end(m_message, nest);
  }
  [[nodiscard]] nlmsghdr* Header() const { return nlmsg_hdr(m_message); }

 private:
  nl_msg* m_message;
};

ifinfomsg Interface(unsigned flags) {
  ifinfomsg info{};
  info.ifi_index = 7;
  info.ifi_type = ARPHRD_ETHER;
  info.ifi_flags = flags;
  return info;
}

rtmsg Route() {
  rtmsg route{};
  route.rtm_family = AF_INET;
  route.rtm_table = RT_TABLE_MAIN;
  route.rtm_type = RTN_UNICAST;
  return route;
}

Link Ethernet(int index, bool has_carrier) {
  Link link;
  link.index = index;
  link.arp_type = ARPHRD_ETHER;
  link.has_carrier = has_carrier;
  return link;
}

}  // namespace

TEST(LinkMessage, SaysWhatTheInterfaceIs) {
  const ifinfomsg info = Interface(IFF_UP | IFF_LOWER_UP);
  Message message(RTM_NEWLINK, &info, sizeof info);
  message.Put(IFLA_MASTER, 3);
  message.PutKind("veth");
  const auto link = ParseLink(message.Header());
  ASSERT_TRUE(link);
  EXPECT_EQ(link->index, 7);
  EXPECT_EQ(link->arp_type, static_cast<unsigned>(ARPHRD_ETHER));
  EXPECT_TRUE(link->has_carrier);
  EXPECT_TRUE(link->is_port);
  EXPECT_EQ(link->maker, LinkMaker::kVeth);
}

TEST(LinkMessage, TellsVethFromOtherSoftwareAndFromHardware) {
  const ifinfomsg info = Interface(IFF_UP);
  EXPECT_EQ(ParseLink(Message(RTM_NEWLINK, &info, sizeof info).Header())->maker, LinkMaker::kHardware);
  for (const char* other : {"bridge", "vet", "vethx", "dummy"}) {
    Message message(RTM_NEWLINK, &info, sizeof info);
    message.PutKind(other);
    EXPECT_EQ(ParseLink(message.Header())->maker, LinkMaker::kOther) << other;
  }
}

TEST(LinkMessage, OnlyMessagesAboutLinksAreTaken) {
  const ifinfomsg info = Interface(IFF_UP | IFF_LOWER_UP);
  EXPECT_TRUE(ParseLink(Message(RTM_DELLINK, &info, sizeof info).Header()));
  for (const int type : {RTM_NEWADDR, RTM_DELADDR, RTM_NEWROUTE, RTM_DELROUTE, RTM_NEWNEIGH}) {
    EXPECT_FALSE(ParseLink(Message(type, &info, sizeof info).Header())) << type;
  }
}

TEST(LinkMessage, AnInterfaceThatIsUpWithoutASignalHasNoCarrier) {
  const ifinfomsg info = Interface(IFF_UP | IFF_RUNNING);
  const Message message(RTM_NEWLINK, &info, sizeof info);
  EXPECT_FALSE(ParseLink(message.Header())->has_carrier);
}

TEST(LinkMessage, WhatABridgeSaysOfItsPortsIsNotTaken) {
  ifinfomsg info = Interface(IFF_UP | IFF_LOWER_UP);
  info.ifi_family = AF_BRIDGE;
  const Message message(RTM_DELLINK, &info, sizeof info);
  EXPECT_FALSE(ParseLink(message.Header()));
}

TEST(LinkMessage, EveryShortenedMessageIsSurvived) {
  const ifinfomsg info = Interface(IFF_LOWER_UP);
  Message message(RTM_NEWLINK, &info, sizeof info);
  message.Put(IFLA_MASTER, 3);
  message.PutKind("bridge");
  const nlmsghdr* whole = message.Header();
  for (std::uint32_t length = sizeof(nlmsghdr); length < whole->nlmsg_len; ++length) {
    std::vector<char> bytes(length);  // of that size exactly, so that a sanitizer sees a read behind it
    std::memcpy(bytes.data(), whole, length);
    auto* shortened = reinterpret_cast<nlmsghdr*>(bytes.data());
    shortened->nlmsg_len = length;
    const auto link = ParseLink(shortened);
    EXPECT_EQ(link.has_value(), length >= NLMSG_LENGTH(sizeof(ifinfomsg))) << length;
    EXPECT_FALSE(ParseDefaultRoute(shortened) && length < NLMSG_LENGTH(sizeof(rtmsg))) << length;
  }
}

TEST(WiredInterfaces, AreChosenByWhatTheyAre) {
  struct Case {
    unsigned arp_type;
    LinkMaker maker;
    const char* device_type;
    bool is_port;
    bool is_wired;
  };
  using enum LinkMaker;
  for (const Case& c :
       {Case{ARPHRD_ETHER, kHardware, "", false, true}, Case{ARPHRD_ETHER, kHardware, "", true, true},
        Case{ARPHRD_ETHER, kVeth, "", false, true}, Case{ARPHRD_ETHER, kVeth, "", true, false},
        Case{ARPHRD_ETHER, kOther, "", false, false},
        Case{ARPHRD_ETHER, kHardware, "wlan", false, false},
        Case{ARPHRD_ETHER, kHardware, "wwan", false, false},
        Case{ARPHRD_ETHER, kHardware, "gadget", false, false},
        Case{ARPHRD_LOOPBACK, kHardware, "", false, false},
        Case{ARPHRD_PPP, kHardware, "", false, false}}) {
    Link link = Ethernet(1, true);
    link.arp_type = c.arp_type;
    link.maker = c.maker;
    link.device_type = c.device_type;
    link.is_port = c.is_port;
    EXPECT_EQ(IsWired(link), c.is_wired)
        << c.arp_type << " " << static_cast<int>(c.maker) << " " << c.device_type;
  }
}

TEST(WiredNetworkState, IsAttachedWhileOneInterfaceHasACarrier) {
  WiredNetwork network;
  EXPECT_EQ(network.Update(Ethernet(1, true)), true);
  EXPECT_EQ(network.Update(Ethernet(1, true)), std::nullopt);
  EXPECT_EQ(network.Update(Ethernet(2, true)), std::nullopt);
  EXPECT_EQ(network.Update(Ethernet(1, false)), std::nullopt);
  EXPECT_EQ(network.Remove(2), false);
  EXPECT_EQ(network.Remove(2), std::nullopt);
}

TEST(WiredNetworkState, AnotherLookAtAllInterfacesIsOneStep) {
  WiredNetwork network;
  (void)network.Update(Ethernet(1, true));
  WiredNetwork moved;
  (void)moved.Update(Ethernet(2, true));
  EXPECT_EQ(network.Become(moved), std::nullopt);
  EXPECT_EQ(network.Become(WiredNetwork()), false);
  EXPECT_EQ(network.Become(moved), true);
}

TEST(DefaultRouteMessage, OnlyDefaultRoutesOfTheMainTableCount) {
  const rtmsg plain = Route();
  Message message(RTM_NEWROUTE, &plain, sizeof plain);
  message.Put(RTA_OIF, 7);
  message.Put(RTA_PRIORITY, 600);
  const auto route = ParseDefaultRoute(message.Header());
  ASSERT_TRUE(route);
  EXPECT_EQ(route->link_index, 7);
  EXPECT_EQ(route->metric, 600u);

  EXPECT_FALSE(ParseDefaultRoute(Message(RTM_NEWADDR, &plain, sizeof plain).Header()));
  rtmsg subnet = Route();
  subnet.rtm_dst_len = 24;
  EXPECT_FALSE(ParseDefaultRoute(Message(RTM_NEWROUTE, &subnet, sizeof subnet).Header()));
  rtmsg unreachable = Route();
  unreachable.rtm_type = RTN_UNREACHABLE;
  EXPECT_FALSE(ParseDefaultRoute(Message(RTM_NEWROUTE, &unreachable, sizeof unreachable).Header()));
  Message other_table(RTM_NEWROUTE, &plain, sizeof plain);
  other_table.Put(RTA_TABLE, 100);
  EXPECT_FALSE(ParseDefaultRoute(other_table.Header()));
}

TEST(NetworkTypeOfALink, FollowsTheKernelsKind) {
  Link link = Ethernet(1, true);
  EXPECT_STREQ(NetworkTypeOf(link), "Wired");
  link.device_type = "wlan";
  EXPECT_STREQ(NetworkTypeOf(link), "Wireless");
  link.device_type = "wwan";
  EXPECT_STREQ(NetworkTypeOf(link), "Cellular");
  link.device_type = "";
  link.arp_type = ARPHRD_PPP;
  EXPECT_STREQ(NetworkTypeOf(link), "Cellular");
}

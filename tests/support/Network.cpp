#include "Network.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>

#include <net/if.h>  // before the kernel's own headers, which then leave out what it has

#include <fcntl.h>
#include <linux/if_arp.h>
#include <linux/if_tun.h>
#include <netlink/errno.h>
#include <netlink/route/addr.h>
#include <netlink/route/link.h>
#include <netlink/route/link/veth.h>
#include <netlink/route/nexthop.h>
#include <netlink/route/route.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace {

constexpr char kSwitch[] = "switch";

void Require(bool done, const std::string& what, const char* why) {
  if (!done) {
    std::fprintf(stderr, "network: %s: %s\n", what.c_str(), why);
    std::abort();
  }
}

void RequireNl(int result, const std::string& what) {
  Require(result >= 0, what, nl_geterror(result));
}

void RequireSys(int result, const std::string& what) {
  Require(result >= 0, what, std::strerror(errno));
}

template <auto function>
struct Caller {
  template <class T>
  void operator()(T* object) const {
    function(object);
  }
};
using Socket = std::unique_ptr<nl_sock, Caller<nl_socket_free>>;
using LinkObject = std::unique_ptr<rtnl_link, Caller<rtnl_link_put>>;
using RouteObject = std::unique_ptr<rtnl_route, Caller<rtnl_route_put>>;
using Address = std::unique_ptr<nl_addr, Caller<nl_addr_put>>;
using AddressObject = std::unique_ptr<rtnl_addr, Caller<rtnl_addr_put>>;

Socket Connect() {
  Socket socket(nl_socket_alloc());
  RequireNl(nl_connect(socket.get(), NETLINK_ROUTE), "netlink");
  return socket;
}

/// Made at the first use, thus in the namespace that was entered before.
nl_sock* Kernel() {
  static const Socket socket = Connect();
  return socket.get();
}

LinkObject Find(const std::string& name) {
  rtnl_link* link = nullptr;
  RequireNl(rtnl_link_get_kernel(Kernel(), 0, name.c_str(), &link), name);
  return LinkObject(link);
}

unsigned IndexOf(const std::string& name) {
  const unsigned index = if_nametoindex(name.c_str());
  Require(index != 0, name, "no such interface");
  return index;
}

void Change(const std::string& name, const LinkObject& wanted) {
  rtnl_link_set_ifindex(wanted.get(), static_cast<int>(IndexOf(name)));
  const LinkObject present(rtnl_link_alloc());
  rtnl_link_set_ifindex(present.get(), static_cast<int>(IndexOf(name)));
  RequireNl(rtnl_link_change(Kernel(), present.get(), wanted.get(), 0), name);
}

LinkObject UpOrDown(bool is_up) {
  LinkObject wanted(rtnl_link_alloc());
  if (is_up) {
    rtnl_link_set_flags(wanted.get(), IFF_UP);
  } else {
    rtnl_link_unset_flags(wanted.get(), IFF_UP);
  }
  return wanted;
}

RouteObject DefaultRouteOf(const std::string& name, int family, unsigned metric,
                           const std::string& gateway = "") {
  RouteObject route(rtnl_route_alloc());
  nl_addr* any = nullptr;
  RequireNl(nl_addr_parse("default", family, &any), "default");
  const Address destination(any);
  rtnl_route_set_family(route.get(), static_cast<std::uint8_t>(family));
  rtnl_route_set_dst(route.get(), destination.get());
  rtnl_route_set_priority(route.get(), metric);
  rtnl_route_set_scope(route.get(),
                       family == AF_INET && gateway.empty() ? RT_SCOPE_LINK : RT_SCOPE_UNIVERSE);
  rtnl_nexthop* way = rtnl_route_nh_alloc();
  rtnl_route_nh_set_ifindex(way, static_cast<int>(IndexOf(name)));
  if (!gateway.empty()) {
    nl_addr* parsed = nullptr;
    RequireNl(nl_addr_parse(gateway.c_str(), family, &parsed), gateway);
    const Address router(parsed);
    rtnl_route_nh_set_gateway(way, router.get());
  }
  rtnl_route_add_nexthop(route.get(), way);
  return route;
}

}  // namespace

namespace network {

void EnterNamespace() {
  RequireSys(unshare(CLONE_NEWNET), "a network namespace");
  // What /sys says about interfaces belongs to the namespace that it was mounted in.
  RequireSys(mount("sysfs", "/sys", "sysfs", 0, nullptr), "/sys");
  SetUp("lo", true);
}

void AddCable(const std::string& name, const std::string& far_end) {
  RequireNl(rtnl_link_veth_add(Kernel(), name.c_str(), far_end.c_str(), getpid()), name);
  if (if_nametoindex(kSwitch) == 0) {
    Add(kSwitch, "bridge");
  }
  SetMaster(far_end, kSwitch);
  SetUp(name, true);
  SetUp(far_end, true);
}

/// An empty network, which its socket keeps.
class DistantCable::Network {
 public:
  explicit Network(const std::string& cable) {
    std::thread([&] {
      RequireSys(unshare(CLONE_NEWNET), "a second network namespace");
      m_kernel = Connect();
      RequireNl(rtnl_link_veth_add(Kernel(), cable.c_str(), kFarEnd, gettid()), cable);
    }).join();
    // Of two ends that have the same number the kernel takes neither for one that sits on the other,
    // and only of what sits on others it always tells at once.
    rtnl_link* found = nullptr;
    RequireNl(rtnl_link_get_kernel(m_kernel.get(), 0, kFarEnd, &found), kFarEnd);
    m_end.reset(found);
    Require(rtnl_link_get_ifindex(found) == static_cast<int>(IndexOf(cable)), cable,
            "there were interfaces before");
  }

  void SetUp(bool is_up) {
    const LinkObject wanted = UpOrDown(is_up);
    RequireNl(rtnl_link_change(m_kernel.get(), m_end.get(), wanted.get(), 0), kFarEnd);
  }

 private:
  static constexpr char kFarEnd[] = "far";

  Socket m_kernel;
  LinkObject m_end;
};

DistantCable::DistantCable(const std::string& name) : m_network(std::make_unique<Network>(name)) {
  network::SetUp(name, true);
  Plug();
}

DistantCable::~DistantCable() = default;

void DistantCable::Plug() {
  m_network->SetUp(true);
}

void DistantCable::Pull() {
  m_network->SetUp(false);
}

void Add(const std::string& name, const std::string& kind) {
  const LinkObject link(rtnl_link_alloc());
  rtnl_link_set_name(link.get(), name.c_str());
  RequireNl(rtnl_link_set_type(link.get(), kind.c_str()), kind);
  RequireNl(rtnl_link_add(Kernel(), link.get(), NLM_F_CREATE | NLM_F_EXCL), name);
  SetUp(name, true);
}

void AddOn(const std::string& name, const std::string& kind, const std::string& lower) {
  const LinkObject link(rtnl_link_alloc());
  rtnl_link_set_name(link.get(), name.c_str());
  RequireNl(rtnl_link_set_type(link.get(), kind.c_str()), kind);
  rtnl_link_set_link(link.get(), static_cast<int>(IndexOf(lower)));
  RequireNl(rtnl_link_add(Kernel(), link.get(), NLM_F_CREATE | NLM_F_EXCL), name);
  SetUp(name, true);
}

int AddTunnel(const std::string& name, int arp_type) {
  const int fd = open("/dev/net/tun", O_RDWR | O_CLOEXEC);
  RequireSys(fd, "/dev/net/tun");
  ifreq request{};
  name.copy(request.ifr_name, sizeof request.ifr_name - 1);
  const bool is_tap = arp_type == ARPHRD_ETHER;
  request.ifr_flags = static_cast<short>((is_tap ? IFF_TAP : IFF_TUN) | IFF_NO_PI);
  RequireSys(ioctl(fd, TUNSETIFF, &request), name);
  if (!is_tap) {
    RequireSys(ioctl(fd, TUNSETLINK, static_cast<unsigned long>(arp_type)), name);
  }
  SetUp(name, true);
  return fd;
}

void Remove(const std::string& name) {
  RequireNl(rtnl_link_delete(Kernel(), Find(name).get()), name);
}

void SetUp(const std::string& name, bool is_up) {
  Change(name, UpOrDown(is_up));
}

void Rename(const std::string& name, const std::string& new_name) {
  const LinkObject wanted(rtnl_link_alloc());
  rtnl_link_set_name(wanted.get(), new_name.c_str());
  Change(name, wanted);
}

void SetMaster(const std::string& name, const std::string& master) {
  const int index = static_cast<int>(IndexOf(name));
  RequireNl(master.empty()
                ? rtnl_link_release_ifindex(Kernel(), index)
                : rtnl_link_enslave_ifindex(Kernel(), static_cast<int>(IndexOf(master)), index),
            name);
}

void MoveTo(const std::string& name, int pid) {
  const LinkObject wanted(rtnl_link_alloc());
  rtnl_link_set_ns_pid(wanted.get(), pid);
  Change(name, wanted);
}

void SetArp(const std::string& name, bool is_on) {
  const LinkObject wanted(rtnl_link_alloc());
  if (is_on) {
    rtnl_link_unset_flags(wanted.get(), IFF_NOARP);
  } else {
    rtnl_link_set_flags(wanted.get(), IFF_NOARP);
  }
  Change(name, wanted);
}

bool HasCarrier(const std::string& name) {
  return (rtnl_link_get_flags(Find(name).get()) & IFF_LOWER_UP) != 0;
}

std::string HardwareAddress(const std::string& name) {
  char text[32] = "";
  nl_addr2str(rtnl_link_get_addr(Find(name).get()), text, sizeof text);
  std::string address(text);
  std::ranges::transform(address, address.begin(),
                         [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return address;
}

void AddAddress(const std::string& name, const std::string& address, unsigned lease_seconds) {
  nl_addr* parsed = nullptr;
  RequireNl(nl_addr_parse(address.c_str(), AF_UNSPEC, &parsed), address);
  const Address local(parsed);
  const AddressObject wanted(rtnl_addr_alloc());
  rtnl_addr_set_ifindex(wanted.get(), static_cast<int>(IndexOf(name)));
  RequireNl(rtnl_addr_set_local(wanted.get(), local.get()), address);
  if (lease_seconds != 0) {
    rtnl_addr_set_preferred_lifetime(wanted.get(), lease_seconds);
    rtnl_addr_set_valid_lifetime(wanted.get(), lease_seconds);
  }
  RequireNl(rtnl_addr_add(Kernel(), wanted.get(), NLM_F_EXCL), address);
}

void AddDefaultRoute(const std::string& name, int family, unsigned metric, const std::string& gateway) {
  RequireNl(rtnl_route_add(Kernel(), DefaultRouteOf(name, family, metric, gateway).get(), NLM_F_EXCL),
            name);
}

void RemoveDefaultRoute(const std::string& name, int family, unsigned metric,
                        const std::string& gateway) {
  RequireNl(rtnl_route_delete(Kernel(), DefaultRouteOf(name, family, metric, gateway).get(), 0), name);
}

void ReplaceDefaultRoute(const std::string& name, int family, unsigned metric) {
  RequireNl(rtnl_route_add(Kernel(), DefaultRouteOf(name, family, metric).get(), NLM_F_REPLACE), name);
}

}  // namespace network

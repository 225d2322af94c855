#include "WayOut.h"

#include <algorithm>
#include <memory>
#include <vector>

#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include "DefaultRoute.h"
#include "KernelTables.h"
#include "Link.h"
#include "NetlinkSocket.h"

namespace {

struct Tables {
  std::vector<Link> links;
  std::vector<DefaultRoute> routes;
};

std::optional<Tables> ReadTables() {
  const auto socket = NetlinkSocket::Open();
  Tables tables;
  const auto on_link = [&](const nlmsghdr* message) {
    if (const auto link = ParseLink(message)) {
      tables.links.push_back(*link);
    }
  };
  const auto on_route = [&](const nlmsghdr* message) {
    if (const auto route = ParseDefaultRoute(message)) {
      tables.routes.push_back(*route);
    }
  };
  const bool is_read = socket != nullptr &&
                       socket->Dump(
                           RTM_GETLINK, [&] { tables.links.clear(); }, on_link) &&
                       socket->Dump(
                           RTM_GETROUTE, [&] { tables.routes.clear(); }, on_route);
  return is_read ? std::optional(std::move(tables)) : std::nullopt;
}

/// Whether an interface is one that leads out of the house by itself: no bridge, no tunnel.
bool IsNetwork(Link link) {
  link.device_type = DeviceTypeOf(link.index);
  return IsWired(link) || ProfileTypeOf(link) != CONNECTION_PROFILE_TYPE_ETHERNET;
}

/// Null when there is none with a carrier.
const Link* LiveLink(const Tables& tables, int index) {
  const auto link = std::ranges::find(tables.links, index, &Link::index);
  return link != tables.links.end() && link->has_carrier ? &*link : nullptr;
}

/// Of several routes over one link, which are of both protocols, the older one's. Null for none.
const DefaultRoute* RouteOver(const Tables& tables, int link) {
  const DefaultRoute* best = nullptr;
  for (const DefaultRoute& route : tables.routes) {
    const auto rank = [](const DefaultRoute& r) { return std::pair(r.family, r.metric); };
    if (route.link_index == link && (best == nullptr || rank(route) < rank(*best))) {
      best = &route;
    }
  }
  return best;
}

WayOut WayOver(const Tables& tables, const Link& link) {
  WayOut way;
  way.has_link = true;
  way.link = link.index;
  way.is_wifi = DeviceTypeOf(link.index) == "wlan";
  if (const DefaultRoute* route = RouteOver(tables, link.index); route != nullptr) {
    way.is_ipv6 = route->family == AF_INET6;
    way.gateway = route->gateway;
  }
  way.ipv4 = kernel_tables::AddressOf(link.index, CONNECTION_ADDRESS_FAMILY_IPV4).value_or("");
  way.ipv6 = kernel_tables::AddressOf(link.index, CONNECTION_ADDRESS_FAMILY_IPV6).value_or("");
  return way;
}

}  // namespace

std::optional<WayOut> FindWayOut() {
  const auto tables = ReadTables();
  if (!tables) {
    return std::nullopt;
  }
  const auto best = std::ranges::min_element(tables->routes, {}, &DefaultRoute::metric);
  if (best == tables->routes.end()) {
    WayOut none;
    none.has_link = std::ranges::any_of(
        tables->links, [](const Link& link) { return link.has_carrier && IsNetwork(link); });
    return none;
  }
  const Link* const link = LiveLink(*tables, best->link_index);
  return link == nullptr ? WayOut{} : WayOver(*tables, *link);
}

std::optional<WayOut> FindWayOver(int link) {
  const auto tables = ReadTables();
  if (!tables) {
    return std::nullopt;
  }
  const Link* const live = LiveLink(*tables, link);
  const bool has_route =
      std::ranges::find(tables->routes, link, &DefaultRoute::link_index) != tables->routes.end();
  if (live == nullptr || !has_route) {
    WayOut none;
    none.has_link = live != nullptr;
    return none;
  }
  return WayOver(*tables, *live);
}

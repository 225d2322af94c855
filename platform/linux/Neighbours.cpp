#include "Neighbours.h"

#include <linux/neighbour.h>
#include <netlink/netlink.h>
#include <netlink/route/neighbour.h>

#include "PlatformLog.h"

namespace {

constexpr int kKnown = NUD_REACHABLE | NUD_STALE | NUD_DELAY | NUD_PROBE;

struct CloseSocket {
  void operator()(nl_sock* socket) const { nl_socket_free(socket); }
};
using Socket = std::unique_ptr<nl_sock, CloseSocket>;

/// @return null when the kernel refuses
Socket Open() {
  Socket socket(nl_socket_alloc());
  if (socket != nullptr && nl_connect(socket.get(), NETLINK_ROUTE) != 0) {
    socket.reset();
  }
  return socket;
}

}  // namespace

void Neighbours::Release::operator()(rtnl_neigh* neighbour) const {
  rtnl_neigh_put(neighbour);
}

Neighbours Neighbours::Of(int link_index) {
  Neighbours neighbours;
  const Socket socket = Open();
  nl_cache* cache = nullptr;
  if (socket == nullptr || rtnl_neigh_alloc_cache(socket.get(), &cache) != 0) {
    return neighbours;
  }
  for (nl_object* item = nl_cache_get_first(cache); item != nullptr; item = nl_cache_get_next(item)) {
    auto* const listed = reinterpret_cast<rtnl_neigh*>(item);
    nl_addr* const address = rtnl_neigh_get_dst(listed);
    nl_addr* const hardware = rtnl_neigh_get_lladdr(listed);
    if (rtnl_neigh_get_ifindex(listed) == link_index && (rtnl_neigh_get_state(listed) & kKnown) != 0 &&
        address != nullptr && hardware != nullptr) {
      std::unique_ptr<rtnl_neigh, Release> known(rtnl_neigh_alloc());
      rtnl_neigh_set_ifindex(known.get(), link_index);
      rtnl_neigh_set_dst(known.get(), address);
      rtnl_neigh_set_lladdr(known.get(), hardware);
      rtnl_neigh_set_state(known.get(), NUD_STALE);
      neighbours.m_known.push_back(std::move(known));
    }
  }
  nl_cache_free(cache);
  return neighbours;
}

void Neighbours::Restore() const {
  const Socket socket = m_known.empty() ? nullptr : Open();
  if (socket == nullptr) {
    return;
  }
  for (const auto& known : m_known) {
    const int error = rtnl_neigh_add(socket.get(), known.get(), NLM_F_CREATE | NLM_F_REPLACE);
    if (error != 0) {
      PLATFORM_LOG(DLOG_WARN, "a neighbour has to be asked for again: %s", nl_geterror(error));
    }
  }
}

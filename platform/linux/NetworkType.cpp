#include "NetworkType.h"

#include <cstdlib>
#include <cstring>

#include <linux/rtnetlink.h>

#include "KernelTables.h"
#include "vconf.h"
#include "vconf_keys.h"

std::unique_ptr<NetworkType> NetworkType::Start(std::function<void()> on_change) {
  std::unique_ptr<NetworkType> type(new NetworkType(std::move(on_change)));
  type->m_events = KernelEvents::Listen(
      KernelEvents::Turn::kLater,
      [self = type.get()](const nlmsghdr* message) { self->OnMessage(message); },
      [self = type.get()] { self->RefreshSoon(); });
  if (type->m_events == nullptr) {
    return nullptr;
  }
  type->Refresh();
  return type;
}

NetworkType::~NetworkType() {
  if (m_refresh != 0) {
    g_source_remove(m_refresh);
  }
}

/// A route that replaces another is announced without the one that it replaces: instead of keeping a
/// table of its own, this looks at the kernel's after each change that may matter.
void NetworkType::OnMessage(const nlmsghdr* message) {
  // Links as well: the kernel drops the IPv4 routes of an interface that goes down without a word.
  const bool is_link = message->nlmsg_type == RTM_NEWLINK || message->nlmsg_type == RTM_DELLINK;
  if (is_link || ParseDefaultRoute(message)) {
    RefreshSoon();
  }
}

/// Once for many events, and after whatever else they led to.
void NetworkType::RefreshSoon() {
  if (m_refresh != 0) {
    return;
  }
  const auto refresh = [](gpointer self) -> gboolean {
    auto* type = static_cast<NetworkType*>(self);
    type->m_refresh = 0;
    type->Refresh();
    return G_SOURCE_REMOVE;
  };
  m_refresh = g_idle_add(refresh, this);
}

void NetworkType::Refresh() {
  std::optional<DefaultRoute> route;
  std::optional<Link> link;
  if (!kernel_tables::FindDefaultRoute(route, link)) {
    return;
  }
  if (route != m_route) {
    m_route = route;
    m_on_change();
  }
  if (!link) {
    return;
  }
  const char* type = NetworkTypeOf(*link);
  char* stored = vconf_get_str(vconf_keys::kNetworkType);
  if (stored == nullptr || std::strcmp(stored, type) != 0) {
    vconf_set_str(vconf_keys::kNetworkType, type);
  }
  std::free(stored);
}

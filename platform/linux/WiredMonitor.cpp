#include "WiredMonitor.h"

#include <linux/rtnetlink.h>

#include "NetlinkSocket.h"

namespace {

/// So that the start comes to an end where routes change without a pause.
constexpr int kMostLooks = 10;

}  // namespace

std::unique_ptr<WiredMonitor> WiredMonitor::Start(Handler handler) {
  std::unique_ptr<WiredMonitor> monitor(new WiredMonitor(std::move(handler)));
  return monitor->Open() ? std::move(monitor) : nullptr;
}

bool WiredMonitor::Open() {
  m_events = KernelEvents::Listen(
      KernelEvents::Turn::kFirst, [this](const nlmsghdr* message) { Tell(Handle(m_network, message)); },
      [this] {
        WiredNetwork found;
        if (Look(found)) {
          Tell(m_network.Become(found));
        }
      });
  m_is_started = m_events != nullptr && FindState();
  return m_is_started;
}

/// What was under way belongs to what is found at the start. It may be older than what a look finds: a
/// carrier that went stands in the kernel's table up to a second before it is told. So what holds is a
/// look that nothing came after.
bool WiredMonitor::FindState() {
  for (int look = 0; look < kMostLooks; ++look) {
    if (!Look(m_network)) {
      return false;
    }
    if (!m_events->CatchUp()) {
      break;
    }
  }
  return true;
}

bool WiredMonitor::Look(WiredNetwork& found) {
  const auto socket = NetlinkSocket::Open();
  return socket != nullptr &&
         socket->Dump(
             RTM_GETLINK, [&] { found = {}; }, [&](const nlmsghdr* message) { Handle(found, message); });
}

WiredNetwork::Transition WiredMonitor::Handle(WiredNetwork& network, const nlmsghdr* message) {
  auto link = ParseLink(message);
  if (!link) {
    return std::nullopt;
  }
  if (message->nlmsg_type == RTM_DELLINK) {
    return network.Remove(link->index);
  }
  if (link->has_carrier && IsWired(*link) && link->maker == LinkMaker::kHardware) {
    link->device_type = DeviceTypeOf(link->index);
  }
  return network.Update(*link);
}

void WiredMonitor::Tell(WiredNetwork::Transition transition) {
  if (transition && m_is_started) {
    const Handler handler = m_handler;  // it may end this object
    handler(*transition);
  }
}

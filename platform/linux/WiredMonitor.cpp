#include "WiredMonitor.h"

#include <linux/rtnetlink.h>

#include "NetlinkSocket.h"

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
  if (m_events == nullptr || !Look(m_network)) {
    return false;
  }
  m_events->CatchUp();  // with what was under way: it belongs to what is found at the start
  m_is_started = true;
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

#include "WiredMonitor.h"

#include <linux/rtnetlink.h>

std::unique_ptr<WiredMonitor> WiredMonitor::Start(Handler handler) {
  std::unique_ptr<WiredMonitor> monitor(new WiredMonitor(std::move(handler)));
  return monitor->Open() ? std::move(monitor) : nullptr;
}

bool WiredMonitor::Open() {
  m_socket = NetlinkSocket::Open(
      {RTNLGRP_LINK}, [this](const nlmsghdr* message) { Tell(Handle(m_network, message)); },
      [this] {
        WiredNetwork found;
        if (Look(found)) {
          Tell(m_network.Become(found));
        }
      },
      G_PRIORITY_HIGH);  // the user is waiting for the popup, nobody for the default route
  return m_socket != nullptr && Look(m_network);
}

bool WiredMonitor::Look(WiredNetwork& found) {
  return m_socket->Dump(
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
  if (link->has_carrier && IsWired(*link) && link->kind.empty()) {
    link->device_type = DeviceTypeOf(link->index);
  }
  return network.Update(*link);
}

void WiredMonitor::Tell(WiredNetwork::Transition transition) {
  if (transition) {
    const Handler handler = m_handler;  // it may end this object
    handler(*transition);
  }
}

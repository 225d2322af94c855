#include "Cable.h"

#include "VirtualTv.h"

void Cable::SetAttached(bool attached) {
  if (m_is_attached == attached) {
    return;
  }
  m_is_attached = attached;
  m_is_open = true;
  Emit(attached ? CONNECTION_ETHERNET_CABLE_ATTACHED : CONNECTION_ETHERNET_CABLE_DETACHED);
  VirtualTv::Instance().NetworkChanged();
}

void Cable::SetOpen(bool open) {
  if (m_is_open != open) {
    m_is_open = open;
    VirtualTv::Instance().NetworkChanged();
  }
}

void Cable::Emit(int state) {
  m_line.Send([this, state, event = m_callbacks.NewEvent()] {
    m_callbacks.Deliver(event, [state](auto callback, void* user_data) {
      callback(static_cast<connection_ethernet_cable_state_e>(state), user_data);
    });
  });
}

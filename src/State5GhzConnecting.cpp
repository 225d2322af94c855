#include "State5GhzConnecting.h"

#include "C5GhzSwitchHandler.h"
#include "Log.h"

namespace {

constexpr guint kConnectLimitSeconds = 50;

}  // namespace

CState5GhzConnecting::~CState5GhzConnecting() {
  if (m_timerId != 0) {
    g_source_remove(m_timerId);
  }
  if (m_idleId != 0) {
    g_source_remove(m_idleId);
  }
}

void CState5GhzConnecting::Entry() {
  m_timerId = g_timeout_add_seconds(kConnectLimitSeconds, _OnTimeout, this);
  m_handler.m_ConnectRequest(m_handler.GetSimilarWiFiData());
}

void CState5GhzConnecting::m_OnEvent(const IEvents& event) {
  if (event.GetKind() != IEvents::EVENT_CONNECTION_RESULT) {
    return;
  }
  if (event.GetArgument()) {
    NW_LOG("Connection done event received =>%d", event.GetArgument());
    m_handler.m_TransitState(STATE_SHOWPOPUP);
    return;
  }
  NW_LOG("Ap failed to connect,Notify fail UI,transit to rollback state");
  if (m_idleId != 0) {
    g_source_remove(m_idleId);
  }
  m_idleId = g_idle_add(_OnIdle, this);
}

gboolean CState5GhzConnecting::_OnTimeout(gpointer state) {
  auto* self = static_cast<CState5GhzConnecting*>(state);
  self->m_timerId = 0;
  self->m_handler.m_TransitState(STATE_ROLLBACK);
  return G_SOURCE_REMOVE;
}

gboolean CState5GhzConnecting::_OnIdle(gpointer state) {
  auto* self = static_cast<CState5GhzConnecting*>(state);
  self->m_idleId = 0;
  self->m_handler.m_TransitState(STATE_ROLLBACK);
  return G_SOURCE_REMOVE;
}

#include "State5GhzRollBack.h"

#include "C5GhzSwitchHandler.h"
#include "Log.h"

namespace {

constexpr guint kRollBackLimitSeconds = 40;

}  // namespace

CState5GhzRollBack::~CState5GhzRollBack() {
  if (m_timerId != 0) {
    g_source_remove(m_timerId);
  }
}

void CState5GhzRollBack::Entry() {
  m_timerId = g_timeout_add_seconds(kRollBackLimitSeconds, _OnTimeout, this);
  const bool isFavourite = m_handler.GetSimilarWiFiData().isFavourite;
  NW_LOG("Is Similar AP Favourite==%d", isFavourite);
  if (!isFavourite) {
    m_handler.m_DisconnectRequest(m_handler.GetSimilarWiFiData());
  }
  m_handler.m_ConnectRequest(m_handler.GetOriginalWiFiData());
}

void CState5GhzRollBack::m_OnEvent(const IEvents& event) {
  if (event.GetKind() != IEvents::EVENT_CONNECTION_RESULT) {
    return;
  }
  NW_LOG("Rollback connection completed show success UI %d", event.GetArgument());
  m_handler.m_NotifyFailToUI();
  if (event.GetArgument()) {
    NW_LOG("rollback successfully done ");
  } else {
    NW_LOG("Ap failed to connect, transit to complete state");
  }
  m_handler.m_TransitState(STATE_COMPLETE);
}

gboolean CState5GhzRollBack::_OnTimeout(gpointer state) {
  auto* self = static_cast<CState5GhzRollBack*>(state);
  self->m_timerId = 0;
  self->m_handler.m_TransitState(STATE_COMPLETE);
  return G_SOURCE_REMOVE;
}

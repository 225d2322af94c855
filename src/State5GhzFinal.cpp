#include "State5GhzFinal.h"

#include "C5GhzSwitchHandler.h"
#include "Log.h"

void CState5GhzError::Entry() {
  NW_LOG("Reached to error state ,notify UI and go to idle state");
  m_handler.m_NotifyFailToUI();
  m_handler.m_TransitState(STATE_IDLE);
}

void CState5GhzError::Exit() {
  NW_LOG("Error state is left");
}

void CState5GhzComplete::Entry() {
  NW_LOG("Reached to final state ,operation success ,going to idle");
  m_handler.m_TransitState(STATE_IDLE);
}

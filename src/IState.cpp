#include "IState.h"

#include "C5GhzSwitchHandler.h"
#include "Log.h"

IState::IState(C5GhzSwitchHandler& handler, OPERATIONSTATE state) : m_handler(handler) {
  handler.m_SetState(state);
}

void IState::m_OnEvent(const IEvents& event) {
  NW_LOG("Events unhandled %d", event.GetKind());
}

#include "State5GhzIdle.h"

CState5GhzIdle::CState5GhzIdle(C5GhzSwitchHandler& handler) : IState(handler, STATE_IDLE) {}

void CState5GhzIdle::Entry() {}

void CState5GhzIdle::Exit() {}

void CState5GhzIdle::m_OnEvent(const IEvents& /*event*/) {}

#include "State5GhzShowPopup.h"

#include "C5GhzSwitchHandler.h"
#include "Log.h"
#include "NetworkUIPopup.h"

CState5GhzShowPopup::CState5GhzShowPopup(C5GhzSwitchHandler& handler)
    : IState(handler, STATE_SHOWPOPUP) {}

CState5GhzShowPopup::~CState5GhzShowPopup() = default;

void CState5GhzShowPopup::Entry() {
  if (m_handler.GetRequestType() == eUserRequest) {
    m_popup = std::make_unique<CNetworkUIPopup>();
    m_popup->Show("", [this](int button) { m_OnNetworkUIButtonPressed(button); });
    return;
  }
  m_handler.m_SetUserSelection(1);
  m_handler.m_SendEV005Event();
  m_handler.m_TransitState(STATE_COMPLETE);
}

void CState5GhzShowPopup::Exit() {
  m_popup.reset();
}

void CState5GhzShowPopup::m_OnNetworkUIButtonPressed(int button) {
  NW_LOG("Popup button pressed =>%d", button);
  m_handler.m_SetUserSelection(button);
  m_handler.m_SendEV005Event();
  m_handler.m_TransitState(button == 0 ? STATE_ROLLBACK : STATE_COMPLETE);
}

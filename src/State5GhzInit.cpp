#include "State5GhzInit.h"

#include "C5GhzSwitchHandler.h"
#include "Log.h"

void CState5GhzInit::Entry() {
  const int result = m_handler.m_FindSimilarAP();
  if (result == Setwell::NetworkWifi::kNotAllowed) {
    NW_LOG("Not allowed to switch");
    m_handler.m_TransitState(STATE_ERROR);
  } else if (result == Setwell::NetworkWifi::kFound) {
    NW_LOG("Similar AP found without scan,go to connect [%s]",
           m_handler.GetSimilarWiFiData().ssid.c_str());
    m_handler.m_TransitState(STATE_CONNECTING);
  } else {
    NW_LOG("Similar AP not found without scan,go for wifi scanning");
    m_handler.m_ScanRequest();
  }
}

void CState5GhzInit::m_OnEvent(const IEvents& event) {
  if (event.GetKind() != IEvents::EVENT_SCAN_DONE) {
    return;
  }
  if (m_handler.m_FindSimilarAP() == Setwell::NetworkWifi::kFound) {
    NW_LOG("Similar AP found after scan,go to connect [%s]",
           m_handler.GetSimilarWiFiData().ssid.c_str());
    m_handler.m_TransitState(STATE_CONNECTING);
  } else {
    NW_LOG("No similar ap found,even after scan,go to error state");
    m_handler.m_TransitState(STATE_ERROR);
  }
}

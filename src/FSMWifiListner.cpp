#include "FSMWifiListner.h"

#include "C5GhzSwitchHandler.h"
#include "Log.h"

void CWifiEventListener::OnConnectionError(const Setwell::NetworkError& /*error*/) {
  NW_LOG("Event Received => On Connection Error ");
  m_handler._OnConnected(false);
}

void CWifiEventListener::OnConnected() {
  NW_LOG("Event Received => Connected");
  m_handler._OnConnected(true);
}

void CWifiEventListener::OnInternetOnline() {
  NW_LOG("Event Received => Internet online");
}

void CWifiEventListener::OnWifiScanComplete() {
  NW_LOG("Event Received => Wifi Scan complete");
  m_handler.m_OnScanDone();
}

void CWifiEventListener::OnAPConnected(bool connected) {
  NW_LOG("Event Received => AP connected %d", connected);
}

void CWifiEventListener::OnWifiConnectSuccess() {
  NW_LOG("Event Received => Wifi connect success");
  m_handler._OnConnected(true);
}

#include "ConnectionSteps.h"

std::vector<ConnectionSteps::Step> ConnectionSteps::Become(wifi_connection_state_e state,
                                                           const Radio& radio) {
  std::vector<Step> steps;
  const bool is_known = !radio.bssid.empty();
  const bool is_elsewhere = is_known && radio.bssid != m_partner.bssid;
  // On its way there, the one who connects may still choose another radio of the network.
  if (state < m_state || (m_state == WIFI_CONNECTION_STATE_CONNECTED && is_elsewhere)) {
    Leave(steps);
  }
  if (state == WIFI_CONNECTION_STATE_DISCONNECTED || !is_known) {
    return steps;
  }
  m_partner = radio;
  while (m_state < state) {
    m_state = static_cast<wifi_connection_state_e>(m_state + 1);
    steps.push_back({m_state, m_partner});
  }
  return steps;
}

void ConnectionSteps::Leave(std::vector<Step>& steps) {
  m_state = WIFI_CONNECTION_STATE_DISCONNECTED;
  steps.push_back({m_state, m_partner});
}

wifi_connection_state_e ConnectionSteps::StateOf(NMDeviceState state) {
  switch (state) {
    case NM_DEVICE_STATE_PREPARE:
    case NM_DEVICE_STATE_CONFIG:
    case NM_DEVICE_STATE_NEED_AUTH:
      return WIFI_CONNECTION_STATE_ASSOCIATION;
    case NM_DEVICE_STATE_IP_CONFIG:
    case NM_DEVICE_STATE_IP_CHECK:
    case NM_DEVICE_STATE_SECONDARIES:
      return WIFI_CONNECTION_STATE_CONFIGURATION;
    case NM_DEVICE_STATE_ACTIVATED:
      return WIFI_CONNECTION_STATE_CONNECTED;
    case NM_DEVICE_STATE_UNKNOWN:
    case NM_DEVICE_STATE_UNMANAGED:
    case NM_DEVICE_STATE_UNAVAILABLE:
    case NM_DEVICE_STATE_DISCONNECTED:
    case NM_DEVICE_STATE_DEACTIVATING:
    case NM_DEVICE_STATE_FAILED:
      return WIFI_CONNECTION_STATE_DISCONNECTED;
  }
  return WIFI_CONNECTION_STATE_DISCONNECTED;
}

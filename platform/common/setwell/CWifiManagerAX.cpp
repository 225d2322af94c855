#include "setwell/CWifiManagerAX.h"

#include "AccessPoint.h"
#include "wifi_manager.h"

namespace Setwell {

int CWifiManagerAX::GetWiFiProtocol() {
  constexpr int kUnknown = -1;
  const AccessPointHandle ap = ConnectedHandle();
  wifi_manager_connection_mode_e mode = WIFI_MANAGER_CONNECTION_MODE_UNKNOWN;
  if (!ap || wifi_manager_ap_get_connection_mode(ap.get(), &mode) != WIFI_MANAGER_ERROR_NONE ||
      mode < WIFI_MANAGER_CONNECTION_MODE_80211B || mode > WIFI_MANAGER_CONNECTION_MODE_80211AX) {
    return kUnknown;
  }
  return mode - WIFI_MANAGER_CONNECTION_MODE_80211B;
}

}  // namespace Setwell

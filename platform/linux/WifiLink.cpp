#include "WifiLink.h"

#include <NetworkManager.h>
#include <net/if.h>

#include "NetworkService.h"

std::optional<WayOut> FindWifiLink() {
  NMDeviceWifi* const device = NetworkService::Instance().WifiDevice();
  if (device == nullptr) {
    const auto way = FindWayOut();
    return way && way->is_wifi ? way : std::nullopt;
  }
  if (nm_device_get_state(NM_DEVICE(device)) != NM_DEVICE_STATE_ACTIVATED) {
    return std::nullopt;
  }
  const char* name = nm_device_get_ip_iface(NM_DEVICE(device));
  return FindWayOver(static_cast<int>(if_nametoindex(name == nullptr ? "" : name)));
}

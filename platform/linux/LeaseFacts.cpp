#include "LeaseFacts.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>

#include <NetworkManager.h>
#include <net/if.h>

#include "NetworkService.h"
#include "WifiLink.h"

namespace {

/// Null when NetworkManager is not there, or does not know the interface.
NMDevice* DeviceOf(int link_index) {
  NMClient* const client = NetworkService::Instance().Client();
  const GPtrArray* devices = client == nullptr ? nullptr : nm_client_get_devices(client);
  char name[IFNAMSIZ] = "";
  if (devices == nullptr || if_indextoname(static_cast<unsigned>(link_index), name) == nullptr) {
    return nullptr;
  }
  for (guint i = 0; i < devices->len; ++i) {
    auto* const device = NM_DEVICE(g_ptr_array_index(devices, i));
    if (g_strcmp0(nm_device_get_ip_iface(device), name) == 0 ||
        g_strcmp0(nm_device_get_iface(device), name) == 0) {
      return device;
    }
  }
  return nullptr;
}

}  // namespace

namespace lease_facts {

std::optional<int> OfNetworkManager(int link_index) {
  NMDevice* const device = DeviceOf(link_index);
  NMDhcpConfig* const lease = device == nullptr ? nullptr : nm_device_get_dhcp4_config(device);
  const char* text =
      lease == nullptr ? nullptr : nm_dhcp_config_get_one_option(lease, "dhcp_lease_time");
  int seconds = 0;
  if (text == nullptr || std::from_chars(text, text + std::strlen(text), seconds).ec != std::errc() ||
      seconds <= 0) {
    return std::nullopt;
  }
  return seconds;
}

std::optional<bool> IsTelephone() {
  const auto wifi = FindWifiLink();
  if (!wifi) {
    return std::nullopt;
  }
  NMDeviceWifi* const device = NetworkService::Instance().WifiDevice();
  // That somebody has set it says how they pay; that it was guessed says what the access point told.
  const bool is_said =
      device != nullptr && nm_device_get_metered(NM_DEVICE(device)) == NM_METERED_GUESS_YES;
  return is_said || IsAddressOfTelephones(wifi->gateway);
}

bool IsAddressOfTelephones(std::string_view gateway) {
  // iOS; Android before 11, which chooses one by chance since; Android where it shares without a router.
  constexpr std::string_view kAddresses[] = {"172.20.10.1", "192.168.43.1", "192.168.49.1"};
  return std::ranges::find(kAddresses, gateway) != std::end(kAddresses);
}

}  // namespace lease_facts

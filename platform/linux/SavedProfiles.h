#pragma once

#include <string>
#include <vector>

#include <NetworkManager.h>

#include "Radio.h"
#include "SavedWifiTable.h"

/// A Wi-Fi profile of NetworkManager, as far as it makes a saved network.
struct SavedProfile {
  std::string uuid;
  std::string ssid;  ///< bytes
  wifi_security_type_e security = WIFI_SECURITY_TYPE_NONE;
  std::vector<std::string> seen_bssids = {};  ///< "AA:BB:CC:DD:EE:FF", where it has been connected
  long long last_used = 0;                    ///< seconds since 1970; 0: never
  bool is_hidden = false;                     ///< its radios do not tell their network's name
};

/// A saved network: all profiles of one name and one kind of security.
struct SavedNetwork {
  std::string ssid;  ///< bytes
  wifi_security_type_e security = WIFI_SECURITY_TYPE_NONE;
  /// MHz, where the TV was connected to it last, else where it is heard; 0: not known
  int frequency = 0;
  long long last_used = 0;  ///< seconds since 1970; 0: never, or not known
  bool is_hidden = false;   ///< as one of its profiles says
};

/// What NetworkManager's profiles say of saved networks. Pure functions.
namespace saved_profiles {

/// @param profile  out: untouched on failure
/// @return whether it is a profile of a network that the TV can join
[[nodiscard]] bool Read(NMConnection* connection, SavedProfile& profile);

/// Whether it is a profile that opens a radio.
[[nodiscard]] bool Opens(NMConnection* connection, const Radio& radio);

/// @param records  where the TV was connected with each profile last
/// @return in the order in which they were used, the last one first; then by name
[[nodiscard]] std::vector<SavedNetwork> NetworksOf(const std::vector<SavedProfile>& profiles,
                                                   const SavedWifiTable::Records& records);

}  // namespace saved_profiles

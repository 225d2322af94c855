#include "SavedProfiles.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

#include "NetworkRadio.h"

namespace saved_profiles {

namespace {

/// Null when it is no profile of a network with access points and a name.
NMSettingWireless* FindWireless(NMConnection* connection) {
  NMSettingWireless* const wireless = nm_connection_get_setting_wireless(connection);
  if (wireless == nullptr || nm_setting_wireless_get_ssid(wireless) == nullptr) {
    return nullptr;
  }
  const char* const mode = nm_setting_wireless_get_mode(wireless);
  return mode == nullptr || g_str_equal(mode, NM_SETTING_WIRELESS_MODE_INFRA) != FALSE ? wireless
                                                                                       : nullptr;
}

wifi_security_type_e SecurityOf(NMConnection* connection) {
  NMSettingWirelessSecurity* const security = nm_connection_get_setting_wireless_security(connection);
  const char* const key_management =
      security == nullptr ? nullptr : nm_setting_wireless_security_get_key_mgmt(security);
  const bool is_first_generation =
      security != nullptr && nm_setting_wireless_security_get_num_protos(security) == 1 &&
      g_str_equal(nm_setting_wireless_security_get_proto(security, 0), "wpa") != FALSE;
  return network_radio::SecurityOfProfile(key_management == nullptr ? "" : key_management,
                                          is_first_generation);
}

std::vector<std::string> SeenBssidsOf(NMSettingWireless* wireless) {
  std::vector<std::string> seen;
  for (guint i = 0; i < nm_setting_wireless_get_num_seen_bssids(wireless); ++i) {
    g_autofree char* upper = g_ascii_strup(nm_setting_wireless_get_seen_bssid(wireless, i), -1);
    seen.emplace_back(upper);
  }
  return seen;
}

}  // namespace

bool Read(NMConnection* connection, SavedProfile& profile) {
  NMSettingWireless* const wireless = FindWireless(connection);
  NMSettingConnection* const setting = nm_connection_get_setting_connection(connection);
  const char* const uuid = setting == nullptr ? nullptr : nm_setting_connection_get_uuid(setting);
  if (wireless == nullptr || uuid == nullptr) {
    return false;
  }
  profile = {uuid,
             network_radio::NameOf(nm_setting_wireless_get_ssid(wireless)),
             SecurityOf(connection),
             SeenBssidsOf(wireless),
             static_cast<long long>(nm_setting_connection_get_timestamp(setting)),
             nm_setting_wireless_get_hidden(wireless) != FALSE};
  return true;
}

/// Asked for each of hundreds of radios, so the names are compared where they are.
bool Opens(NMConnection* connection, const Radio& radio) {
  NMSettingWireless* const wireless = FindWireless(connection);
  if (wireless == nullptr || radio.ssid.empty()) {
    return false;
  }
  gsize size = 0;
  const auto* const name =
      static_cast<const char*>(g_bytes_get_data(nm_setting_wireless_get_ssid(wireless), &size));
  return size == radio.ssid.size() && std::equal(name, name + size, radio.ssid.begin()) &&
         network_radio::Opens(SecurityOf(connection), radio.security);
}

std::vector<SavedNetwork> NetworksOf(const std::vector<SavedProfile>& profiles,
                                     const SavedWifiTable::Records& records) {
  struct Entry {
    SavedNetwork network;
    long long connected = -1;  // when its frequency was noted
  };
  std::map<std::pair<std::string, wifi_security_type_e>, Entry> entries;
  for (const SavedProfile& profile : profiles) {
    Entry& entry = entries[{profile.ssid, profile.security}];
    entry.network.ssid = profile.ssid;
    entry.network.security = profile.security;
    entry.network.last_used = std::max(entry.network.last_used, profile.last_used);
    entry.network.is_hidden = entry.network.is_hidden || profile.is_hidden;
    const auto record = records.find(profile.uuid);
    if (record != records.end() && record->second.connected > entry.connected) {
      entry.connected = record->second.connected;
      entry.network.frequency = record->second.frequency;
      entry.network.last_used = std::max(entry.network.last_used, entry.connected);
    }
  }
  std::vector<SavedNetwork> networks;
  networks.reserve(entries.size());
  for (auto& [key, entry] : entries) {
    networks.push_back(std::move(entry.network));
  }
  std::ranges::stable_sort(networks, std::greater{}, &SavedNetwork::last_used);
  return networks;
}

}  // namespace saved_profiles

#include "SavedWifi.h"

#include <algorithm>
#include <utility>

#include "Air.h"
#include "EarlyClient.h"
#include "NetworkRadio.h"
#include "NetworkService.h"

namespace {

/// A profile that lives for one attempt, or that NetworkManager made itself of what it found, is not
/// what somebody has saved.
bool IsSaved(NMRemoteConnection* connection) {
  constexpr unsigned kNotSaved = NM_SETTINGS_CONNECTION_FLAG_NM_GENERATED |
                                 NM_SETTINGS_CONNECTION_FLAG_VOLATILE |
                                 NM_SETTINGS_CONNECTION_FLAG_EXTERNAL;
  return (nm_remote_connection_get_flags(connection) & kNotSaved) == 0;
}

/// @param client  null: there is none to visit
/// @param visit   takes NMConnection*
template <class Visit>
void ForEachSaved(NMClient* client, Visit&& visit) {
  const GPtrArray* connections = client == nullptr ? nullptr : nm_client_get_connections(client);
  for (guint i = 0; connections != nullptr && i < connections->len; ++i) {
    gpointer connection = g_ptr_array_index(connections, i);
    if (IsSaved(NM_REMOTE_CONNECTION(connection))) {
      visit(NM_CONNECTION(connection));
    }
  }
}

std::vector<SavedProfile> ProfilesOf(NMClient* client) {
  std::vector<SavedProfile> profiles;
  ForEachSaved(client, [&](NMConnection* connection) {
    SavedProfile profile;
    if (saved_profiles::Read(connection, profile)) {
      profiles.push_back(std::move(profile));
    }
  });
  return profiles;
}

bool IsOneOf(const char* bssid, const std::vector<std::string>& bssids) {
  return bssid != nullptr && std::ranges::any_of(bssids, [bssid](const std::string& one) {
           return g_ascii_strcasecmp(one.c_str(), bssid) == 0;
         });
}

/// The strongest of some radios, of those that NetworkManager hears.
Radio StrongestOf(const std::vector<std::string>& bssids) {
  Radio strongest;
  NMDeviceWifi* const device = NetworkService::Instance().WifiDevice();
  const GPtrArray* points = device == nullptr ? nullptr : nm_device_wifi_get_access_points(device);
  for (guint i = 0; points != nullptr && i < points->len; ++i) {
    auto* const ap = NM_ACCESS_POINT(g_ptr_array_index(points, i));
    if (IsOneOf(nm_access_point_get_bssid(ap), bssids)) {
      Radio radio = network_radio::RadioOf(ap);
      if (strongest.bssid.empty() || radio.signal > strongest.signal) {
        strongest = std::move(radio);
      }
    }
  }
  return strongest;
}

/// The channel of the strongest radio that announces this name.
/// @return MHz; 0 when there is none
int FrequencyOf(const std::string& ssid, wifi_security_type_e security) {
  const Radio* strongest = nullptr;
  for (const HeardRadio& heard : Air::Instance().Radios()) {
    if (heard.radio.ssid == ssid && network_radio::Opens(security, heard.radio.security) &&
        (strongest == nullptr || heard.radio.signal > strongest->signal)) {
      strongest = &heard.radio;
    }
  }
  return strongest == nullptr ? 0 : strongest->frequency;
}

/// Of a network that the TV was never connected to. Who wants to connect to it scans there, and a hidden
/// one is heard without its name until somebody asks for it.
void AddFrequency(SavedNetwork& network) {
  network.frequency = FrequencyOf(network.ssid, network.security);
  if (network.frequency == 0 && network.is_hidden) {
    network.frequency = FrequencyOf("", network.security);
  }
}

}  // namespace

SavedWifi& SavedWifi::Instance() {
  static auto* const saved = new SavedWifi;
  return *saved;
}

void SavedWifi::Start() {
  m_table.Load(SavedWifiTable::Path());
  NetworkService::Instance().AddListener(this, [this] { OnService(); });
}

void SavedWifi::Stop() {
  NetworkService::Instance().RemoveListener(this);
}

std::optional<std::vector<SavedNetwork>> SavedWifi::All() {
  NetworkService& service = NetworkService::Instance();
  std::vector<SavedProfile> profiles;
  if (NMClient* const client = service.Client()) {
    profiles = ProfilesOf(client);
    LearnFrom(profiles);
  } else if (!service.IsBeginning() || std::exchange(m_was_early, true) ||
             !LookEarly([&](NMClient* early) { profiles = ProfilesOf(early); })) {
    return std::nullopt;
  }
  auto networks = saved_profiles::NetworksOf(profiles, m_table.All());
  for (SavedNetwork& network : networks) {
    if (network.frequency == 0) {
      AddFrequency(network);
    }
  }
  return networks;
}

std::string SavedWifi::ProfileThatOpens(const Radio& radio) {
  NMConnection* found = nullptr;
  guint64 found_used = 0;
  ForEachSaved(NetworkService::Instance().Client(), [&](NMConnection* connection) {
    if (saved_profiles::Opens(connection, radio)) {
      const guint64 used =
          nm_setting_connection_get_timestamp(nm_connection_get_setting_connection(connection));
      if (found == nullptr || used > found_used) {
        found = connection;
        found_used = used;
      }
    }
  });
  return found == nullptr ? "" : nm_connection_get_uuid(found);
}

void SavedWifi::NoteConnection(const std::string& uuid, const Radio& radio, bool is_new) {
  const auto known = m_table.All().find(uuid);
  const bool is_known = known != m_table.All().end() && known->second.bssid == radio.bssid;
  if (is_new || !is_known) {
    m_table.Add(
        {{uuid, {radio.bssid, radio.frequency, radio.signal, g_get_real_time() / G_USEC_PER_SEC}}});
  }
}

/// While NetworkManager starts, the profiles that it has not read yet are not gone.
void SavedWifi::OnService() {
  NMClient* const client = NetworkService::Instance().Client();
  if (client == nullptr || nm_client_get_startup(client) != FALSE) {
    return;
  }
  m_table.RemoveUnless([client](const std::string& uuid) {
    return nm_client_get_connection_by_uuid(client, uuid.c_str()) != nullptr;
  });
  LearnFrom(ProfilesOf(client));
}

/// For networks that the TV knew before this daemon did: NetworkManager keeps the radios, though not
/// their frequencies.
void SavedWifi::LearnFrom(const std::vector<SavedProfile>& profiles) {
  SavedWifiTable::Records learned;
  for (const SavedProfile& profile : profiles) {
    if (profile.seen_bssids.empty() || m_table.All().contains(profile.uuid)) {
      continue;
    }
    const Radio radio = StrongestOf(profile.seen_bssids);
    if (!radio.bssid.empty()) {
      learned[profile.uuid] = {radio.bssid, radio.frequency, radio.signal, profile.last_used};
    }
  }
  m_table.Add(learned);
}

#include "SavedNames.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "NetworkRadio.h"
#include "NetworkService.h"

namespace {

struct Saved {
  std::string name;
  std::uint64_t used_at;  // seconds since 1970; 0: never
  bool is_hidden;
};

std::vector<Saved> SavedNetworks() {
  std::vector<Saved> saved;
  NMClient* const client = NetworkService::Instance().Client();
  const GPtrArray* const profiles = client == nullptr ? nullptr : nm_client_get_connections(client);
  for (guint i = 0; profiles != nullptr && i < profiles->len; ++i) {
    auto* const profile = NM_CONNECTION(g_ptr_array_index(profiles, i));
    NMSettingWireless* const wireless = nm_connection_get_setting_wireless(profile);
    const std::string name =
        wireless == nullptr ? "" : network_radio::NameOf(nm_setting_wireless_get_ssid(wireless));
    if (name.empty()) {
      continue;
    }
    NMSettingConnection* const common = nm_connection_get_setting_connection(profile);
    saved.push_back({name, common == nullptr ? 0 : nm_setting_connection_get_timestamp(common),
                     nm_setting_wireless_get_hidden(wireless) != FALSE});
  }
  return saved;
}

}  // namespace

std::vector<std::string> SavedNamesToAskFor(const std::vector<HeardRadio>& heard) {
  const auto is_nameless = [](const HeardRadio& one) { return one.radio.ssid.empty(); };
  const bool asks_all = std::ranges::any_of(heard, is_nameless);
  std::vector<Saved> saved = SavedNetworks();
  std::ranges::stable_sort(saved, std::ranges::greater{}, [](const Saved& network) {
    return std::pair(network.is_hidden, network.used_at);
  });
  std::vector<std::string> names;
  for (const Saved& network : saved) {
    const bool is_heard = std::ranges::any_of(
        heard, [&](const HeardRadio& one) { return one.radio.ssid == network.name; });
    const bool is_asked_for = network.is_hidden || (asks_all && !is_heard);
    if (is_asked_for && std::ranges::find(names, network.name) == names.end()) {
      names.push_back(network.name);
    }
  }
  return names;
}

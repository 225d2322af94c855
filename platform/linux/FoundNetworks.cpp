#include "FoundNetworks.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <tuple>
#include <utility>

namespace found_networks {

bool IsSameNetwork(const Radio& one, const Radio& other) {
  return !one.ssid.empty() && one.ssid == other.ssid && one.security == other.security;
}

std::vector<HeardRadio> NetworksOf(const std::vector<HeardRadio>& radios) {
  const auto view = [](const HeardRadio& heard) {
    return std::tuple(heard.is_connected, heard.radio.signal);
  };
  std::vector<HeardRadio> networks;
  std::map<std::pair<std::string, wifi_security_type_e>, std::size_t> places;
  for (const HeardRadio& heard : radios) {
    if (heard.radio.ssid.empty()) {
      networks.push_back(heard);
      continue;
    }
    const auto [place, is_new] =
        places.try_emplace({heard.radio.ssid, heard.radio.security}, networks.size());
    if (is_new) {
      networks.push_back(heard);
    } else if (view(heard) > view(networks[place->second])) {
      networks[place->second] = heard;
    }
  }
  return networks;
}

std::vector<HeardRadio> RadiosOf(const Radio& radio, const std::vector<HeardRadio>& radios) {
  std::vector<HeardRadio> found;
  std::ranges::copy_if(radios, std::back_inserter(found), [&radio](const HeardRadio& heard) {
    return heard.radio.bssid == radio.bssid || IsSameNetwork(heard.radio, radio);
  });
  return found;
}

}  // namespace found_networks

#include "Wifi.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

#include <glib.h>

#include "VirtualTv.h"

namespace {

bool IsSameNetwork(const Radio& one, const Radio& other) {
  return !one.essid.empty() && one.essid == other.essid && one.security == other.security;
}

template <class Radios>
auto Find(Radios& radios, std::string_view bssid) {
  return std::ranges::find_if(radios,
                              [&](const Radio& radio) { return IsSameBssid(radio.bssid, bssid); });
}

bool IsBetterView(const AccessPoint& one, const AccessPoint& other) {
  if (one.is_connected != other.is_connected) {
    return one.is_connected;
  }
  return one.radio.rssi > other.radio.rssi;
}

}  // namespace

bool IsSameBssid(std::string_view one, std::string_view other) {
  return std::ranges::equal(one, other,
                            [](char a, char b) { return g_ascii_toupper(a) == g_ascii_toupper(b); });
}

void Wifi::AddRadio(const Radio& radio) {
  const auto old = Find(m_radios, radio.bssid);
  if (old == m_radios.end()) {
    m_radios.push_back(radio);
    return;
  }
  const bool breaks =
      IsSameBssid(m_connected, radio.bssid) && (!radio.is_on || !IsSameNetwork(*old, radio));
  if (breaks) {
    Drop();
  }
  *old = radio;
}

bool Wifi::RemoveRadio(std::string_view bssid) {
  if (!SetOn(bssid, false)) {
    return false;
  }
  m_radios.erase(Find(m_radios, bssid));
  return true;
}

bool Wifi::SetOn(std::string_view bssid, bool is_on) {
  Radio* const radio = FindRadio(bssid);
  if (radio == nullptr) {
    return false;
  }
  if (!is_on && IsSameBssid(m_connected, bssid)) {
    Drop();
  }
  radio->is_on = is_on;
  return true;
}

Radio* Wifi::FindRadio(std::string_view bssid) {
  const auto radio = Find(m_radios, bssid);
  return radio == m_radios.end() ? nullptr : &*radio;
}

void Wifi::Save(const SavedNetwork& network) {
  std::erase_if(m_saved, [&](const SavedNetwork& saved) {
    return saved.essid == network.essid && saved.security == network.security;
  });
  m_saved.push_back(network);
}

bool Wifi::Forget(std::string_view essid) {
  return std::erase_if(m_saved, [&](const SavedNetwork& saved) { return saved.essid == essid; }) != 0;
}

const SavedNetwork* Wifi::FindSaved(std::string_view essid, wifi_security_type_e security) const {
  const auto saved = std::ranges::find_if(m_saved, [&](const SavedNetwork& network) {
    return network.essid == essid && network.security == security;
  });
  return saved == m_saved.end() ? nullptr : &*saved;
}

bool Wifi::Join(std::string_view bssid) {
  const Radio* const radio = FindRadio(bssid);
  if (radio == nullptr || !radio->is_on) {
    return false;
  }
  Save({radio->essid, radio->security, radio->passphrase});
  See(*radio);
  Enter(WIFI_CONNECTION_STATE_CONNECTED, radio->bssid);
  return true;
}

void Wifi::Drop() {
  if (m_state == WIFI_CONNECTION_STATE_CONNECTED) {
    Enter(WIFI_CONNECTION_STATE_DISCONNECTED);
  }
}

void Wifi::SeeAll() {
  m_seen.clear();
  for (const Radio& radio : m_radios) {
    if (!radio.is_on) {
      continue;
    }
    Radio& seen = m_seen.emplace_back(radio);
    const bool is_named = !radio.is_hidden || IsSameBssid(radio.bssid, m_connected) ||
                          FindSaved(radio.essid, radio.security) != nullptr;
    if (!is_named) {
      seen.essid.clear();
    }
  }
}

void Wifi::See(const Radio& radio) {
  const auto seen = Find(m_seen, radio.bssid);
  if (seen == m_seen.end()) {
    m_seen.push_back(radio);
  } else {
    *seen = radio;
  }
}

AccessPoint Wifi::Describe(const Radio& seen) const {
  const bool is_connected = IsSameBssid(seen.bssid, m_connected);
  const auto now = is_connected ? Find(m_radios, seen.bssid) : m_radios.end();
  const Radio& radio = now != m_radios.end() ? *now : seen;
  return {radio, FindSaved(radio.essid, radio.security) != nullptr, is_connected};
}

std::vector<AccessPoint> Wifi::Known() const {
  std::vector<AccessPoint> known;
  known.reserve(m_seen.size());
  std::ranges::transform(m_seen, std::back_inserter(known),
                         [this](const Radio& seen) { return Describe(seen); });
  return known;
}

std::vector<AccessPoint> Wifi::KnownNetworks() const {
  std::vector<AccessPoint> networks;
  std::map<std::pair<std::string, wifi_security_type_e>, std::size_t> places;
  for (const AccessPoint& ap : Known()) {
    const bool is_new = ap.radio.essid.empty() ||
                        places.try_emplace({ap.radio.essid, ap.radio.security}, networks.size()).second;
    if (is_new) {
      networks.push_back(ap);
      continue;
    }
    AccessPoint& view = networks[places[{ap.radio.essid, ap.radio.security}]];
    if (IsBetterView(ap, view)) {
      view = ap;
    }
  }
  return networks;
}

std::vector<AccessPoint> Wifi::KnownRadiosOf(const AccessPoint& ap) const {
  std::vector<AccessPoint> radios;
  for (const Radio& seen : m_seen) {
    if (IsSameNetwork(seen, ap.radio) || IsSameBssid(seen.bssid, ap.radio.bssid)) {
      radios.push_back(Describe(seen));
    }
  }
  return radios;
}

std::optional<AccessPoint> Wifi::FindKnown(std::string_view bssid) const {
  const auto seen = Find(m_seen, bssid);
  return seen == m_seen.end() ? std::nullopt : std::optional(Describe(*seen));
}

void Wifi::Enter(wifi_connection_state_e state, const std::string& bssid) {
  m_state = state;
  m_connected = bssid;
  VirtualTv::Instance().NetworkChanged();
}

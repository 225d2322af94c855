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

template <class Networks>
auto FindIn(Networks& networks, std::string_view essid, wifi_security_type_e security) {
  return std::ranges::find_if(networks, [&](const SavedNetwork& network) {
    return network.essid == essid && network.security == security;
  });
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
  const auto saved = FindIn(m_saved, network.essid, network.security);
  if (saved == m_saved.end()) {
    m_saved.push_back(network);
    return;
  }
  const int frequency = network.frequency != 0 ? network.frequency : saved->frequency;
  *saved = network;
  saved->frequency = frequency;
}

bool Wifi::Forget(std::string_view essid) {
  return std::erase_if(m_saved, [&](const SavedNetwork& saved) { return saved.essid == essid; }) != 0;
}

const SavedNetwork* Wifi::FindSaved(std::string_view essid, wifi_security_type_e security) const {
  const auto saved = FindIn(m_saved, essid, security);
  return saved == m_saved.end() ? nullptr : &*saved;
}

bool Wifi::Join(std::string_view bssid) {
  const Radio* const radio = FindRadio(bssid);
  if (radio == nullptr || !radio->is_on) {
    return false;
  }
  Save({radio->essid, radio->security, radio->passphrase});
  SetState(WIFI_CONNECTION_STATE_CONNECTED, *radio);
  return true;
}

bool Wifi::Connect(std::string_view bssid) {
  const Radio* const radio = FindRadio(bssid);
  if (radio == nullptr || !radio->is_on) {
    return false;
  }
  const wifi_target_s target{radio->essid.c_str(), radio->bssid.c_str(), radio->frequency,
                             radio->security, radio->passphrase.c_str()};
  return m_requests.Connect(WifiTarget(target), [](int) {}) == WIFI_ERROR_NONE;
}

void Wifi::Drop() {
  if (m_state == WIFI_CONNECTION_STATE_CONNECTED) {
    Leave();
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

void Wifi::SeeChannels(const std::set<int>& frequencies) {
  const auto is_looked_at = [&](const Radio& radio) { return frequencies.contains(radio.frequency); };
  const std::vector<Radio> before = m_seen;
  std::erase_if(m_seen, is_looked_at);
  for (const Radio& radio : m_radios) {
    if (!radio.is_on || !is_looked_at(radio)) {
      continue;
    }
    Radio heard = radio;
    const auto known = Find(before, radio.bssid);
    const bool is_named = !radio.is_hidden || IsSameBssid(radio.bssid, m_connected) ||
                          (known != before.end() && known->essid == radio.essid);
    if (!is_named) {
      heard.essid.clear();
    }
    See(heard);
  }
}

std::vector<AccessPoint> Wifi::SeeName(std::string_view essid) {
  std::erase_if(m_seen, [&](const Radio& seen) { return seen.essid == essid; });
  std::vector<AccessPoint> found;
  for (const Radio& radio : m_radios) {
    if (radio.is_on && radio.essid == essid) {
      See(radio);
      found.push_back(Describe(radio));
    }
  }
  return found;
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
  return NetworksOf(Known());
}

std::vector<AccessPoint> Wifi::NetworksOf(const std::vector<AccessPoint>& radios) {
  std::vector<AccessPoint> networks;
  std::map<std::pair<std::string, wifi_security_type_e>, std::size_t> places;
  for (const AccessPoint& ap : radios) {
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

void Wifi::Enter(wifi_connection_state_e state, const Radio& partner) {
  const bool is_another = m_partner && !IsSameBssid(m_partner->bssid, partner.bssid);
  if (is_another || m_state == WIFI_CONNECTION_STATE_CONNECTED) {
    TellOfLeaving();
  }
  SetState(state, partner);
  Tell(state, Describe(partner));
}

void Wifi::SetState(wifi_connection_state_e state, const Radio& partner) {
  const Radio* const now = FindRadio(partner.bssid);
  if (now != nullptr && now->is_on) {
    See(partner);
  }
  m_partner = partner;
  m_state = state;
  const bool is_connected = state == WIFI_CONNECTION_STATE_CONNECTED;
  m_connected = is_connected ? partner.bssid : "";
  const auto saved = FindIn(m_saved, partner.essid, partner.security);
  if (is_connected && saved != m_saved.end()) {
    saved->frequency = partner.frequency;
  }
  VirtualTv::Instance().NetworkChanged();
}

void Wifi::Leave() {
  if (!m_partner) {
    return;
  }
  TellOfLeaving();
  m_partner.reset();
  m_state = WIFI_CONNECTION_STATE_DISCONNECTED;
  m_connected.clear();
  VirtualTv::Instance().NetworkChanged();
}

void Wifi::TellOfLeaving() {
  const Radio* const now = FindRadio(m_partner->bssid);
  const Radio& radio = now != nullptr ? *now : *m_partner;
  const bool is_saved = FindSaved(radio.essid, radio.security) != nullptr;
  Tell(WIFI_CONNECTION_STATE_DISCONNECTED, {radio, is_saved, false});
}

void Wifi::Tell(wifi_connection_state_e state, const AccessPoint& ap) {
  m_state_line.Send([this, state, ap, event = m_state_callbacks.NewEvent()] {
    const BorrowedAp handle(m_handles, ap);
    m_state_callbacks.Deliver(event, [&](wifi_connection_state_changed_cb callback, void* user_data) {
      callback(state, handle.Get(), user_data);
    });
  });
}

void Wifi::Open() {
  m_state_line.Open();
  m_scans.Open();
  m_requests.Open();
  m_portal.Open();
}

void Wifi::Close() {
  m_state_line.Close();
  m_scans.Close();
  m_requests.Close();
  m_portal.Close();
}

#include "WifiConnector.h"

#include <algorithm>
#include <set>
#include <utility>

#include "Air.h"
#include "NetworkRadio.h"
#include "NetworkService.h"
#include "ProfileUpdates.h"
#include "SavedProfiles.h"
#include "Supplicant.h"

namespace {

NMDevice* TheDevice() {
  return NM_DEVICE(NetworkService::Instance().WifiDevice());
}

bool IsSameBssid(const std::string& one, const std::string& other) {
  return g_ascii_strcasecmp(one.c_str(), other.c_str()) == 0;
}

bool IsMet(const WifiConnector::Target& target, const Radio& radio) {
  return radio.ssid == target.name && network_radio::Opens(target.security, radio.security) &&
         (target.bssid.empty() || IsSameBssid(radio.bssid, target.bssid));
}

/// Where the target is said to be, and where it was heard last.
std::vector<int> ChannelsOf(const WifiConnector::Target& target) {
  std::set<int> frequencies;
  if (target.frequency > 0) {
    frequencies.insert(target.frequency);
  }
  for (const HeardRadio& heard : Air::Instance().Radios()) {
    if (IsMet(target, heard.radio)) {
      frequencies.insert(heard.radio.frequency);
    }
  }
  return {frequencies.begin(), frequencies.end()};
}

/// @return null when none was heard
const HeardRadio* StrongestOf(const WifiConnector::Target& target,
                              const std::vector<HeardRadio>& heard) {
  const HeardRadio* strongest = nullptr;
  for (const HeardRadio& one : heard) {
    if (IsMet(target, one.radio) &&
        (strongest == nullptr || one.radio.signal > strongest->radio.signal)) {
      strongest = &one;
    }
  }
  return strongest;
}

}  // namespace

WifiConnector& WifiConnector::Instance() {
  static auto* const connector = new WifiConnector;
  return *connector;
}

void WifiConnector::Start() {
  if (!m_is_started) {
    m_is_started = true;
    NetworkService::Instance().AddListener(this, [this] { OnNetwork(); });
    OnNetwork();
  }
}

void WifiConnector::Stop() {
  if (!m_is_started) {
    return;
  }
  m_is_started = false;
  NetworkService::Instance().RemoveListener(this);
  m_request.reset();
  m_step = nullptr;
  m_departure.reset();
  const bool has_traces = m_attempt != nullptr || m_hold.IsHeld();
  m_attempt.reset();
  m_hold.Release(TheDevice());
  if (NMClient* const client = NetworkService::Instance().Client(); client != nullptr && has_traces) {
    // What was put right must have left this process before it ends.
    g_dbus_connection_flush_sync(nm_client_get_dbus_connection(client), nullptr, nullptr);
  }
  m_posted.clear();
  g_clear_handle_id(&m_posted_source, g_source_remove);
}

void WifiConnector::OnNetwork() {
  NMDevice* const device = TheDevice();
  const char* const interface = device == nullptr ? nullptr : nm_device_get_iface(device);
  Supplicant::Instance().UseInterface(interface == nullptr ? "" : interface);
  if (m_attempt != nullptr && !m_attempt->IsOn(device)) {
    m_attempt.reset();
    m_hold.ReleaseLater();
    End(WIFI_ERROR_OPERATION_FAILED);
  }
  m_hold.ReleaseOfOthers(device);
  PutProfilesRight();
}

/// Those that a process pinned which ended before it could put them right itself.
void WifiConnector::PutProfilesRight() {
  NMClient* const client = NetworkService::Instance().Client();
  if (client == nullptr || m_attempt != nullptr) {
    return;
  }
  const GPtrArray* const profiles = nm_client_get_connections(client);
  for (guint i = 0; i < profiles->len; ++i) {
    auto* const profile = NM_REMOTE_CONNECTION(g_ptr_array_index(profiles, i));
    if (wifi_profile::IsPinned(NM_CONNECTION(profile))) {
      profile_updates::Unpin(profile);
    }
  }
}

bool WifiConnector::IsConnectedTo(const std::string& name, wifi_security_type_e security,
                                  const std::string& bssid) const {
  NMDevice* const device = TheDevice();
  if (device == nullptr || m_attempt != nullptr || m_departure != nullptr ||
      nm_device_get_state(device) != NM_DEVICE_STATE_ACTIVATED) {
    return false;
  }
  NMActiveConnection* const active = nm_device_get_active_connection(device);
  NMRemoteConnection* const profile =
      active == nullptr ? nullptr : nm_active_connection_get_connection(active);
  if (profile == nullptr ||
      !saved_profiles::Opens(NM_CONNECTION(profile),
                             {.ssid = name, .bssid = bssid, .security = security})) {
    return false;
  }
  NMAccessPoint* const ap = nm_device_wifi_get_active_access_point(NM_DEVICE_WIFI(device));
  const char* const present = ap == nullptr ? nullptr : nm_access_point_get_bssid(ap);
  return bssid.empty() || (present != nullptr && IsSameBssid(present, bssid));
}

wifi_error_e WifiConnector::Connect(Target target, Answer answer) {
  if (!m_is_started || TheDevice() == nullptr) {
    return WIFI_ERROR_OPERATION_FAILED;
  }
  if (IsConnectedTo(target.name, target.security, target.bssid)) {
    Abort();  // who wants to be here does not want to be led elsewhere
    return WIFI_ERROR_ALREADY_EXISTS;
  }
  Begin({.answer = std::move(answer), .target = std::move(target)}, [this] { Look(); });
  return WIFI_ERROR_NONE;
}

wifi_error_e WifiConnector::ConnectToNetwork(const Radio& radio, Answer answer) {
  if (!m_is_started || TheDevice() == nullptr) {
    return WIFI_ERROR_OPERATION_FAILED;
  }
  Begin({.answer = std::move(answer),
         .target = {.name = radio.ssid, .frequency = radio.frequency, .security = radio.security},
         .is_for_network = true},
        [this] { BeginNetwork(); });
  return WIFI_ERROR_NONE;
}

wifi_error_e WifiConnector::Disconnect(const Radio& radio, Answer answer) {
  if (!m_is_started || TheDevice() == nullptr) {
    return WIFI_ERROR_OPERATION_FAILED;
  }
  if (!IsConnectedTo(radio.ssid, radio.security, "")) {
    return WIFI_ERROR_NO_CONNECTION;
  }
  const auto leave = [this] {
    m_hold.Release(TheDevice());  // who is sent away stays away by NetworkManager's own rule
    Leave([this](bool has_left) { End(has_left ? WIFI_ERROR_NONE : WIFI_ERROR_OPERATION_FAILED); });
  };
  Begin({.answer = std::move(answer)}, leave);
  return WIFI_ERROR_NONE;
}

/// The first step waits until the program has heard that its older request ended.
void WifiConnector::Begin(Request request, std::function<void()> step) {
  Abort();
  request.number = ++m_number;
  m_request = std::move(request);
  Post([this, number = m_number, step = std::move(step)] {
    if (m_request && m_request->number == number) {
      m_step = step;
      RunStep();
    }
  });
}

void WifiConnector::Abort() {
  if (!m_request) {
    return;
  }
  const Answer answer = std::move(m_request->answer);
  m_request.reset();
  m_step = nullptr;
  Post([answer] { answer(WIFI_ERROR_OPERATION_ABORTED); });
  if (m_attempt != nullptr) {
    m_attempt.reset();
    Leave(nullptr);
  }
}

void WifiConnector::RunStep() {
  if (m_departure == nullptr) {
    if (const auto step = std::exchange(m_step, nullptr)) {
      step();
    }
  }
}

void WifiConnector::End(int result) {
  if (m_request) {
    const Answer answer = std::move(m_request->answer);
    m_request.reset();
    answer(result);
  }
}

void WifiConnector::BeginNetwork() {
  if (IsConnectedTo(m_request->target.name, m_request->target.security, "")) {
    End(WIFI_ERROR_ALREADY_EXISTS);
  } else if (m_request->target.name.empty()) {
    End(WIFI_ERROR_NOT_FOUND);  // a hidden network whose name nobody knows
  } else {
    Look();
  }
}

void WifiConnector::Look() {
  m_request->channels = ChannelsOf(m_request->target);
  if (m_request->channels.empty()) {
    LookEverywhere();
  } else {
    Air::Instance().Look(m_request->channels, m_request->target.name, Looked());
  }
}

void WifiConnector::LookEverywhere() {
  m_request->is_all_looked_at = true;
  Air::Instance().Look({}, m_request->target.name, Looked());
}

std::function<void(bool is_done)> WifiConnector::Looked() {
  return [this, number = m_request->number](bool is_done) {
    if (m_request && m_request->number == number) {
      OnLooked(is_done);
    }
  };
}

/// One who keeps the TV out may keep silent when it asks, and is heard by its beacons all the same.
void WifiConnector::OnLooked(bool is_done) {
  const Target& target = m_request->target;
  const bool may_be_anywhere = m_request->is_for_network || target.frequency == 0;
  if (!is_done) {
    End(WIFI_ERROR_OPERATION_FAILED);
  } else if (const HeardRadio* const heard = StrongestOf(target, Air::Instance().Radios())) {
    Attempt(heard->is_hidden);
  } else if (!m_request->has_listened && !m_request->is_all_looked_at) {
    m_request->has_listened = true;
    Air::Instance().Listen(m_request->channels, Looked());
  } else if (may_be_anywhere && !m_request->is_all_looked_at) {
    LookEverywhere();
  } else {
    End(WIFI_ERROR_NOT_FOUND);
  }
}

/// @param is_hidden  NetworkManager must ask for the network by its name
void WifiConnector::Attempt(bool is_hidden) {
  NMClient* const client = NetworkService::Instance().Client();
  NMDevice* const device = TheDevice();
  if (client == nullptr || device == nullptr) {
    End(WIFI_ERROR_OPERATION_FAILED);
    return;
  }
  m_hold.Hold(device);
  const Target& target = m_request->target;
  m_attempt = WifiAttempt::Begin(client, NM_DEVICE_WIFI(device),
                                 {.network = {.name = target.name,
                                              .bssid = target.bssid,
                                              .security = target.security,
                                              .passphrase = target.passphrase.value_or(""),
                                              .is_hidden = is_hidden},
                                  .has_passphrase = target.passphrase.has_value()},
                                 [this](wifi_error_e result) { OnAttempted(result); });
}

void WifiConnector::OnAttempted(wifi_error_e result) {
  m_attempt.reset();
  if (result == WIFI_ERROR_NONE) {
    m_hold.Release(TheDevice());
    End(result);
  } else {
    Leave([this, result](bool) { End(result); });
  }
}

/// @param then  called only when no other request has come in between
void WifiConnector::Leave(std::function<void(bool has_left)> then) {
  NMDevice* const device = TheDevice();
  if (device == nullptr) {
    m_hold.ReleaseLater();
    if (then) {
      then(true);
    }
    return;
  }
  m_departure = WifiDeparture::Begin(device, [this, number = m_number, then](bool has_left) {
    m_departure.reset();
    m_hold.ReleaseLater();
    if (then && m_request && m_request->number == number) {
      then(has_left);
    }
    RunStep();
  });
}

void WifiConnector::Post(std::function<void()> task) {
  m_posted.push_back(std::move(task));
  if (m_posted_source == 0) {
    m_posted_source = g_idle_add_full(G_PRIORITY_DEFAULT, RunPosted, this, nullptr);
  }
}

gboolean WifiConnector::RunPosted(gpointer self) {
  auto* connector = static_cast<WifiConnector*>(self);
  const auto task = std::move(connector->m_posted.front());
  connector->m_posted.pop_front();
  if (connector->m_posted.empty()) {
    connector->m_posted_source = 0;
    task();
    return G_SOURCE_REMOVE;
  }
  task();
  return G_SOURCE_CONTINUE;
}

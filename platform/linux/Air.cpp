#include "Air.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "NetworkService.h"
#include "Supplicant.h"

namespace {

/// How long a list is good for whoever asks again at once.
constexpr gint64 kFreshUs = 100'000;
/// As long as drivers keep what they heard.
constexpr gint64 kForgottenUs = 30 * G_USEC_PER_SEC;
/// Drivers count the age of a frame in ticks of the kernel.
constexpr gint64 kTickUs = 20'000;
/// Enough for every channel, each looked at on its own.
constexpr std::size_t kSeenRequests = 64;

bool Contains(const auto& list, const auto& item) {
  return std::ranges::find(list, item) != list.end();
}

bool IsOnChannel(const ScanRequest& request, const Radio& radio) {
  return request.frequencies.empty() || Contains(request.frequencies, radio.frequency);
}

/// Whether a radio that is in reach was heard by a scan. One that hides its name answers to nothing
/// else, and a scan does not stay on a channel until its next beacon.
bool Covers(const ScanRequest& request, const HeardRadio& heard) {
  const bool is_asked = heard.is_hidden || heard.radio.ssid.empty()
                            ? !heard.radio.ssid.empty() && Contains(request.names, heard.radio.ssid)
                            : Contains(request.names, "") || Contains(request.names, heard.radio.ssid);
  return is_asked && IsOnChannel(request, heard.radio);
}

/// One entry for an address: the newest; but a name that is known is kept beside what hides it.
void Merge(std::vector<HeardRadio>& radios) {
  std::ranges::sort(radios, [](const HeardRadio& one, const HeardRadio& other) {
    return std::tie(one.radio.bssid, other.heard_at) < std::tie(other.radio.bssid, one.heard_at);
  });
  auto last = radios.begin();
  for (auto radio = radios.begin(); radio != radios.end(); ++radio) {
    if (radio == radios.begin()) {
      continue;
    }
    if (radio->radio.bssid != last->radio.bssid) {
      ++last;
      if (last != radio) {
        *last = std::move(*radio);
      }
      continue;
    }
    last->is_connected = last->is_connected || radio->is_connected;
    if (last->radio.ssid.empty() != radio->radio.ssid.empty()) {
      last->is_hidden = true;
      last->radio.ssid += radio->radio.ssid;
    }
  }
  if (!radios.empty()) {
    radios.erase(last + 1, radios.end());
  }
}

}  // namespace

Air& Air::Instance() {
  static auto* const air = new Air;
  return *air;
}

Air::Air()
    : m_antenna(m_driver, m_supplicant),
      m_queue(m_antenna,
              [this](const ScanRequest& request, gint64 begun_at) { OnScanned(request, begun_at); }) {}

void Air::Start() {
  m_is_started = true;
  NetworkService::Instance().AddListener(this, [this] { OnNetwork(); });
  Supplicant::Instance().AddListener({.owner = this, .on_presence = [this] { OnSupplicant(); }});
}

void Air::Stop() {
  m_is_started = false;
  NetworkService::Instance().RemoveListener(this);
  Supplicant::Instance().RemoveListener(this);
  m_queue.Clear();
  m_supplicant.Follow(false);
  m_radios.clear();
  m_seen.clear();
  m_read_at = 0;
  m_noise_frequency = 0;
}

void Air::OnNetwork() {
  NMDeviceWifi* const device = NetworkService::Instance().WifiDevice();
  const char* const name = device == nullptr ? nullptr : nm_device_get_iface(NM_DEVICE(device));
  m_driver.UseInterface(name == nullptr ? "" : name);
  m_read_at = 0;
}

/// Its object comes and goes with the interface, so this is also when a driver comes or goes.
void Air::OnSupplicant() {
  m_supplicant.Follow(!m_driver.IsThere());
  m_read_at = 0;
}

void Air::Antenna::Begin(const ScanRequest& request, std::function<void(End)> ended) {
  if (!m_driver.IsThere()) {
    return m_supplicant.Begin(request, std::move(ended));
  }
  m_driver.Begin(request, [this, request, ended](End end) {
    if (end == End::kFailed && m_driver.IsRefused()) {
      return m_supplicant.Begin(request, ended);
    }
    ended(end);
  });
}

void Air::Antenna::Abort() {
  if (m_driver.IsThere() && !m_driver.IsRefused()) {
    m_driver.Abort();
  } else {
    m_supplicant.Abort();
  }
}

void Air::Antenna::Forget() {
  m_driver.Forget();
  m_supplicant.Forget();
}

bool Air::IsReady() {
  return m_is_started && (m_driver.IsThere() || Supplicant::Instance().IsReady());
}

std::vector<HeardRadio> Air::Heard() {
  std::vector<HeardRadio> radios = m_driver.IsThere() ? m_driver.Radios() : m_supplicant.Radios();
  Merge(radios);
  return radios;
}

const std::vector<HeardRadio>& Air::Radios() {
  const gint64 now = g_get_monotonic_time();
  if (m_read_at == 0 || now - m_read_at > kFreshUs) {
    m_radios = Heard();
    m_read_at = now;
  }
  std::erase_if(m_radios, [this](const HeardRadio& heard) { return !IsInReach(heard); });
  return m_radios;
}

bool Air::IsInReach(const HeardRadio& heard) const {
  if (heard.is_connected) {
    return true;
  }
  const bool is_missed = std::ranges::any_of(m_seen, [&heard](const Seen& seen) {
    return heard.heard_at + kTickUs < seen.begun_at && Covers(seen.request, heard);
  });
  return !is_missed && g_get_monotonic_time() - heard.heard_at < kForgottenUs;
}

const HeardRadio* Air::Find(const std::string& bssid) {
  const auto& radios = Radios();
  const auto found = std::ranges::find_if(radios, [&bssid](const HeardRadio& heard) {
    return g_ascii_strcasecmp(heard.radio.bssid.c_str(), bssid.c_str()) == 0;
  });
  return found == radios.end() ? nullptr : &*found;
}

const HeardRadio* Air::Connected() {
  m_read_at = 0;
  const auto& radios = Radios();
  const auto found = std::ranges::find_if(radios, &HeardRadio::is_connected);
  return found == radios.end() ? nullptr : &*found;
}

std::optional<int> Air::SignalToNoise() {
  NoteNoise();
  const HeardRadio* const connected = Connected();
  const bool is_known = connected != nullptr && connected->radio.signal != 0 &&
                        m_noise_frequency == connected->radio.frequency;
  return is_known ? std::optional(connected->radio.signal - m_noise) : std::nullopt;
}

/// A scan empties the driver's table of noise, which may lack a channel then; its last value is the best
/// that is known.
void Air::NoteNoise() {
  const HeardRadio* const connected = Connected();
  if (connected == nullptr) {
    return;
  }
  const int frequency = connected->radio.frequency;
  std::optional<int> noise;
  if (m_driver.IsThere()) {
    noise = m_driver.Noise(frequency);
  } else {
    noise = m_supplicant.Noise(frequency);
    m_supplicant.PollSignal();
  }
  if (noise) {
    m_noise_frequency = frequency;
    m_noise = *noise;
  }
}

void Air::Scan(ScanRequest request, Answer answer) {
  m_queue.Scan(std::move(request), std::move(answer));
}

void Air::Look(const std::vector<int>& frequencies, const std::string& name, Answer answer) {
  ScanRequest request{frequencies, {""}};
  if (!name.empty()) {
    request.names.insert(request.names.begin(), name);
  }
  const gint64 asked_at = g_get_monotonic_time();
  m_queue.Look(request, [this, request, asked_at, answer = std::move(answer)](bool is_done) {
    const bool is_short = !request.frequencies.empty();
    if (!is_done || !is_short || !HasMissed(request, asked_at)) {
      return answer(is_done);
    }
    m_queue.Look(request, [this, asked_at, answer](bool is_done_again) {
      if (is_done_again) {
        m_seen.back().begun_at = asked_at;  // both are one look
        m_read_at = 0;
      }
      answer(is_done_again);
    });
  });
}

/// Whether nobody was heard, or not everybody who was heard shortly before. A look stays on a channel
/// for a third of the time between two beacons, and a question or its answer gets lost where the air is
/// full.
bool Air::HasMissed(const ScanRequest& request, gint64 since) {
  bool has_heard = false;
  bool has_missed = false;
  for (const HeardRadio& heard : Heard()) {
    const bool is_concerned = Covers(request, heard) && !heard.is_connected &&
                              g_get_monotonic_time() - heard.heard_at < kForgottenUs;
    const bool is_heard = heard.heard_at + kTickUs >= since;
    has_heard = has_heard || (is_heard && IsOnChannel(request, heard.radio));
    has_missed = has_missed || (is_concerned && !is_heard);
  }
  return has_missed || !has_heard;
}

void Air::Listen(const std::vector<int>& frequencies, Answer answer) {
  m_queue.Look({frequencies, {}}, std::move(answer));
}

void Air::OnScanned(const ScanRequest& request, gint64 begun_at) {
  NoteNoise();
  m_read_at = 0;
  // What a later scan looked at as well tells nothing more.
  std::erase_if(m_seen, [&](const Seen& seen) {
    return request.frequencies.empty()
               ? Contains(request.names, "")
               : seen.request.frequencies == request.frequencies && seen.request.names == request.names;
  });
  std::erase_if(m_seen, [](const Seen& seen) {
    return g_get_monotonic_time() - seen.begun_at > kForgottenUs;  // who was missed then is forgotten
  });
  if (m_seen.size() == kSeenRequests) {
    m_seen.erase(m_seen.begin());
  }
  m_seen.push_back({request, begun_at});
}

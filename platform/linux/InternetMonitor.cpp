#include "InternetMonitor.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "vconf_keys.h"

using namespace std::chrono_literals;

namespace {

/// Address, route and name servers of a network that is joined come one after the other.
constexpr auto kSettling = 300ms;
/// A TV that moves between radios of one network is without a carrier for a tenth of a second.
constexpr auto kRoaming = 500ms;
/// A route is replaced by taking the old one away, and a lease comes some time after the carrier.
constexpr auto kRouting = 1000ms;

/// After a failure that may be chance.
constexpr auto kSecondLook = 1000ms;
/// While something does not work: a recovery should not wait for as long as a failure may.
constexpr auto kRecoveryInterval = 30s;

}  // namespace

std::unique_ptr<InternetMonitor> InternetMonitor::Start(ProbeConfig config, Handler handler) {
  std::unique_ptr<InternetMonitor> monitor(new InternetMonitor(std::move(config), std::move(handler)));
  return monitor->Open() ? std::move(monitor) : nullptr;
}

bool InternetMonitor::Open() {
  m_events = KernelEvents::Listen(
      KernelEvents::Turn::kLater, [this](const nlmsghdr*) { LookSoon(); }, [this] { LookSoon(); });
  LookSoon();
  vconf_notify_key_changed(vconf_keys::kNotifyPelorus, OnPower, this);
  return m_events != nullptr;
}

InternetMonitor::~InternetMonitor() {
  vconf_ignore_key_changed(vconf_keys::kNotifyPelorus, OnPower);
}

/// Timers stand still while the machine sleeps, and what was found before may be hours old.
void InternetMonitor::OnPower(keynode_t* /*node*/, void* self) {
  auto* monitor = static_cast<InternetMonitor*>(self);
  char* word = vconf_get_str(vconf_keys::kNotifyPelorus);
  const bool is_awake = word != nullptr && std::strcmp(word, "instant_on") == 0;
  std::free(word);
  if (is_awake && monitor->m_way && monitor->m_way->link != 0) {
    monitor->m_probe.reset();
    monitor->m_next_probe.After(kSettling, [monitor] { monitor->Probe(); });
  }
}

/// Once for many events, and after whatever else they led to.
void InternetMonitor::LookSoon() {
  if (!m_look.IsActive()) {
    m_look.After(0ms, [this] { Look(); });
  }
}

void InternetMonitor::Look() {
  const auto way = FindWayOut();
  if (!way) {
    return;
  }
  if (m_settling.IsActive() ? way == m_settled : way == m_way) {
    return;
  }
  if (way == m_way) {
    m_verdict.Renew();  // it was another one for a moment: what was said of it may be wrong now
  }
  m_settled = way;
  m_settling.After(SettlingTimeOf(*way), [this] { Adopt(*m_settled); });
}

std::chrono::milliseconds InternetMonitor::SettlingTimeOf(const WayOut& way) const {
  if (way.link != 0) {
    return kSettling;
  }
  if (way.has_link) {
    return kRouting;
  }
  return m_way && m_way->is_wifi ? kRoaming : 0ms;
}

void InternetMonitor::Adopt(const WayOut& way) {
  if (!m_way || m_way->link != way.link) {
    m_verdict.Renew();
  }
  m_way = way;
  m_probe.reset();
  m_next_probe.Reset();
  if (way.link != 0) {
    Probe();
  } else {
    Tell(m_verdict.Take({way.has_link ? WayStep::kGateway : WayStep::kPhy, true}));
  }
}

void InternetMonitor::Probe() {
  m_probe = std::make_unique<InternetProbe>(
      *m_way, m_config, [this](const InternetProbe::Result& result) { OnProbed(result); });
}

void InternetMonitor::OnProbed(const InternetProbe::Result& result) {
  const WayFinding finding = result.finding;
  m_probe.reset();
  const auto reports = m_verdict.Take(finding);
  if (m_verdict.IsDoubted()) {
    m_next_probe.After(kSecondLook, [this] { Probe(); });
  } else {
    m_next_probe.AfterAbout(finding.failed
                                ? std::min<std::chrono::seconds>(kRecoveryInterval, m_config.interval)
                                : m_config.interval,
                            [this] { Probe(); });
  }
  Tell(reports);
}

void InternetMonitor::Tell(const std::vector<InternetVerdict::Report>& reports) const {
  const Handler handler = m_handler;  // it may end this object
  for (const InternetVerdict::Report& report : reports) {
    handler(report);
  }
}

#include "DriverAir.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "PlatformLog.h"

namespace {

Scanner::End EndOf(int error) {
  return error == -EBUSY ? Scanner::End::kBusy : Scanner::End::kFailed;
}

}  // namespace

/// The kernel's number of the interface to Wi-Fi drivers changes when their module is loaded again, so
/// where there is no interface the next question begins from the start. While a scan runs on one that
/// went, its end is still to be told.
std::optional<Nl80211::Interface> DriverAir::FindInterface() {
  if (m_nl80211 == nullptr) {
    m_nl80211 = Nl80211::Open();
  }
  if (m_nl80211 == nullptr) {
    return std::nullopt;
  }
  const auto interfaces = m_nl80211->Interfaces();
  const auto found = std::ranges::find_if(interfaces, [this](const Nl80211::Interface& interface) {
    return m_name.empty() || interface.name == m_name;
  });
  if (found != interfaces.end()) {
    return *found;
  }
  if (interfaces.empty() && !m_nl80211->IsListening()) {
    m_nl80211.reset();
  }
  return std::nullopt;
}

std::vector<HeardRadio> DriverAir::Radios() {
  const auto interface = FindInterface();
  if (!interface) {
    return {};
  }
  auto radios = m_nl80211->Results(interface->index);
  const auto connected = std::ranges::find_if(radios, &HeardRadio::is_connected);
  if (connected != radios.end()) {
    connected->radio.signal =
        m_nl80211->StationSignal(interface->index).value_or(connected->radio.signal);
    connected->radio.width = interface->width != 0 ? interface->width : connected->radio.width;
  }
  return radios;
}

std::optional<int> DriverAir::Noise(int frequency) {
  const auto interface = FindInterface();
  return interface ? m_nl80211->Noise(interface->index, frequency) : std::nullopt;
}

void DriverAir::Begin(const ScanRequest& request, std::function<void(End)> ended) {
  const auto interface = FindInterface();
  if (!interface) {
    return ended(End::kFailed);
  }
  // Before it begins: a single channel may be done at once.
  const auto on_event = [this, index = interface->index, ended](int of, Nl80211::ScanEvent event) {
    if (of != index) {
      return;
    }
    m_nl80211->StopListening();
    ended(event == Nl80211::ScanEvent::kResults ? End::kDone : End::kAborted);
  };
  if (!m_nl80211->Listen(on_event)) {
    return ended(End::kFailed);
  }
  std::vector<std::string> names = request.names;
  int error = m_nl80211->TriggerScan(interface->index, request.frequencies, names);
  while (error == -EINVAL && names.size() > 1) {
    names.resize(names.size() / 2);  // a driver asks for a few names at a time, some for one
    error = m_nl80211->TriggerScan(interface->index, request.frequencies, names);
  }
  if (error == 0) {
    m_is_refused = false;
    return;
  }
  m_nl80211->StopListening();
  m_is_refused = error == -EPERM || error == -EACCES;
  if (error != -EBUSY && !m_is_refused) {
    PLATFORM_LOG(DLOG_WARN, "no scan on %s: %s", interface->name.c_str(), g_strerror(-error));
  }
  ended(EndOf(error));
}

void DriverAir::Abort() {
  if (const auto interface = FindInterface()) {
    m_nl80211->AbortScan(interface->index);
  }
}

void DriverAir::Forget() {
  if (m_nl80211 != nullptr) {
    m_nl80211->StopListening();
  }
}

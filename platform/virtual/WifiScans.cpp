#include "WifiScans.h"

#include <algorithm>
#include <utility>

#include "Wifi.h"

WifiScans::WifiScans(Wifi& wifi) : m_wifi(wifi) {
  m_scan_line.SetLatency(kScanMs);
  m_channel_line.SetLatency(kChannelMs);
}

void WifiScans::Open() {
  m_is_open = true;
  m_scan_line.Open();
  m_channel_line.Open();
}

void WifiScans::Close() {
  m_is_open = false;
  m_scan_line.Close();
  m_channel_line.Close();
  m_scans.clear();
}

wifi_error_e WifiScans::ScanAll(Answer answer) {
  if (std::ranges::any_of(m_scans, [](const Scan& scan) { return scan.kind == WifiRequest::kScan; })) {
    return WIFI_ERROR_NOW_IN_PROGRESS;
  }
  return Ask({.kind = WifiRequest::kScan,
              .answer = [answer = std::move(answer)](int result, auto&) { answer(result); }});
}

wifi_error_e WifiScans::ScanChannels(const std::set<int>& frequencies, Answer answer) {
  return Ask({.kind = WifiRequest::kChannelScan,
              .frequencies = frequencies,
              .answer = [answer = std::move(answer)](int result, auto&) { answer(result); }});
}

wifi_error_e WifiScans::ScanForName(const std::string& essid, NameAnswer answer) {
  return Ask({.kind = WifiRequest::kNameScan, .essid = essid, .answer = std::move(answer)});
}

wifi_error_e WifiScans::Ask(Scan scan) {
  if (!m_is_open) {
    return WIFI_ERROR_OPERATION_FAILED;
  }
  m_scans.push_back(std::move(scan));
  if (m_scans.size() == 1) {
    Begin();
  }
  return WIFI_ERROR_NONE;
}

void WifiScans::Begin() {
  const Scan& scan = m_scans.front();
  if (scan.kind == WifiRequest::kChannelScan) {
    LookAtChannels(scan.frequencies.size());
  } else {
    m_scan_line.Send([this] { End(); });
  }
}

void WifiScans::LookAtChannels(std::size_t count) {
  m_channel_line.Send([this, count] {
    if (count > 1) {
      LookAtChannels(count - 1);
    } else {
      End();
    }
  });
}

void WifiScans::End() {
  const Scan scan = std::move(m_scans.front());
  m_scans.pop_front();
  if (!m_scans.empty()) {
    Begin();  // before the answer, which may ask for another
  }
  const int failure = m_wifi.Failures().Take(scan.kind);
  if (failure != WIFI_ERROR_NONE) {
    scan.answer(failure, {});
  } else {
    scan.answer(WIFI_ERROR_NONE, TakeResults(scan));
  }
}

std::vector<AccessPoint> WifiScans::TakeResults(const Scan& scan) {
  if (scan.kind == WifiRequest::kNameScan) {
    return m_wifi.SeeName(scan.essid);
  }
  if (scan.kind == WifiRequest::kChannelScan) {
    m_wifi.SeeChannels(scan.frequencies);
  } else {
    m_wifi.SeeAll();
  }
  return {};
}

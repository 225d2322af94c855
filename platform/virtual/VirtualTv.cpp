#include "VirtualTv.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <utility>

#include "CallGate.h"
#include "SystemInfo.h"
#include "system_info.h"

VirtualTv& VirtualTv::Instance() {
  static auto* const tv = new VirtualTv;
  return *tv;
}

VirtualTv::VirtualTv() {
  call_gate::SetHook(OnCall);
}

void VirtualTv::SetFeature(const std::string& name, const std::string& value) {
  const std::string key = name.find('/') == std::string::npos ? SYSTEM_INFO_FEATURE_PREFIX + name : name;
  m_features[key] = value;
  SystemInfo::Instance().Override(key, value.c_str());
}

DeliveryLine& VirtualTv::LineOf(EventKind kind) {
  switch (kind) {
    case EventKind::kCable:
      return m_cable.Line();
    case EventKind::kDongle:
      return m_telephony.Line();
    case EventKind::kReport:
      return m_internet.Line();
    case EventKind::kScan:
      return m_wifi.Scans().ScanLine();
    case EventKind::kLook:
      return m_wifi.Requests().LookLine();
    case EventKind::kConnect:
      return m_wifi.Requests().ConnectLine();
    case EventKind::kAddress:
      return m_wifi.Requests().AddressLine();
    case EventKind::kDisconnect:
      return m_wifi.Requests().DisconnectLine();
    case EventKind::kChannelScan:
      return m_wifi.Scans().ChannelLine();
    case EventKind::kWifiState:
      return m_wifi.StateLine();
    case EventKind::kPortal:
      return m_wifi.Portal().Line();
    case EventKind::kProfile:
      return m_wired_profile.Line();
    case EventKind::kStick:
      return m_usb_sockets.Line();
  }
  std::abort();
}

void VirtualTv::SetLatency(EventKind kind, unsigned milliseconds) {
  LineOf(kind).SetLatency(milliseconds);
}

void VirtualTv::DelayNext(EventKind kind, unsigned milliseconds) {
  LineOf(kind).DelayNext(milliseconds);
}

unsigned VirtualTv::LatencyMs(EventKind kind) {
  return LineOf(kind).LatencyMs();
}

void VirtualTv::Fail(const std::string& function, int code, int times) {
  const std::lock_guard lock(m_calls_mutex);
  if (times == 0) {
    m_failures.erase(function);
  } else {
    m_failures[function] = {code, times};
  }
}

void VirtualTv::StopFailing(const std::string& function) {
  const std::lock_guard lock(m_calls_mutex);
  m_failures.erase(function);
}

std::map<std::string, VirtualTv::Failure, std::less<>> VirtualTv::Failures() {
  const std::lock_guard lock(m_calls_mutex);
  return m_failures;
}

std::optional<int> VirtualTv::OnCall(std::string_view function, std::vector<std::string> arguments) {
  VirtualTv& tv = Instance();
  const std::lock_guard lock(tv.m_calls_mutex);
  if (tv.m_calls.size() == kMostCalls) {
    tv.m_calls.pop_front();
  }
  tv.m_calls.push_back({std::string(function), std::move(arguments)});
  const auto failure = tv.m_failures.find(function);
  if (failure == tv.m_failures.end()) {
    return std::nullopt;
  }
  const int code = failure->second.code;
  if (failure->second.times != kForGood && --failure->second.times == 0) {
    tv.m_failures.erase(failure);
  }
  return code;
}

std::vector<VirtualTv::Call> VirtualTv::Calls() {
  const std::lock_guard lock(m_calls_mutex);
  return {m_calls.begin(), m_calls.end()};
}

std::vector<VirtualTv::Call> VirtualTv::Calls(std::string_view function) {
  const std::lock_guard lock(m_calls_mutex);
  std::vector<Call> calls;
  std::ranges::copy_if(m_calls, std::back_inserter(calls),
                       [&](const Call& call) { return call.function == function; });
  return calls;
}

void VirtualTv::ClearCalls() {
  const std::lock_guard lock(m_calls_mutex);
  m_calls.clear();
}

#include "Internet.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "Cable.h"
#include "Telephony.h"
#include "Wifi.h"

Internet::Carrier Internet::GetCarrier() const {
  if (m_cable.IsInNetwork()) {
    return Carrier::kCable;
  }
  if (m_wifi.State() == WIFI_CONNECTION_STATE_CONNECTED) {
    return Carrier::kWifi;
  }
  return m_telephony.IsRunning() && m_telephony.HasDongle() ? Carrier::kCellular : Carrier::kNone;
}

void Internet::SetGateway(bool works) {
  m_is_gateway_working = works;
  Check();
}

void Internet::SetDns(bool works) {
  m_is_dns_working = works;
  Check();
}

void Internet::SetHttp(bool works) {
  m_is_http_working = works;
  Check();
}

const char* Internet::NameOf(Step step) {
  switch (step) {
    case Step::kPhy:
      return "PHY";
    case Step::kGateway:
      return "GATEWAY";
    case Step::kDns:
      return "DNS";
    case Step::kHttp:
    case Step::kNone:  // a check that meets no failure ends there too
      return "HTTP";
  }
  std::abort();
}

Internet::Finding Internet::Look() const {
  Finding found{.carrier = GetCarrier(), .radio = "", .failed = Step::kNone};
  if (found.carrier == Carrier::kNone) {
    found.failed = Step::kPhy;
  } else if (!m_is_gateway_working) {
    found.failed = Step::kGateway;
  } else if (!m_is_dns_working) {
    found.failed = Step::kDns;
  } else if (!m_is_http_working) {
    found.failed = Step::kHttp;
  }
  if (found.carrier == Carrier::kWifi) {
    found.radio = m_wifi.ConnectedBssid();
  }
  return found;
}

void Internet::Check() {
  const Finding before = std::exchange(m_found, Look());
  if (m_found == before) {
    return;
  }
  if (before.failed < m_found.failed) {
    Report(CONNECTION_ERROR_NONE, NameOf(before.failed));
  }
  const bool is_said = before.failed == Step::kHttp && m_found.failed == Step::kNone;
  if (!is_said) {
    SendFinding(nullptr);
  }
}

void Internet::Report(int result, const std::string& step) {
  Send(result, step, nullptr);
}

void Internet::SendFinding(connection_h only) {
  int result = CONNECTION_ERROR_NONE;
  if (m_found.failed != Step::kNone) {
    result = m_found.failed == Step::kPhy ? CONNECTION_ERROR_NO_CONNECTION
                                          : CONNECTION_ERROR_OPERATION_FAILED;
  }
  Send(result, NameOf(m_found.failed), only);
}

void Internet::Send(int result, const std::string& step, connection_h only) {
  m_line.Send([this, result, step, only, event = m_monitors.NewEvent()] {
    m_monitors.Deliver(
        event,
        [&](auto callback, void* user_data) {
          std::string text = step;  // the callback may write into it
          callback(static_cast<connection_error_e>(result), text.data(), user_data);
        },
        only);
  });
}

void Internet::SetMonitor(connection_h handle, connection_network_monitor_cb callback, void* user_data) {
  m_monitors.Set(handle, callback, user_data);
  SendFinding(handle);
}

std::string Internet::Address(connection_address_family_e family) const {
  const bool is_ipv4 = family == CONNECTION_ADDRESS_FAMILY_IPV4;
  switch (GetCarrier()) {
    case Carrier::kNone:
      return "";
    case Carrier::kCable:
      return is_ipv4 ? m_wired.ipv4 : m_wired.ipv6;
    case Carrier::kCellular:
      return is_ipv4 ? m_cellular.ipv4 : m_cellular.ipv6;
    case Carrier::kWifi:
      break;
  }
  const auto radio = std::ranges::find_if(m_wifi.Radios(), [this](const Radio& candidate) {
    return IsSameBssid(candidate.bssid, m_wifi.ConnectedBssid());
  });
  if (radio == m_wifi.Radios().end()) {
    return "";
  }
  return is_ipv4 ? radio->ipv4 : radio->ipv6;
}

void Internet::SetMacAddress(connection_type_e type, const std::string& mac_address) {
  m_mac_addresses[type] = mac_address;
}

std::string Internet::MacAddress(connection_type_e type) const {
  const auto found = m_mac_addresses.find(type);
  if (found == m_mac_addresses.end() || (type == CONNECTION_TYPE_CELLULAR && !m_telephony.HasDongle())) {
    return "";
  }
  return found->second;
}

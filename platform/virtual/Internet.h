#pragma once

#include <map>
#include <string>

#include "DeliveryLine.h"
#include "HandleCallbacks.h"
#include "net_connection.h"

class Cable;
class Telephony;
class Wifi;

/// The way from the TV to the internet: which of its networks carries the traffic, what works beyond it,
/// and the checker that tells those who asked. Owned by VirtualTv; main-loop thread only.
///
/// The checker goes from step to step, "PHY", "GATEWAY", "DNS", "HTTP", and reports where it ends: the
/// first step that fails, or "HTTP" as a success. It checks when the network or the health of a step
/// changes, and reports when it ends elsewhere than before; a step that works again is reported as a
/// success before that.
class Internet {
 public:
  /// All are parts of the same TV.
  Internet(const Cable& cable, const Wifi& wifi, const Telephony& telephony)
      : m_cable(cable), m_wifi(wifi), m_telephony(telephony) {}

  /// What carries the traffic: the cable before Wi-Fi, and Wi-Fi before the dongle.
  enum class Carrier { kNone, kCable, kWifi, kCellular };
  [[nodiscard]] Carrier GetCarrier() const;

  /// The health of what is behind the link; all works until it is set.
  void SetGateway(bool works);
  void SetDns(bool works);
  void SetHttp(bool works);
  [[nodiscard]] bool IsGatewayWorking() const { return m_is_gateway_working; }
  [[nodiscard]] bool IsDnsWorking() const { return m_is_dns_working; }
  [[nodiscard]] bool IsHttpWorking() const { return m_is_http_working; }

  /// Sends a report with any content, and leaves the health as it is.
  void Report(int result, const std::string& step);

  /// A part of the TV has joined or left a network.
  void NetworkChanged() { Check(); }

  [[nodiscard]] bool HasDefaultGateway() const {
    return GetCarrier() != Carrier::kNone && m_is_gateway_working;
  }

  /// The addresses in the wired and in the cellular network; empty: none. Wi-Fi has those of its radio.
  struct Addresses {
    std::string ipv4;
    std::string ipv6;
  };
  void SetWiredAddresses(const Addresses& addresses) { m_wired = addresses; }
  void SetCellularAddresses(const Addresses& addresses) { m_cellular = addresses; }
  [[nodiscard]] const Addresses& WiredAddresses() const { return m_wired; }
  [[nodiscard]] const Addresses& CellularAddresses() const { return m_cellular; }
  /// In the network that carries the traffic.
  /// @return empty for none
  [[nodiscard]] std::string Address(connection_address_family_e family) const;

  /// @param mac_address  "AA:BB:CC:DD:EE:FF"; empty: the TV has no such hardware
  void SetMacAddress(connection_type_e type, const std::string& mac_address);
  /// @return empty when there is no such hardware; a dongle's address is there while it is in
  [[nodiscard]] std::string MacAddress(connection_type_e type) const;

  /// For how long routers lend an IPv4 address; 0: they do not. A cellular address is never lent.
  void SetLeaseSeconds(int seconds) { m_lease_seconds = seconds; }
  [[nodiscard]] int LeaseSeconds() const { return m_lease_seconds; }

  /// What connection_check_hotspot() answers of the access point.
  void SetHotspot(int status) { m_hotspot = status; }
  [[nodiscard]] int Hotspot() const { return m_hotspot; }

  /// The report to a new callback comes from a check of its own.
  void SetMonitor(connection_h handle, connection_network_monitor_cb callback, void* user_data);
  [[nodiscard]] HandleCallbacks<connection_network_monitor_cb>& Monitors() { return m_monitors; }
  [[nodiscard]] DeliveryLine& Line() { return m_line; }

 private:
  enum class Step { kPhy, kGateway, kDns, kHttp, kNone };  // in the order of the check
  /// Where a check ended, and of what network that is said.
  struct Finding {
    Carrier carrier = Carrier::kNone;
    std::string radio;
    Step failed = Step::kPhy;
    bool operator==(const Finding&) const = default;
  };

  [[nodiscard]] static const char* NameOf(Step step);
  [[nodiscard]] Finding Look() const;
  void Check();
  void Send(int result, const std::string& step, connection_h only);
  void SendFinding(connection_h only);

  const Cable& m_cable;
  const Wifi& m_wifi;
  const Telephony& m_telephony;

  bool m_is_gateway_working = true;
  bool m_is_dns_working = true;
  bool m_is_http_working = true;
  Finding m_found;

  Addresses m_wired{"192.168.0.10", ""};
  Addresses m_cellular{"10.64.12.5", ""};
  std::map<connection_type_e, std::string> m_mac_addresses{
      {CONNECTION_TYPE_WIFI, "02:1A:11:00:00:01"},
      {CONNECTION_TYPE_CELLULAR, "02:1A:11:00:00:02"},
      {CONNECTION_TYPE_ETHERNET, "02:1A:11:00:00:03"},
  };
  int m_lease_seconds = 86'400;
  int m_hotspot = 0;

  HandleCallbacks<connection_network_monitor_cb> m_monitors;
  DeliveryLine m_line;
};

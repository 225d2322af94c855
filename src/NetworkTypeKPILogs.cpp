#include "NetworkTypeKPILogs.h"

#include "AuroraMode.h"
#include "KPICreator2017.h"
#include "Log.h"
#include "WirelessKPILogger.h"
#include "net_connection.h"

namespace {

constexpr guint kIPv6WaitSeconds = 5;
constexpr char kService[] = "21_wireless";

}  // namespace

NetworkTypeKPI::NetworkTypeKPI() : m_monitor(CNWSingleton<NetworkMonitor>::GetInstance()) {
  CAuroraMode::HandleAuroraFile();
}

NetworkTypeKPI::~NetworkTypeKPI() {
  EndIPv6Wait();
  if (m_handle != kReleasedMonitorHandle) {
    m_monitor->UnRegisterCb(m_handle);
  }
}

void NetworkTypeKPI::Start() {
  NW_LOG("START");
  m_isPending = true;
  RegisterCb([this](eNetworkType type) { __OnNetworkChange(type); });
  m_handle = m_monitor->RegisterCb(
      [this](bool online, const std::string& reason) { __OnConnectEvent(online, reason); });
  m_capture.Start();
  NW_LOG("END");
}

void NetworkTypeKPI::Stop() {
  NW_LOG("START");
  EndIPv6Wait();
  m_isPending = false;
  m_monitor->UnRegisterCb(m_handle);
  UnRegisterCb();
  m_capture.Stop();
  NW_LOG("END");
}

void NetworkTypeKPI::EndIPv6Wait() {
  if (m_ipv6TimerId != 0) {
    g_source_remove(m_ipv6TimerId);
    m_ipv6TimerId = 0;
  }
}

bool NetworkTypeKPI::IsGatewayConnected() {
  bool has_gateway = false;
  const int error = connection_profile_check_default_gateway(&has_gateway);
  if (error != CONNECTION_ERROR_NONE) {
    NW_LOG("connection_profile_check_default_gateway %d", error);
  }
  NW_LOG("IsGatewayConnected => %s", has_gateway ? "true" : "false");
  return has_gateway;
}

void NetworkTypeKPI::__OnNetworkChange(eNetworkType type) {
  NW_LOG("NetworkChanged to=>%d", type);
  CAuroraMode::HandleAuroraFile();
  if (type != eNetworkTypeWireless) {
    m_isPending = true;
  }
}

void NetworkTypeKPI::__OnConnectEvent(bool online, const std::string& reason) {
  if (!online || !m_isPending || (reason != "GATEWAY" && reason != "HTTP" && reason != "DNS")) {
    return;
  }
  const eNetworkType type = GetCurrentNetworkType();
  if (type != eNetworkTypeWireless) {
    MakeKPIData(type);
    m_isPending = false;
  }
}

void NetworkTypeKPI::MakeKPIData(eNetworkType type) {
  NW_LOG("START");
  if (type == eNetworkTypeWired) {
    EndIPv6Wait();
    m_ipv6TimerId = g_timeout_add_seconds(kIPv6WaitSeconds, _IPv6ReadyWait, this);
  } else {
    // Not sent: it goes with the next record that is.
    CNetworkLogServiceSingleton<CWirelessKPILogger>::Get()->AddEventLogToFile(
        "EV001", "WIFI_ENV", CKPICellularEV001().GetResult(), kService);
  }
  NW_LOG("END");
}

gboolean NetworkTypeKPI::_IPv6ReadyWait(gpointer self) {
  NW_LOG("START");
  CWirelessKPILogger* const logger = CNetworkLogServiceSingleton<CWirelessKPILogger>::Get();
  logger->AddEventLogToFile("EV004", "ETHERNET", CKPIEthernetEV004().GetResult(), kService);
  logger->SendKPIData();
  static_cast<NetworkTypeKPI*>(self)->EndIPv6Wait();
  return G_SOURCE_REMOVE;
}

#pragma once

#include <string>

#include "NetworkLogService.h"

/// The KPI log service as those who measure see it: it puts descriptions into braces and knows the names
/// of the records about Wi-Fi connections. One for the process, reached through
/// CNetworkLogServiceSingleton<CWirelessKPILogger>::Get(). Main-loop thread only.
///
/// Everything here only queues; SendKPIData() hands over.
class CWirelessKPILogger : public CNetworkLogService {
 public:
  ~CWirelessKPILogger() override;

  /// @return the description in braces
  std::string GetEventDescInfo(const std::string& desc);

  /// Queues a record.
  /// @param desc  without braces
  /// @return true
  bool AddEventLogToFile(const std::string& category, const std::string& eventName,
                         const std::string& desc, const std::string& serviceName);

  /// Queues "WIFI_RSSI", the record of a connection to a known network.
  /// @param desc  without braces
  void AddEventLogWirelessApConnected(const std::string& desc);

  /// Queues "WIFI_ENV", the record of a connection to a new network; as GetEventDescInfoAP().
  void AddEventLogWirelessSettingsChanged(const char* mac, int freq, const char* prot, int bw, int num,
                                          const std::string& slist, const std::string& rest);

  /// Describes a connection to a new network.
  /// @param mac    BSSID, "AA:BB:CC:DD:EE:FF", of which only the vendor's half is told
  /// @param freq   MHz
  /// @param prot   "11n", "11ac", ...
  /// @param bw     channel width, MHz
  /// @param num    how many access points were found
  /// @param slist  RSSI@frequency of each of them, joined by "|"
  /// @param rest   further fields
  /// @return in braces already; empty without a BSSID or a protocol
  static std::string GetEventDescInfoAP(const char* mac, int freq, const char* prot, int bw, int num,
                                        const std::string& slist, const std::string& rest);

 private:
  void StartRecord(const char* eventName, const char* category);
  void QueueRecord();
};

#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "KPICreator2017.h"
#include "NetworkMonitor.h"
#include "net_connection.h"
#include "wifi.h"

/// What becomes known of a Wi-Fi connection: the KPI record of it, the keys with the name and the BSSID
/// of the connected access point, the list of saved networks (SavedAPPriorityHandler), and whether the
/// TV may move to 5 GHz by itself, which it need not when it is there already.
///
/// A connection to a network that was saved when the TV associated with it is "WIFI_RSSI"/"EV002", one
/// to any other "WIFI_ENV"/"EV001": by the name, which is noted at association. At most one record of
/// each kind is being measured; a new connection takes the place of one that is not done.
///
/// Reached through CNetworkWirelessLogSingleton<WirelessLog>. Main-loop thread only.
class WirelessLog {
 public:
  /// RSSI in dBm and frequency in MHz of each access point.
  using FoundAps = std::vector<std::pair<int, int>>;

  WirelessLog() = default;
  /// As DeRegisterWifiEvents().
  ~WirelessLog();
  WirelessLog(const WirelessLog&) = delete;
  WirelessLog& operator=(const WirelessLog&) = delete;

  /// Starts listening for connections, and reports the one that is there. Once, until
  /// DeRegisterWifiEvents(). Nothing is listened for when the platform has no connection handle.
  void RegisterWifiEvents();

  /// Stops listening and gives up what is being measured: nothing calls this object any more. No harm
  /// when nothing was registered.
  void DeRegisterWifiEvents();

  /// Measures the present connection for "WIFI_RSSI", in place of a measurement that is not done. No
  /// record comes of it when there is no connection.
  void SendKPIAutoConnectAP();

  /// Takes the name of the connected access point into "db/menu/network/ap_name".
  static void SyncAPNameVconf();

  /// @param name  out: of a saved network; untouched when the result is false
  /// @return whether `ap` is of a saved network and its name could be read
  static bool IsAutoConnectAP(wifi_ap_h ap, std::string& name);

  /// Whether `ap` is of another network than the saved one that was associated with; then its name goes
  /// into "db/menu/network/ap_name". Not so when its name cannot be read.
  bool IsSettingsChanged(wifi_ap_h ap);

  /// Whether the TV has an IPv4 address there.
  static bool IsIPV4(wifi_ap_h ap);

  /// Whether "db/menu/network/connected_ap_bssid" has another BSSID, or none; not so when that of `ap`
  /// cannot be read.
  static bool IsBSSIDChanged(wifi_ap_h ap);
  static void UpdateBSSIDVconf(wifi_ap_h ap);

  /// Whether there is a default gateway; not so when the platform does not say.
  static bool CheckKPISendCondition();
  static void SendKPI_ifPossible();

  /// Queues "WIFI_ENV" with what is known of the connected access point and with the fields that were
  /// measured for it. Nothing when the TV is connected to none, or measured nothing.
  void APSettingsChanged();

  /// "RSSI@frequency" of each, joined by "|".
  static std::string GetFoundApfreqBand(const FoundAps& list);
  /// Adds `ap` to a FoundAps; 0 stands for what cannot be read.
  static bool FoundApCallback(wifi_ap_h ap, void* list);

  /// The platform's callback; `user_data` is the WirelessLog.
  static void connection_state_callback(wifi_connection_state_e state, wifi_ap_h ap, void* user_data);

 private:
  void NetworkStateCallBack(bool online, const std::string& reason);
  void OnAssociation(wifi_ap_h ap);
  void OnConnected(wifi_ap_h ap);
  void ReportReconnection();
  void ReportOtherNetwork();
  void StartEV002();
  static void SetAutoSwitchingModeByBand(wifi_ap_h ap);
  void OnEV001Done(int result);
  void OnEV002Done(int result);

  std::unique_ptr<CKPIWIFIRSSI> m_ev002;  // one that could not start stays until the next replaces it
  std::unique_ptr<CKPIWIFIENV> m_ev001;   // likewise
  bool m_isBSSIDChanged = false;          // by the last connection
  std::string m_autoConnectName;  // of the saved network that the TV associated with last, or empty
  connection_h m_connection = nullptr;  // null while not registered
  std::shared_ptr<NetworkMonitor> m_monitor;
  MonitorHandle m_monitorHandle = kReleasedMonitorHandle;
};

/// The process's one logger of Wi-Fi connections, made when first asked for.
template <class Logger>
class CNetworkWirelessLogSingleton {
 public:
  static Logger* Get() {
    if (m_pInstance == nullptr) {
      m_pInstance = new Logger;
    }
    return m_pInstance;
  }

  /// The next Get() makes another.
  static void Destroy() {
    delete m_pInstance;
    m_pInstance = nullptr;
  }

 private:
  static inline Logger* m_pInstance = nullptr;
};

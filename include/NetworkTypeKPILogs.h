#pragma once

#include <memory>
#include <string>

#include <glib.h>

#include "KPIEV008Capture.h"
#include "NetworkChangeListener.h"
#include "NetworkMonitor.h"

/// Records that a cable or a dongle has come online, once a change of the network's type: a wired
/// network five seconds after the internet monitor's report, so that IPv6 has had its time, and a
/// cellular one at once. Wi-Fi has a log of its own. Keeps the Wi-Fi marker file in line with the type,
/// from its construction on, and runs the report of the Wi-Fi environment. Main-loop thread only, but it
/// may be built before main().
class NetworkTypeKPI : private NetworkChangeListener {
 public:
  NetworkTypeKPI();
  /// Ends what Stop() did not.
  ~NetworkTypeKPI();

  /// The first network that is online from now on counts as a new one. To be paired with Stop().
  void Start();
  void Stop();

  /// @return false also when the platform does not say
  static bool IsGatewayConnected();

 private:
  void __OnNetworkChange(eNetworkType type);
  void __OnConnectEvent(bool online, const std::string& reason);
  void MakeKPIData(eNetworkType type);
  static gboolean _IPv6ReadyWait(gpointer self);
  void EndIPv6Wait();

  std::shared_ptr<NetworkMonitor> m_monitor;
  CKPIEV008Capture m_capture;
  MonitorHandle m_handle = kReleasedMonitorHandle;
  bool m_isPending = false;  // the next report of being online is one to record
  guint m_ipv6TimerId = 0;   // 0 when none runs
};

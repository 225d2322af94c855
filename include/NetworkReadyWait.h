#pragma once

#include <memory>
#include <string>

#include <glib.h>

#include "NetworkMonitor.h"

/// What the services share that act once the TV has had a gateway, or none, for a while: the wait, which
/// reports of the internet monitor start and end, and the questions for the model and the setup. What
/// comes of it is the derived class's. Main-loop thread only, but it may be built before main().
class CNetworkReadyWait {
 public:
  CNetworkReadyWait(const CNetworkReadyWait&) = delete;
  CNetworkReadyWait& operator=(const CNetworkReadyWait&) = delete;

  /// Ends what Init() began, and does nothing before it.
  void DeInit();

  /// Starts the wait; one that runs is given up and begins anew.
  void StartWaitTimerForNewConnection();
  void StopWaitTimer();

  /// Listener of the internet monitor: a lost gateway starts the wait, a working one ends it. The other
  /// steps say nothing about the gateway.
  void __OnConnectEvent(bool success, const std::string& state);

  /// Whether a step of the first-use setup runs: the setup's key has a value other than "OFF".
  static bool IsOOBE();
  /// @return false also when the model does not say
  static bool IsProjector();
  /// Whether the projector's engine is of the QMB_A_B line.
  static bool IsQMB_A_B();

 protected:
  explicit CNetworkReadyWait(guint waitSeconds);
  /// Ends the wait and the listener, if DeInit() did not.
  ~CNetworkReadyWait();

  /// From now on DeInit() has something to end.
  void SetInitialised() { m_isInitialised = true; }
  void ListenToMonitor();

 private:
  /// The wait is over.
  virtual void OnNetworkReadyWait() = 0;
  static gboolean _NetworkReadyWait(gpointer self);

  std::shared_ptr<NetworkMonitor> m_monitor;
  MonitorHandle m_handle = kReleasedMonitorHandle;
  guint m_timerId = 0;  // 0 when none runs
  guint m_waitSeconds;
  bool m_isInitialised = false;
};

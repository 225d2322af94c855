#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "CNWSingleton.h"
#include "net_connection.h"

/// Names a listener of the internet monitor: what RegisterCb() returned, or kReleasedMonitorHandle.
using MonitorHandle = int;
inline constexpr MonitorHandle kReleasedMonitorHandle = 10000;

/// Whether the TV reaches the internet: keeps "db/menu/network/internet_status" at what the platform's
/// monitor reports, and hands each report on to any number of listeners. Subscribed to the platform
/// while there is a listener. Reached through CNWSingleton<NetworkMonitor>::GetInstance() and alive
/// while somebody holds it. Main-loop thread only.
class NetworkMonitor : public CNWSingleton<NetworkMonitor>,
                       public std::enable_shared_from_this<NetworkMonitor> {
 public:
  /// @param success  whether the step works
  /// @param state    the step: "PHY", "GATEWAY", "DNS" or "HTTP"
  using Listener = std::function<void(bool success, std::string state)>;

  NetworkMonitor();
  virtual ~NetworkMonitor();
  NetworkMonitor(const NetworkMonitor&) = delete;
  NetworkMonitor& operator=(const NetworkMonitor&) = delete;

  /// Adds a listener, which is told of each report from the next one on, also one that changes nothing.
  /// It may register, unregister and let go of the monitor.
  /// @return its handle, 1 for the first one and not used again while there are listeners. Also when the
  ///         platform refused the subscription: then nothing is reported.
  int RegisterCb(Listener cb);

  /// The listener is not called any more, also when the others are being told just now. The last one to
  /// go ends the subscription.
  /// @param handle  kReleasedMonitorHandle afterwards. No harm when there is no such listener.
  void UnRegisterCb(MonitorHandle& handle);

  /// Ends the subscription and forgets all listeners.
  void UnRegisterAllCb();

  void SetInternetStatusVconf(bool online);

  /// @return false also when nothing is stored
  bool GetInternetStatusVconf();

  /// The platform's callback; `user_data` is the monitor.
  static void __MonitorCallBack(connection_error_e result, char* state, void* user_data);

 private:
  struct Entry {
    int id;
    Listener listener;
  };

  connection_h m_handle = nullptr;  // null while not subscribed
  // Shared with the walk that tells them, during which the list may change.
  std::vector<std::shared_ptr<const Entry>> m_entries;
  int m_lastId = 0;
};

/// Defined in StaticObjects.cpp.
template <>
std::weak_ptr<NetworkMonitor> CNWSingleton<NetworkMonitor>::m_pInstance;

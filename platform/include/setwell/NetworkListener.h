#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Setwell {

/// Why a connection failed.
struct NetworkError {
  int code;          ///< a wifi_error_e
  std::string text;  ///< for the log
};

/// Hears of a connection that was asked for. Every call comes from the main loop, and never from inside
/// the request that led to it.
class NetworkEventListner {
 public:
  virtual ~NetworkEventListner() = default;
  virtual void OnDisconnected() {}
  virtual void OnConnectionError(const NetworkError& error) = 0;
  virtual void OnListeningError() {}
  virtual void OnConnected() = 0;
  virtual void OnInternetOnline() = 0;
};

class Observer {
 public:
  virtual ~Observer() = default;
};

class WifiEventListner : public NetworkEventListner, public Observer {
 public:
  virtual void OnCaptiveAP(char* /*url*/) {}
  virtual void OnNonCaptiveAP() {}
  /// A scan has ended, whether it found anything or failed.
  virtual void OnWifiScanComplete() = 0;
  /// The access point let the TV in, or did not.
  virtual void OnAPConnected(bool connected) = 0;
  /// The TV has an address in the network.
  virtual void OnWifiConnectSuccess() = 0;
};

/// Something that listeners can be added to.
class Observable {
 public:
  virtual ~Observable() = default;
  /// @param listener  kept weakly: one that ended hears nothing more
  void AddListner(const std::shared_ptr<WifiEventListner>& listener) { m_listeners.push_back(listener); }

 protected:
  std::vector<std::weak_ptr<WifiEventListner>> m_listeners;
};

}  // namespace Setwell

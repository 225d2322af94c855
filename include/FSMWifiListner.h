#pragma once

#include "setwell/NetworkListener.h"

class C5GhzSwitchHandler;

/// Turns what the network-setup library reports into events of the move to 5 GHz. Made by the handler
/// and shared with the library, which holds it weakly; main-loop thread only.
class CWifiEventListener : public Setwell::WifiEventListner {
 public:
  /// @param handler  outlives the listener
  explicit CWifiEventListener(C5GhzSwitchHandler& handler) : m_handler(handler) {}

  void OnConnectionError(const Setwell::NetworkError& error) override;
  void OnConnected() override;
  void OnInternetOnline() override;
  void OnWifiScanComplete() override;
  void OnAPConnected(bool connected) override;
  /// The library reports one connection here and by OnConnected(): both count, and the second meets
  /// whatever state the first led to.
  void OnWifiConnectSuccess() override;

 private:
  C5GhzSwitchHandler& m_handler;
};

#pragma once

#include <string>

#include "LiveObjects.h"
#include "NetworkReadyWait.h"
#include "wifi_manager.h"

/// Shows the page of a captive portal: ten seconds after Init(), or after whoever owns one has started
/// the wait for a new connection, the Wi-Fi interface is asked whether the access point is such a
/// portal, and the notification program opens its page. One question a wait, no retry; nothing on a TV
/// without a browser, during the setup, or without a gateway at that moment.
///
/// The platform cannot be told to forget a question. An answer that comes after DeInit() still shows its
/// page; one that comes when the object is gone shows nothing.
class NetworkCaptiveAP : public CNetworkReadyWait {
 public:
  NetworkCaptiveAP();

  /// Starts the wait, where the TV can show a portal.
  void Init();

  /// Whether the TV can show a portal now: it has the browser, and no setup runs.
  static bool IsFeatureSupported();
  /// @return false also when the package manager does not say
  static bool IsAPPInstalled(const char* packageId);

  /// Asks the platform; the answer comes to OnCaptiveAPCB().
  void CheckCaptiveAP();

  /// @param url   borrowed for the call
  /// @param self  the NetworkCaptiveAP that asked, null when it is gone
  static void OnCaptiveAPCB(wifi_manager_error_e error, bool isCaptive, char* url, void* self);

  void LaunchCaptivePopup(std::string url);

 private:
  void OnNetworkReadyWait() override;

  std::string m_url;  // of the last portal
  LiveObjects<NetworkCaptiveAP>::Entry m_entry{this};
};

#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include <glib.h>

#include "EAPObserver.h"
#include "LiveObjects.h"
#include "WiredEAPReconnect.h"
#include "wifi.h"

/// Joins the present network anew, so that it is joined with the certificates that were installed just
/// now. One exists for each change of the certificates, owned by who asked; main-loop thread only.
///
///     Wi-Fi:  leave --> 2 s --> connect --> status 1
///                        ^         |
///                        +---------+ fails, at most twice; then status 0
///     cable:  close --> open --> status 1
///
/// The status comes from an idle callback and never from inside a call or a callback of the platform. A
/// wired network that the platform does not close, and a network of any other kind, bring none.
class CEAPReconnect : public CEAPObserver {
 public:
  CEAPReconnect();
  ~CEAPReconnect() override;
  CEAPReconnect(const CEAPReconnect&) = delete;
  CEAPReconnect& operator=(const CEAPReconnect&) = delete;

  /// @param callback  told 1 when the network was joined again (a wired one: when that was tried), else
  ///                  0; may destroy this
  /// @return false when nothing was begun: no network type, no access point or one without certificates,
  ///         or the platform refuses to leave it; the callback is then never called
  bool Reconnect(std::function<void(int)> callback);

  void update(int status) override;
  /// Takes the place of a status that was not told yet.
  void NotifyExitStatus(int status);

 private:
  bool _DisconnectAP();
  static void _Disconnectedcb(wifi_error_e error, void* number);
  void _ConnectAgain(int delayMs);
  static gboolean _WaitForReconnect(void* self);
  static void _ConnectedCb(wifi_error_e error, void* number);
  void _HandleUnknownError();
  void _ReleaseAP();
  void _Destroy();

  std::function<void(int)> m_callback;
  std::unique_ptr<WiredEAPReconnect> m_wired;  // null: there was no memory for it
  std::int32_t m_attempt = 1;                  // number of the connect to come, or under way
  std::int32_t m_exitStatus = 0;
  wifi_ap_h m_ap = nullptr;     // the access point that is left and joined again; null: none
  guint m_reconnectSource = 0;  // 0: no connect waits
  guint m_notifySource = 0;     // 0: no status waits
  LiveObjects<CEAPReconnect>::Entry m_entry{this};
};

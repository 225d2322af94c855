#pragma once

#include "DeliveryLine.h"
#include "wifi_manager.h"

class Wifi;

/// The questions whether the connected radio shows a portal, until they are answered: from what the
/// radio that is connected then says. Owned by Wifi; main-loop thread only.
class WifiPortal {
 public:
  static constexpr unsigned kPortalMs = 300;

  /// @param wifi  the owner
  explicit WifiPortal(Wifi& wifi) : m_wifi(wifi) { m_line.SetLatency(kPortalMs); }

  /// @return the code that the platform function answers with; the callback comes only after
  ///         WIFI_MANAGER_ERROR_NONE
  wifi_manager_error_e Ask(wifi_ap_captive_portal_cb callback, void* user_data);

  void Open();
  void Close();
  [[nodiscard]] DeliveryLine& Line() { return m_line; }

 private:
  void Answer(wifi_ap_captive_portal_cb callback, void* user_data);

  Wifi& m_wifi;
  bool m_is_open = true;
  DeliveryLine m_line;
};

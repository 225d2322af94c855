#include "WifiPortal.h"

#include "Wifi.h"
#include "call_guarded.h"

void WifiPortal::Open() {
  m_is_open = true;
  m_line.Open();
}

void WifiPortal::Close() {
  m_is_open = false;
  m_line.Close();
}

wifi_manager_error_e WifiPortal::Ask(wifi_ap_captive_portal_cb callback, void* user_data) {
  if (!m_is_open) {
    return WIFI_MANAGER_ERROR_OPERATION_FAILED;
  }
  if (!m_wifi.Connected()) {
    return WIFI_MANAGER_ERROR_NO_CONNECTION;
  }
  m_line.Send([this, callback, user_data] { Answer(callback, user_data); });
  return WIFI_MANAGER_ERROR_NONE;
}

void WifiPortal::Answer(wifi_ap_captive_portal_cb callback, void* user_data) {
  const auto connected = m_wifi.Connected();
  int result = m_wifi.Failures().Take(WifiRequest::kPortal);
  if (result == WIFI_MANAGER_ERROR_NONE && !connected) {
    result = WIFI_MANAGER_ERROR_NO_CONNECTION;
  }
  std::string url;
  if (result == WIFI_MANAGER_ERROR_NONE) {
    url = connected->radio.portal_url;
  }
  char* const text = url.empty() ? nullptr : url.data();
  CallGuarded(
      [&] { callback(static_cast<wifi_manager_error_e>(result), text != nullptr, text, user_data); });
}

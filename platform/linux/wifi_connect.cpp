#include "wifi_manager.h"

// Connecting and leaving: this backend has no Wi-Fi yet.

int wifi_connect_target(const wifi_target_s* /*target*/, wifi_finished_cb /*callback*/,
                        void* /*user_data*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_connect(wifi_ap_h /*ap*/, wifi_finished_cb /*callback*/, void* /*user_data*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_disconnect(wifi_ap_h /*ap*/, wifi_finished_cb /*callback*/, void* /*user_data*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_manager_connect(wifi_manager_h /*manager*/, wifi_manager_ap_h /*ap*/,
                         wifi_manager_finished_cb /*callback*/, void* /*user_data*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

#include "wifi.h"

// This TV has no Wi-Fi.

int wifi_initialize() {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_get_connection_state(wifi_connection_state_e* /*state*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_set_connection_state_changed_cb(wifi_connection_state_changed_cb /*callback*/,
                                         void* /*user_data*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_unset_connection_state_changed_cb() {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_get_connected_ap(wifi_ap_h* /*ap*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_ap_destroy(wifi_ap_h /*ap*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_ap_refresh(wifi_ap_h /*ap*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_ap_get_essid(wifi_ap_h /*ap*/, char** /*essid*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_ap_get_bssid(wifi_ap_h /*ap*/, char** /*bssid*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_ap_get_rssi(wifi_ap_h /*ap*/, int* /*rssi*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_ap_get_frequency(wifi_ap_h /*ap*/, int* /*frequency*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_ap_get_security_type(wifi_ap_h /*ap*/, wifi_security_type_e* /*type*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_ap_get_bandwidth(wifi_ap_h /*ap*/, int* /*bandwidth*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_ap_is_favorite(wifi_ap_h /*ap*/, bool* /*favorite*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_ap_get_ip_address(wifi_ap_h /*ap*/, connection_address_family_e /*family*/,
                           char** /*ip_address*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_get_snr(int* /*snr*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_foreach_found_aps(wifi_found_ap_cb /*callback*/, void* /*user_data*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_foreach_found_bssids(wifi_ap_h /*ap*/, wifi_found_bssid_cb /*callback*/, void* /*user_data*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_config_foreach_configuration(wifi_config_cb /*callback*/, void* /*user_data*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_scan(wifi_finished_cb /*callback*/, void* /*user_data*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

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

#include "wifi_manager.h"

// This TV has no Wi-Fi.

int wifi_manager_initialize(wifi_manager_h* /*manager*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_deinitialize(wifi_manager_h /*manager*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_config_foreach_configuration(wifi_manager_h /*manager*/,
                                              wifi_manager_config_cb /*callback*/, void* /*user_data*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_config_get_name(wifi_manager_config_h /*config*/, char** /*name*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_config_get_security_type(wifi_manager_config_h /*config*/,
                                          wifi_security_type_e* /*type*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_config_get_frequency(wifi_manager_config_h /*config*/, int* /*frequency*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_ap_clone(wifi_manager_ap_h* /*clone*/, wifi_manager_ap_h /*ap*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_ap_destroy(wifi_manager_ap_h /*ap*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_ap_get_essid(wifi_manager_ap_h /*ap*/, char** /*essid*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_ap_get_rssi(wifi_manager_ap_h /*ap*/, int* /*rssi*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_ap_is_passphrase_required(wifi_manager_ap_h /*ap*/, bool* /*required*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_specific_scan_create(wifi_manager_h /*manager*/,
                                      wifi_manager_specific_scan_h* /*scan*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_specific_scan_set_freq(wifi_manager_specific_scan_h /*scan*/, int /*frequency*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_specific_ap_start_multi_scan(wifi_manager_h /*manager*/,
                                              wifi_manager_specific_scan_h /*scan*/,
                                              wifi_manager_finished_cb /*callback*/,
                                              void* /*user_data*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_foreach_found_ap(wifi_manager_h /*manager*/, wifi_manager_found_ap_cb /*callback*/,
                                  void* /*user_data*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_scan_specific_ap(wifi_manager_h /*manager*/, const char* /*essid*/,
                                  wifi_manager_finished_cb /*callback*/, void* /*user_data*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_foreach_found_specific_ap(wifi_manager_h /*manager*/,
                                           wifi_manager_found_ap_cb /*callback*/, void* /*user_data*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_connect(wifi_manager_h /*manager*/, wifi_manager_ap_h /*ap*/,
                         wifi_manager_finished_cb /*callback*/, void* /*user_data*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_ap_get_connection_mode(wifi_ap_h /*ap*/, wifi_manager_connection_mode_e* /*mode*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_ap_is_captive_portal_network(wifi_ap_captive_portal_cb /*callback*/, void* /*user_data*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

#include "wifi_manager.h"

// Scans: this backend has no Wi-Fi yet.

int wifi_scan(wifi_finished_cb /*callback*/, void* /*user_data*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
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

int wifi_manager_scan_specific_ap(wifi_manager_h /*manager*/, const char* /*essid*/,
                                  wifi_manager_finished_cb /*callback*/, void* /*user_data*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_foreach_found_specific_ap(wifi_manager_h /*manager*/,
                                           wifi_manager_found_ap_cb /*callback*/, void* /*user_data*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

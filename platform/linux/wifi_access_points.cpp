#include "wifi_manager.h"

// The access points in reach and their properties: this backend has no Wi-Fi yet.

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

int wifi_ap_is_favorite(wifi_ap_h /*ap*/, bool* /*favorite*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_ap_get_ip_address(wifi_ap_h /*ap*/, connection_address_family_e /*family*/,
                           char** /*ip_address*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
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

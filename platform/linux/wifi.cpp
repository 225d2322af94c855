#include "wifi_manager.h"

// The state of the Wi-Fi connection: this backend has no Wi-Fi yet.

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

#include "wifi_manager.h"

// The question for a portal: this backend has no Wi-Fi yet.

int wifi_ap_is_captive_portal_network(wifi_ap_captive_portal_cb /*callback*/, void* /*user_data*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

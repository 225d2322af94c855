#pragma once

/// The Wi-Fi manager interface: what the Wi-Fi interface does not tell. Main-loop thread only.

#include "wifi.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
  WIFI_MANAGER_ERROR_NONE = 0,
  WIFI_MANAGER_ERROR_INVALID_PARAMETER = -22,
  WIFI_MANAGER_ERROR_NOT_SUPPORTED = -95,
  WIFI_MANAGER_ERROR_OPERATION_FAILED = -30277631,  ///< the service behind the interface cannot do it
} wifi_manager_error_e;

/// The newest generation of the standard that an access point speaks.
typedef enum {
  WIFI_MANAGER_CONNECTION_MODE_UNKNOWN = 0,
  WIFI_MANAGER_CONNECTION_MODE_80211B = 1,
  WIFI_MANAGER_CONNECTION_MODE_80211G = 2,
  WIFI_MANAGER_CONNECTION_MODE_80211N = 3,
  WIFI_MANAGER_CONNECTION_MODE_80211A = 4,
  WIFI_MANAGER_CONNECTION_MODE_80211AC = 5,
  WIFI_MANAGER_CONNECTION_MODE_80211AX = 6,
} wifi_manager_connection_mode_e;

/// @param mode  out: untouched on failure
/// @return WIFI_MANAGER_ERROR_NONE, WIFI_MANAGER_ERROR_INVALID_PARAMETER,
///         WIFI_MANAGER_ERROR_OPERATION_FAILED or WIFI_MANAGER_ERROR_NOT_SUPPORTED
int wifi_manager_ap_get_connection_mode(wifi_ap_h ap, wifi_manager_connection_mode_e* mode);

#ifdef __cplusplus
}
#endif

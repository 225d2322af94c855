#pragma once

/// The Wi-Fi manager interface: saved networks with their frequencies, scans of one channel or for one
/// name, connections to what was found, and the question for a portal. All functions belong to the
/// main-loop thread, and all callbacks are delivered there.

#include "wifi.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
  WIFI_MANAGER_ERROR_NONE = 0,
  WIFI_MANAGER_ERROR_OUT_OF_MEMORY = -12,
  WIFI_MANAGER_ERROR_INVALID_PARAMETER = -22,  ///< null handle, text, out parameter or callback
  WIFI_MANAGER_ERROR_INVALID_OPERATION = -38,  ///< the interface cannot do that in this state
  WIFI_MANAGER_ERROR_NOT_SUPPORTED = -95,      ///< this platform has no Wi-Fi
  WIFI_MANAGER_ERROR_ADDRESS_FAMILY_NOT_SUPPORTED = -97,
  WIFI_MANAGER_ERROR_NOW_IN_PROGRESS = -115,         ///< one of this kind runs already
  WIFI_MANAGER_ERROR_OPERATION_FAILED = -30277631,   ///< the service behind the interface cannot do it
  WIFI_MANAGER_ERROR_NO_CONNECTION = -30277630,      ///< not connected to an access point
  WIFI_MANAGER_ERROR_ALREADY_EXISTS = -30277629,     ///< connected to that already
  WIFI_MANAGER_ERROR_OPERATION_ABORTED = -30277628,  ///< a later request took its place
  WIFI_MANAGER_ERROR_DHCP_FAILED = -30277627,        ///< associated, and no address was given
  WIFI_MANAGER_ERROR_INVALID_KEY = -30277626,        ///< the passphrase is wrong, or there is none
  WIFI_MANAGER_ERROR_NO_REPLY = -30277625,           ///< the access point does not answer
  WIFI_MANAGER_ERROR_SECURITY_RESTRICTED = -30277624,
  WIFI_MANAGER_ERROR_WPS_OVERLAP = -30277617,
  WIFI_MANAGER_ERROR_WPS_TIMEOUT = -30277616,
  WIFI_MANAGER_ERROR_WPS_WEP_PROHIBITED = -30277615,
  WIFI_MANAGER_ERROR_WIFI_OFFLINE = -30277614,  ///< Wi-Fi is switched off
  WIFI_MANAGER_ERROR_INVALID_GATEWAY = -30277613,
} wifi_manager_error_e;

/// A user of the interface. Several may exist at a time, each with requests of its own.
typedef struct wifi_manager_handle_s* wifi_manager_h;

/// @param manager  out: ends with wifi_manager_deinitialize(); untouched on failure
/// @return WIFI_MANAGER_ERROR_NONE, WIFI_MANAGER_ERROR_INVALID_PARAMETER,
///         WIFI_MANAGER_ERROR_OPERATION_FAILED or WIFI_MANAGER_ERROR_NOT_SUPPORTED
int wifi_manager_initialize(wifi_manager_h* manager);

/// Ends a handle. None of its callbacks is called after this returns.
/// @return WIFI_MANAGER_ERROR_NONE or WIFI_MANAGER_ERROR_INVALID_PARAMETER
int wifi_manager_deinitialize(wifi_manager_h manager);

/// A saved network.
typedef struct wifi_manager_config_handle_s* wifi_manager_config_h;

/// @param config  valid during the call
/// @return true to go on, false to stop
typedef bool (*wifi_manager_config_cb)(wifi_manager_config_h config, void* user_data);

/// Walks the saved networks, and calls back before it returns.
/// @return WIFI_MANAGER_ERROR_NONE, also when there are none or a callback stopped it;
///         WIFI_MANAGER_ERROR_INVALID_PARAMETER, WIFI_MANAGER_ERROR_OPERATION_FAILED or
///         WIFI_MANAGER_ERROR_NOT_SUPPORTED
int wifi_manager_config_foreach_configuration(wifi_manager_h manager, wifi_manager_config_cb callback,
                                              void* user_data);

/// Properties of a saved network. Each leaves its out parameter untouched on failure and answers
/// WIFI_MANAGER_ERROR_NONE, WIFI_MANAGER_ERROR_INVALID_PARAMETER or WIFI_MANAGER_ERROR_OPERATION_FAILED
/// when the property is not known.

/// @param name  out: a heap string that the caller frees with free()
int wifi_manager_config_get_name(wifi_manager_config_h config, char** name);
int wifi_manager_config_get_security_type(wifi_manager_config_h config, wifi_security_type_e* type);
/// @param frequency  out: MHz, where the TV was connected to it last; before the first time a backend
/// may
///                   tell where the network is heard
int wifi_manager_config_get_frequency(wifi_manager_config_h config, int* frequency);

/// An access point, the same thing as in the Wi-Fi interface.
typedef wifi_ap_h wifi_manager_ap_h;

/// @param clone  out: ends with wifi_manager_ap_destroy(); untouched on failure
/// @return WIFI_MANAGER_ERROR_NONE, WIFI_MANAGER_ERROR_INVALID_PARAMETER or
///         WIFI_MANAGER_ERROR_OUT_OF_MEMORY
int wifi_manager_ap_clone(wifi_manager_ap_h* clone, wifi_manager_ap_h ap);
/// @return WIFI_MANAGER_ERROR_NONE or WIFI_MANAGER_ERROR_INVALID_PARAMETER
int wifi_manager_ap_destroy(wifi_manager_ap_h ap);

/// As their namesakes of the Wi-Fi interface, with this interface's errors.
int wifi_manager_ap_get_essid(wifi_manager_ap_h ap, char** essid);
int wifi_manager_ap_get_rssi(wifi_manager_ap_h ap, int* rssi);

/// @param required  out: whether its network wants a passphrase; untouched on failure
/// @return WIFI_MANAGER_ERROR_NONE or WIFI_MANAGER_ERROR_INVALID_PARAMETER
int wifi_manager_ap_is_passphrase_required(wifi_manager_ap_h ap, bool* required);

/// Called when a request has ended.
/// @param result  WIFI_MANAGER_ERROR_NONE, or why it failed
typedef void (*wifi_manager_finished_cb)(wifi_manager_error_e result, void* user_data);

/// What a scan of chosen channels looks at.
typedef struct wifi_manager_specific_scan_handle_s* wifi_manager_specific_scan_h;

/// Makes an empty scan. It belongs to the manager's handle: nobody ends it, and the next one that is
/// made takes its place.
/// @param scan  out: untouched on failure
/// @return WIFI_MANAGER_ERROR_NONE, WIFI_MANAGER_ERROR_INVALID_PARAMETER,
///         WIFI_MANAGER_ERROR_OPERATION_FAILED or WIFI_MANAGER_ERROR_NOT_SUPPORTED
int wifi_manager_specific_scan_create(wifi_manager_h manager, wifi_manager_specific_scan_h* scan);

/// Adds a channel.
/// @param frequency  MHz
/// @return WIFI_MANAGER_ERROR_NONE or WIFI_MANAGER_ERROR_INVALID_PARAMETER, also for what is no
///         frequency, such as 0
int wifi_manager_specific_scan_set_freq(wifi_manager_specific_scan_h scan, int frequency);

/// Scans the channels of `scan`, which may be forgotten then. The present connection stays. Scans that
/// are asked for while another runs wait for their turn.
/// @param callback  called once, after this returned, when the results can be walked
/// @return WIFI_MANAGER_ERROR_NONE, and then the callback comes; WIFI_MANAGER_ERROR_INVALID_PARAMETER,
/// also
///         when there is no channel; WIFI_MANAGER_ERROR_OPERATION_FAILED or
///         WIFI_MANAGER_ERROR_NOT_SUPPORTED
int wifi_manager_specific_ap_start_multi_scan(wifi_manager_h manager, wifi_manager_specific_scan_h scan,
                                              wifi_manager_finished_cb callback, void* user_data);

/// @param ap  valid during the call
/// @return true to go on, false to stop
typedef bool (*wifi_manager_found_ap_cb)(wifi_manager_ap_h ap, void* user_data);

/// Walks the access points that the last scans found, as wifi_foreach_found_aps().
/// @return WIFI_MANAGER_ERROR_NONE, also when there are none or a callback stopped it;
///         WIFI_MANAGER_ERROR_INVALID_PARAMETER, WIFI_MANAGER_ERROR_OPERATION_FAILED or
///         WIFI_MANAGER_ERROR_NOT_SUPPORTED
int wifi_manager_foreach_found_ap(wifi_manager_h manager, wifi_manager_found_ap_cb callback,
                                  void* user_data);

/// Looks on all channels for one network by its name, which a hidden one answers to.
/// @param callback  called once, after this returned, when wifi_manager_foreach_found_specific_ap() can
///                  walk what answered
/// @return as wifi_manager_specific_ap_start_multi_scan()
int wifi_manager_scan_specific_ap(wifi_manager_h manager, const char* essid,
                                  wifi_manager_finished_cb callback, void* user_data);

/// Walks what the handle's last scan for a name found.
/// @return as wifi_manager_foreach_found_ap()
int wifi_manager_foreach_found_specific_ap(wifi_manager_h manager, wifi_manager_found_ap_cb callback,
                                           void* user_data);

/// Connects to an access point's network with the saved passphrase, by the radio that suits best. The
/// present connection is left when that begins.
/// @param callback  called once, after this returned: WIFI_MANAGER_ERROR_NONE when the TV has an address
///                  there, WIFI_MANAGER_ERROR_ALREADY_EXISTS when it is connected to it,
///                  WIFI_MANAGER_ERROR_INVALID_KEY, WIFI_MANAGER_ERROR_NO_REPLY,
///                  WIFI_MANAGER_ERROR_DHCP_FAILED, WIFI_MANAGER_ERROR_OPERATION_FAILED, or
///                  WIFI_MANAGER_ERROR_OPERATION_ABORTED when a later request took its place. There is
///                  no limit to how late it may come.
/// @return WIFI_MANAGER_ERROR_NONE, and then the callback comes; WIFI_MANAGER_ERROR_INVALID_PARAMETER,
///         WIFI_MANAGER_ERROR_OPERATION_FAILED or WIFI_MANAGER_ERROR_NOT_SUPPORTED
int wifi_manager_connect(wifi_manager_h manager, wifi_manager_ap_h ap, wifi_manager_finished_cb callback,
                         void* user_data);

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

/// The answer to the question for a portal.
/// @param is_captive  whether the access point shows a page of its own in place of the internet
/// @param url         that page, valid during the call; null when it is not captive or not known
typedef void (*wifi_ap_captive_portal_cb)(wifi_manager_error_e result, bool is_captive, char* url,
                                          void* user_data);

/// Asks whether the connected access point is a captive portal.
/// @param callback  called once, after this returned
/// @return WIFI_MANAGER_ERROR_NONE, and then the callback comes; WIFI_MANAGER_ERROR_INVALID_PARAMETER,
///         WIFI_MANAGER_ERROR_NO_CONNECTION, WIFI_MANAGER_ERROR_OPERATION_FAILED or
///         WIFI_MANAGER_ERROR_NOT_SUPPORTED
int wifi_ap_is_captive_portal_network(wifi_ap_captive_portal_cb callback, void* user_data);

#ifdef __cplusplus
}
#endif

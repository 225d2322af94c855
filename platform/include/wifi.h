#pragma once

/// The Wi-Fi interface: the access points in reach, and the one that the TV is connected to. All
/// functions belong to the main-loop thread, and all callbacks are delivered there.

#include "net_connection.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
  WIFI_ERROR_NONE = 0,
  WIFI_ERROR_OUT_OF_MEMORY = -12,
  WIFI_ERROR_INVALID_PARAMETER = -22,        ///< null argument, or an ended handle
  WIFI_ERROR_INVALID_OPERATION = -38,        ///< not initialised
  WIFI_ERROR_NOT_SUPPORTED = -95,            ///< this platform has no Wi-Fi
  WIFI_ERROR_NOW_IN_PROGRESS = -115,         ///< one of this kind runs already
  WIFI_ERROR_OPERATION_FAILED = -29687039,   ///< the service behind the interface cannot do it now
  WIFI_ERROR_NO_CONNECTION = -29687038,      ///< not connected to an access point
  WIFI_ERROR_ALREADY_EXISTS = -29687037,     ///< connected to that already
  WIFI_ERROR_OPERATION_ABORTED = -29687036,  ///< a later request took its place
  WIFI_ERROR_DHCP_FAILED = -29687035,        ///< associated, and no address was given
  WIFI_ERROR_NOT_FOUND = -29687034,          ///< the access point is not on the air
  WIFI_ERROR_INVALID_KEY = -29687033,        ///< the passphrase is wrong, or there is none
  WIFI_ERROR_NO_REPLY = -29687032,           ///< the access point does not answer
  WIFI_ERROR_REFUSED = -29687031,            ///< the access point turns this TV away
} wifi_error_e;

typedef enum {
  WIFI_CONNECTION_STATE_FAILURE = -1,
  WIFI_CONNECTION_STATE_DISCONNECTED = 0,
  WIFI_CONNECTION_STATE_ASSOCIATION = 1,    ///< talks with the access point
  WIFI_CONNECTION_STATE_CONFIGURATION = 2,  ///< waits for an address
  WIFI_CONNECTION_STATE_CONNECTED = 3,
} wifi_connection_state_e;

typedef enum {
  WIFI_SECURITY_TYPE_NONE = 0,
  WIFI_SECURITY_TYPE_WEP = 1,
  WIFI_SECURITY_TYPE_WPA_PSK = 2,
  WIFI_SECURITY_TYPE_WPA2_PSK = 3,
  WIFI_SECURITY_TYPE_EAP = 4,
  WIFI_SECURITY_TYPE_WPA_FT_PSK = 5,
  WIFI_SECURITY_TYPE_SAE = 6,
} wifi_security_type_e;

/// An access point as it was when the handle was made or refreshed: a network name with its security,
/// seen through one of the radios that carry it.
typedef struct wifi_ap_handle_s* wifi_ap_h;

/// Makes the interface ready; every other function here may be refused before that. Once is enough,
/// more often does no harm.
/// @return WIFI_ERROR_NONE, WIFI_ERROR_OPERATION_FAILED or WIFI_ERROR_NOT_SUPPORTED
int wifi_initialize(void);

/// @param state  out: untouched on failure
/// @return WIFI_ERROR_NONE, WIFI_ERROR_INVALID_PARAMETER, WIFI_ERROR_INVALID_OPERATION,
///         WIFI_ERROR_OPERATION_FAILED or WIFI_ERROR_NOT_SUPPORTED
int wifi_get_connection_state(wifi_connection_state_e* state);

/// Called when the connection's state changed, in the order in which that happened.
/// @param ap  the access point that it is about: for WIFI_CONNECTION_STATE_DISCONNECTED the one that was
///            left; valid during the call
typedef void (*wifi_connection_state_changed_cb)(wifi_connection_state_e state, wifi_ap_h ap,
                                                 void* user_data);

/// Sets the process's one callback for the connection's state; a second call replaces it. The state
/// found when it is set is no change.
/// @param user_data  borrowed until the callback is unset or replaced
/// @return WIFI_ERROR_NONE, WIFI_ERROR_INVALID_PARAMETER, WIFI_ERROR_INVALID_OPERATION,
///         WIFI_ERROR_OPERATION_FAILED or WIFI_ERROR_NOT_SUPPORTED
int wifi_set_connection_state_changed_cb(wifi_connection_state_changed_cb callback, void* user_data);

/// Unsets it: it is not called after this returns.
/// @return WIFI_ERROR_NONE, also when none was set; WIFI_ERROR_INVALID_OPERATION or
///         WIFI_ERROR_NOT_SUPPORTED
int wifi_unset_connection_state_changed_cb(void);

/// Takes the access point that the TV is connected to.
/// @param ap  out: ends with wifi_ap_destroy(); untouched on failure
/// @return WIFI_ERROR_NONE, WIFI_ERROR_INVALID_PARAMETER, WIFI_ERROR_INVALID_OPERATION,
///         WIFI_ERROR_NO_CONNECTION, WIFI_ERROR_OPERATION_FAILED or WIFI_ERROR_NOT_SUPPORTED
int wifi_get_connected_ap(wifi_ap_h* ap);

/// @return WIFI_ERROR_NONE or WIFI_ERROR_INVALID_PARAMETER
int wifi_ap_destroy(wifi_ap_h ap);

/// Takes the properties anew from the platform.
/// @return WIFI_ERROR_NONE, WIFI_ERROR_INVALID_PARAMETER, or WIFI_ERROR_OPERATION_FAILED when the access
///         point is in reach no more; the properties then stay as they were
int wifi_ap_refresh(wifi_ap_h ap);

/// Properties of an access point. Each leaves its out parameter untouched on failure and answers
/// WIFI_ERROR_NONE, WIFI_ERROR_INVALID_PARAMETER or WIFI_ERROR_OPERATION_FAILED when the property is not
/// known. Texts are heap strings that the caller frees with free().

/// @param essid  out: the network's name; empty for a hidden network whose name is not known
int wifi_ap_get_essid(wifi_ap_h ap, char** essid);
/// @param bssid  out: the radio's address, "AA:BB:CC:DD:EE:FF"
int wifi_ap_get_bssid(wifi_ap_h ap, char** bssid);
/// @param rssi  out: dBm, negative
int wifi_ap_get_rssi(wifi_ap_h ap, int* rssi);
/// @param frequency  out: MHz, of the channel that beacons are sent on
int wifi_ap_get_frequency(wifi_ap_h ap, int* frequency);
int wifi_ap_get_security_type(wifi_ap_h ap, wifi_security_type_e* type);
/// @param bandwidth  out: MHz
int wifi_ap_get_bandwidth(wifi_ap_h ap, int* bandwidth);
/// @param favorite  out: whether the network is saved
int wifi_ap_is_favorite(wifi_ap_h ap, bool* favorite);
/// The TV's own address in that network; fails for one that it is not connected to.
/// @param ip_address  out: as text
int wifi_ap_get_ip_address(wifi_ap_h ap, connection_address_family_e family, char** ip_address);

/// Reads by how much the connected access point's signal exceeds the noise.
/// @param snr  out: dB; negative when the noise is stronger; untouched on failure
/// @return WIFI_ERROR_NONE, WIFI_ERROR_INVALID_PARAMETER, WIFI_ERROR_INVALID_OPERATION,
///         WIFI_ERROR_NO_CONNECTION, WIFI_ERROR_OPERATION_FAILED or WIFI_ERROR_NOT_SUPPORTED
int wifi_get_snr(int* snr);

/// Called for each access point of the last scans.
/// @param ap  valid during the call
/// @return true to go on, false to stop
typedef bool (*wifi_found_ap_cb)(wifi_ap_h ap, void* user_data);

/// Walks the access points that the last scans found, one for each network name and security: through
/// the radio that the TV is connected to, else through the strongest. Calls back before it returns, and
/// never when nothing was found. No callback may scan or connect.
/// @return WIFI_ERROR_NONE, also after a callback stopped it; WIFI_ERROR_INVALID_PARAMETER,
///         WIFI_ERROR_INVALID_OPERATION, WIFI_ERROR_OPERATION_FAILED or WIFI_ERROR_NOT_SUPPORTED
int wifi_foreach_found_aps(wifi_found_ap_cb callback, void* user_data);

/// Called for each radio that carries an access point's network.
/// @param bssid      "AA:BB:CC:DD:EE:FF", valid during the call
/// @param rssi       dBm
/// @param frequency  MHz
/// @return true to go on, false to stop
typedef bool (*wifi_found_bssid_cb)(const char* bssid, int rssi, int frequency, void* user_data);

/// Walks all radios that carry the network of `ap`, its own included. May be called inside
/// wifi_foreach_found_aps().
/// @return as wifi_foreach_found_aps()
int wifi_foreach_found_bssids(wifi_ap_h ap, wifi_found_bssid_cb callback, void* user_data);

/// A saved network.
typedef struct wifi_config_handle_s* wifi_config_h;

/// @param config  valid during the call
/// @return true to go on, false to stop
typedef bool (*wifi_config_cb)(wifi_config_h config, void* user_data);

/// Walks the saved networks, and calls back before it returns.
/// @return as wifi_foreach_found_aps()
int wifi_config_foreach_configuration(wifi_config_cb callback, void* user_data);

/// Called when a request has ended.
/// @param result  WIFI_ERROR_NONE, or why it failed
typedef void (*wifi_finished_cb)(wifi_error_e result, void* user_data);

/// Scans all channels. The present connection stays.
/// @param callback  called once, after this returned, when the results can be walked
/// @return WIFI_ERROR_NONE, and then the callback comes; WIFI_ERROR_INVALID_PARAMETER,
///         WIFI_ERROR_INVALID_OPERATION, WIFI_ERROR_NOW_IN_PROGRESS, WIFI_ERROR_OPERATION_FAILED or
///         WIFI_ERROR_NOT_SUPPORTED
int wifi_scan(wifi_finished_cb callback, void* user_data);

/// Where a connection shall lead.
typedef struct {
  const char* essid;  ///< not empty
  const char* bssid;  ///< the radio, and no other is taken; null: any radio of the network
  int frequency;      ///< MHz, where the radio was seen; 0: not known, and all channels are looked at
  wifi_security_type_e security_type;
  const char* passphrase;  ///< null: the saved one
} wifi_target_s;

/// Connects to a network, by the one radio that is named if one is.
///
/// With a radio named, the platform looks first whether it is on the air, on its own channel only, which
/// interrupts nothing; if it is not, the answer is WIFI_ERROR_NOT_FOUND and the present connection
/// stands. Only then is the present connection left. A refusal by the access point is answered at once
/// (WIFI_ERROR_REFUSED) and not after a limit of time. After any later failure the TV is connected to
/// nothing, and the platform does not connect by itself for at least 10 s, so that the caller can go
/// back. A network that was joined with a passphrase is saved when that worked.
///
/// @param target    borrowed for the call
/// @param callback  called once, after this returned: WIFI_ERROR_NONE when the TV has an address in that
///                  network, WIFI_ERROR_NOT_FOUND, WIFI_ERROR_REFUSED, WIFI_ERROR_INVALID_KEY,
///                  WIFI_ERROR_NO_REPLY, WIFI_ERROR_DHCP_FAILED, WIFI_ERROR_OPERATION_FAILED, or
///                  WIFI_ERROR_OPERATION_ABORTED when a later request to connect or disconnect took its
///                  place. There is no limit to how late it may come.
/// @return WIFI_ERROR_NONE, and then the callback comes; WIFI_ERROR_INVALID_PARAMETER,
///         WIFI_ERROR_INVALID_OPERATION, WIFI_ERROR_ALREADY_EXISTS when the TV is connected there
///         (a request under way, which might still lead it elsewhere, has then lost its place),
///         WIFI_ERROR_OPERATION_FAILED or WIFI_ERROR_NOT_SUPPORTED
int wifi_connect_target(const wifi_target_s* target, wifi_finished_cb callback, void* user_data);

/// Connects to an access point's network with what is saved of it, its passphrase or its certificates,
/// by the radio that suits best. The present connection is left when that begins.
/// @param callback  called once, after this returned: WIFI_ERROR_NONE when the TV has an address there,
///                  WIFI_ERROR_ALREADY_EXISTS when it is connected to it, WIFI_ERROR_NOT_FOUND,
///                  WIFI_ERROR_REFUSED, WIFI_ERROR_INVALID_KEY, WIFI_ERROR_NO_REPLY,
///                  WIFI_ERROR_DHCP_FAILED, WIFI_ERROR_OPERATION_FAILED, or
///                  WIFI_ERROR_OPERATION_ABORTED when a later request to connect or disconnect took its
///                  place. There is no limit to how late it may come.
/// @return WIFI_ERROR_NONE, and then the callback comes; WIFI_ERROR_INVALID_PARAMETER,
///         WIFI_ERROR_INVALID_OPERATION, WIFI_ERROR_OPERATION_FAILED or WIFI_ERROR_NOT_SUPPORTED
int wifi_connect(wifi_ap_h ap, wifi_finished_cb callback, void* user_data);

/// Leaves an access point. The network stays saved, if it was.
/// @param callback  called once, after this returned
/// @return WIFI_ERROR_NONE, and then the callback comes; WIFI_ERROR_INVALID_PARAMETER,
///         WIFI_ERROR_INVALID_OPERATION, WIFI_ERROR_NO_CONNECTION when the TV is not connected to it,
///         WIFI_ERROR_OPERATION_FAILED or WIFI_ERROR_NOT_SUPPORTED
int wifi_disconnect(wifi_ap_h ap, wifi_finished_cb callback, void* user_data);

#ifdef __cplusplus
}
#endif

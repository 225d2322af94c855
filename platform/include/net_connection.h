#pragma once

/// The network connection interface. All functions belong to the main-loop thread, and all callbacks
/// are delivered there.

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
  CONNECTION_ERROR_NONE = 0,
  CONNECTION_ERROR_INVALID_PARAMETER = -22,  ///< null handle, out parameter or callback
  CONNECTION_ERROR_OUT_OF_MEMORY = -12,
  CONNECTION_ERROR_OPERATION_FAILED = -1,  ///< the service behind the interface cannot do it now
} connection_error_e;

/// A user of the interface, with its callbacks. Several may exist at a time.
typedef struct connection_handle_s* connection_h;

/// The wired network as a whole: attached while at least one wired interface has a carrier.
typedef enum {
  CONNECTION_ETHERNET_CABLE_DETACHED = 0,
  CONNECTION_ETHERNET_CABLE_ATTACHED = 1,
} connection_ethernet_cable_state_e;

/// Called when the cable was plugged in or pulled out, in the order in which that happened. The state
/// found when the callback was set is not an event.
typedef void (*connection_ethernet_cable_state_chaged_cb)(connection_ethernet_cable_state_e state,
                                                          void* user_data);

/// Creates a handle.
/// @param connection  out: ends with connection_destroy(); untouched on failure
/// @return CONNECTION_ERROR_NONE, CONNECTION_ERROR_INVALID_PARAMETER, CONNECTION_ERROR_OUT_OF_MEMORY,
///         or CONNECTION_ERROR_OPERATION_FAILED when the system offers no network events
int connection_create(connection_h* connection);

/// Destroys a handle. Its callbacks need not be unset first: none is called after this returns, also
/// when it is called from inside one.
/// @return CONNECTION_ERROR_NONE or CONNECTION_ERROR_INVALID_PARAMETER
int connection_destroy(connection_h connection);

/// Sets the handle's one cable callback; a second call replaces it.
/// @param user_data  borrowed until the handle is destroyed or the callback replaced
/// @return CONNECTION_ERROR_NONE, CONNECTION_ERROR_INVALID_PARAMETER or
/// CONNECTION_ERROR_OPERATION_FAILED
int connection_set_ethernet_cable_state_chaged_cb(connection_h connection,
                                                  connection_ethernet_cable_state_chaged_cb callback,
                                                  void* user_data);

#ifdef __cplusplus
}
#endif

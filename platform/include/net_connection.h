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
  CONNECTION_ERROR_NO_CONNECTION = -2,     ///< there is no network to ask about
  CONNECTION_ERROR_NOT_SUPPORTED = -95,    ///< this platform never answers that
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

/// Reads the wired network's state.
/// @param state  out: untouched on failure
/// @return CONNECTION_ERROR_NONE, CONNECTION_ERROR_INVALID_PARAMETER or
/// CONNECTION_ERROR_OPERATION_FAILED
int connection_get_ethernet_cable_state(connection_h connection,
                                        connection_ethernet_cable_state_e* state);

/// Called with each finding about the way to the internet. A report is about one step: "PHY" the link,
/// "GATEWAY" the router, "DNS" the name service, "HTTP" the probe of a server.
/// @param result  CONNECTION_ERROR_NONE when the step works, else any error
/// @param state   the step; valid during the call
typedef void (*connection_network_monitor_cb)(connection_error_e result, char* state, void* user_data);

/// Sets the handle's one monitor callback; a second call replaces it. What is found first after that is
/// reported also when nothing changed.
/// @param user_data  borrowed until the callback is unset or replaced, or the handle destroyed
/// @return CONNECTION_ERROR_NONE, CONNECTION_ERROR_INVALID_PARAMETER, CONNECTION_ERROR_NOT_SUPPORTED or
///         CONNECTION_ERROR_OPERATION_FAILED
int connection_set_network_monitor_cb(connection_h connection, connection_network_monitor_cb callback,
                                      void* user_data);

/// Unsets the monitor callback: none is called after this returns.
/// @return CONNECTION_ERROR_NONE, or CONNECTION_ERROR_INVALID_PARAMETER when there is no such handle
int connection_unset_network_monitor_cb(connection_h connection);

/// A network in use or known. What it says is what was true when it was taken.
typedef struct connection_profile_handle_s* connection_profile_h;

typedef enum {
  CONNECTION_PROFILE_TYPE_CELLULAR = 0,
  CONNECTION_PROFILE_TYPE_WIFI = 1,
  CONNECTION_PROFILE_TYPE_ETHERNET = 2,
} connection_profile_type_e;

typedef enum {
  CONNECTION_ADDRESS_FAMILY_IPV4 = 0,
  CONNECTION_ADDRESS_FAMILY_IPV6 = 1,
} connection_address_family_e;

/// The kinds of network hardware.
typedef enum {
  CONNECTION_TYPE_DISCONNECTED = 0,
  CONNECTION_TYPE_WIFI = 1,
  CONNECTION_TYPE_CELLULAR = 2,
  CONNECTION_TYPE_ETHERNET = 3,
} connection_type_e;

/// Takes the profile of the network that carries the TV's traffic.
/// @param profile  out: ends with connection_profile_destroy(); untouched on failure
/// @return CONNECTION_ERROR_NONE, CONNECTION_ERROR_INVALID_PARAMETER, CONNECTION_ERROR_NO_CONNECTION
/// when
///         no network does, or CONNECTION_ERROR_OPERATION_FAILED
int connection_get_current_profile(connection_h connection, connection_profile_h* profile);

/// @return CONNECTION_ERROR_NONE or CONNECTION_ERROR_INVALID_PARAMETER
int connection_profile_destroy(connection_profile_h profile);

/// @param type  out: untouched on failure
/// @return CONNECTION_ERROR_NONE or CONNECTION_ERROR_INVALID_PARAMETER
int connection_profile_get_type(connection_profile_h profile, connection_profile_type_e* type);

/// Reads for how long the router lent the address.
/// @param seconds  out: untouched on failure
/// @return CONNECTION_ERROR_NONE, CONNECTION_ERROR_INVALID_PARAMETER, CONNECTION_ERROR_NO_CONNECTION
/// when
///         the address was not lent, CONNECTION_ERROR_NOT_SUPPORTED or CONNECTION_ERROR_OPERATION_FAILED
int connection_profile_get_dhcp_lease_duration(connection_profile_h profile,
                                               connection_address_family_e family, int* seconds);

/// Tells whether there is a default gateway, of whatever network. Needs no handle.
/// @param has_gateway  out: untouched on failure
/// @return CONNECTION_ERROR_NONE, CONNECTION_ERROR_INVALID_PARAMETER or
/// CONNECTION_ERROR_OPERATION_FAILED
int connection_profile_check_default_gateway(bool* has_gateway);

/// Reads the hardware address of a kind of network.
/// @param mac_address  out: "AA:BB:CC:DD:EE:FF", a heap string that the caller frees with free();
///                     untouched on failure
/// @return CONNECTION_ERROR_NONE, CONNECTION_ERROR_INVALID_PARAMETER, or
/// CONNECTION_ERROR_OPERATION_FAILED
///         when there is no such hardware
int connection_get_mac_address(connection_h connection, connection_type_e type, char** mac_address);

/// Reads the address of the network that carries the TV's traffic.
/// @param ip_address  out: as text, a heap string that the caller frees with free(); untouched on
/// failure
/// @return CONNECTION_ERROR_NONE, CONNECTION_ERROR_INVALID_PARAMETER, CONNECTION_ERROR_NO_CONNECTION
/// when
///         there is no network or it has no address of this family, or CONNECTION_ERROR_OPERATION_FAILED
int connection_get_ip_address(connection_h connection, connection_address_family_e family,
                              char** ip_address);

/// Tells whether the access point is a telephone that shares its own connection.
/// @param status  out: 1 it is, 0 it is not, or the platform's own further kinds; untouched on failure
/// @return CONNECTION_ERROR_NONE, CONNECTION_ERROR_INVALID_PARAMETER, CONNECTION_ERROR_NO_CONNECTION,
///         CONNECTION_ERROR_NOT_SUPPORTED or CONNECTION_ERROR_OPERATION_FAILED
int connection_check_hotspot(connection_h connection, int* status);

/// A walk through the networks that the platform knows.
typedef struct connection_profile_iterator_s* connection_profile_iterator_h;

typedef enum {
  CONNECTION_ITERATOR_TYPE_REGISTERED = 0,  ///< every network that could be opened, in use or not
} connection_iterator_type_e;

/// Begins a walk through the networks as they are now: the wired one while its cable is in, each saved
/// Wi-Fi network, the cellular one while its dongle is in. Their order means nothing.
/// @param iterator  out: ends with the connection handle; untouched on failure
/// @return CONNECTION_ERROR_NONE, also when there is no network; CONNECTION_ERROR_INVALID_PARAMETER,
///         CONNECTION_ERROR_OPERATION_FAILED or CONNECTION_ERROR_NOT_SUPPORTED
int connection_get_profile_iterator(connection_h connection, connection_iterator_type_e type,
                                    connection_profile_iterator_h* iterator);

/// @return whether connection_profile_iterator_next() has another one; false for what is no walk
bool connection_profile_iterator_has_next(connection_profile_iterator_h iterator);

/// Takes the next network.
/// @param profile  out: ends with connection_profile_destroy(), and at the latest with the connection
///                 handle that the walk was begun with; untouched on failure
/// @return CONNECTION_ERROR_NONE, or CONNECTION_ERROR_INVALID_PARAMETER, also at the end of the walk
int connection_profile_iterator_next(connection_profile_iterator_h iterator,
                                     connection_profile_h* profile);

/// Called when a network has been opened or closed, or could not be.
/// @param result  CONNECTION_ERROR_NONE, CONNECTION_ERROR_NO_CONNECTION when there is no such network
///                any more, or CONNECTION_ERROR_OPERATION_FAILED
typedef void (*connection_profile_changed_cb)(connection_error_e result, void* user_data);

/// Leaves a network: it carries no traffic, and has no address, until it is opened again or, where it
/// is wired, its cable is plugged in anew.
/// @param callback   called once, after this returned, unless the handle is destroyed before; closing
///                   what is closed is a success
/// @param user_data  borrowed until then
/// @return CONNECTION_ERROR_NONE, and then the callback comes; CONNECTION_ERROR_INVALID_PARAMETER,
///         CONNECTION_ERROR_NO_CONNECTION when there is no such network any more,
///         CONNECTION_ERROR_OPERATION_FAILED, or CONNECTION_ERROR_NOT_SUPPORTED for a kind of network
///         that this platform closes and opens by other means
int connection_close_profile(connection_h connection, connection_profile_h profile,
                             connection_profile_changed_cb callback, void* user_data);

/// Joins a network that was closed, with all that this takes: what its certificates or its settings
/// have become is read anew. Opening what is open is a success.
/// @param callback  as for connection_close_profile(); with CONNECTION_ERROR_NONE the network has an
///                  address
/// @return as connection_close_profile()
int connection_open_profile(connection_h connection, connection_profile_h profile,
                            connection_profile_changed_cb callback, void* user_data);

/// Whether the platform captures the packets of all its networks.
typedef enum {
  CONNECTION_TCPDUMP_STATE_STOPPED = 0,
  CONNECTION_TCPDUMP_STATE_RUNNING = 1,
} connection_tcpdump_state_e;

/// Begins to capture the packets of all networks, also of those that appear later. There is one capture
/// for the whole platform, whichever handle began it. Its file, in libpcap's format and whole once the
/// capture has been stopped, is "/opt/usr/data/network/tcpdump-[time].pcap", with that literal name; it
/// replaces the file of the last capture. How much is kept and for how long is the platform's: what is
/// oldest goes first.
/// @return CONNECTION_ERROR_NONE, CONNECTION_ERROR_INVALID_PARAMETER when there is no such handle,
///         CONNECTION_ERROR_OPERATION_FAILED when a capture runs already, or when its file or the
///         packets cannot be had, CONNECTION_ERROR_NOT_SUPPORTED
int connection_profile_start_tcpdump(connection_h connection);

/// Ends the capture. Every packet that was sent or received before this call is in the file when it
/// returns, unless newer ones have pushed it out. May take a few tenths of a second.
/// @return CONNECTION_ERROR_NONE, also when the platform had ended the capture by itself;
///         CONNECTION_ERROR_INVALID_PARAMETER when there is no such handle,
///         CONNECTION_ERROR_OPERATION_FAILED when none was started or the file could not be finished,
///         CONNECTION_ERROR_NOT_SUPPORTED
int connection_profile_stop_tcpdump(connection_h connection);

/// @param state  out: untouched on failure
/// @return CONNECTION_ERROR_NONE, CONNECTION_ERROR_INVALID_PARAMETER, CONNECTION_ERROR_NOT_SUPPORTED
int connection_profile_get_tcpdump_state(connection_h connection, connection_tcpdump_state_e* state);

#ifdef __cplusplus
}
#endif

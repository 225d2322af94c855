#pragma once

/// The settings store: typed key/value pairs with change notification.
///
/// A key is a path such as "db/menu/network/ap_name". Keys under "db/" survive a reboot, keys under
/// "memory/" live until power-off. A key holds one type for ever; vconf_keys.h is the catalogue.
/// A key name that is null or empty, that starts with '/', that has an empty component or one that
/// starts with '.', or whose first component is neither "db" nor "memory", is refused by every
/// function here.
///
/// Reads and writes may be called from any thread. Watches belong to the main-loop thread.

#ifdef __cplusplus
extern "C" {
#endif

#define VCONF_OK 0
#define VCONF_ERROR (-1)

/// The key that changed, as handed to a callback; valid during the callback only.
typedef struct _keynode_t keynode_t;

/// Called on the main loop after a watched key was written, by whichever process, this one included.
/// Each write calls once, also one that stores the value the key already had. It carries no value:
/// read the key.
typedef void (*vconf_callback_fn)(keynode_t* node, void* user_data);

/// Reads an int.
/// @param value  out: untouched on failure
/// @return VCONF_OK, or VCONF_ERROR when the key has no value, a value of another type or a damaged one
int vconf_get_int(const char* key, int* value);

/// Reads a bool.
/// @param value  out: 0 or 1; untouched on failure
/// @return as vconf_get_int()
int vconf_get_bool(const char* key, int* value);

/// Reads a string.
/// @return a heap string that the caller frees with free(), or null in the cases in which
///         vconf_get_int() fails
char* vconf_get_str(const char* key);

/// Writes an int, and creates the key when it has no value yet.
/// @return VCONF_OK when every later read gives the new value (after a power cut a "db/" key has its
///         old value or the new one, whole); VCONF_ERROR when the store could not take it (full disk, no
///         permission, refused name): the key then keeps its old value
int vconf_set_int(const char* key, int value);

/// Writes a bool; any value but 0 is stored as true.
/// @return as vconf_set_int()
int vconf_set_bool(const char* key, int value);

/// Writes a string of any bytes but NUL; null is refused.
/// @return as vconf_set_int()
int vconf_set_str(const char* key, const char* value);

/// Watches a key, which need not have a value yet. The same key may be watched several times, with
/// other callbacks or other user data; each watch is called once a write, in the order of watching.
/// May be called from inside a callback: the new watch hears the next write.
/// @param user_data  borrowed until the watch ends
/// @return VCONF_OK, or VCONF_ERROR for a refused name, a null callback, or a store that is not there
///         and cannot be created
int vconf_notify_key_changed(const char* key, vconf_callback_fn callback, void* user_data);

/// Ends every watch of this pair of key and callback, whatever its user data. After it returns the
/// callback is not called again, also when a notification is being delivered at that moment.
/// @return VCONF_OK, or VCONF_ERROR when there was no such watch
int vconf_ignore_key_changed(const char* key, vconf_callback_fn callback);

#ifdef __cplusplus
}
#endif

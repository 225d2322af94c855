#pragma once

/// The telephony interface: the cellular dongle. All functions belong to the main-loop thread, and all
/// callbacks are delivered there.

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
  TAPI_API_SUCCESS = 0,
  TAPI_API_INVALID_INPUT = -1,     ///< null handle, name, out parameter or callback
  TAPI_API_INVALID_PTR = -2,       ///< a handle that was ended
  TAPI_API_OPERATION_FAILED = -3,  ///< the telephony service is not there
  TAPI_API_NOT_SUPPORTED = -4,     ///< no such property
} TapiResult_t;

/// A session with the telephony service.
typedef struct tapi_handle TapiHandle;

/// int property, and the notification of its changes: 1 a dongle is inserted, 0 none is.
#define TAPI_PROP_MODEM_DONGLE_STATUS "org.orvik.telephony.Modem:dongle_status"

/// Called after a property changed.
/// @param evt   the property's name
/// @param data  points to its new value, an int; valid during the call
typedef void (*tapi_notification_cb)(TapiHandle* handle, const char* evt, void* data, void* user_data);

/// Opens a session. "memory/telephony/telephony_ready" says whether it is worth trying.
/// @param subscriber  which modem, null for the first
/// @return a session, ended with tel_deinit(), or null when the telephony service is not there
TapiHandle* tel_init(const char* subscriber);

/// Ends a session and all its notifications: none is delivered after this returns.
/// @return TAPI_API_SUCCESS or TAPI_API_INVALID_INPUT
int tel_deinit(TapiHandle* handle);

/// Reads an int property.
/// @param value  out: untouched on failure
/// @return TAPI_API_SUCCESS, TAPI_API_INVALID_INPUT, TAPI_API_NOT_SUPPORTED, or
///         TAPI_API_OPERATION_FAILED when the service has gone since tel_init()
int tel_get_property_int(TapiHandle* handle, const char* property, int* value);

/// Subscribes to the changes of a property. A second subscription of the same pair of name and callback
/// renews the first: each change is delivered once.
/// @param user_data  borrowed until the session ends
/// @return as tel_get_property_int()
int tel_register_noti_event(TapiHandle* handle, const char* evt, tapi_notification_cb callback,
                            void* user_data);

#ifdef __cplusplus
}
#endif

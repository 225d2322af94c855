#include "tapi.h"

// A TV without a telephony service has no sessions with it.

TapiHandle* tel_init(const char* /*subscriber*/) {
  return nullptr;
}

int tel_deinit(TapiHandle* /*handle*/) {
  return TAPI_API_INVALID_INPUT;
}

int tel_get_property_int(TapiHandle* /*handle*/, const char* /*property*/, int* /*value*/) {
  return TAPI_API_INVALID_INPUT;
}

int tel_register_noti_event(TapiHandle* /*handle*/, const char* /*evt*/,
                            tapi_notification_cb /*callback*/, void* /*user_data*/) {
  return TAPI_API_INVALID_INPUT;
}

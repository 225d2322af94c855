#include "wifi_manager.h"

// The saved networks: this backend has no Wi-Fi yet.

int wifi_config_foreach_configuration(wifi_config_cb /*callback*/, void* /*user_data*/) {
  return WIFI_ERROR_NOT_SUPPORTED;
}

int wifi_manager_config_foreach_configuration(wifi_manager_h /*manager*/,
                                              wifi_manager_config_cb /*callback*/, void* /*user_data*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_config_get_name(wifi_manager_config_h /*config*/, char** /*name*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_config_get_security_type(wifi_manager_config_h /*config*/,
                                          wifi_security_type_e* /*type*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

int wifi_manager_config_get_frequency(wifi_manager_config_h /*config*/, int* /*frequency*/) {
  return WIFI_MANAGER_ERROR_NOT_SUPPORTED;
}

#pragma once

/// What kind of TV this is: features of the model and facts of the product. All values are constant
/// while the daemon runs. May be called from any thread.

#ifdef __cplusplus
extern "C" {
#endif

#define SYSTEM_INFO_ERROR_NONE 0
#define SYSTEM_INFO_ERROR_INVALID_PARAMETER (-22)  ///< null key, unknown number, null out parameter
#define SYSTEM_INFO_ERROR_IO_ERROR (-5)            ///< the value is there and is not of this type
#define SYSTEM_INFO_ERROR_NOT_SUPPORTED (-95)      ///< this model says nothing about the key

/// Feature keys of the model.
#define SYSTEM_INFO_FEATURE_PREFIX "com.velanor/featureconf/"
/// int; bit 0 set: the model has a wired network
#define FEATURE_NETWORK_SUPPORT SYSTEM_INFO_FEATURE_PREFIX "network.network_support"
/// bool; false: no network popup is ever shown
#define FEATURE_NETWORK_POPUP_SUPPORTED SYSTEM_INFO_FEATURE_PREFIX "networkui.network_popup_supported"
/// bool; a business (hospitality) model
#define FEATURE_B2B_OPTION_SUPPORT SYSTEM_INFO_FEATURE_PREFIX "product.b2b_option_support"
/// int; the product line
#define FEATURE_TV_MODEL_TYPE SYSTEM_INFO_FEATURE_PREFIX "tv_model_type"
/// bool; the device is a projector
#define FEATURE_PROJECTOR_SUPPORT SYSTEM_INFO_FEATURE_PREFIX "projector_feature_support"
/// int; the projector's engine
#define FEATURE_PROJECTOR_ENGINE_TYPE SYSTEM_INFO_FEATURE_PREFIX "projector.engine_type"

/// Facts of the product, by the platform's numbers.
typedef enum {
  SYSTEM_INFO_KEY_PRODUCT_SW_VERSION = 128,  ///< string: version of the product's software
  SYSTEM_INFO_KEY_WIFI_VENDOR = 281,         ///< int: vendor of the Wi-Fi chip
} system_info_key_e;

/// Reads a feature of the model.
/// @param value  out: untouched on failure
/// @return SYSTEM_INFO_ERROR_NONE or one of the errors above
int system_info_get_custom_bool(const char* key, bool* value);
int system_info_get_custom_int(const char* key, int* value);

/// Reads a fact of the product.
/// @param value  out: untouched on failure; a string is a heap string that the caller frees with free()
/// @return SYSTEM_INFO_ERROR_NONE or one of the errors above
int system_info_get_value_int(system_info_key_e key, int* value);
int system_info_get_value_string(system_info_key_e key, char** value);

#ifdef __cplusplus
}
#endif

#pragma once

/// The package manager interface: which applications are installed. Main-loop thread only.

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
  PACKAGE_MANAGER_ERROR_NONE = 0,
  PACKAGE_MANAGER_ERROR_INVALID_PARAMETER = -22,  ///< null text, handle or out parameter
  PACKAGE_MANAGER_ERROR_IO_ERROR = -5,            ///< the list of packages cannot be read
  PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE = -2,
} package_manager_error_e;

/// What is known of an installed package.
typedef struct package_info_handle_s* package_info_h;

/// @param package_id  such as "org.orvik.browser"
/// @param info        out: ends with package_info_destroy(); untouched on failure
/// @return PACKAGE_MANAGER_ERROR_NONE or one of the errors above
int package_manager_get_package_info(const char* package_id, package_info_h* info);

/// @return PACKAGE_MANAGER_ERROR_NONE or PACKAGE_MANAGER_ERROR_INVALID_PARAMETER
int package_info_destroy(package_info_h info);

#ifdef __cplusplus
}
#endif

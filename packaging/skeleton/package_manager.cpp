#include "package_manager.h"

// To the daemon no package is installed.

int package_manager_get_package_info(const char* package_id, package_info_h* info) {
  return package_id == nullptr || info == nullptr ? PACKAGE_MANAGER_ERROR_INVALID_PARAMETER
                                                  : PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE;
}

int package_info_destroy(package_info_h /*info*/) {
  return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;  // none was given out
}

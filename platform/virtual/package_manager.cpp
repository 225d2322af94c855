#include "package_manager.h"

#include "CallGate.h"
#include "VirtualTv.h"

int package_manager_get_package_info(const char* package_id, package_info_h* info) {
  Packages& packages = VirtualTv::Instance().GetPackages();
  if (const auto refusal = call_gate::Refusal("package_manager_get_package_info", package_id)) {
    return *refusal;
  }
  if (package_id == nullptr || info == nullptr) {
    return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
  }
  if (!packages.List().contains(package_id)) {
    return PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE;
  }
  *info = packages.GetHandles().Add(package_id);
  return PACKAGE_MANAGER_ERROR_NONE;
}

int package_info_destroy(package_info_h info) {
  Packages& packages = VirtualTv::Instance().GetPackages();
  const std::string* const id = packages.GetHandles().Find(info);
  if (const auto refusal =
          call_gate::Refusal("package_info_destroy", id == nullptr ? nullptr : id->c_str())) {
    return *refusal;
  }
  return packages.GetHandles().Remove(info) ? PACKAGE_MANAGER_ERROR_NONE
                                            : PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
}

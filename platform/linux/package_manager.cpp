#include "package_manager.h"

#include <string>

#include <gio/gdesktopappinfo.h>

#include "CallGate.h"
#include "HandleSet.h"

/// A package is an application that the desktop could start: "ID.desktop" in the applications directory
/// of one of the XDG data directories, not hidden, whose program is there. GLib keeps the list of files
/// from the first question on, and is told by the kernel when one comes or goes.
struct package_info_handle_s {
  std::string id;
};

namespace {

HandleSet<package_info_handle_s>& Handles() {
  static auto* const handles = new HandleSet<package_info_handle_s>;
  return *handles;
}

bool IsInstalled(const std::string& id) {
  g_autoptr(GDesktopAppInfo) application = g_desktop_app_info_new((id + ".desktop").c_str());
  return application != nullptr;
}

}  // namespace

int package_manager_get_package_info(const char* package_id, package_info_h* info) {
  if (const auto refusal = call_gate::Refusal("package_manager_get_package_info", package_id)) {
    return *refusal;
  }
  if (package_id == nullptr || info == nullptr) {
    return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
  }
  const std::string id(package_id);
  if (id.empty() || !IsInstalled(id)) {
    return PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE;
  }
  *info = Handles().Add({id});
  return PACKAGE_MANAGER_ERROR_NONE;
}

int package_info_destroy(package_info_h info) {
  if (const auto refusal = call_gate::Refusal("package_info_destroy")) {
    return *refusal;
  }
  return Handles().Remove(info) ? PACKAGE_MANAGER_ERROR_NONE : PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
}

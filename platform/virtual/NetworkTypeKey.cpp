#include "NetworkTypeKey.h"

#include <cstdlib>
#include <utility>

#include <glib.h>

#include "PlatformLog.h"
#include "SettingsFile.h"
#include "vconf_keys.h"

namespace {

/// @return null when there is nothing to say
const char* NameOf(Internet::Carrier carrier) {
  switch (carrier) {
    case Internet::Carrier::kNone:
      return nullptr;
    case Internet::Carrier::kCable:
      return "Wired";
    case Internet::Carrier::kWifi:
      return "Wireless";
    case Internet::Carrier::kCellular:
      return "Cellular";
  }
  std::abort();
}

bool IsStored(const char* type) {
  GVariant* const stored = settings::Read(vconf_keys::kNetworkType, G_VARIANT_TYPE_STRING);
  if (stored == nullptr) {
    return false;
  }
  const bool is_equal = g_str_equal(g_variant_get_string(stored, nullptr), type) != 0;
  g_variant_unref(stored);
  return is_equal;
}

}  // namespace

void NetworkTypeKey::Follow(Internet::Carrier carrier) {
  if (std::exchange(m_carrier, carrier) == carrier) {
    return;
  }
  const char* const type = NameOf(carrier);
  if (type == nullptr || IsStored(type)) {
    return;
  }
  // Past the gate: it is another process of the TV that writes this key, not the program under the TV.
  const int error = settings::Write(vconf_keys::kNetworkType, g_variant_new_string(type));
  if (error != 0) {
    PLATFORM_LOG(DLOG_ERROR, "cannot write %s: %s", vconf_keys::kNetworkType, g_strerror(error));
  }
}

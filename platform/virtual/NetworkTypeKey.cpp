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
  return settings::ReadText(vconf_keys::kNetworkType) == type;
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

#pragma once

#include <cstddef>
#include <map>

#include "Radio.h"
#include "wifi.h"

/// The access points that the program under the TV holds handles of. A handle is a number that is never
/// given again, so that one which has ended is told from one that lives. Owned by Wifi; main-loop thread
/// only.
class ApHandles {
 public:
  wifi_ap_h Add(const AccessPoint& ap);
  /// @return false when there is no such handle (any more)
  bool Remove(wifi_ap_h handle) { return m_aps.erase(handle) != 0; }
  /// Null when there is no such handle (any more); valid until it is removed.
  AccessPoint* Find(wifi_ap_h handle);
  /// What a test looks at to see that none was forgotten.
  [[nodiscard]] std::size_t Count() const { return m_aps.size(); }

 private:
  std::map<wifi_ap_h, AccessPoint> m_aps;
  std::size_t m_given = 0;
};

#include "RadioTable.h"

#include <algorithm>

namespace Setwell {

int RadioTable::Add(const AccessPoint& radio) {
  const auto known = std::ranges::find_if(
      m_entries, [&](const Entry& entry) { return IsSameRadio(entry.radio.bssid, radio.bssid); });
  int number = 0;
  if (known != m_entries.end()) {
    number = known->number;
    m_entries.erase(known);
  } else {
    number = ++m_last_number;
  }
  m_entries.push_back({number, radio});
  if (m_entries.size() > kMost) {
    m_entries.pop_front();
  }
  return number;
}

std::optional<AccessPoint> RadioTable::Find(int number) const {
  const auto found =
      std::ranges::find_if(m_entries, [number](const Entry& entry) { return entry.number == number; });
  if (found == m_entries.end()) {
    return std::nullopt;
  }
  return found->radio;
}

}  // namespace Setwell

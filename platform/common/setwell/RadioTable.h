#pragma once

#include <cstddef>
#include <deque>
#include <optional>

#include "AccessPoint.h"

namespace Setwell {

/// The radios that were handed out, by the number that a request to connect names one with. Holds the
/// last kMost that were handed out, so a long life among many neighbours costs no more than that.
class RadioTable {
 public:
  static constexpr std::size_t kMost = 64;

  /// @return its number, never 0; the same each time the same radio is added
  int Add(const AccessPoint& radio);

  /// @return nullopt when no such radio was handed out, or too many others since
  [[nodiscard]] std::optional<AccessPoint> Find(int number) const;

 private:
  struct Entry {
    int number;
    AccessPoint radio;
  };
  std::deque<Entry> m_entries;  // the one handed out last at the end
  int m_last_number = 0;
};

}  // namespace Setwell

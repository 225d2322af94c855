#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace scenario {

/// The records that are handed to the KPI logger from this object's making on, as the KPI journal shows
/// them to everybody on the machine. An expectation takes the record that it is about, so that the next
/// one is about the next record.
class KpiRecords {
 public:
  KpiRecords();

  struct Record {
    std::string code;
    std::string text;  ///< the event's name and the description: "AWM {ntype=2,...}"
    bool operator==(const Record&) const = default;
  };

  /// @return the oldest record of that code that was not taken yet
  std::optional<Record> Take(const std::string& code);

  /// @param code  empty for any
  /// @return the same, left where it is
  std::optional<Record> Peek(const std::string& code);

 private:
  void ReadOn();
  std::deque<Record>::iterator Find(const std::string& code);

  std::string m_path;
  std::uintmax_t m_read = 0;  // bytes of the journal that were taken in
  std::deque<Record> m_records;
};

}  // namespace scenario

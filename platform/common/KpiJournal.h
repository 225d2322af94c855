#pragma once

#include <string>

/// The KPI journal: the file to which the records of the KPI logger are appended, one JSON object a
/// line, with the members time, service, event, code and description, all of them texts. Any number of
/// processes may append at a time; whoever carries the records on renames the file and gets a new one.
namespace kpi_journal {

inline constexpr char kPathVariable[] = "PELORUS_KPI_JOURNAL";

/// $PELORUS_KPI_JOURNAL, else /var/lib/pelorus/kpi/journal.jsonl.
std::string Path();

/// What the caller says of a record; the journal adds the time.
struct Record {
  std::string service;
  std::string event;
  std::string code;
  std::string description;
};

/// The record's line, with the newline. Bytes that are not UTF-8 become U+FFFD.
/// @param microseconds  since 1970
std::string Line(const Record& record, long long microseconds);

/// Appends a line, and returns when it is on the disk. The file never keeps a part of it: what a full
/// disk cuts off is taken back. The file, and the directory it is in, are made when they are missing,
/// for their owner and group only.
/// @param line  ends with a newline
/// @return 0 or an errno; EBUSY when somebody kept the file locked
int Append(const std::string& path, const std::string& line);

}  // namespace kpi_journal

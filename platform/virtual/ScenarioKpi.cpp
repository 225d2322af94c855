#include "ScenarioKpi.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <system_error>

#include <json/reader.h>
#include <json/value.h>

#include "KpiJournal.h"

namespace scenario {
namespace {

std::uintmax_t SizeOf(const std::string& path) {
  std::error_code missing;
  const std::uintmax_t size = std::filesystem::file_size(path, missing);
  return missing ? 0 : size;
}

std::optional<KpiRecords::Record> FromLine(const std::string& line) {
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  Json::Value record;
  std::string error;
  if (!reader->parse(line.data(), line.data() + line.size(), &record, &error) || !record.isObject()) {
    return std::nullopt;
  }
  return KpiRecords::Record{record["code"].asString(),
                            record["event"].asString() + " " + record["description"].asString()};
}

}  // namespace

KpiRecords::KpiRecords() : m_path(kpi_journal::Path()), m_read(SizeOf(m_path)) {}

std::optional<KpiRecords::Record> KpiRecords::Take(const std::string& code) {
  ReadOn();
  const auto found = Find(code);
  if (found == m_records.end()) {
    return std::nullopt;
  }
  Record record = std::move(*found);
  m_records.erase(found);
  return record;
}

std::optional<KpiRecords::Record> KpiRecords::Peek(const std::string& code) {
  ReadOn();
  const auto found = Find(code);
  return found == m_records.end() ? std::nullopt : std::optional(*found);
}

void KpiRecords::ReadOn() {
  if (SizeOf(m_path) < m_read) {
    m_read = 0;  // somebody carried the journal away, and this is a new one
  }
  std::ifstream journal(m_path, std::ios::binary);
  journal.seekg(static_cast<std::streamoff>(m_read));
  // A line without its end is still being written.
  for (std::string line; std::getline(journal, line) && !journal.eof(); m_read += line.size() + 1) {
    if (auto record = FromLine(line)) {
      m_records.push_back(std::move(*record));
    }
  }
}

std::deque<KpiRecords::Record>::iterator KpiRecords::Find(const std::string& code) {
  return std::ranges::find_if(m_records,
                              [&](const Record& record) { return code.empty() || record.code == code; });
}

}  // namespace scenario

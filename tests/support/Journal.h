#pragma once

#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/value.h>

/// The KPI journal, read as whoever carries the records on reads it.
namespace journal {

inline constexpr char kPath[] = "/var/lib/pelorus/kpi/journal.jsonl";

/// The records of a journal; a test failure for each line that is no JSON object or has no end.
inline std::vector<Json::Value> Records(const std::string& path = kPath) {
  std::vector<Json::Value> records;
  std::ifstream file(path, std::ios::binary);
  std::string line;
  while (std::getline(file, line)) {
    EXPECT_FALSE(file.eof()) << "a line without an end: " << line;
    std::string errors;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    records.emplace_back();
    EXPECT_TRUE(reader->parse(line.data(), line.data() + line.size(), &records.back(), &errors) &&
                records.back().isObject())
        << line << "\n"
        << errors;
  }
  return records;
}

/// One member of each record.
inline std::vector<std::string> Texts(const char* member, const std::string& path = kPath) {
  std::vector<std::string> texts;
  for (const Json::Value& record : Records(path)) {
    texts.push_back(record[member].asString());
  }
  return texts;
}

}  // namespace journal

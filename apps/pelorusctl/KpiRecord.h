#pragma once

#include <string>
#include <utility>
#include <vector>

#include <json/value.h>

/// A line of the KPI journal, read back.
struct KpiRecord {
  std::string time;
  std::string service;
  std::string event;
  std::string code;
  std::string description;
};

/// @param fault  out: why the line is no record; untouched when it is one
/// @return whether it is
bool ParseRecord(const std::string& line, KpiRecord& record, std::string& fault);

/// Name and value of each field of a description, in its order. Fields are joined by ";", in older parts
/// by ",": what follows one of these and has no "=" belongs to the value before it.
using KpiFields = std::vector<std::pair<std::string, std::string>>;
KpiFields FieldsOf(const std::string& description);

/// Whether `typed` is the record's code or its event's name, in upper or lower case.
bool IsOfEvent(const KpiRecord& record, const std::string& typed);

/// On one line, for a person: control characters are escaped.
std::string ReadableLine(const KpiRecord& record);

/// On one line, for a program: the record with its fields.
Json::Value ToJson(const KpiRecord& record);

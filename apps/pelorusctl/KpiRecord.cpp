#include "KpiRecord.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <string_view>

#include <glib.h>
#include <json/reader.h>

#include "Setting.h"

namespace {

/// Text that moves no cursor and ends no line.
bool IsPlain(const std::string& text) {
  for (const char* p = text.c_str(); *p != '\0'; p = g_utf8_next_char(p)) {
    const gunichar character = g_utf8_get_char(p);
    if (!g_unichar_isgraph(character)) {
      return false;
    }
  }
  return true;
}

std::string Shown(const std::string& text) {
  return IsPlain(text)
             ? text
             : QuotedText(Variant(g_variant_ref_sink(g_variant_new_string(text.c_str()))).get());
}

/// The member's text, without what no text can hold: escapes can make halves of characters, and NUL.
std::string TextOf(const Json::Value& member) {
  const std::string text = member.asString();
  g_autofree char* valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
  return valid;
}

}  // namespace

bool ParseRecord(const std::string& line, KpiRecord& record, std::string& fault) {
  static const Json::CharReaderBuilder kBuilder = [] {
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["stackLimit"] = 16;
    return builder;
  }();
  if (!g_utf8_validate_len(line.data(), line.size(), nullptr)) {
    fault = "it is no text";
    return false;
  }
  Json::Value root;
  std::string errors;
  try {
    const std::unique_ptr<Json::CharReader> reader(kBuilder.newCharReader());
    if (!reader->parse(line.data(), line.data() + line.size(), &root, &errors) || !root.isObject()) {
      fault = "it is no JSON object";
      return false;
    }
  } catch (const std::exception&) {  // more brackets than a record ever has
    fault = "it is no JSON object";
    return false;
  }
  const std::pair<const char*, std::string*> members[] = {{"time", &record.time},
                                                          {"service", &record.service},
                                                          {"event", &record.event},
                                                          {"code", &record.code},
                                                          {"description", &record.description}};
  for (const auto& [name, text] : members) {
    if (!root[name].isString()) {
      fault = std::string("it has no text \"") + name + "\"";
      return false;
    }
    *text = TextOf(root[name]);
  }
  return true;
}

KpiFields FieldsOf(const std::string& description) {
  std::string_view rest = description;
  if (rest.starts_with('{') && rest.ends_with('}') && rest.size() > 1) {
    rest = rest.substr(1, rest.size() - 2);
  }
  KpiFields fields;
  std::string joint;
  while (!rest.empty()) {
    const std::size_t length = std::min(rest.find_first_of(";,"), rest.size());
    const std::string_view piece = rest.substr(0, length);
    const std::size_t equals = piece.find('=');
    if (equals != piece.npos) {
      fields.emplace_back(piece.substr(0, equals), piece.substr(equals + 1));
    } else if (fields.empty()) {
      fields.emplace_back(piece, "");
    } else {
      fields.back().second += joint + std::string(piece);
    }
    joint = rest.substr(length, 1);
    rest.remove_prefix(std::min(length + 1, rest.size()));
  }
  return fields;
}

bool IsOfEvent(const KpiRecord& record, const std::string& typed) {
  return g_ascii_strcasecmp(typed.c_str(), record.code.c_str()) == 0 ||
         g_ascii_strcasecmp(typed.c_str(), record.event.c_str()) == 0;
}

std::string ReadableLine(const KpiRecord& record) {
  std::string line = Shown(record.time);
  for (const std::string* text : {&record.code, &record.event, &record.service}) {
    line += " " + Shown(*text);
  }
  for (const auto& [name, value] : FieldsOf(record.description)) {
    line += " " + Shown(name) + "=" + Shown(value);
  }
  return line;
}

Json::Value ToJson(const KpiRecord& record) {
  Json::Value document;
  document["time"] = record.time;
  document["service"] = record.service;
  document["event"] = record.event;
  document["code"] = record.code;
  document["description"] = record.description;
  document["fields"] = Json::Value(Json::objectValue);
  for (const auto& [name, value] : FieldsOf(record.description)) {
    document["fields"][name] = value;
  }
  return document;
}

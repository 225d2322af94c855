#include "Setting.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <limits>
#include <set>
#include <string_view>

#include <json/writer.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Catalogue.h"
#include "SettingsFile.h"

namespace fs = std::filesystem;
using vconf_keys::Type;

namespace {

Variant ReadAnyType(const std::string& key) {
  return Variant(settings::Read(key.c_str()));
}

bool EqualIgnoringCase(const std::string& text, const char* word) {
  return g_ascii_strcasecmp(text.c_str(), word) == 0;
}

Variant ParseBool(const std::string& text) {
  const auto is = [&](const char* word) { return EqualIgnoringCase(text, word); };
  constexpr std::array kYes{"true", "1", "yes", "on"};
  constexpr std::array kNo{"false", "0", "no", "off"};
  const bool yes = std::ranges::any_of(kYes, is);
  if (!yes && std::ranges::none_of(kNo, is)) {
    return nullptr;
  }
  return Variant(g_variant_ref_sink(g_variant_new_boolean(yes)));
}

Variant ParseInt(const std::string& text) {
  gint32 number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) {
    return nullptr;
  }
  return Variant(g_variant_ref_sink(g_variant_new_int32(number)));
}

/// 0 when keys can be looked up in the directory, else an errno value.
int FaultOf(const std::string& root) {
  struct stat status {};
  if (stat(root.c_str(), &status) != 0) {
    return errno;
  }
  if (!S_ISDIR(status.st_mode)) {
    return ENOTDIR;
  }
  return access(root.c_str(), X_OK) == 0 ? 0 : errno;
}

}  // namespace

Setting ReadSetting(const std::string& key) {
  if (Variant value = ReadAnyType(key)) {
    return {Setting::State::kValue, std::move(value), 0};
  }
  const std::string path = settings::PathOf(key.c_str()).value_or("");
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) {
      return {};
    }
    return {Setting::State::kUnreadable, nullptr, errno};
  }
  if (S_ISDIR(status.st_mode)) {
    return {Setting::State::kGroup, nullptr, 0};
  }
  if (access(path.c_str(), R_OK) != 0) {
    return {Setting::State::kUnreadable, nullptr, errno};
  }
  // It may have been written for the first time since the first look.
  if (Variant value = ReadAnyType(key)) {
    return {Setting::State::kValue, std::move(value), 0};
  }
  return {Setting::State::kDamaged, nullptr, 0};
}

std::optional<std::string> Complaint(const std::string& key, const Setting& setting) {
  const std::string path = settings::PathOf(key.c_str()).value_or("");
  const vconf_keys::Entry* entry = catalogue::Find(key);
  switch (setting.state) {
    case Setting::State::kNone:
      return key + " has no value" + (entry == nullptr ? catalogue::SuggestionText(key) : "");
    case Setting::State::kGroup:
      return key + " is not a key but the beginning of others; see pelorusctl list " + key + "/";
    case Setting::State::kDamaged:
      return "the value of " + key + " is damaged: " + path + " does not hold a value";
    case Setting::State::kUnreadable:
      return "cannot read " + key + ": " + path + ": " + g_strerror(setting.error);
    case Setting::State::kValue:
      break;
  }
  GVariant* value = setting.value.get();
  const auto type = TypeOf(value);
  if (!type) {
    return key + " holds a value of a type that no setting has: " + QuotedText(value);
  }
  if (entry != nullptr && entry->type != *type) {
    return key + " should hold " + catalogue::NameInSentence(entry->type) + " and holds " +
           catalogue::NameInSentence(*type) + ": " + QuotedText(value);
  }
  return std::nullopt;
}

std::optional<Type> TypeOf(GVariant* value) {
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_INT32)) {
    return Type::kInt;
  }
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_BOOLEAN)) {
    return Type::kBool;
  }
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING) ||
      g_variant_is_of_type(value, G_VARIANT_TYPE_BYTESTRING)) {
    return Type::kString;
  }
  return std::nullopt;
}

std::string TypeNameOf(GVariant* value) {
  const auto type = TypeOf(value);
  return type ? catalogue::Name(*type) : g_variant_get_type_string(value);
}

std::string PlainText(GVariant* value) {
  const auto text = settings::ToText(value);
  return text ? *text : QuotedText(value);
}

std::string QuotedText(GVariant* value) {
  g_autofree char* text = g_variant_print(value, FALSE);
  return text;
}

std::string Cell(const std::string& key, const Setting& setting) {
  switch (setting.state) {
    case Setting::State::kNone:
    case Setting::State::kGroup:
      return "-";
    case Setting::State::kDamaged:
      return "(damaged)";
    case Setting::State::kUnreadable:
      return std::string("(") + g_strerror(setting.error) + ")";
    case Setting::State::kValue:
      break;
  }
  GVariant* value = setting.value.get();
  return QuotedText(value) + (Complaint(key, setting) ? " (wrong type: " + TypeNameOf(value) + ")" : "");
}

Json::Value ToJson(GVariant* value) {
  const auto type = TypeOf(value);
  if (type == Type::kInt) {
    return g_variant_get_int32(value);
  }
  if (type == Type::kBool) {
    return g_variant_get_boolean(value) != FALSE;
  }
  g_autofree char* text = g_utf8_make_valid(PlainText(value).c_str(), -1);
  return text;
}

std::string ToLine(const Json::Value& document) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  builder["emitUTF8"] = true;
  return Json::writeString(builder, document);
}

Variant ParseValue(Type type, const std::string& text, std::string& expected) {
  switch (type) {
    case Type::kInt:
      expected = "a whole number from " + std::to_string(std::numeric_limits<gint32>::min()) + " to " +
                 std::to_string(std::numeric_limits<gint32>::max());
      return ParseInt(text);
    case Type::kBool:
      expected = "true, false, yes, no, on, off, 1 or 0";
      return ParseBool(text);
    case Type::kString:
      expected = "text";
      return Variant(g_variant_ref_sink(settings::FromText(text.c_str())));
  }
  return nullptr;
}

std::vector<std::string> KeysOnDisk() {
  std::set<std::string> keys;
  for (const auto& [root, space] :
       {std::pair(settings::DatabaseRoot(), "db"), std::pair(settings::MemoryRoot(), "memory")}) {
    std::error_code ignored;  // what cannot be entered has no keys to show
    fs::recursive_directory_iterator file(fs::path(root) / space,
                                          fs::directory_options::skip_permission_denied, ignored);
    for (; file != fs::recursive_directory_iterator(); file.increment(ignored)) {
      const std::string key = file->path().lexically_relative(root).string();
      if (!file->is_directory(ignored) && settings::PathOf(key.c_str())) {
        keys.insert(key);
      }
    }
  }
  return {keys.begin(), keys.end()};
}

std::optional<std::string> StoreFault(bool may_be_new) {
  bool there = false;
  for (const std::string& root : {settings::DatabaseRoot(), settings::MemoryRoot()}) {
    const int fault = FaultOf(root);
    // The memory half is made by the first write after power-on, so either may be missing.
    if (fault != 0 && fault != ENOENT) {
      return "cannot use the settings in " + root + ": " + g_strerror(fault);
    }
    there = there || fault == 0;
  }
  if (there || may_be_new) {
    return std::nullopt;
  }
  return "there are no settings in " + settings::DatabaseRoot() + " (see --settings)";
}

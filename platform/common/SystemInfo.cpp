#include "SystemInfo.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "CallGate.h"
#include "PlatformLog.h"
#include "system_info.h"

namespace {

int ErrorOf(const GError* error) {
  return error == nullptr ? SYSTEM_INFO_ERROR_NONE : SYSTEM_INFO_ERROR_IO_ERROR;
}

/// Whether the key file can hold it: GLib takes other names for a mistake of the program.
bool IsStorable(const std::string& group, const std::string& name) {
  const auto has_any_of = [](const std::string& text, const char* characters) {
    return text.find_first_of(characters) != std::string::npos ||
           std::ranges::any_of(text, [](char c) { return g_ascii_iscntrl(c); });
  };
  return !group.empty() && !has_any_of(group, "[]") && !name.empty() && !has_any_of(name, "=[]") &&
         name.front() != ' ' && name.back() != ' ' && name.front() != '#' &&
         g_utf8_validate(group.c_str(), -1, nullptr) && g_utf8_validate(name.c_str(), -1, nullptr);
}

/// The name in the key file of a fact that the platform knows by number.
const char* NameOf(system_info_key_e key) {
  switch (key) {
    case SYSTEM_INFO_KEY_PRODUCT_SW_VERSION:
      return "product/sw_version";
    case SYSTEM_INFO_KEY_WIFI_VENDOR:
      return "product/wifi_vendor";
  }
  return nullptr;
}

}  // namespace

SystemInfo& SystemInfo::Instance() {
  static auto* const info = new SystemInfo;
  return *info;
}

SystemInfo::SystemInfo() : m_file(g_key_file_new()) {
  const char* configured = std::getenv(kFileVariable);
  const char* path = configured != nullptr && *configured != '\0' ? configured : kDefaultFile;
  g_autoptr(GError) error = nullptr;
  if (!g_key_file_load_from_file(m_file, path, G_KEY_FILE_NONE, &error)) {
    PLATFORM_LOG(DLOG_WARN, "no facts about this model: %s: %s", path, error->message);
    g_key_file_free(m_file);  // it may hold what stands before the line in error
    m_file = g_key_file_new();
  }
}

int SystemInfo::Find(const char* key, std::string& group, std::string& name) const {
  const char* slash = key == nullptr ? nullptr : std::strrchr(key, '/');
  if (slash == nullptr) {
    return key == nullptr ? SYSTEM_INFO_ERROR_INVALID_PARAMETER : SYSTEM_INFO_ERROR_NOT_SUPPORTED;
  }
  group.assign(key, slash);
  name.assign(slash + 1);
  return SYSTEM_INFO_ERROR_NONE;
}

/// Asked first, because to answer "no" with an error GLib makes a translated text that nobody reads.
bool SystemInfo::Has(const std::string& group, const std::string& name) const {
  return g_key_file_has_group(m_file, group.c_str()) &&
         g_key_file_has_key(m_file, group.c_str(), name.c_str(), nullptr);
}

SystemInfo::Answer SystemInfo::Read(const char* key, Reader read) const {
  std::string group;
  std::string name;
  if (const int error = Find(key, group, name); error != SYSTEM_INFO_ERROR_NONE) {
    return {error, 0};
  }
  if (!Has(group, name)) {
    return {SYSTEM_INFO_ERROR_NOT_SUPPORTED, 0};
  }
  g_autoptr(GError) error = nullptr;
  const int found = read(m_file, group.c_str(), name.c_str(), &error);
  return {ErrorOf(error), found};
}

int SystemInfo::Get(TextMap<Answer>& answers, const char* key, int& value, Reader read) {
  if (key == nullptr) {
    return SYSTEM_INFO_ERROR_INVALID_PARAMETER;
  }
  const std::lock_guard lock(m_mutex);
  auto known = answers.find(std::string_view(key));
  if (known == answers.end()) {
    known = answers.emplace(key, Read(key, read)).first;
  }
  const Answer& answer = known->second;
  value = answer.error == SYSTEM_INFO_ERROR_NONE ? answer.value : value;
  return answer.error;
}

int SystemInfo::GetBool(const char* key, bool& value) {
  int truth = value ? 1 : 0;
  const int error = Get(m_truths, key, truth, g_key_file_get_boolean);
  value = truth != 0;
  return error;
}

int SystemInfo::GetInt(const char* key, int& value) {
  return Get(m_numbers, key, value, g_key_file_get_integer);
}

int SystemInfo::GetString(const char* key, std::string& value) {
  std::string group;
  std::string name;
  if (const int error = Find(key, group, name); error != SYSTEM_INFO_ERROR_NONE) {
    return error;
  }
  const std::lock_guard lock(m_mutex);
  if (!Has(group, name)) {
    return SYSTEM_INFO_ERROR_NOT_SUPPORTED;
  }
  g_autoptr(GError) error = nullptr;
  g_autofree char* found = g_key_file_get_string(m_file, group.c_str(), name.c_str(), &error);
  if (found != nullptr) {
    value = found;
  }
  return ErrorOf(error);
}

bool SystemInfo::Override(const std::string& key, const char* value) {
  std::string group;
  std::string name;
  if (Find(key.c_str(), group, name) != SYSTEM_INFO_ERROR_NONE || !IsStorable(group, name)) {
    return false;
  }
  const std::lock_guard lock(m_mutex);
  m_truths.clear();
  m_numbers.clear();
  if (value != nullptr) {
    g_key_file_set_value(m_file, group.c_str(), name.c_str(), value);
  } else {
    g_key_file_remove_key(m_file, group.c_str(), name.c_str(), nullptr);
  }
  return true;
}

int system_info_get_custom_bool(const char* key, bool* value) {
  if (const auto refusal = call_gate::Refusal("system_info_get_custom_bool", key)) {
    return *refusal;
  }
  return value == nullptr ? SYSTEM_INFO_ERROR_INVALID_PARAMETER
                          : SystemInfo::Instance().GetBool(key, *value);
}

int system_info_get_custom_int(const char* key, int* value) {
  if (const auto refusal = call_gate::Refusal("system_info_get_custom_int", key)) {
    return *refusal;
  }
  return value == nullptr ? SYSTEM_INFO_ERROR_INVALID_PARAMETER
                          : SystemInfo::Instance().GetInt(key, *value);
}

int system_info_get_value_int(system_info_key_e key, int* value) {
  if (const auto refusal = call_gate::Refusal("system_info_get_value_int", static_cast<int>(key))) {
    return *refusal;
  }
  const char* name = NameOf(key);
  return value == nullptr || name == nullptr ? SYSTEM_INFO_ERROR_INVALID_PARAMETER
                                             : SystemInfo::Instance().GetInt(name, *value);
}

int system_info_get_value_string(system_info_key_e key, char** value) {
  if (const auto refusal = call_gate::Refusal("system_info_get_value_string", static_cast<int>(key))) {
    return *refusal;
  }
  const char* name = NameOf(key);
  if (value == nullptr || name == nullptr) {
    return SYSTEM_INFO_ERROR_INVALID_PARAMETER;
  }
  std::string text;
  const int error = SystemInfo::Instance().GetString(name, text);
  if (error == SYSTEM_INFO_ERROR_NONE) {
    *value = strdup(text.c_str());
  }
  return error;
}

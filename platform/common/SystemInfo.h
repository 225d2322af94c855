#pragma once

#include <mutex>
#include <string>

#include <glib.h>

#include "TextMap.h"

/// The model's features and the product's facts, from a key file (GKeyFile). A key is
/// "GROUP/NAME", and the file holds it as NAME under [GROUP]. Usable from any thread.
class SystemInfo {
 public:
  /// Names the key file in place of the system's one. Read once, at the first query.
  static constexpr char kFileVariable[] = "PELORUS_SYSTEM_INFO";
  static constexpr char kDefaultFile[] = "/etc/pelorus/system-info.conf";

  static SystemInfo& Instance();
  SystemInfo(const SystemInfo&) = delete;
  SystemInfo& operator=(const SystemInfo&) = delete;

  /// @return SYSTEM_INFO_ERROR_NONE, or why there is no such value; `value` is untouched then
  int GetBool(const char* key, bool& value);
  int GetInt(const char* key, int& value);
  int GetString(const char* key, std::string& value);

  /// Sets or, with null, takes away a value for the rest of this process's life: how a simulated TV
  /// becomes another model.
  /// @return whether there can be a value of that name
  bool Override(const std::string& key, const char* value);

 private:
  SystemInfo();
  int Find(const char* key, std::string& group, std::string& name) const;
  bool Has(const std::string& group, const std::string& name) const;

  struct Answer {
    int error;
    int value;
  };
  /// g_key_file_get_integer() or g_key_file_get_boolean().
  using Reader = int (*)(GKeyFile* file, const char* group, const char* name, GError** error);
  int Get(TextMap<Answer>& answers, const char* key, int& value, Reader read);
  Answer Read(const char* key, Reader read) const;

  std::mutex m_mutex;
  GKeyFile* m_file;  // never freed: the one object lives as long as the process
  // What was asked before: an event asks for the same few facts each time.
  TextMap<Answer> m_truths;
  TextMap<Answer> m_numbers;
};

#include <cstdint>
#include <string>

#include <glib.h>

#include "SystemInfo.h"

// Keys and values of the model's facts, as a control client may set them.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  g_setenv(SystemInfo::kFileVariable, "/nonexistent", FALSE);
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::size_t cut = text.find('\n');
  const std::string key = text.substr(0, cut).c_str();
  const std::string value = cut == std::string::npos ? "" : text.substr(cut + 1).c_str();
  SystemInfo& info = SystemInfo::Instance();
  info.Override(key, value.c_str());
  bool truth = false;
  int number = 0;
  std::string found;
  info.GetBool(key.c_str(), truth);
  info.GetInt(key.c_str(), number);
  info.GetString(key.c_str(), found);
  info.Override(key, nullptr);
  return 0;
}

#include <cstdint>
#include <cstdlib>
#include <string>

#include <glib.h>

#include "SettingsFile.h"
#include "vconf.h"

// A file that somebody else wrote where a setting should be: each read fails or gives a value, which
// survives being written and read again. What is told without GLib's parser is what the parser says.

namespace {

constexpr char kKey[] = "memory/fuzz/value";

std::string PrepareStore() {
  g_autofree char* directory = g_dir_make_tmp("pelorus-fuzz-XXXXXX", nullptr);
  g_setenv(settings::kDirectoryVariable, directory, TRUE);
  vconf_set_int(kKey, 0);
  return *settings::PathOf(kKey);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string path = PrepareStore();
  g_file_set_contents_full(path.c_str(), reinterpret_cast<const char*>(data), static_cast<gssize>(size),
                           G_FILE_SET_CONTENTS_NONE, 0644, nullptr);
  g_autoptr(GVariant) parsed = settings::Read(kKey);
  const bool is_number = parsed != nullptr && g_variant_is_of_type(parsed, G_VARIANT_TYPE_INT32);
  if (settings::ReadNumber(kKey) !=
          (is_number ? std::optional(g_variant_get_int32(parsed)) : std::nullopt) ||
      settings::ReadText(kKey) != (parsed != nullptr ? settings::ToText(parsed) : std::nullopt)) {
    std::abort();
  }
  int number = 0;
  vconf_get_int(kKey, &number);
  vconf_get_bool(kKey, &number);
  if (char* text = vconf_get_str(kKey)) {
    vconf_set_str(kKey, text);
    char* again = vconf_get_str(kKey);
    if (again == nullptr || g_strcmp0(text, again) != 0) {
      std::abort();
    }
    std::free(again);
    std::free(text);
  }
  return 0;
}

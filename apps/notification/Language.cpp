#include "Language.h"

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <glib.h>
#include <libintl.h>

#include "Log.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kSystemFiles[] = {"/etc/default/locale", "/etc/locale.conf"};

using Lookup = std::function<std::optional<std::string>(const char* name)>;

/// The value of a line NAME=value, which may be quoted as for a shell.
std::optional<std::string> ReadVariable(const std::string& content, std::string_view name) {
  g_auto(GStrv) lines = g_strsplit(content.c_str(), "\n", -1);
  for (char** line = lines; *line != nullptr; ++line) {
    const std::string_view text = g_strstrip(*line);
    if (!text.starts_with(name) || text.substr(name.size(), 1) != "=") {
      continue;
    }
    g_autofree char* value = g_shell_unquote(text.data() + name.size() + 1, nullptr);
    if (value != nullptr && *value != '\0') {
      return value;
    }
  }
  return std::nullopt;
}

/// @return a list as LANGUAGE takes it, or nullopt when nothing names a language. "C" and "POSIX" do:
/// they
///         are English, whatever the files say.
std::optional<std::string> LanguageFrom(const Lookup& lookup) {
  std::optional<std::string> locale;
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    locale = lookup(name);
    if (locale) {
      break;
    }
  }
  if (locale && (*locale == "C" || *locale == "POSIX" || locale->starts_with("C."))) {
    return "";
  }
  const std::optional<std::string> list = lookup("LANGUAGE");
  return list ? list : locale;
}

std::optional<std::string> FromEnvironment(const char* name) {
  const char* value = g_getenv(name);
  return value == nullptr || *value == '\0' ? std::nullopt : std::optional<std::string>(value);
}

std::string WantedLanguage() {
  if (const auto language = LanguageFrom(FromEnvironment)) {
    return *language;
  }
  for (const char* file : kSystemFiles) {
    g_autofree char* content = nullptr;
    if (!g_file_get_contents(file, &content, nullptr, nullptr)) {
      continue;
    }
    const auto language = LanguageFrom([&](const char* name) { return ReadVariable(content, name); });
    if (language) {
      return *language;
    }
  }
  return "";
}

/// Beside the program first, as it was installed or built, so that a copy of the whole tree works too.
std::string CatalogueDirectory() {
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  if (!error) {
    const fs::path beside = program.parent_path();
    for (const fs::path& directory : {beside / "locale", beside.parent_path() / "share/locale"}) {
      if (fs::is_directory(directory, error)) {
        return directory;
      }
    }
  }
  return INSTALLED_LOCALE_DIRECTORY;
}

}  // namespace

void ChooseLanguage() {
  const std::string language = WantedLanguage();
  if (std::setlocale(LC_ALL, "C.UTF-8") == nullptr) {
    NOTIFICATION_LOG(DLOG_WARN, "no locale C.UTF-8: messages are in English");
  }
  if (language.empty()) {
    g_unsetenv("LANGUAGE");
  } else {
    g_setenv("LANGUAGE", language.c_str(), TRUE);
  }
  bindtextdomain(TEXT_DOMAIN, CatalogueDirectory().c_str());
  bind_textdomain_codeset(TEXT_DOMAIN, "UTF-8");
  textdomain(TEXT_DOMAIN);
}

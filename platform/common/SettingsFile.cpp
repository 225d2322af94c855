#include "SettingsFile.h"

#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "AbsentKeys.h"
#include "FileDescriptor.h"

namespace settings {
namespace {

constexpr std::size_t kLargestFile = 1 << 20;  // bounds the time that a read can take
constexpr int kWritersAtATime = 64;

struct Roots {
  std::string database;
  std::string memory;
};

const Roots& RootDirectories() {
  // Never destroyed: the daemon's static objects let go of settings when they end.
  static const auto* const roots = [] {
    const char* directory = std::getenv(kDirectoryVariable);
    if (directory != nullptr && *directory != '\0') {
      return new Roots{directory, directory};
    }
    return new Roots{"/var/lib/pelorus/settings", "/run/pelorus/settings"};
  }();
  return *roots;
}

bool IsDurable(const char* key) {
  return std::strncmp(key, "db/", 3) == 0;
}

bool IsAcceptable(const char* key) {
  if (key == nullptr || (!IsDurable(key) && std::strncmp(key, "memory/", 7) != 0)) {
    return false;
  }
  // '.' begins the names of the files that are being written, "." and "..".
  for (const char* p = key; *p != '\0'; ++p) {
    if (*p == '/' && (p[1] == '/' || p[1] == '.' || p[1] == '\0')) {
      return false;
    }
  }
  return true;
}

AbsentKeys& Absent() {
  static auto* const keys = new AbsentKeys;  // never destroyed, as the roots
  return *keys;
}

std::optional<std::string> ReadWhole(const char* key) {
  if (key == nullptr || (!IsDurable(key) && Absent().Has(key))) {
    return std::nullopt;
  }
  const auto path = PathOf(key);
  if (!path) {
    return std::nullopt;
  }
  // Non-blocking, so that a pipe somebody put there cannot stop the main loop.
  const FileDescriptor file(open(path->c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
  if (!file.ok() && errno == ENOENT && !IsDurable(key)) {
    Absent().Note(key, *path);
  }
  if (!file.ok()) {
    return std::nullopt;
  }
  std::string content;
  char chunk[1024];
  for (;;) {
    // At a position, which a pipe has not: what was put there is no value.
    const ssize_t length = pread(file.get(), chunk, sizeof chunk, static_cast<off_t>(content.size()));
    if (length < 0 && errno == EINTR) {
      continue;
    }
    if (length < 0 || content.size() + static_cast<std::size_t>(length) > kLargestFile) {
      return std::nullopt;
    }
    content.append(chunk, static_cast<std::size_t>(length));
    if (static_cast<std::size_t>(length) < sizeof chunk) {
      return content;
    }
  }
}

/// GLib's parser takes an escape that names no character, and complains of the string it made of it.
bool HasGoodEscapes(std::string_view text) {
  for (std::size_t i = 0; (i = text.find('\\', i)) != text.npos; i += 2) {
    const std::string_view escape = text.substr(i + 1, 9);
    const std::size_t digits = escape.starts_with('u') ? 4 : escape.starts_with('U') ? 8 : 0;
    if (digits == 0) {
      continue;
    }
    const std::string_view number = escape.substr(1, digits);
    gunichar character = 0;
    std::from_chars(number.data(), number.data() + number.size(), character, 16);
    if (!g_unichar_validate(character)) {
      return false;
    }
  }
  return true;
}

/// A line without its end is the head of a longer one, and its value may be another: "1" of "12".
bool IsOneLine(std::string_view content) {
  return !content.empty() && content.find('\n') == content.size() - 1 &&
         g_utf8_validate_len(content.data(), content.size(), nullptr);
}

/// @return the line of a key's file, without its end
std::optional<std::string> ReadLine(const char* key) {
  auto content = ReadWhole(key);
  if (!content || !IsOneLine(*content)) {
    return std::nullopt;
  }
  content->pop_back();
  return content;
}

/// Nearly every key holds a whole number or a text without escapes. These two are told without GLib's
/// parser, which builds a tree of any value first. Whatever they do not know is left to it.
std::optional<std::int32_t> PlainNumber(std::string_view line) {
  // A zero in front makes the number an octal one, or "0x" a hexadecimal one.
  const std::string_view digits = line.substr(line.starts_with('-') ? 1 : 0);
  if (digits.starts_with('0') && digits != "0") {
    return std::nullopt;
  }
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), number);
  return error == std::errc() && end == line.data() + line.size() ? std::optional(number) : std::nullopt;
}

bool IsPlainText(std::string_view line) {
  return line.starts_with('\'') && line.find('\'', 1) == line.size() - 1 && line.find('\\') == line.npos;
}

/// @return any value, with a reference that the caller drops, or null
GVariant* ParsedValue(std::string_view line) {
  if (!HasGoodEscapes(line)) {
    return nullptr;
  }
  // Parsed for its own type, because the parser reads "uint32 5" as an int32 when it is asked for one.
  return g_variant_parse(nullptr, line.data(), line.data() + line.size(), nullptr, nullptr);
}

bool WriteWhole(int fd, std::string_view content) {
  while (!content.empty()) {
    const ssize_t length = write(fd, content.data(), content.size());
    if (length < 0 && errno == EINTR) {
      continue;
    }
    if (length < 0) {
      return false;
    }
    content.remove_prefix(static_cast<std::size_t>(length));
  }
  return true;
}

/// Whether `fd` still is the file of that name: between open and lock its owner may have renamed it.
bool IsFileAt(int fd, const char* path) {
  struct stat opened;
  struct stat named;
  return fstat(fd, &opened) == 0 && S_ISREG(opened.st_mode) && lstat(path, &named) == 0 &&
         opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}

/// Writes to a locked temporary file beside the key and renames it over the key. The temporary names are
/// few and fixed, and a lock tells a writer at work from one that was killed: so no writer waits for
/// another, and what killed writers leave behind is used again and does not grow.
int Replace(const std::string& path, std::string_view content, bool durable) {
  const std::size_t slash = path.rfind('/');
  for (int slot = 0; slot < kWritersAtATime; ++slot) {
    char temporary[PATH_MAX];
    if (std::snprintf(temporary, sizeof temporary, "%.*s/.%s.%d", static_cast<int>(slash), path.c_str(),
                      path.c_str() + slash + 1, slot) >= static_cast<int>(sizeof temporary)) {
      return ENAMETOOLONG;
    }
    const FileDescriptor file(
        open(temporary, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0644));
    if (!file.ok()) {
      const int error = errno;
      struct stat status;
      if (error != ENOENT && error != EROFS && lstat(temporary, &status) == 0) {
        continue;  // left behind by another user, or no file
      }
      return error;
    }
    if (flock(file.get(), LOCK_EX | LOCK_NB) != 0 || !IsFileAt(file.get(), temporary)) {
      continue;
    }
    if (ftruncate(file.get(), 0) != 0 || !WriteWhole(file.get(), content) ||
        (durable && fdatasync(file.get()) != 0) || rename(temporary, path.c_str()) != 0) {
      const int error = errno;
      unlink(temporary);
      return error;
    }
    return 0;
  }
  return EBUSY;
}

}  // namespace

std::optional<std::string> PathOf(const char* key) {
  if (!IsAcceptable(key)) {
    return std::nullopt;
  }
  const std::string& root = IsDurable(key) ? RootDirectories().database : RootDirectories().memory;
  const std::string_view name = key;
  std::string path;
  path.reserve(root.size() + 1 + name.size());
  path.append(root).append("/").append(name);
  return path;
}

std::string DatabaseRoot() {
  return RootDirectories().database;
}
std::string MemoryRoot() {
  return RootDirectories().memory;
}

GVariant* Read(const char* key) {
  const auto line = ReadLine(key);
  return line ? ParsedValue(*line) : nullptr;
}

std::optional<std::int32_t> ReadNumber(const char* key) {
  const auto line = ReadLine(key);
  if (!line) {
    return std::nullopt;
  }
  if (const auto number = PlainNumber(*line)) {
    return number;
  }
  g_autoptr(GVariant) value = ParsedValue(*line);
  const bool is_number = value != nullptr && g_variant_is_of_type(value, G_VARIANT_TYPE_INT32);
  return is_number ? std::optional(g_variant_get_int32(value)) : std::nullopt;
}

std::optional<bool> ReadTruth(const char* key) {
  g_autoptr(GVariant) value = Read(key);
  const bool is_truth = value != nullptr && g_variant_is_of_type(value, G_VARIANT_TYPE_BOOLEAN);
  return is_truth ? std::optional(g_variant_get_boolean(value) != FALSE) : std::nullopt;
}

std::optional<std::string> ReadText(const char* key) {
  auto line = ReadLine(key);
  if (!line) {
    return std::nullopt;
  }
  if (IsPlainText(*line)) {
    line->pop_back();
    line->erase(0, 1);
    return line;
  }
  g_autoptr(GVariant) value = ParsedValue(*line);
  return value != nullptr ? ToText(value) : std::nullopt;
}

int Write(const char* key, GVariant* value) {
  g_autoptr(GVariant) owned = g_variant_ref_sink(value);
  const auto path = PathOf(key);
  if (!path) {
    return EINVAL;
  }
  g_autofree char* printed = g_variant_print(owned, FALSE);
  const std::string line = std::string(printed) + "\n";
  if (line.size() > kLargestFile) {
    return EFBIG;
  }
  const int error = Replace(*path, line, IsDurable(key));
  if (error != ENOENT) {
    return error;
  }
  const std::string directory = path->substr(0, path->rfind('/'));
  if (g_mkdir_with_parents(directory.c_str(), 0775) != 0) {
    return errno;
  }
  return Replace(*path, line, IsDurable(key));
}

GVariant* FromText(const char* text) {
  return g_utf8_validate(text, -1, nullptr) ? g_variant_new_string(text)
                                            : g_variant_new_bytestring(text);
}

std::optional<std::string> ToText(GVariant* value) {
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING)) {
    return g_variant_get_string(value, nullptr);
  }
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_BYTESTRING)) {
    return g_variant_get_bytestring(value);
  }
  return std::nullopt;
}

}  // namespace settings

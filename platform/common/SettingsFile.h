#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <glib.h>

/// A setting on disk: one file per key, one line of GVariant text with the value. Usable from any
/// thread.
namespace settings {

/// The directory that holds "db/" and "memory/" in place of the system's two when
/// PELORUS_SETTINGS_DIR is set. Read once, at the first access.
inline constexpr char kDirectoryVariable[] = "PELORUS_SETTINGS_DIR";

/// @return the file of a key, or nullopt for a name that is refused
std::optional<std::string> PathOf(const char* key);

/// The directories that hold "db/" and "memory/", for programs that list the keys.
std::string DatabaseRoot();
std::string MemoryRoot();

/// @return the value, of any type, with a reference that the caller drops; null when the key has none
GVariant* Read(const char* key);

/// @return the value, or nullopt when the key has none, or one of another type
std::optional<std::int32_t> ReadNumber(const char* key);
std::optional<bool> ReadTruth(const char* key);

/// @return the text that was written, or nullopt when the key has no value, or one that is no text
std::optional<std::string> ReadText(const char* key);

/// Replaces the value. Takes over a floating reference.
/// @return 0, or an errno value: the key then keeps its old value
int Write(const char* key, GVariant* value);

/// Text of any bytes as a value: a string, or a byte string when it is not UTF-8.
GVariant* FromText(const char* text);

/// @return the text that FromText() made a value of, or nullopt for a value of another type
std::optional<std::string> ToText(GVariant* value);

}  // namespace settings

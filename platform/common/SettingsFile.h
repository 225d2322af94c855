#pragma once

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

/// @return the value with a reference that the caller drops; null when the key has no value, or one that
///         is not of `type` (null for any type)
GVariant* Read(const char* key, const GVariantType* type);

/// Replaces the value. Takes over a floating reference.
/// @return 0, or an errno value: the key then keeps its old value
int Write(const char* key, GVariant* value);

/// Text of any bytes as a value: a string, or a byte string when it is not UTF-8.
GVariant* FromText(const char* text);

/// @return the text that FromText() made a value of, as a heap string for free(), or null for a value of
///         another type; takes over the reference
char* ToText(GVariant* value);

}  // namespace settings

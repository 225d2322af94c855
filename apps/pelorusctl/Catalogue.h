#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "vconf_keys.h"

/// Looking things up in the catalogue of settings keys.
namespace catalogue {

/// @return null for a key that the catalogue does not know
const vconf_keys::Entry* Find(std::string_view key);

/// @return the catalogue's key that somebody who typed `key` most likely meant, if there is one
std::optional<std::string_view> Suggestion(std::string_view key);

/// @return " (did you mean ...?)", or nothing; to be put behind a message about `key`
std::string SuggestionText(std::string_view key);

/// "int", "bool" or "string".
const char* Name(vconf_keys::Type type);

/// "an int", "a bool" or "a string".
const char* NameInSentence(vconf_keys::Type type);

}  // namespace catalogue

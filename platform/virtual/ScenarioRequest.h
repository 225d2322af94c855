#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <json/value.h>

/// The words in which people drive the virtual TV, in scenario files and on the command line alike.
namespace scenario {

using Words = std::vector<std::string>;

/// Whether a command that starts with this word is one for the TV.
bool IsTvCommand(const std::string& first_word);

/// The words with which commands for the TV start.
std::vector<std::string> TvCommands();

/// Makes the request of the control socket out of a command such as "cable plug".
/// @param error  out: what is wrong with the command, on failure
/// @return nullopt for words that make no command; the TV may still refuse the request
std::optional<Json::Value> RequestOf(const Words& words, std::string& error);

/// "1500ms", "1.5s", "2min" or "3h", up to 40 days.
std::optional<std::chrono::milliseconds> ParseDuration(const std::string& text);

std::optional<int> ParseNumber(const std::string& text);

}  // namespace scenario

#include "Catalogue.h"

#include <algorithm>
#include <iterator>

#include "Spelling.h"

namespace catalogue {
namespace {

std::string_view LastComponent(std::string_view key) {
  return key.substr(key.rfind('/') + 1);
}

/// Two kinds of slip: a few letters wrong in the whole name, or the right name in the wrong place
/// ("network_type", "db/network/network_type"), which counts as one slip.
std::size_t Slips(std::string_view typed, std::string_view key) {
  const std::size_t whole = Misspellings(typed, key);
  const std::string_view name = LastComponent(typed);
  const std::size_t letters = Misspellings(name, LastComponent(key));
  return letters <= name.size() / 4 && name.size() >= 4 ? std::min(whole, letters + 1) : whole;
}

}  // namespace

const vconf_keys::Entry* Find(std::string_view key) {
  const auto* found = std::ranges::find(vconf_keys::kCatalogue, key, &vconf_keys::Entry::name);
  return found == std::end(vconf_keys::kCatalogue) ? nullptr : found;
}

std::optional<std::string_view> Suggestion(std::string_view key) {
  constexpr std::size_t kMostSlips = 3;
  constexpr std::size_t kLongestName = 200;
  if (key.size() > kLongestName) {
    return std::nullopt;
  }
  const auto slips = [&](const vconf_keys::Entry& entry) { return Slips(key, entry.name); };
  const auto* nearest = std::ranges::min_element(vconf_keys::kCatalogue, {}, slips);
  return slips(*nearest) <= kMostSlips ? std::optional(nearest->name) : std::nullopt;
}

std::string SuggestionText(std::string_view key) {
  const auto suggestion = Suggestion(key);
  return suggestion && *suggestion != key ? " (did you mean " + std::string(*suggestion) + "?)" : "";
}

const char* Name(vconf_keys::Type type) {
  switch (type) {
    case vconf_keys::Type::kInt:
      return "int";
    case vconf_keys::Type::kBool:
      return "bool";
    case vconf_keys::Type::kString:
      return "string";
  }
  return "";
}

const char* NameInSentence(vconf_keys::Type type) {
  switch (type) {
    case vconf_keys::Type::kInt:
      return "an int";
    case vconf_keys::Type::kBool:
      return "a bool";
    case vconf_keys::Type::kString:
      return "a string";
  }
  return "";
}

}  // namespace catalogue

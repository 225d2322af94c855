#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

/// What std::hash lacks to look a text up without a copy of it.
struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
};

/// A map from texts, which are looked up by std::string_view as well.
template <class Value>
using TextMap = std::unordered_map<std::string, Value, TextHash, std::equal_to<>>;

#pragma once

#include <cstddef>
#include <string_view>

/// How many letters somebody got wrong who typed one word and meant the other: letters to insert, to
/// remove or to replace. Upper and lower case are the same letter.
std::size_t Misspellings(std::string_view typed, std::string_view meant);

#include "Spelling.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include <glib.h>

std::size_t Misspellings(std::string_view typed, std::string_view meant) {
  std::vector<std::size_t> row(meant.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < typed.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < meant.size(); ++j) {
      const bool same = g_ascii_tolower(typed[i]) == g_ascii_tolower(meant[j]);
      const std::size_t replaced = diagonal + (same ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

/// Files of the settings store and their neighbours, as a stranger sees them.
namespace files {

inline const std::filesystem::path kDatabase = "/var/lib/pelorus/settings";
inline const std::filesystem::path kMemory = "/run/pelorus/settings";

inline void Write(const std::filesystem::path& path, std::string_view content) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
}

inline std::string Read(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// How many files of any kind lie below a directory.
inline std::size_t Count(const std::filesystem::path& directory) {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
    count += entry.is_directory() ? 0 : 1;
  }
  return count;
}

}  // namespace files

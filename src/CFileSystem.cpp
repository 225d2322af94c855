#include "CFileSystem.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <dirent.h>
#include <unistd.h>
#include <boost/filesystem.hpp>

#include "FileOperations.h"
#include "Log.h"

namespace fs = boost::filesystem;

namespace {

constexpr std::array<std::string_view, 5> kExtensions{".der", ".pfx", ".p12", ".cer", ".pem"};

bool is_certificate(const fs::path& path) {
  return std::ranges::find(kExtensions, path.extension().string()) != kExtensions.end();
}

}  // namespace

bool CFileSystem::CopyCertificates(std::string fromDir, std::string toDir) {
  NW_LOG("frompath = [%s] , topath = [%s]", fromDir.c_str(), toDir.c_str());
  bool is_copied = false;
  try {
    if (!file_operations::Exists(fromDir)) {
      return false;
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(fromDir)) {
      const std::string name = entry.path().filename().string();
      if (fs::is_directory(entry.status())) {
        NW_LOG("ignore Directoryname == %s", name.c_str());
      } else if (is_certificate(entry.path())) {
        NW_LOG("copying file ==%s", name.c_str());
        is_copied = copyFile(fromDir, toDir, name) || is_copied;
      }
    }
  } catch (const std::exception& e) {
    NW_LOG("Error::[%s]", e.what());
    return false;
  }
  if (is_copied) {
    SyncDir(toDir.c_str());
  }
  return is_copied;
}

bool CFileSystem::copyFile(std::string fromDir, std::string toDir, std::string fileName) {
  return createDir(toDir) && file_operations::CopySmallFile(fromDir, toDir, fileName);
}

bool CFileSystem::createDir(std::string dir) {
  using file_operations::Making;
  const Making making = file_operations::MakeDirectory(dir);
  return making == Making::kExisted || making == Making::kCreated;
}

void CFileSystem::SyncDir(const char* dir) {
  if (dir == nullptr) {
    return;
  }
  DIR* const directory = opendir(dir);
  if (directory == nullptr) {
    NW_LOG("Directory {%s} cannot be opened. Error (%d) ", dir, errno);
    return;
  }
  const int result = fsync(dirfd(directory));
  if (result == 0) {
    NW_LOG("Sync success %s", dir);
  } else {
    NW_LOG("Could not fsync(%s), result %d", dir, result);
  }
  closedir(directory);
}

void CFileSystem::RemoveCertificateDir(std::string dir) {
  NW_LOG("RemoveCertificateDir start");
  try {
    if (!file_operations::Exists(dir)) {
      return;
    }
    const file_operations::Descriptor directory = file_operations::Enter(dir);
    const fs::path itself = fs::path("/proc/self/fd") / std::to_string(directory.Get());
    const std::vector<fs::directory_entry> entries{fs::directory_iterator(itself),
                                                   fs::directory_iterator()};
    for (const fs::directory_entry& entry : entries) {
      // Boost's would enter a directory that is replaced by a link in this moment.
      std::filesystem::remove_all(entry.path().string());
    }
    SyncDir(dir.c_str());
    fs::remove(dir);
  } catch (const std::exception& e) {
    NW_LOG("Exception caught certifificate deletion => %s , %s", dir.c_str(), e.what());
  }
}

#include "CFileSystem.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>
#include <boost/filesystem.hpp>

#include "Log.h"

namespace fs = boost::filesystem;

namespace {

constexpr std::size_t kMostBytes = 1'048'576;
constexpr std::array<std::string_view, 5> kExtensions{".der", ".pfx", ".p12", ".cer", ".pem"};
constexpr mode_t kAllRights = 0777;

class Descriptor {
 public:
  explicit Descriptor(int number) : m_number(number) {}
  ~Descriptor() {
    if (m_number >= 0) {
      close(m_number);
    }
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  [[nodiscard]] int Get() const { return m_number; }

 private:
  int m_number;
};

[[noreturn]] void Fail(const char* what, const std::string& path, int error) {
  throw fs::filesystem_error(what, path,
                             boost::system::error_code(error, boost::system::system_category()));
}

/// Also false where nobody may look.
bool Exists(const std::string& path) {
  boost::system::error_code ignored;
  return fs::exists(fs::status(path, ignored));
}

/// Whether the directory itself is a link: with the slash at its end the path would lead through it.
bool IsLink(std::string_view dir) {
  while (dir.size() > 1 && dir.ends_with('/')) {
    dir.remove_suffix(1);
  }
  boost::system::error_code ignored;
  return fs::is_symlink(fs::symlink_status(fs::path(dir.begin(), dir.end()), ignored));
}

bool is_certificate(const fs::path& path) {
  return std::ranges::find(kExtensions, path.extension().string()) != kExtensions.end();
}

bool is_certicate_allowed_size(const std::string& source) {
  NW_LOG("START");
  const bool is_allowed = fs::file_size(source) <= kMostBytes;
  NW_LOG("END");
  return is_allowed;
}

/// The file may be another one by now than the one whose size was asked, or may grow.
/// @return nothing when it is too large
std::optional<std::string> Read(const std::string& source) {
  const Descriptor file(open(source.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (file.Get() < 0 || fstat(file.Get(), &status) != 0) {
    Fail("cannot open", source, errno);
  }
  if (!S_ISREG(status.st_mode)) {
    Fail("no file", source, EINVAL);
  }
  std::string content(kMostBytes + 1, '\0');
  std::size_t length = 0;
  while (length < content.size()) {
    const ssize_t count = read(file.Get(), content.data() + length, content.size() - length);
    if (count < 0 && errno != EINTR) {
      Fail("cannot read", source, errno);
    }
    if (count == 0) {
      content.resize(length);
      return content;
    }
    length += count < 0 ? 0 : static_cast<std::size_t>(count);
  }
  return std::nullopt;
}

void Replace(const std::string& destination, const std::string& content) {
  GError* error = nullptr;
  const auto how =
      static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT | G_FILE_SET_CONTENTS_DURABLE);
  if (g_file_set_contents_full(destination.c_str(), content.data(), static_cast<gssize>(content.size()),
                               how, kAllRights, &error) == 0) {
    const std::unique_ptr<GError, decltype(&g_error_free)> owned(error, g_error_free);
    throw std::runtime_error(owned->message);
  }
}

void SetAllRights(const std::string& destination) {
  const Descriptor file(open(destination.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
  if (file.Get() < 0 || fchmod(file.Get(), kAllRights) != 0) {
    Fail("cannot set the rights of", destination, errno);
  }
}

}  // namespace

bool CFileSystem::CopyCertificates(std::string fromDir, std::string toDir) {
  NW_LOG("frompath = [%s] , topath = [%s]", fromDir.c_str(), toDir.c_str());
  bool is_copied = false;
  try {
    if (!Exists(fromDir)) {
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
  if (!createDir(toDir)) {
    return false;
  }
  NW_LOG("Source directory =[%s]. ", fromDir.c_str());
  NW_LOG("destination directory =[%s]. ", toDir.c_str());
  const std::string source = fromDir + fileName;
  const std::string destination = toDir + fileName;
  NW_LOG("Source File =[%s]. ", source.c_str());
  NW_LOG("destination File =[%s]. ", destination.c_str());
  if (IsLink(toDir)) {
    Fail("would write through a link", toDir, ELOOP);
  }
  const auto content = is_certicate_allowed_size(source) ? Read(source) : std::optional<std::string>();
  if (!content) {
    NW_LOG("Error: Certificate file is greater than 1 MB");
    return false;
  }
  Replace(destination, *content);
  SetAllRights(destination);
  return true;
}

bool CFileSystem::createDir(std::string dir) {
  try {
    if (Exists(dir)) {
      return true;
    }
    const bool is_created = fs::create_directory(dir);
    if (is_created) {
      NW_LOG("Directory Created = %s", dir.c_str());
    } else {
      NW_LOG("Directory Not Created = %s", dir.c_str());
    }
    return is_created;
  } catch (const std::exception& e) {
    NW_LOG("Error::[%s]", e.what());
    return false;
  }
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
    if (!Exists(dir)) {
      return;
    }
    if (IsLink(dir)) {
      Fail("would remove through a link", dir, ELOOP);
    }
    const std::vector<fs::directory_entry> entries{fs::directory_iterator(dir),
                                                   fs::directory_iterator()};
    for (const fs::directory_entry& entry : entries) {
      fs::remove_all(entry.path());
    }
    SyncDir(dir.c_str());
    fs::remove(dir);
  } catch (const std::exception& e) {
    NW_LOG("Exception caught certifificate deletion => %s , %s", dir.c_str(), e.what());
  }
}

#include "FileOperations.h"

#include <cerrno>
#include <memory>
#include <optional>
#include <stdexcept>

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>
#include <boost/filesystem.hpp>

#include "Log.h"

namespace fs = boost::filesystem;

namespace file_operations {
namespace {

constexpr std::size_t kMostBytes = 1'048'576;
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

bool Exists(const std::string& path) {
  boost::system::error_code ignored;
  return fs::exists(fs::status(path, ignored));
}

bool IsLink(std::string dir) {
  while (dir.size() > 1 && dir.ends_with('/')) {
    dir.pop_back();
  }
  boost::system::error_code ignored;
  return fs::is_symlink(fs::symlink_status(dir, ignored));
}

void Fail(const char* what, const std::string& path, int error) {
  throw fs::filesystem_error(what, path,
                             boost::system::error_code(error, boost::system::system_category()));
}

Making MakeDirectory(const std::string& dir) {
  try {
    if (Exists(dir)) {
      return Making::kExisted;
    }
    if (!fs::create_directory(dir)) {
      NW_LOG("Directory Not Created = %s", dir.c_str());
      return Making::kNotCreated;
    }
    NW_LOG("Directory Created = %s", dir.c_str());
    return Making::kCreated;
  } catch (const std::exception& e) {
    NW_LOG("Error::[%s]", e.what());
    return Making::kFailed;
  }
}

bool CopySmallFile(const std::string& fromDir, const std::string& toDir, const std::string& fileName) {
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

}  // namespace file_operations

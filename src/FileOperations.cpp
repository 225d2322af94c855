#include "FileOperations.h"

#include <cerrno>
#include <optional>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <boost/filesystem.hpp>

#include "Log.h"

namespace fs = boost::filesystem;

namespace file_operations {

Descriptor::~Descriptor() {
  if (m_number >= 0) {
    close(m_number);
  }
}

namespace {

constexpr std::size_t kMostBytes = 1'048'576;
constexpr mode_t kOwnerOnly = 0600;
constexpr mode_t kAllRights = 0777;
/// Always the same name, so that what a power cut left behind does not stay, and short, because a name
/// may be as long as the file system takes.
constexpr char kUnfinished[] = ".pelorus-unfinished";

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

void Write(const Descriptor& file, std::string_view content, const std::string& destination) {
  while (!content.empty()) {
    const ssize_t count = write(file.Get(), content.data(), content.size());
    if (count < 0 && errno != EINTR) {
      Fail("cannot write", destination, errno);
    }
    content.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
  }
  if (fsync(file.Get()) != 0) {
    Fail("cannot flush", destination, errno);
  }
}

/// Puts a new file in the place of what is there, by way of the directory itself: a path could lead
/// elsewhere by now.
void Replace(const std::string& destination, const std::string& content) {
  const fs::path path(destination);
  const std::string name = path.filename().string();
  const Descriptor directory = Enter(path.parent_path().string());
  unlinkat(directory.Get(), kUnfinished, 0);
  const Descriptor file(openat(directory.Get(), kUnfinished,
                               O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kOwnerOnly));
  if (file.Get() < 0) {
    Fail("cannot make", destination, errno);
  }
  try {
    Write(file, content, destination);
    if (renameat(directory.Get(), kUnfinished, directory.Get(), name.c_str()) != 0) {
      Fail("cannot replace", destination, errno);
    }
  } catch (...) {
    unlinkat(directory.Get(), kUnfinished, 0);
    throw;
  }
  if (fchmod(file.Get(), kAllRights) != 0) {
    Fail("cannot set the rights of", destination, errno);
  }
}

}  // namespace

bool Exists(const std::string& path) {
  boost::system::error_code ignored;
  return fs::exists(fs::status(path, ignored));
}

Descriptor Enter(std::string dir) {
  // With the slash at its end the path would lead through a link.
  while (dir.size() > 1 && dir.ends_with('/')) {
    dir.pop_back();
  }
  const int number = open(dir.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (number < 0) {
    Fail("cannot enter", dir, errno);
  }
  return Descriptor(number);
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
  const auto content = is_certicate_allowed_size(source) ? Read(source) : std::optional<std::string>();
  if (!content) {
    NW_LOG("Error: Certificate file is greater than 1 MB");
    return false;
  }
  Replace(destination, *content);
  return true;
}

}  // namespace file_operations

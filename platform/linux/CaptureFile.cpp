#include "CaptureFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "PlatformLog.h"

namespace {

// Packets tell what the users do: they are for the daemon, and for the stick that they are copied to.
constexpr mode_t kFileMode = 0600;
constexpr mode_t kDirectoryMode = 0755;

}  // namespace

std::unique_ptr<CaptureFile> CaptureFile::Create(const std::string& directory, const std::string& name,
                                                 std::size_t size) {
  g_mkdir_with_parents(directory.c_str(), kDirectoryMode);
  std::unique_ptr<CaptureFile> file(
      new CaptureFile(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), name));
  const int fd = file->m_directory.get();
  int error = fd >= 0 && flock(fd, LOCK_EX | LOCK_NB) == 0 ? 0 : errno;
  if (error == 0) {
    unlinkat(fd, file->m_unfinished.c_str(), 0);  // of a capture that ended in a crash
    error = file->CheckSpace(size);
  }
  struct stat present;
  if (error == 0 && fstatat(fd, name.c_str(), &present, AT_SYMLINK_NOFOLLOW) == 0 &&
      S_ISDIR(present.st_mode)) {
    error = EISDIR;
  }
  if (error == 0) {
    file->m_file =
        openat(fd, file->m_unfinished.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kFileMode);
    error = file->m_file >= 0 ? 0 : errno;
  }
  if (error != 0) {
    PLATFORM_LOG(DLOG_ERROR, "no capture into %s: %s", directory.c_str(), g_strerror(error));
    return nullptr;
  }
  return file;
}

CaptureFile::CaptureFile(int directory, std::string name)
    : m_directory(directory), m_name(std::move(name)), m_unfinished("." + m_name + ".unfinished") {}

CaptureFile::~CaptureFile() {
  if (m_file >= 0) {
    close(m_file);
    unlinkat(m_directory.get(), m_unfinished.c_str(), 0);
  }
}

int CaptureFile::Finish(std::span<const Bytes> pieces) {
  std::uint64_t size = 0;
  for (const Bytes piece : pieces) {
    size += piece.size();
  }
  int error = CheckSpace(size);
  for (const Bytes piece : pieces) {
    error = error != 0 ? error : Write(piece);
  }
  if (error != 0) {
    return error;
  }
  const int directory = m_directory.get();
  if (fsync(m_file) != 0 || renameat(directory, m_unfinished.c_str(), directory, m_name.c_str()) != 0) {
    return errno;
  }
  close(m_file);
  m_file = -1;
  fsync(directory);  // without it a power cut may bring the old file back, which is whole as well
  return 0;
}

int CaptureFile::CheckSpace(std::uint64_t size) const {
  struct statvfs disk;
  if (fstatvfs(m_directory.get(), &disk) != 0) {
    return errno;
  }
  const std::uint64_t free_bytes = std::uint64_t{disk.f_bavail} * disk.f_frsize;
  return free_bytes >= size + kFreeBytes ? 0 : ENOSPC;
}

int CaptureFile::Write(Bytes bytes) const {
  while (!bytes.empty()) {
    const ssize_t length = write(m_file, bytes.data(), bytes.size());
    if (length < 0 && errno != EINTR) {
      return errno;
    }
    bytes = bytes.subspan(length < 0 ? 0 : static_cast<std::size_t>(length));
  }
  return 0;
}

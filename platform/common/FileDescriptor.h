#pragma once

#include <unistd.h>

/// A file descriptor that is closed with its owner; a negative one is none.
class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) : m_fd(fd) {}
  ~FileDescriptor() {
    if (m_fd >= 0) {
      close(m_fd);
    }
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  [[nodiscard]] int get() const { return m_fd; }
  [[nodiscard]] bool ok() const { return m_fd >= 0; }

 private:
  int m_fd;
};

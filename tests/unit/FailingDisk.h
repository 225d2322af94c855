#pragma once

#include <cerrno>

#include <dirent.h>
#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

/// A disk that fails when it is told to: takes the place of some functions in the test program that
/// includes it.
inline int g_opendir_error = 0;
inline bool g_fsync_fails = false;
inline bool g_mkdir_comes_late = false;  ///< another one makes the same directory first

extern "C" DIR* opendir(const char* path) {
  if (g_opendir_error != 0) {
    errno = g_opendir_error;
    return nullptr;
  }
  static const auto real = reinterpret_cast<DIR* (*)(const char*)>(dlsym(RTLD_NEXT, "opendir"));
  return real(path);
}

extern "C" int fsync(int fd) {
  return g_fsync_fails ? -1 : static_cast<int>(syscall(SYS_fsync, fd));
}

extern "C" int mkdir(const char* path, mode_t mode) {
  const auto result = static_cast<int>(syscall(SYS_mkdir, path, mode));
  if (g_mkdir_comes_late) {
    errno = EEXIST;
    return -1;
  }
  return result;
}

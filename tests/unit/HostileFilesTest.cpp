// Certificates and captures among files that somebody arranged or changes meanwhile: nothing outside the
// named directories is written or removed.

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "CFileFunc.h"
#include "CFileSystem.h"
#include "TestLog.h"

namespace fs = std::filesystem;

namespace {

/// What happens once, just before a file is opened, and just after a piece of one was read.
std::function<bool(const std::string& path)> g_before_open;
std::function<void()> g_after_read;
/// What the next calls fail with.
int g_read_error = 0;
int g_write_error = 0;
int g_fchmod_error = 0;
int g_fsync_error = 0;

void TellOfOpening(const char* path) {
  if (g_before_open) {
    const auto hook = std::exchange(g_before_open, nullptr);
    if (!hook(path)) {
      g_before_open = hook;
    }
  }
}

int OpenAt(int directory, const char* path, int flags, mode_t mode) {
  TellOfOpening(path);
  return static_cast<int>(syscall(SYS_openat, directory, path, flags, mode));
}

bool FailsOnce(int& error) {
  errno = error;
  return std::exchange(error, 0) != 0;
}

}  // namespace

extern "C" int open(const char* path, int flags, ...) {
  return OpenAt(AT_FDCWD, path, flags, 0600);
}

extern "C" int openat(int directory, const char* path, int flags, ...) {
  return OpenAt(directory, path, flags, 0600);
}

extern "C" DIR* opendir(const char* path) {
  TellOfOpening(path);
  static const auto real = reinterpret_cast<DIR* (*)(const char*)>(dlsym(RTLD_NEXT, "opendir"));
  return real(path);
}

extern "C" ssize_t read(int fd, void* buffer, size_t size) {
  if (FailsOnce(g_read_error)) {
    return -1;
  }
  const ssize_t count = syscall(SYS_read, fd, buffer, size);
  if (g_after_read) {
    std::exchange(g_after_read, nullptr)();
  }
  return count;
}

extern "C" ssize_t write(int fd, const void* buffer, size_t size) {
  const bool is_log = fd == STDERR_FILENO;
  return !is_log && FailsOnce(g_write_error) ? -1 : syscall(SYS_write, fd, buffer, size);
}

extern "C" int fchmod(int fd, mode_t mode) {
  return FailsOnce(g_fchmod_error) ? -1 : static_cast<int>(syscall(SYS_fchmod, fd, mode));
}

extern "C" int fsync(int fd) {
  return FailsOnce(g_fsync_error) ? -1 : static_cast<int>(syscall(SYS_fsync, fd));
}

namespace {

const std::string kFrom = "/home/owner/share/Root/";
const std::string kTo = "/home/owner/share/connmancertpath/";
const std::string kToItself = "/home/owner/share/connmancertpath";
const std::string kElsewhere = "/home/owner/elsewhere/";
const std::string kMoved = "/home/owner/moved/";
constexpr std::size_t kMost = 1'048'576;

void Write(const std::string& path, const std::string& content) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << content;
}

std::string Read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "(none)";
}

/// What lies below a directory: names with rights, and contents or where they lead.
std::map<std::string, std::string> Tree(const std::string& directory) {
  std::map<std::string, std::string> tree;
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    const std::string path = entry.path();
    if (entry.is_symlink()) {
      tree[path] = "-> " + fs::read_symlink(path).string();
    } else {
      tree[path] = std::to_string(static_cast<unsigned>(entry.status().permissions())) + " " +
                   (entry.is_directory() ? "/" : Read(path));
    }
  }
  return tree;
}

std::size_t ErrorCount() {
  return static_cast<std::size_t>(std::ranges::count_if(
      test_log::Messages(), [](const std::string& message) { return message.starts_with("Error::["); }));
}

/// Elsewhere are a file, a directory with one, and an empty directory, and after each test they are
/// still.
class HostileFiles : public testing::Test {
 protected:
  HostileFiles() {
    fs::create_directories(kTo);
    Write(kFrom + "ca.pem", "new");
    Write(kElsewhere + "ca.pem", "kept");
    Write(kElsewhere + "full/ca.pem", "kept");
    fs::create_directories(kElsewhere + "empty");
    m_elsewhere = Tree(kElsewhere);
  }
  ~HostileFiles() override {
    g_before_open = nullptr;
    EXPECT_EQ(Tree(kElsewhere), m_elsewhere);
  }

  static bool Copy() { return CFileSystem::CopyCertificates(kFrom, kTo); }

  /// Changes something just before the path is opened.
  static void BeforeOpening(const std::string& path, std::function<void()> change) {
    g_before_open = [path, change = std::move(change)](const std::string& opened) {
      if (opened == path) {
        change();
      }
      return opened == path;
    };
  }

  /// The directory is moved away, and a link to elsewhere is in its place.
  static void ReplaceByLink(const std::string& directory) {
    fs::rename(directory, kMoved);
    fs::create_directory_symlink(kElsewhere, directory);
  }

  std::map<std::string, std::string> m_elsewhere;
};

TEST_F(HostileFiles, ALinkOfAnyKindAtTheDestinationIsReplaced) {
  for (const std::string& target : {kElsewhere + "ca.pem", kElsewhere + "empty", kElsewhere + "full",
                                    kElsewhere + "nothing", kTo + "ca.pem", std::string("/dev/null")}) {
    fs::create_symlink(target, kTo + "ca.pem");
    EXPECT_TRUE(Copy()) << target;
    EXPECT_FALSE(fs::is_symlink(kTo + "ca.pem")) << target;
    EXPECT_EQ(Read(kTo + "ca.pem"), "new") << target;
    fs::remove(kTo + "ca.pem");
  }
  EXPECT_FALSE(fs::exists(kElsewhere + "nothing"));
}

TEST_F(HostileFiles, ALinkOfAnyKindInPlaceOfTheDestinationDirectoryIsNotEntered) {
  for (const std::string& target :
       {kElsewhere, kElsewhere + "empty", kElsewhere + "nothing", kElsewhere + "ca.pem", kToItself}) {
    fs::remove_all(kToItself);
    fs::create_symlink(target, kToItself);
    EXPECT_FALSE(Copy()) << target;
    EXPECT_FALSE(CFileFunc::copyFile(kFrom, kToItself, "/ca.pem")) << target;
    EXPECT_TRUE(fs::is_symlink(kToItself)) << target;
  }
}

TEST_F(HostileFiles, WhatIsNoFileIsNotCopied) {
  fs::remove(kFrom + "ca.pem");
  for (const std::string& target : {std::string("/dev/zero"), std::string("/dev/null"),
                                    std::string("/proc/self/mem"), kFrom + "ca.pem"}) {
    fs::create_symlink(target, kFrom + "ca.pem");
    EXPECT_FALSE(Copy()) << target;
    EXPECT_TRUE(fs::is_empty(kTo)) << target;
    fs::remove(kFrom + "ca.pem");
  }
}

TEST_F(HostileFiles, AFileThatIsLargeOnlyByItsHolesIsTooLarge) {
  fs::resize_file(kFrom + "ca.pem", std::uintmax_t{1} << 40);
  EXPECT_FALSE(Copy());
  EXPECT_TRUE(test_log::Has("Error: Certificate file is greater than 1 MB"));
  EXPECT_TRUE(fs::is_empty(kTo));
}

TEST_F(HostileFiles, AFileThatGrowsWhileItIsReadIsCopiedUpToTheLimitAndNotBeyond) {
  Write(kFrom + "ca.pem", std::string(kMost - 3, 'x'));
  g_after_read = [] { std::ofstream(kFrom + "ca.pem", std::ios::app) << "end"; };
  EXPECT_TRUE(Copy());
  EXPECT_EQ(Read(kTo + "ca.pem"), std::string(kMost - 3, 'x') + "end");
  g_after_read = [] { std::ofstream(kFrom + "ca.pem", std::ios::app) << "more"; };
  EXPECT_FALSE(Copy());
  EXPECT_EQ(fs::file_size(kTo + "ca.pem"), kMost) << "the old one";
}

TEST_F(HostileFiles, AFileThatIsCutWhileItIsReadIsCopiedAsFarAsItWasThere) {
  g_after_read = [] { fs::resize_file(kFrom + "ca.pem", 0); };
  EXPECT_TRUE(Copy());
  EXPECT_EQ(Read(kTo + "ca.pem"), "new");
}

TEST_F(HostileFiles, ADestinationDirectoryReplacedByALinkDuringTheReadingIsNotEntered) {
  BeforeOpening(kFrom + "ca.pem", [] { ReplaceByLink(kToItself); });
  EXPECT_FALSE(Copy());
  EXPECT_EQ(ErrorCount(), 1U);
  EXPECT_TRUE(fs::is_empty(kMoved));
}

TEST_F(HostileFiles, ADestinationDirectoryReplacedByALinkDuringTheWritingIsWrittenWhereItIsNow) {
  BeforeOpening(".pelorus-unfinished", [] { ReplaceByLink(kToItself); });
  EXPECT_TRUE(CFileSystem::copyFile(kFrom, kTo, "ca.pem"));
  EXPECT_EQ(Read(kMoved + "ca.pem"), "new");
  EXPECT_EQ(fs::status(kMoved + "ca.pem").permissions(), fs::perms::all);
}

TEST_F(HostileFiles, ALinkWhereTheUnfinishedCopyGoesIsNotWrittenThrough) {
  const auto place_link = [] { fs::create_symlink(kElsewhere + "ca.pem", kTo + ".pelorus-unfinished"); };
  place_link();
  EXPECT_TRUE(Copy());
  EXPECT_EQ(Read(kTo + "ca.pem"), "new");
  BeforeOpening(".pelorus-unfinished", place_link);
  EXPECT_FALSE(Copy()) << "made after the last one was removed";
  EXPECT_EQ(ErrorCount(), 1U);
}

TEST_F(HostileFiles, AnUnfinishedCopyOfLastTimeDoesNotStay) {
  Write(kTo + ".pelorus-unfinished", "half");
  EXPECT_TRUE(Copy());
  EXPECT_EQ(Tree(kTo).size(), 1U);
}

TEST_F(HostileFiles, NamesMayBeAsLongAndStrangeAsTheFileSystemTakes) {
  fs::remove(kFrom + "ca.pem");
  const std::vector<std::string> names = {std::string(251, 'n') + ".pem",
                                          "two\nlines.pem",
                                          " .pem",
                                          "%s%n.pem",
                                          "\xff\xfe.pem",
                                          "-rf.pem",
                                          "a\\b\".pem"};
  for (const std::string& name : names) {
    Write(kFrom + name, "new");
  }
  EXPECT_TRUE(Copy());
  for (const std::string& name : names) {
    EXPECT_EQ(Read(kTo + name), "new") << name;
  }
}

TEST_F(HostileFiles, AnInterruptedDiskIsAskedAgain) {
  g_read_error = EINTR;
  g_write_error = EINTR;
  EXPECT_TRUE(Copy());
  EXPECT_EQ(Read(kTo + "ca.pem"), "new");
}

TEST_F(HostileFiles, ADiskThatFailsLeavesTheOldFileAndNoHalfOfTheNewOne) {
  Write(kTo + "ca.pem", "old");
  for (int* error : {&g_read_error, &g_write_error, &g_fsync_error}) {
    *error = EIO;
    EXPECT_FALSE(CFileFunc::copyFile(kFrom, kTo, "ca.pem"));
    EXPECT_EQ(*error, 0) << "was not called";
    EXPECT_EQ(Read(kTo + "ca.pem"), "old");
    EXPECT_EQ(Tree(kTo).size(), 1U);
  }
  EXPECT_EQ(ErrorCount(), 3U);
}

TEST_F(HostileFiles, RightsThatTheFileSystemDoesNotHaveAreAnErrorAndTheFileIsThere) {
  g_fchmod_error = EPERM;
  EXPECT_FALSE(CFileFunc::copyFile(kFrom, kTo, "ca.pem"));
  EXPECT_EQ(ErrorCount(), 1U);
  EXPECT_EQ(Read(kTo + "ca.pem"), "new");
}

TEST_F(HostileFiles, ADirectoryReplacedByALinkDuringItsRemovalIsNotEntered) {
  Write(kTo + "sub/ca.pem", "removed");
  g_before_open = [](const std::string& path) {
    const bool is_sub = path == "sub" || path.ends_with("/sub");
    if (is_sub) {
      ReplaceByLink(kTo + "sub");
    }
    return is_sub;
  };
  CFileSystem::RemoveCertificateDir(kTo);
  EXPECT_FALSE(g_before_open) << "was not entered at all";
  EXPECT_EQ(Read(kMoved + "ca.pem"), "removed");
}

}  // namespace

// The operations on the directories of certificates, on a real file system.

#include "CFileSystem.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <utility>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "FailingDisk.h"
#include "Privileges.h"
#include "TestLog.h"

namespace fs = std::filesystem;

namespace {

std::function<void(const char* path)> g_before_open;

}  // namespace

// Others who work on the disk at the same time.
extern "C" int open(const char* path, int flags, ...) {
  if (g_before_open) {
    const auto once = std::exchange(g_before_open, nullptr);
    once(path);
  }
  return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, 0666));
}

namespace {

const std::string kFrom = "/home/owner/share/Root/";
const std::string kTo = "/home/owner/share/connmancertpath/";
const std::string kElsewhere = "/home/owner/elsewhere/";
constexpr std::size_t kMost = 1'048'576;

void Write(const std::string& path, const std::string& content = "certificate") {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << content;
}

std::string Read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "(none)";
}

/// What lies below a directory: names with their contents, and links with where they lead.
std::map<std::string, std::string> Tree(const std::string& directory) {
  std::map<std::string, std::string> tree;
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    const std::string path = entry.path();
    if (entry.is_symlink()) {
      tree[path] = "-> " + fs::read_symlink(path).string();
    } else {
      tree[path] = entry.is_directory() ? "/" : Read(path);
    }
  }
  return tree;
}

std::size_t ErrorCount() {
  return static_cast<std::size_t>(std::ranges::count_if(
      test_log::Messages(), [](const std::string& message) { return message.starts_with("Error::["); }));
}

class CopyCertificates : public testing::Test {
 protected:
  CopyCertificates() {
    fs::create_directories(kFrom);
    Write(kElsewhere + "kept.pem", "kept");
  }
  static bool Copy() { return CFileSystem::CopyCertificates(kFrom, kTo); }
};

TEST_F(CopyCertificates, TakesTheFiveKindsAndNoOthers) {
  for (const char* name : {"a.der", "b.pfx", "c.p12", "d.cer", "e.pem", "two.parts.pem"}) {
    Write(kFrom + name, name);
  }
  for (const char* name : {"ca.PEM", "ca.pem.bak", "pem", "notes.txt", "ca.pe", "ca.pem2"}) {
    Write(kFrom + name);
  }
  EXPECT_TRUE(Copy());
  std::map<std::string, std::string> expected;
  for (const char* name : {"a.der", "b.pfx", "c.p12", "d.cer", "e.pem", "two.parts.pem"}) {
    expected[kTo + name] = name;
    EXPECT_TRUE(test_log::Has(std::string("copying file ==") + name));
  }
  EXPECT_EQ(Tree(kTo), expected);
  EXPECT_EQ(test_log::Count("Directory Created = " + kTo), 1U);
  EXPECT_EQ(test_log::Count("Sync success " + kTo), 1U);
}

TEST_F(CopyCertificates, GivesEverybodyAllRights) {
  umask(077);
  Write(kFrom + "ca.pem");
  EXPECT_TRUE(Copy());
  EXPECT_EQ(fs::status(kTo + "ca.pem").permissions(), fs::perms::all);
}

TEST_F(CopyCertificates, ReplacesWhatIsThere) {
  Write(kFrom + "ca.pem", "new");
  Write(kTo + "ca.pem", "old and longer");
  Write(kTo + "other.pem", "other");
  EXPECT_TRUE(Copy());
  EXPECT_EQ(Read(kTo + "ca.pem"), "new");
  EXPECT_EQ(Read(kTo + "other.pem"), "other");
  EXPECT_EQ(Read(kFrom + "ca.pem"), "new");
}

TEST_F(CopyCertificates, TellsEachStepOfACopy) {
  fs::create_directories(kTo);
  Write(kFrom + "ca.pem");
  EXPECT_TRUE(CFileSystem::copyFile(kFrom, kTo, "ca.pem"));
  EXPECT_EQ(test_log::Messages(),
            (std::vector<std::string>{"Source directory =[" + kFrom + "]. ",
                                      "destination directory =[" + kTo + "]. ",
                                      "Source File =[" + kFrom + "ca.pem]. ",
                                      "destination File =[" + kTo + "ca.pem]. ", "START", "END"}));
}

TEST_F(CopyCertificates, TakesOneMegabyteAndNotAByteMore) {
  Write(kFrom + "most.pem", std::string(kMost, 'x'));
  EXPECT_TRUE(Copy());
  EXPECT_EQ(fs::file_size(kTo + "most.pem"), kMost);
  fs::remove(kFrom + "most.pem");
  Write(kFrom + "more.pem", std::string(kMost + 1, 'x'));
  EXPECT_FALSE(Copy());
  EXPECT_TRUE(test_log::Has("Error: Certificate file is greater than 1 MB"));
  EXPECT_FALSE(fs::exists(kTo + "more.pem"));
}

TEST_F(CopyCertificates, GoesOnAfterOneThatIsTooLarge) {
  Write(kFrom + "a.pem", std::string(kMost + 1, 'x'));
  Write(kFrom + "b.pem");
  Write(kFrom + "c.pem", std::string(kMost + 1, 'x'));
  EXPECT_TRUE(Copy());
  EXPECT_EQ(Read(kTo + "b.pem"), "certificate");
}

TEST_F(CopyCertificates, TakesAnEmptyFile) {
  Write(kFrom + "ca.pem", "");
  EXPECT_TRUE(Copy());
  EXPECT_EQ(Read(kTo + "ca.pem"), "");
}

TEST_F(CopyCertificates, DoesNotLookIntoDirectories) {
  Write(kFrom + "sub/ca.pem");
  Write(kFrom + "dir.pem/ca.pem");
  EXPECT_FALSE(Copy());
  EXPECT_TRUE(test_log::Has("ignore Directoryname == sub"));
  EXPECT_TRUE(test_log::Has("ignore Directoryname == dir.pem"));
  EXPECT_FALSE(fs::exists(kTo)) << "made for the first file only";
}

TEST_F(CopyCertificates, WithoutADirectoryThereIsNothing) {
  fs::remove(kFrom);
  EXPECT_FALSE(Copy());
  EXPECT_EQ(test_log::Messages(),
            std::vector<std::string>{"frompath = [" + kFrom + "] , topath = [" + kTo + "]"});
}

TEST_F(CopyCertificates, AFileForADirectoryIsAnError) {
  fs::remove(kFrom);
  Write(kFrom.substr(0, kFrom.size() - 1));
  EXPECT_FALSE(Copy());
  EXPECT_FALSE(fs::exists(kTo));
}

TEST_F(CopyCertificates, ADestinationThatCannotBeMadeIsAnError) {
  Write(kFrom + "ca.pem");
  EXPECT_FALSE(CFileSystem::CopyCertificates(kFrom, "/home/owner/share/no/such/"));
  EXPECT_EQ(ErrorCount(), 1U);
}

TEST_F(CopyCertificates, ALinkIsCopiedAsWhatItLeadsTo) {
  fs::create_symlink(kElsewhere + "kept.pem", kFrom + "ca.pem");
  EXPECT_TRUE(Copy());
  EXPECT_FALSE(fs::is_symlink(kTo + "ca.pem"));
  EXPECT_EQ(Read(kTo + "ca.pem"), "kept");
}

TEST_F(CopyCertificates, ALinkThatLeadsNowhereIsAnError) {
  fs::create_symlink("/nowhere", kFrom + "ca.pem");
  EXPECT_FALSE(Copy());
  EXPECT_EQ(ErrorCount(), 1U);
}

TEST_F(CopyCertificates, ALinkAtTheDestinationIsReplacedAndNotWrittenThrough) {
  Write(kFrom + "ca.pem", "new");
  fs::create_directories(kTo);
  fs::create_symlink(kElsewhere + "kept.pem", kTo + "ca.pem");
  const auto before = Tree(kElsewhere);
  const auto rights = fs::status(kElsewhere + "kept.pem").permissions();
  EXPECT_TRUE(Copy());
  EXPECT_FALSE(fs::is_symlink(kTo + "ca.pem"));
  EXPECT_EQ(Read(kTo + "ca.pem"), "new");
  EXPECT_EQ(Tree(kElsewhere), before);
  EXPECT_EQ(fs::status(kElsewhere + "kept.pem").permissions(), rights);
}

TEST_F(CopyCertificates, AHardLinkAtTheDestinationIsReplacedToo) {
  Write(kFrom + "kept.pem", "new");
  fs::create_directories(kTo);
  fs::create_hard_link(kElsewhere + "kept.pem", kTo + "kept.pem");
  EXPECT_TRUE(Copy());
  EXPECT_EQ(Read(kElsewhere + "kept.pem"), "kept");
}

TEST_F(CopyCertificates, ADestinationDirectoryThatIsALinkIsLeftAlone) {
  Write(kFrom + "ca.pem");
  fs::create_directory_symlink(kElsewhere, kTo.substr(0, kTo.size() - 1));
  const auto before = Tree(kElsewhere);
  EXPECT_FALSE(Copy());
  EXPECT_EQ(ErrorCount(), 1U);
  EXPECT_EQ(Tree(kElsewhere), before);
}

TEST_F(CopyCertificates, ADirectoryInTheWayIsAnError) {
  Write(kFrom + "ca.pem");
  Write(kTo + "ca.pem/inside", "inside");
  EXPECT_FALSE(Copy());
  EXPECT_EQ(ErrorCount(), 1U);
  EXPECT_EQ(Read(kTo + "ca.pem/inside"), "inside");
  EXPECT_EQ(Tree(kTo).size(), 2U) << "no half of a file is left";
}

TEST_F(CopyCertificates, APipeIsAnErrorAndNotWaitedFor) {
  ASSERT_EQ(mkfifo((kFrom + "ca.pem").c_str(), 0666), 0);
  EXPECT_FALSE(Copy());
  EXPECT_EQ(ErrorCount(), 1U);
}

TEST_F(CopyCertificates, AFullDiskLeavesTheOldFileAndNoHalfOfTheNewOne) {
  fs::create_directories(kTo);
  ASSERT_EQ(mount("tmpfs", kTo.c_str(), "tmpfs", 0, "size=64k,mode=0755"), 0);
  Write(kTo + "ca.pem", "old");
  Write(kFrom + "ca.pem", std::string(100'000, 'x'));
  EXPECT_FALSE(Copy());
  EXPECT_EQ(ErrorCount(), 1U);
  EXPECT_EQ(Tree(kTo), (std::map<std::string, std::string>{{kTo + "ca.pem", "old"}}));
  EXPECT_FALSE(test_log::Has("Sync success " + kTo));
}

TEST_F(CopyCertificates, AnErrorAmongOthersIsNoCopy) {
  Write(kFrom + "a.pem");
  fs::create_symlink("/nowhere", kFrom + "b.pem");
  EXPECT_FALSE(Copy());
  EXPECT_FALSE(test_log::Has("Sync success " + kTo));
}

TEST_F(CopyCertificates, ADirectoryThatMayNotBeReadIsAnError) {
  Write(kFrom + "ca.pem");
  fs::permissions(kFrom, fs::perms::none);
  GiveUpPrivileges();
  EXPECT_FALSE(Copy());
  EXPECT_EQ(ErrorCount(), 1U);
  EXPECT_FALSE(fs::exists(kTo));
}

TEST_F(CopyCertificates, ADirectoryThatMayNotBeReachedIsNone) {
  Write(kFrom + "ca.pem");
  fs::permissions("/home/owner/share", fs::perms::none);
  GiveUpPrivileges();
  EXPECT_FALSE(Copy());
  EXPECT_EQ(ErrorCount(), 0U);
}

TEST_F(CopyCertificates, AFileThatMayNotBeReadIsAnError) {
  Write(kFrom + "ca.pem");
  fs::permissions(kFrom + "ca.pem", fs::perms::none);
  GiveUpPrivileges();
  EXPECT_FALSE(Copy());
  EXPECT_EQ(ErrorCount(), 1U);
  EXPECT_FALSE(fs::exists(kTo + "ca.pem"));
}

TEST_F(CopyCertificates, ADestinationThatMayNotBeWrittenIsAnError) {
  Write(kFrom + "ca.pem");
  Write(kTo + "ca.pem", "old");
  fs::permissions(kTo, fs::perms::owner_read | fs::perms::owner_exec);
  GiveUpPrivileges();
  EXPECT_FALSE(Copy());
  EXPECT_EQ(ErrorCount(), 1U);
  EXPECT_EQ(Read(kTo + "ca.pem"), "old");
}

/// Somebody else changes the source after its size was looked at.
class ReplacedSource : public CopyCertificates {
 protected:
  static bool CopyWith(std::function<void()> change) {
    fs::create_directories(kTo);
    g_before_open = [change = std::move(change)](const char* path) {
      EXPECT_EQ(path, kFrom + "ca.pem");
      change();
    };
    const bool is_copied = CFileSystem::CopyCertificates(kFrom, kTo);
    EXPECT_EQ(g_before_open, nullptr) << "nothing was changed";
    return is_copied;
  }
};

TEST_F(ReplacedSource, ByAnotherIsCopiedWhole) {
  Write(kFrom + "ca.pem", "first");
  EXPECT_TRUE(CopyWith([] {
    Write(kElsewhere + "next", "the second, which is longer");
    fs::rename(kElsewhere + "next", kFrom + "ca.pem");
  }));
  EXPECT_EQ(Read(kTo + "ca.pem"), "the second, which is longer");
}

TEST_F(ReplacedSource, ByOneThatIsTooLargeIsNotCopied) {
  Write(kFrom + "ca.pem");
  EXPECT_FALSE(CopyWith([] { Write(kFrom + "ca.pem", std::string(kMost + 1, 'x')); }));
  EXPECT_TRUE(test_log::Has("Error: Certificate file is greater than 1 MB"));
  EXPECT_FALSE(fs::exists(kTo + "ca.pem"));
}

TEST_F(ReplacedSource, ByAPipeIsAnErrorAndNotWaitedFor) {
  Write(kFrom + "ca.pem");
  EXPECT_FALSE(CopyWith([] {
    fs::remove(kFrom + "ca.pem");
    ASSERT_EQ(mkfifo((kFrom + "ca.pem").c_str(), 0666), 0);
  }));
  EXPECT_EQ(ErrorCount(), 1U);
}

TEST_F(ReplacedSource, ByNothingIsAnError) {
  Write(kFrom + "ca.pem");
  Write(kTo + "ca.pem", "old");
  EXPECT_FALSE(CopyWith([] { fs::remove(kFrom + "ca.pem"); }));
  EXPECT_EQ(ErrorCount(), 1U);
  EXPECT_EQ(Read(kTo + "ca.pem"), "old");
}

TEST(CreateDir, MakesOneLevelInWhatExists) {
  EXPECT_TRUE(CFileSystem::createDir(kTo));
  EXPECT_TRUE(test_log::Has("Directory Created = " + kTo));
  EXPECT_TRUE(fs::is_directory(kTo));
  EXPECT_TRUE(CFileSystem::createDir(kTo));
  EXPECT_EQ(test_log::Messages().size(), 1U) << "what exists is said nothing of";
  EXPECT_FALSE(CFileSystem::createDir("/home/owner/share/two/levels/"));
  EXPECT_FALSE(fs::exists("/home/owner/share/two"));
  EXPECT_EQ(ErrorCount(), 1U);
}

TEST(CreateDir, IsNotTheOneWhoMadeWhatAnotherMadeMeanwhile) {
  g_mkdir_comes_late = true;
  const bool is_created = CFileSystem::createDir(kTo);
  g_mkdir_comes_late = false;
  EXPECT_FALSE(is_created);
  EXPECT_TRUE(test_log::Has("Directory Not Created = " + kTo));
}

TEST(SyncDir, SaysWhatCameOfIt) {
  CFileSystem::SyncDir(nullptr);
  EXPECT_TRUE(test_log::Messages().empty());
  CFileSystem::SyncDir("/home/owner/share/");
  EXPECT_TRUE(test_log::Has("Sync success /home/owner/share/"));
  g_fsync_fails = true;
  CFileSystem::SyncDir("/home/owner/share/");
  EXPECT_TRUE(test_log::Has("Could not fsync(/home/owner/share/), result -1"));
  g_opendir_error = EMFILE;
  CFileSystem::SyncDir("/home/owner/share/");
  EXPECT_TRUE(test_log::Has("Directory {/home/owner/share/} cannot be opened. Error (24) "));
  g_opendir_error = 0;
}

class RemoveCertificates : public testing::Test {
 protected:
  RemoveCertificates() { Write(kElsewhere + "kept.pem", "kept"); }
};

TEST_F(RemoveCertificates, RemovesAllInIt) {
  Write(kTo + "sub/deeper/ca.pem");
  Write(kTo + "ca.pem");
  CFileSystem::RemoveCertificateDir(kTo);
  EXPECT_FALSE(fs::exists(kTo));
  EXPECT_EQ(test_log::Messages(),
            (std::vector<std::string>{"RemoveCertificateDir start", "Sync success " + kTo}));
}

TEST_F(RemoveCertificates, FollowsNoLink) {
  fs::create_directories(kTo + "sub");
  fs::create_directory_symlink(kElsewhere, kTo + "sub/directory");
  fs::create_symlink(kElsewhere + "kept.pem", kTo + "ca.pem");
  CFileSystem::RemoveCertificateDir(kTo);
  EXPECT_FALSE(fs::exists(kTo));
  EXPECT_EQ(Read(kElsewhere + "kept.pem"), "kept");
}

TEST_F(RemoveCertificates, LeavesADirectoryThatIsALinkItselfAlone) {
  fs::create_directory_symlink(kElsewhere, kTo.substr(0, kTo.size() - 1));
  CFileSystem::RemoveCertificateDir(kTo);
  EXPECT_EQ(Read(kElsewhere + "kept.pem"), "kept");
  EXPECT_TRUE(test_log::Messages().back().starts_with("Exception caught certifificate deletion => " +
                                                      kTo + " , "));
}

TEST_F(RemoveCertificates, HasNothingToDoWithoutADirectory) {
  CFileSystem::RemoveCertificateDir(kTo);
  EXPECT_EQ(test_log::Messages(), std::vector<std::string>{"RemoveCertificateDir start"});
}

TEST_F(RemoveCertificates, SaysWhatItMayNotRemove) {
  Write(kTo + "sub/ca.pem");
  fs::permissions(kTo + "sub", fs::perms::owner_read | fs::perms::owner_exec);
  GiveUpPrivileges();
  CFileSystem::RemoveCertificateDir(kTo);
  EXPECT_TRUE(test_log::Messages().back().starts_with("Exception caught certifificate deletion => "));
  EXPECT_TRUE(fs::exists(kTo + "sub/ca.pem"));
}

}  // namespace

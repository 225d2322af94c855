#include "KpiJournal.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "CallGate.h"
#include "Files.h"
#include "Journal.h"
#include "TestLog.h"
#include "kpi_logger.h"

namespace fs = std::filesystem;

namespace {

const fs::path kDirectory = fs::path(journal::kPath).parent_path();

std::atomic<int> g_flushes{0};
std::atomic<int> g_flush_error{0};
std::atomic<int> g_interruptions{0};        // of the next calls
std::atomic<std::size_t> g_most{SIZE_MAX};  // bytes that one write takes

bool IsInterrupted() {
  if (g_interruptions > 0) {
    --g_interruptions;
    errno = EINTR;
    return true;
  }
  return false;
}

int Add(const std::string& description = "{a=1}") {
  return Ledgerline::CLogger::GetInstance()->AddEventLogSync("21_wireless", "ETHERNET", "EV004",
                                                             description);
}

mode_t ModeOf(const fs::path& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777;
}

using Texts = std::vector<std::string>;

Texts Descriptions() {
  return journal::Texts("description");
}

}  // namespace

extern "C" int fdatasync(int fd) {
  if (IsInterrupted()) {
    return -1;
  }
  ++g_flushes;
  if (g_flush_error != 0) {
    errno = g_flush_error;
    return -1;
  }
  return static_cast<int>(syscall(SYS_fdatasync, fd));
}

/// Takes no more of a journal's line than it is told to.
extern "C" ssize_t write(int fd, const void* data, size_t size) {
  const bool is_line = size > 0 && *static_cast<const char*>(data) == '{';
  if (is_line && IsInterrupted()) {
    return -1;
  }
  const size_t most = g_most;
  return syscall(SYS_write, fd, data, is_line && most < size ? most : size);
}

TEST(KpiJournal, ARecordIsOneLineOfItsTexts) {
  ASSERT_EQ(Add("{a=1}"), Ledgerline::CLogger::kSuccess);
  ASSERT_EQ(Add("{a=2}"), 1);
  const std::vector<Json::Value> records = journal::Records();
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0].getMemberNames(), (Texts{"code", "description", "event", "service", "time"}));
  EXPECT_EQ(records[0]["service"], "21_wireless");
  EXPECT_EQ(records[0]["event"], "ETHERNET");
  EXPECT_EQ(records[0]["code"], "EV004");
  EXPECT_EQ(records[0]["description"], "{a=1}");
  EXPECT_EQ(records[1]["description"], "{a=2}");
  EXPECT_TRUE(files::Read(journal::kPath).starts_with("{\"time\":\"")) << "lines sort by their time";
}

TEST(KpiJournal, TheTimeHasMillisecondsAndTheZone) {
  setenv("TZ", "KST-9", 1);
  tzset();
  const std::string line = kpi_journal::Line({"s", "e", "c", "d"}, 1'732'172'660'005'999);
  EXPECT_TRUE(line.starts_with("{\"time\":\"2024-11-21T16:04:20.005+09:00\",")) << line;
  setenv("TZ", "UTC0", 1);
  tzset();
  EXPECT_TRUE(kpi_journal::Line({}, 1'000).starts_with("{\"time\":\"1970-01-01T00:00:00.001+00:00\","));
  ASSERT_EQ(Add(), 1);
  const std::string time = journal::Texts("time").at(0);
  EXPECT_TRUE(std::regex_match(time, std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}\+00:00)")));
}

TEST(KpiJournal, AnyTextIsReadBack) {
  const Texts texts{"",
                    "{\"quoted\\\"}",
                    "two\nlines\r\n\ttab",
                    "\x01\x1b[31m\x7f",
                    "한국어 ☃ \U0001F4FA \xe2\x80\xa8\xc2\x85",
                    "{a=1;b=%s%n,c=</script>}",
                    std::string(300'000, 'x')};
  for (const std::string& text : texts) {
    ASSERT_EQ(Ledgerline::CLogger::GetInstance()->AddEventLogSync(text, text, text, text), 1) << text;
  }
  for (const char* member : {"service", "event", "code", "description"}) {
    EXPECT_EQ(journal::Texts(member), texts);
  }
}

TEST(KpiJournal, WhatIsNoTextIsReplacedAndStaysJson) {
  std::string every_byte;
  for (int byte = 0; byte < 256; ++byte) {
    every_byte += static_cast<char>(byte);
  }
  for (const std::string& text : {std::string("caf\xe9"), std::string("\xed\xa0\x80"),
                                  std::string("\xff\xfe"), std::string("a\0b", 3), every_byte}) {
    ASSERT_EQ(Add(text), 1);
  }
  const Texts descriptions = Descriptions();
  ASSERT_EQ(descriptions.size(), 5U);
  EXPECT_EQ(descriptions[0], "caf\uFFFD");
  EXPECT_EQ(descriptions[3], "a\uFFFDb");
  for (const char c : files::Read(journal::kPath)) {
    EXPECT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= 0x20);
  }
}

TEST(KpiJournal, IsForItsOwnerAndGroupOnly) {
  umask(0);
  ASSERT_EQ(Add(), 1);
  EXPECT_EQ(ModeOf(journal::kPath), 0640U);
  EXPECT_EQ(ModeOf(kDirectory), 0750U);
  EXPECT_EQ(ModeOf(kDirectory.parent_path()), 0755U) << "the settings are beside it";
}

TEST(KpiJournal, IsWhereTheEnvironmentSays) {
  setenv("PELORUS_KPI_JOURNAL", "/run/a/b/c.jsonl", 1);
  ASSERT_EQ(Add(), 1);
  EXPECT_EQ(journal::Records("/run/a/b/c.jsonl").size(), 1U);
  EXPECT_FALSE(fs::exists(kDirectory));
  setenv("PELORUS_KPI_JOURNAL", "", 1);
  ASSERT_EQ(Add(), 1);
  EXPECT_EQ(journal::Records().size(), 1U);
  fs::current_path("/run");
  setenv("PELORUS_KPI_JOURNAL", "here.jsonl", 1);
  ASSERT_EQ(Add(), 1);
  EXPECT_EQ(journal::Records("/run/here.jsonl").size(), 1U);
}

TEST(KpiJournal, ARecordIsOnTheDiskBeforeItsSuccess) {
  ASSERT_EQ(Add(), 1);
  EXPECT_EQ(g_flushes, 1);
  ASSERT_EQ(Add(), 1);
  EXPECT_EQ(g_flushes, 2);
}

TEST(KpiJournal, ARecordThatTheDiskDoesNotTakeIsTakenBack) {
  ASSERT_EQ(Add("{a=1}"), 1);
  g_flush_error = EIO;
  EXPECT_EQ(Add("{a=2}"), -EIO);
  g_flush_error = 0;
  EXPECT_EQ(Descriptions(), Texts{"{a=1}"});
  EXPECT_EQ(Add("{a=3}"), 1);
  EXPECT_EQ(Descriptions(), (Texts{"{a=1}", "{a=3}"}));
}

TEST(KpiJournal, InterruptionsAndSmallPiecesFailNothing) {
  g_interruptions = 5;
  ASSERT_EQ(Add("{a=1}"), 1);
  EXPECT_EQ(g_interruptions, 0);
  g_most = 40;
  ASSERT_EQ(Add("{a=2}"), 1);
  g_most = SIZE_MAX;
  EXPECT_EQ(Descriptions(), (Texts{"{a=1}", "{a=2}"}));
}

TEST(KpiJournal, AFullDiskKeepsNoPartOfALine) {
  fs::create_directories(kDirectory);
  ASSERT_EQ(mount("tmpfs", kDirectory.c_str(), "tmpfs", 0, "size=64k,mode=0755"), 0);
  ASSERT_EQ(Add("{a=1}"), 1);
  const std::string before = files::Read(journal::kPath);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Add(std::string(100'000, 'x')), -ENOSPC);
    EXPECT_EQ(files::Read(journal::kPath), before) << "a part had been written";
  }
  files::Write(kDirectory / "filler", std::string(1 << 20, 'x'));
  const std::string long_record(5'000, 'y');  // longer than what is left of the page
  EXPECT_EQ(Add(long_record), -ENOSPC);
  EXPECT_EQ(files::Read(journal::kPath), before);
  EXPECT_TRUE(
      test_log::Has("cannot append to /var/lib/pelorus/kpi/journal.jsonl: No space left on "
                    "device"));
  fs::remove(kDirectory / "filler");
  EXPECT_EQ(Add(long_record), 1);
  EXPECT_EQ(Descriptions(), (Texts{"{a=1}", long_record}));
  umount(kDirectory.c_str());
}

TEST(KpiJournal, ADiskWithoutRoomForAFileIsAFailure) {
  fs::create_directories(kDirectory);
  ASSERT_EQ(mount("tmpfs", kDirectory.c_str(), "tmpfs", 0, "nr_inodes=2,mode=0755"), 0);
  files::Write(kDirectory / "filler", "");
  EXPECT_EQ(Add(), -ENOSPC);
  fs::remove(kDirectory / "filler");
  EXPECT_EQ(Add(), 1);
  umount(kDirectory.c_str());
}

TEST(KpiJournal, ALineThatADeadWriterLeftIsEnded) {
  for (const std::string& torn :
       {std::string(R"({"time":"2026-11-21T07)"), std::string("\0\0\0", 3), std::string("{}")}) {
    files::Write(journal::kPath, "{}\n" + torn);
    ASSERT_EQ(Add(), 1);
    const std::string content = files::Read(journal::kPath);
    EXPECT_TRUE(content.starts_with("{}\n" + torn + "\n{\"time\":")) << content;
    EXPECT_EQ(std::count(content.begin(), content.end(), '\n'), 3);
  }
}

TEST(KpiJournal, ATornLineIsTakenBackWithoutTheOneBeforeIt) {
  files::Write(journal::kPath, "{\"torn");
  g_flush_error = EIO;
  EXPECT_EQ(Add(), -EIO);
  EXPECT_EQ(files::Read(journal::kPath), "{\"torn");
}

TEST(KpiJournal, WhatIsNoJournalIsAFailure) {
  fs::create_directories(journal::kPath);
  EXPECT_EQ(Add(), -EISDIR);
  fs::remove(journal::kPath);
  ASSERT_EQ(mkfifo(journal::kPath, 0640), 0);
  EXPECT_EQ(Add(), -EINVAL) << "and no waiting for a reader";
  fs::remove_all(kDirectory);
  files::Write(kDirectory, "a file");
  EXPECT_EQ(Add(), -ENOTDIR);
  fs::remove(kDirectory);
  fs::create_symlink("nowhere/at/all", kDirectory);
  EXPECT_EQ(Add(), -ENOENT);
}

TEST(KpiJournal, AReadOnlyDirectoryIsAFailure) {
  ASSERT_EQ(Add(), 1);
  const char* root = kDirectory.c_str();
  ASSERT_EQ(mount(root, root, nullptr, MS_BIND, nullptr), 0);
  ASSERT_EQ(mount(nullptr, root, nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr), 0);
  EXPECT_EQ(Add(), -EROFS);
  umount2(root, MNT_DETACH);
  EXPECT_EQ(Add(), 1);
}

TEST(KpiJournal, ARotatedFileIsMadeAnew) {
  ASSERT_EQ(Add("{a=1}"), 1);
  fs::rename(journal::kPath, kDirectory / "journal.jsonl.1");
  ASSERT_EQ(Add("{a=2}"), 1);
  EXPECT_EQ(journal::Texts("description", kDirectory / "journal.jsonl.1"), Texts{"{a=1}"});
  EXPECT_EQ(Descriptions(), Texts{"{a=2}"});
  fs::remove_all(kDirectory);
  ASSERT_EQ(Add("{a=3}"), 1);
  EXPECT_EQ(Descriptions(), Texts{"{a=3}"});
  fs::resize_file(journal::kPath, 0);
  ASSERT_EQ(Add("{a=4}"), 1);
  EXPECT_EQ(Descriptions(), Texts{"{a=4}"}) << "cut to nothing";
}

TEST(KpiJournal, WhoKeepsItLockedDoesNotStopTheDaemon) {
  ASSERT_EQ(Add("{a=1}"), 1);
  const int reader = open(journal::kPath, O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(flock(reader, LOCK_SH), 0);
  EXPECT_EQ(Add("{a=2}"), -EBUSY);
  close(reader);
  EXPECT_EQ(Add("{a=3}"), 1);
  EXPECT_EQ(Descriptions(), (Texts{"{a=1}", "{a=3}"}));
}

TEST(KpiJournal, AnswersWithTheCodeItIsTold) {
  static std::vector<std::string> told;
  call_gate::SetHook([](std::string_view function, std::vector<std::string> arguments) {
    told = std::move(arguments);
    return function == "AddEventLogSync" ? std::optional(-7) : std::nullopt;
  });
  EXPECT_EQ(Add("{a=1}"), -7);
  EXPECT_EQ(told, (Texts{"21_wireless", "ETHERNET", "EV004", "{a=1}"}));
  call_gate::SetHook(nullptr);
  EXPECT_FALSE(fs::exists(kDirectory));
}

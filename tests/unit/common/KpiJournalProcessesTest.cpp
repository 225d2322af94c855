#include <cerrno>
#include <filesystem>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include "Files.h"
#include "Journal.h"
#include "Processes.h"
#include "kpi_logger.h"

namespace fs = std::filesystem;

namespace {

const fs::path kDirectory = fs::path(journal::kPath).parent_path();

/// On memory, so that the disk's flushes do not set the pace.
class KpiJournalProcesses : public testing::Test {
 protected:
  KpiJournalProcesses() {
    fs::create_directories(kDirectory);
    EXPECT_EQ(mount("tmpfs", kDirectory.c_str(), "tmpfs", 0, "mode=0755"), 0);
  }
  ~KpiJournalProcesses() override { umount2(kDirectory.c_str(), MNT_DETACH); }
};

/// Records of different lengths, whose code says which writer's they are. A crowd of writers may keep
/// one of them waiting for longer than a daemon would.
int Add(int writer, unsigned number) {
  int answer = -EBUSY;
  while (answer == -EBUSY) {
    answer = Ledgerline::CLogger::GetInstance()->AddEventLogSync(
        "21_wireless", "ETHERNET", std::to_string(writer),
        std::to_string(number) + std::string(100 + 977UL * (number % 9), 'x'));
  }
  return answer;
}

void AddMany(int writer, unsigned count) {
  for (unsigned number = 0; number < count; ++number) {
    ASSERT_EQ(Add(writer, number), 1) << number;
  }
}

void AddForEver(int writer) {
  for (unsigned number = 0;; ++number) {
    Add(writer, number);
  }
}

/// That writer 2 has the last line to itself, and that no line has two records.
/// @return how many lines have no end
int ExpectOneRecordALine() {
  int torn = 0;
  std::istringstream lines(files::Read(journal::kPath));
  std::string last;
  for (std::string line; std::getline(lines, line); last = line) {
    EXPECT_EQ(line.find("{\"time\"", 1), line.npos) << "two records on one line: " << line;
    torn += line.ends_with("}") ? 0 : 1;
  }
  EXPECT_TRUE(last.starts_with("{\"time\"") && last.ends_with("}")) << last;
  EXPECT_NE(last.find("\"code\":\"2\""), last.npos) << last;
  return torn;
}

/// Whether a process has ended; it must still be joined.
bool HasEnded(pid_t pid) {
  siginfo_t ended{};
  EXPECT_EQ(waitid(P_PID, static_cast<id_t>(pid), &ended, WEXITED | WNOHANG | WNOWAIT), 0);
  return ended.si_pid != 0;
}

/// Renames the journal, and returns when no writer is at work on it any more: those who had it open
/// before look for a new one once they have the lock.
void Rotate(const std::string& path) {
  fs::rename(journal::kPath, path);
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(flock(file, LOCK_EX), 0);
  close(file);
}

/// What was read so far of each writer.
class Reading {
 public:
  /// A test failure when a writer's records do not go on where they ended.
  void Read(const std::string& path) {
    for (const Json::Value& record : journal::Records(path)) {
      const unsigned long number = std::stoul(record["description"].asString());
      ASSERT_EQ(number, m_next[record["code"].asString()]++);
    }
  }

  void ExpectAll(std::size_t writers, unsigned count) const {
    EXPECT_EQ(m_next.size(), writers);
    for (const auto& [writer, records] : m_next) {
      EXPECT_EQ(records, count) << writer;
    }
  }

 private:
  std::map<std::string, unsigned> m_next;
};

}  // namespace

TEST_F(KpiJournalProcesses, WritersAtTheSameTimeKeepTheirLinesApart) {
  constexpr int kWriters = 4;
  constexpr unsigned kRecords = 1'000;
  std::vector<pid_t> writers;
  for (int writer = 0; writer < kWriters; ++writer) {
    writers.push_back(processes::Start([writer] { AddMany(writer, kRecords); }));
  }
  for (const pid_t writer : writers) {
    processes::Join(writer);
  }
  Reading reading;
  reading.Read(journal::kPath);
  reading.ExpectAll(kWriters, kRecords);
}

TEST_F(KpiJournalProcesses, ARotationInTheMiddleLosesNothing) {
  constexpr int kWriters = 2;
  constexpr unsigned kRecords = 2'000;
  std::vector<pid_t> writers;
  for (int writer = 0; writer < kWriters; ++writer) {
    writers.push_back(processes::Start([writer] { AddMany(writer, kRecords); }));
  }
  std::vector<std::string> files;
  for (const pid_t writer : writers) {
    while (!HasEnded(writer)) {
      if (fs::exists(journal::kPath)) {
        files.push_back(kDirectory / std::to_string(files.size()));
        Rotate(files.back());
      }
    }
    processes::Join(writer);
  }
  EXPECT_GT(files.size(), 1U) << "hardly rotated";
  RecordProperty("rotations", static_cast<int>(files.size()));
  files.emplace_back(journal::kPath);
  Reading reading;
  for (const std::string& file : files) {
    reading.Read(file);
  }
  reading.ExpectAll(kWriters, kRecords);
}

TEST_F(KpiJournalProcesses, AWriterWhoseFileIsRotatedBeforeItsTurnTakesTheNewOne) {
  ASSERT_EQ(Add(1, 0), 1);
  const int file = open(journal::kPath, O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(flock(file, LOCK_EX), 0);
  const pid_t writer = processes::Start([] { ASSERT_EQ(Add(2, 0), 1); });
  const auto has_opened_it = [&] {
    int descriptors = 0;
    for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(writer) + "/fd")) {
      std::error_code gone;
      descriptors += fs::read_symlink(entry.path(), gone) == journal::kPath ? 1 : 0;
    }
    return descriptors == 2;  // one was inherited
  };
  while (!has_opened_it()) {
    ASSERT_FALSE(HasEnded(writer));
  }
  fs::rename(journal::kPath, kDirectory / "rotated");
  flock(file, LOCK_UN);
  close(file);
  processes::Join(writer);
  EXPECT_EQ(journal::Texts("code", kDirectory / "rotated"), std::vector<std::string>{"1"});
  EXPECT_EQ(journal::Texts("code"), std::vector<std::string>{"2"});
}

TEST_F(KpiJournalProcesses, AWriterKilledAtAnyMomentStopsNobody) {
  std::mt19937 random(9);
  for (int round = 0; round < 100; ++round) {
    const pid_t writer = processes::Start([] { AddForEver(1); });
    while (!fs::exists(journal::kPath)) {
      ASSERT_FALSE(HasEnded(writer));
    }
    const timespec pause{0, static_cast<long>(random() % 2'000'000)};
    nanosleep(&pause, nullptr);
    ASSERT_EQ(kill(writer, SIGKILL), 0);
    waitpid(writer, nullptr, 0);
    ASSERT_EQ(Add(2, 0), 1) << "the next one is not stopped by it";
    ExpectOneRecordALine();
    fs::remove(journal::kPath);
  }
}

/// A limit of the file's size ends a write in the middle, and the writer when it goes on.
TEST_F(KpiJournalProcesses, WhatAKilledWriterTearsIsOnALineOfItsOwn) {
  std::mt19937 random(9);
  for (int round = 0; round < 100; ++round) {
    const rlim_t size = 1 + random() % 20'000;
    const pid_t writer = processes::Start([size] {
      const rlimit no_core{0, 0};
      setrlimit(RLIMIT_CORE, &no_core);
      const rlimit file{size, size};
      setrlimit(RLIMIT_FSIZE, &file);
      AddForEver(1);
    });
    int status = 0;
    waitpid(writer, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ) << status;
    const std::string left = files::Read(journal::kPath);
    ASSERT_EQ(left.size(), size);
    ASSERT_EQ(Add(2, 0), 1) << "the next one is not stopped by it";
    const bool is_whole = left.ends_with("}") || left.ends_with("}\n");
    ASSERT_EQ(ExpectOneRecordALine(), is_whole ? 0 : 1);
    ASSERT_TRUE(files::Read(journal::kPath).starts_with(left)) << "what was there stays";
    fs::remove(journal::kPath);
  }
}

TEST_F(KpiJournalProcesses, ADiskThatIsFullNowAndThenKeepsEveryLineWhole) {
  umount2(kDirectory.c_str(), MNT_DETACH);
  ASSERT_EQ(mount("tmpfs", kDirectory.c_str(), "tmpfs", 0, "size=256k,mode=0755"), 0);
  std::vector<pid_t> writers;
  for (int writer = 0; writer < 3; ++writer) {
    writers.push_back(processes::Start([writer] {
      int refused = 0;
      for (unsigned number = 0; number < 600;) {
        const int answer = Add(writer, number);
        ASSERT_TRUE(answer == 1 || answer == -ENOSPC) << answer;
        refused += answer == 1 ? 0 : 1;
        number += answer == 1 ? 1 : 0;
      }
      EXPECT_GT(refused, 0) << "the disk was never full";
    }));
  }
  // Whoever carries the records on makes room each time the disk is full.
  Reading reading;
  for (const pid_t writer : writers) {
    while (!HasEnded(writer)) {
      if (fs::space(kDirectory).available < 8'192 && fs::exists(journal::kPath)) {
        Rotate(kDirectory / "carried");
        reading.Read(kDirectory / "carried");
        fs::remove(kDirectory / "carried");
      }
    }
    processes::Join(writer);
  }
  reading.Read(journal::kPath);
  reading.ExpectAll(3, 600);
}

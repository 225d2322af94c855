#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Journal.h"
#include "Processes.h"
#include "kpi_logger.h"

namespace fs = std::filesystem;

namespace {

constexpr char kConfiguration[] = "/run/rotation.conf";
constexpr char kState[] = "/run/rotation.state";
constexpr char kStop[] = "/run/rotation.stop";
constexpr char kCount[] = "/run/rotation.count";

constexpr int kRotations = 20;
constexpr useconds_t kPauseMicroseconds = 500;

/// The journal under the rules that are installed, with logrotate itself.
class KpiRotation : public testing::Test {
 protected:
  void SetUp() override {
    // The user that the rules name is whoever runs this test.
    std::ofstream("/etc/passwd", std::ios::app) << "pelorus:x:0:0::/:/bin/sh\n";
    std::ofstream("/etc/group", std::ios::app) << "pelorus:x:0:\n";

    std::ifstream installed(LOGROTATE_RULES);
    std::ofstream rules(kConfiguration);
    int counts = 0;
    for (std::string line; std::getline(installed, line);) {
      const bool is_count = line.starts_with("\trotate ");
      counts += is_count ? 1 : 0;
      rules << (is_count ? "\trotate 100000" : line)
            << '\n';  // what is old is to be read here, not removed
    }
    ASSERT_EQ(counts, 1);
    ASSERT_TRUE(rules.flush());
  }

  static void Rotate() {
    processes::Run([] {
      execl("/usr/sbin/logrotate", "logrotate", "--force", "--state", kState, kConfiguration, nullptr);
      FAIL() << "no logrotate";
    });
  }

  /// Every file that the rotations left, read and unpacked.
  static std::vector<std::string> Files() {
    std::vector<std::string> files;
    for (const auto& entry : fs::directory_iterator(fs::path(journal::kPath).parent_path())) {
      std::string path = entry.path();
      if (path.ends_with(".gz")) {
        EXPECT_EQ(std::system(("gzip --decompress " + path).c_str()), 0);
        path.resize(path.size() - 3);
      }
      files.push_back(path);
    }
    return files;
  }
};

int Add(unsigned number) {
  return Ledgerline::CLogger::GetInstance()->AddEventLogSync(
      "21_wireless", "ETHERNET", std::to_string(number), std::string(1 + number % 300, 'x'));
}

/// Appends until kStop is there, and leaves the count in kCount.
void AppendUntilStopped() {
  unsigned count = 0;
  while (!fs::exists(kStop)) {
    ASSERT_EQ(Add(count), 1) << count;
    ++count;
    usleep(kPauseMicroseconds);
  }
  std::ofstream(kCount) << count;
}

}  // namespace

TEST_F(KpiRotation, InALoopWhileRecordsAreAppendedLosesNone) {
  const pid_t writer = processes::Start(AppendUntilStopped);
  for (int rotation = 0; rotation < kRotations; ++rotation) {
    Rotate();
  }
  std::ofstream(kStop).flush();
  processes::Join(writer);
  unsigned records = 0;
  ASSERT_TRUE(std::ifstream(kCount) >> records);
  RecordProperty("records", static_cast<int>(records));

  std::map<std::string, int> times;
  const std::vector<std::string> files = Files();
  EXPECT_GT(files.size(), kRotations / 2U) << "the writer hardly got to it";
  for (const std::string& file : files) {
    for (const std::string& number : journal::Texts("code", file)) {
      ++times[number];
    }
  }
  EXPECT_EQ(times.size(), records);
  for (const auto& [number, count] : times) {
    EXPECT_EQ(count, 1) << number;
  }
}

/// A record that is on its way goes to the file that it was meant for, whose name is another by then: so
/// that file is neither copied nor packed at once.
TEST_F(KpiRotation, RenamesTheJournalAndPacksItTheNextTime) {
  const std::string journal = journal::kPath;
  ASSERT_EQ(Add(1), 1);
  struct stat before {};
  ASSERT_EQ(stat(journal.c_str(), &before), 0);
  Rotate();
  EXPECT_FALSE(fs::exists(journal));
  struct stat after {};
  ASSERT_EQ(stat((journal + ".1").c_str(), &after), 0);
  EXPECT_EQ(after.st_ino, before.st_ino);

  ASSERT_EQ(Add(2), 1);
  EXPECT_EQ(journal::Texts("code"), std::vector<std::string>{"2"});
  Rotate();
  EXPECT_EQ(journal::Texts("code", journal + ".1"), std::vector<std::string>{"2"});
  EXPECT_TRUE(fs::exists(journal + ".2.gz"));
}

TEST_F(KpiRotation, OfNothingIsNoFailure) {
  Rotate();
}

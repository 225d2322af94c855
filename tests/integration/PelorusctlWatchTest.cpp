#include <csignal>
#include <tuple>

#include "PelorusctlLive.h"

namespace fs = std::filesystem;

namespace {

class Watcher : public LiveProgram {
 public:
  explicit Watcher(Arguments arguments) : LiveProgram(WithVerb(std::move(arguments))) {}

  /// Waits until the kernel tells the program of writes in so many directories.
  void WaitUntilWatching(std::size_t directories) {
    RunLoopUntil([&] { return WatchedDirectories() == directories; });
  }

 private:
  static Arguments WithVerb(Arguments arguments) {
    arguments.insert(arguments.begin(), "watch");
    return arguments;
  }

  std::size_t WatchedDirectories() const {
    std::size_t count = 0;
    std::error_code gone;
    const char* identifier = Identifier();
    if (identifier == nullptr) {
      return 0;
    }
    const fs::path descriptors = fs::path("/proc") / identifier / "fdinfo";
    for (fs::directory_iterator file(descriptors, gone); file != fs::directory_iterator();
         file.increment(gone)) {
      std::ifstream info(file->path());
      for (std::string line; std::getline(info, line);) {
        count += line.starts_with("inotify wd") ? 1 : 0;
      }
    }
    return count;
  }
};

/// What follows the time stamp.
std::string WithoutTime(const std::string& line) {
  return line.substr(line.find(' ') + 1);
}

using PelorusctlWatch = Pelorusctl;

}  // namespace

TEST_F(PelorusctlWatch, PrintsALineForEachWriteOfEachKey) {
  Watcher watcher({kStringKey, kIntKey, kBoolKey, "--count", "6"});
  watcher.WaitUntilWatching(2);
  std::vector<std::string> expected;
  for (const auto& [key, value, shown] :
       {std::tuple(kStringKey, "Wired", "'Wired'"), std::tuple(kIntKey, "4", "4"),
        std::tuple(kIntKey, "4", "4"), std::tuple(kBoolKey, "on", "true"),
        std::tuple(kStringKey, "two\nlines", "'two\\nlines'")}) {
    ASSERT_EQ(Ctl({"set", key, value}).code, 0);
    expected.push_back(std::string(key) + " " + shown);
    ASSERT_EQ(watcher.WaitForLines(expected.size()).size(), expected.size());
    EXPECT_EQ(WithoutTime(watcher.lines().back()), expected.back());
  }
  const std::string line = watcher.lines().front();
  g_autoptr(GDateTime) time =
      g_date_time_new_from_iso8601(line.substr(0, line.find(' ')).c_str(), nullptr);
  ASSERT_NE(time, nullptr) << line;
  g_autoptr(GDateTime) now = g_date_time_new_now_utc();
  EXPECT_LT(g_date_time_difference(now, time), 60 * G_TIME_SPAN_SECOND);
  ASSERT_EQ(Ctl({"set", kBoolKey, "off"}).code, 0);
  EXPECT_EQ(watcher.WaitForExit(), 0);
  EXPECT_EQ(watcher.lines().size(), 6U);
}

TEST_F(PelorusctlWatch, HearsAKeyOnceHoweverOftenItIsNamed) {
  Watcher watcher({kIntKey, kIntKey, "--count", "2"});
  watcher.WaitUntilWatching(1);
  ASSERT_EQ(Ctl({"set", kIntKey, "1"}).code, 0);
  watcher.WaitForLines(1);
  ASSERT_EQ(Ctl({"set", kIntKey, "2"}).code, 0);
  EXPECT_EQ(watcher.WaitForExit(), 0);
  ASSERT_EQ(watcher.lines().size(), 2U);
  EXPECT_EQ(WithoutTime(watcher.lines()[0]), std::string(kIntKey) + " 1");
  EXPECT_EQ(WithoutTime(watcher.lines()[1]), std::string(kIntKey) + " 2");
}

TEST_F(PelorusctlWatch, ShowsADamagedValueAsSuch) {
  Watcher watcher({kIntKey, "--count", "1"});
  watcher.WaitUntilWatching(1);
  WriteFile("/run/store/torn", "'x");
  fs::rename("/run/store/torn", FileOf(kIntKey));
  EXPECT_EQ(watcher.WaitForExit(), 0);
  ASSERT_EQ(watcher.lines().size(), 1U);
  EXPECT_EQ(WithoutTime(watcher.lines()[0]), std::string(kIntKey) + " (damaged)");
}

TEST_F(PelorusctlWatch, PrintsJsonForScripts) {
  Watcher watcher({kIntKey, "--json", "--count", "1"});
  watcher.WaitUntilWatching(1);
  ASSERT_EQ(Ctl({"set", kIntKey, "8"}).code, 0);
  EXPECT_EQ(watcher.WaitForExit(), 0);
  ASSERT_EQ(watcher.lines().size(), 1U);
  const std::string line = watcher.lines()[0];
  EXPECT_TRUE(line.starts_with("{\"key\":\"db/menu/network/networkapp_status\",\"time\":\"")) << line;
  EXPECT_TRUE(line.ends_with("\"type\":\"int\",\"value\":8}")) << line;
}

TEST_F(PelorusctlWatch, EndsWellWhenInterrupted) {
  for (const int signal : {SIGINT, SIGTERM}) {
    Watcher watcher({kIntKey});
    watcher.WaitUntilWatching(1);
    watcher.Signal(signal);
    EXPECT_EQ(watcher.WaitForExit(), 0);
  }
}

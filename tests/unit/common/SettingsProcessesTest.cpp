#include <algorithm>
#include <atomic>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/time.h>

#include "Files.h"
#include "Processes.h"
#include "vconf.h"

namespace {

std::string Text(const char* key) {
  const std::unique_ptr<char, decltype(&std::free)> text(vconf_get_str(key), std::free);
  return text == nullptr ? "(no value)" : text.get();
}

/// Texts of different lengths, more than one read(2) long, each telling by its first byte what the
/// rest must be.
std::string Pattern(unsigned number) {
  return std::string(500 + 700 * (number % 7), static_cast<char>('a' + number % 7));
}

bool IsWhole(const std::string& text) {
  return !text.empty() && text[0] >= 'a' && text[0] <= 'g' &&
         text == Pattern(static_cast<unsigned>(text[0] - 'a'));
}

void WriteForEver(const char* key) {
  for (unsigned number = 0;; ++number) {
    vconf_set_str(key, Pattern(number).c_str());
  }
}

void End(pid_t pid) {
  ASSERT_EQ(kill(pid, SIGKILL), 0) << "the writer ended by itself";
  waitpid(pid, nullptr, 0);
}

}  // namespace

TEST(SettingsProcesses, ReadersNeverSeeATornValueWhileTwoProcessesWrite) {
  static constexpr char kKey[] = "memory/hammered";
  vconf_set_str(kKey, Pattern(0).c_str());
  const pid_t writers[] = {processes::Start([] { WriteForEver(kKey); }),
                           processes::Start([] { WriteForEver(kKey); })};
  constexpr int kReads = 100'000;
  int changes = 0;
  std::string last;
  for (int i = 0; i < kReads; ++i) {
    const std::string text = Text(kKey);
    ASSERT_TRUE(IsWhole(text)) << text.substr(0, 40) << " of " << text.size() << " at read " << i;
    changes += text != last ? 1 : 0;
    last = text;
  }
  for (const pid_t writer : writers) {
    End(writer);
  }
  EXPECT_GT(changes, 1'000) << "nobody wrote meanwhile";
  RecordProperty("changes", changes);
}

TEST(SettingsProcesses, EveryOneOfManyConcurrentWritesSucceeds) {
  static constexpr char kKey[] = "memory/crowded";
  std::vector<pid_t> writers;
  for (int writer = 0; writer < 8; ++writer) {
    writers.push_back(processes::Start([] {
      for (unsigned i = 0; i < 2'000; ++i) {
        ASSERT_EQ(vconf_set_str(kKey, Pattern(i).c_str()), VCONF_OK) << i;
      }
    }));
  }
  for (const pid_t writer : writers) {
    processes::Join(writer);
  }
  EXPECT_TRUE(IsWhole(Text(kKey)));
  EXPECT_EQ(files::Count(files::kMemory), 1U);
}

TEST(SettingsProcesses, KilledWritersDamageNothingAndLeaveNoGrowingLitter) {
  const char* const keys[] = {"db/killed/one", "db/killed/two", "memory/killed/three"};
  for (const char* key : keys) {
    ASSERT_EQ(vconf_set_str(key, Pattern(0).c_str()), VCONF_OK);
  }
  std::mt19937 random(9);
  constexpr int kKills = 400;
  int left_behind = 0;
  for (int round = 0; round < kKills; ++round) {
    const pid_t writer = processes::Start([&] {
      for (unsigned number = 0;; ++number) {
        for (const char* key : keys) {
          vconf_set_str(key, Pattern(number).c_str());
        }
      }
    });
    for (int reads = static_cast<int>(random() % 300); reads >= 0; --reads) {
      ASSERT_TRUE(IsWhole(Text(keys[0])));
    }
    End(writer);
    for (const char* key : keys) {
      ASSERT_TRUE(IsWhole(Text(key))) << key << " after kill " << round;
    }
    const std::size_t count = files::Count(files::kDatabase) + files::Count(files::kMemory);
    left_behind += count > std::size(keys) ? 1 : 0;
    ASSERT_LE(count, 2 * std::size(keys)) << "after kill " << round;
  }
  EXPECT_GT(left_behind, 0) << "no kill hit a writer at work";
  RecordProperty("left_behind", left_behind);
  for (const char* key : keys) {
    ASSERT_EQ(vconf_set_str(key, "at last"), VCONF_OK);
    EXPECT_EQ(Text(key), "at last");
  }
  EXPECT_EQ(files::Count(files::kDatabase) + files::Count(files::kMemory), std::size(keys))
      << "the next write uses up what a killed one left";
}

TEST(SettingsProcesses, PowerOffForgetsMemoryAndKeepsTheDatabase) {
  const auto power_on = [] {
    std::filesystem::create_directories("/run/pelorus");
    ASSERT_EQ(mount("tmpfs", "/run/pelorus", "tmpfs", 0, "mode=0755"), 0);
  };
  power_on();
  processes::Run([] {
    EXPECT_EQ(vconf_set_int("memory/Pelorus/SwitchNetwork", 1), VCONF_OK);
    EXPECT_EQ(vconf_set_str("db/menu/network/network_type", "Wired"), VCONF_OK);
  });
  const auto read_both = [](bool memory_is_there) {
    int value = 0;
    EXPECT_EQ(vconf_get_int("memory/Pelorus/SwitchNetwork", &value) == VCONF_OK, memory_is_there);
    EXPECT_EQ(Text("db/menu/network/network_type"), "Wired");
  };
  processes::Run([&] { read_both(true); });
  ASSERT_EQ(umount("/run/pelorus"), 0);
  power_on();
  processes::Run([&] {
    read_both(false);
    EXPECT_EQ(vconf_set_int("memory/Pelorus/SwitchNetwork", 2), VCONF_OK) << "the tree is made anew";
  });
  processes::Run([&] { read_both(true); });
  umount("/run/pelorus");
}

TEST(SettingsProcesses, ThreadsReadAndWriteTheSameKeys) {
  static constexpr char kKey[] = "memory/threads";
  vconf_set_str(kKey, Pattern(0).c_str());
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (unsigned thread = 0; thread < 6; ++thread) {
    threads.emplace_back([&failures, thread] {
      const std::string own = "memory/own" + std::to_string(thread);
      for (unsigned i = 0; i < 1'500; ++i) {
        int number = -1;
        const bool good = vconf_set_str(kKey, Pattern(i).c_str()) == VCONF_OK && IsWhole(Text(kKey)) &&
                          vconf_set_int(own.c_str(), static_cast<int>(i)) == VCONF_OK &&
                          vconf_get_int(own.c_str(), &number) == VCONF_OK &&
                          number == static_cast<int>(i);
        failures += good ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(failures, 0);
}

TEST(SettingsProcesses, SignalsInTheMiddleFailNothing) {
  static std::atomic<int> signals{0};
  struct sigaction action {};
  action.sa_handler = [](int) { ++signals; };  // without SA_RESTART: interrupted calls say EINTR
  sigaction(SIGALRM, &action, nullptr);
  const itimerval often{{0, 50}, {0, 50}};
  setitimer(ITIMER_REAL, &often, nullptr);
  for (unsigned i = 0; i < 200 || signals < 500; ++i) {
    ASSERT_EQ(vconf_set_str("db/interrupted", Pattern(i).c_str()), VCONF_OK) << i;
    ASSERT_EQ(Text("db/interrupted"), Pattern(i));
  }
  const itimerval never{};
  setitimer(ITIMER_REAL, &never, nullptr);
}

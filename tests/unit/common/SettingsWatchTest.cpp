#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "Files.h"
#include "MainLoop.h"
#include "Processes.h"
#include "TestLog.h"
#include "vconf.h"

namespace fs = std::filesystem;

namespace {

constexpr char kKey[] = "memory/Pelorus/Command";
constexpr char kNeighbour[] = "memory/Pelorus/SwitchNetwork";
constexpr char kElsewhere[] = "db/menu/network/launchNS";

/// What a watch does beyond counting.
struct Probe {
  int calls = 0;
  std::function<void()> action;
};

void Count(keynode_t* /*node*/, void* probe) {
  auto* const heard = static_cast<Probe*>(probe);
  ++heard->calls;
  if (heard->action) {
    heard->action();
  }
}

void CountToo(keynode_t* node, void* probe) {
  Count(node, probe);
}

/// Lets the kernel's queue run empty.
void Settle() {
  RunLoopOnce();
}

}  // namespace

TEST(SettingsWatch, AHundredWritesOfOtherProcessesAreAHundredNotifications) {
  Probe probe;
  ASSERT_EQ(vconf_notify_key_changed(kKey, Count, &probe), VCONF_OK);
  processes::Run([] {
    for (int i = 0; i < 100; ++i) {
      EXPECT_EQ(vconf_set_int(kKey, 1), VCONF_OK);
    }
  });
  Settle();
  EXPECT_EQ(probe.calls, 100) << "equal values, none read in between";
  processes::Run([] {
    for (int i = 0; i < 100; ++i) {
      vconf_set_int(kKey, i);
    }
  });
  Settle();
  EXPECT_EQ(probe.calls, 200);
}

TEST(SettingsWatch, EachOfSeveralProcessesHearsEachWrite) {
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  std::vector<pid_t> listeners;
  for (int i = 0; i < 3; ++i) {
    listeners.push_back(processes::Start([&] {
      Probe probe;
      ASSERT_EQ(vconf_notify_key_changed(kKey, Count, &probe), VCONF_OK);
      ASSERT_EQ(write(ready[1], "r", 1), 1);
      RunLoopUntil([&] { return probe.calls == 100; });
      EXPECT_EQ(probe.calls, 100);
    }));
  }
  for (std::size_t i = 0; i < listeners.size(); ++i) {
    char byte;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
  }
  for (int i = 0; i < 100; ++i) {
    vconf_set_str(kKey, "same");
  }
  for (const pid_t listener : listeners) {
    processes::Join(listener);
  }
}

TEST(SettingsWatch, OwnWritesAreHeardAlsoWhenEqual) {
  Probe probe;
  vconf_notify_key_changed(kKey, Count, &probe);
  for (int i = 0; i < 10; ++i) {
    vconf_set_str(kKey, "same");
  }
  EXPECT_EQ(probe.calls, 0) << "on the main loop only";
  Settle();
  EXPECT_EQ(probe.calls, 10);
}

TEST(SettingsWatch, AFailedWriteIsNotHeard) {
  Probe probe;
  vconf_notify_key_changed(kKey, Count, &probe);
  vconf_set_str(kKey, std::string(2 << 20, 'x').c_str());
  Settle();
  EXPECT_EQ(probe.calls, 0);
}

TEST(SettingsWatch, AKeyCanBeWatchedBeforeItsDirectoryExists) {
  ASSERT_FALSE(fs::exists(files::kDatabase));
  Probe probe;
  ASSERT_EQ(vconf_notify_key_changed("db/not/there/yet", Count, &probe), VCONF_OK);
  processes::Run([] { vconf_set_int("db/not/there/yet", 1); });
  Settle();
  EXPECT_EQ(probe.calls, 1);
}

TEST(SettingsWatch, OnlyTheKeyItselfIsHeard) {
  Probe probe;
  vconf_notify_key_changed(kKey, Count, &probe);
  vconf_set_int(kNeighbour, 1);
  vconf_set_int("memory/Pelorus/Command2", 1);
  vconf_set_int("memory/Pelorus/deeper/Command", 1);
  vconf_set_int("db/Pelorus/Command", 1);
  Settle();
  EXPECT_EQ(probe.calls, 0);
}

TEST(SettingsWatch, AWriteBeforeTheWatchIsNotHeard) {
  Probe early;
  Probe late;
  vconf_notify_key_changed(kKey, Count, &early);
  vconf_set_int(kKey, 1);
  vconf_notify_key_changed(kKey, CountToo, &late);
  Settle();
  EXPECT_EQ(early.calls, 1);
  EXPECT_EQ(late.calls, 0);
  vconf_set_int(kKey, 1);
  Settle();
  EXPECT_EQ(early.calls, 2);
  EXPECT_EQ(late.calls, 1);
}

TEST(SettingsWatch, OneKeyHasManyWatchesAndIgnoringEndsThePair) {
  Probe a;
  Probe b;
  Probe c;
  vconf_notify_key_changed(kKey, Count, &a);
  vconf_notify_key_changed(kKey, Count, &b);
  vconf_notify_key_changed(kKey, Count, &b);
  vconf_notify_key_changed(kKey, CountToo, &c);
  vconf_set_int(kKey, 1);
  Settle();
  EXPECT_EQ(a.calls, 1);
  EXPECT_EQ(b.calls, 2);
  EXPECT_EQ(c.calls, 1);
  EXPECT_EQ(vconf_ignore_key_changed(kNeighbour, Count), VCONF_ERROR);
  EXPECT_EQ(vconf_ignore_key_changed(kKey, Count), VCONF_OK);
  EXPECT_EQ(vconf_ignore_key_changed(kKey, Count), VCONF_ERROR) << "no longer there";
  vconf_set_int(kKey, 1);
  Settle();
  EXPECT_EQ(a.calls, 1);
  EXPECT_EQ(b.calls, 2);
  EXPECT_EQ(c.calls, 2);
  EXPECT_EQ(vconf_ignore_key_changed(kKey, CountToo), VCONF_OK);
  vconf_set_int(kKey, 1);
  Settle();
  EXPECT_EQ(c.calls, 2);
  EXPECT_EQ(vconf_notify_key_changed(kKey, CountToo, &c), VCONF_OK);
  vconf_set_int(kKey, 1);
  Settle();
  EXPECT_EQ(c.calls, 3);
}

TEST(SettingsWatch, NullAndUnknownAreRefused) {
  EXPECT_EQ(vconf_notify_key_changed(kKey, nullptr, nullptr), VCONF_ERROR);
  EXPECT_EQ(vconf_notify_key_changed(nullptr, Count, nullptr), VCONF_ERROR);
  EXPECT_EQ(vconf_ignore_key_changed(nullptr, Count), VCONF_ERROR);
  EXPECT_EQ(vconf_ignore_key_changed("etc/passwd", Count), VCONF_ERROR);
  EXPECT_EQ(vconf_ignore_key_changed(kKey, Count), VCONF_ERROR);
}

TEST(SettingsWatch, WatchesAreCalledInTheirOrder) {
  std::string order;
  Probe first{0, [&] { order += '1'; }};
  Probe second{0, [&] { order += '2'; }};
  Probe third{0, [&] { order += '3'; }};
  vconf_notify_key_changed(kKey, CountToo, &first);
  vconf_notify_key_changed(kKey, Count, &second);
  vconf_notify_key_changed(kKey, CountToo, &third);
  vconf_set_int(kKey, 1);
  vconf_set_int(kKey, 2);
  Settle();
  EXPECT_EQ(order, "123123");
}

TEST(SettingsWatch, ACallbackMayEndItself) {
  Probe self{0, [] { EXPECT_EQ(vconf_ignore_key_changed(kKey, Count), VCONF_OK); }};
  Probe other;
  vconf_notify_key_changed(kKey, Count, &self);
  vconf_notify_key_changed(kKey, CountToo, &other);
  for (int i = 0; i < 3; ++i) {
    vconf_set_int(kKey, i);
  }
  Settle();
  EXPECT_EQ(self.calls, 1);
  EXPECT_EQ(other.calls, 3);
}

TEST(SettingsWatch, TheLastCallbackOfADirectoryMayEndItselfAndComeBack) {
  Probe self;
  self.action = [&] {
    vconf_ignore_key_changed(kKey, Count);
    EXPECT_EQ(vconf_notify_key_changed(kKey, Count, &self), VCONF_OK);
  };
  vconf_notify_key_changed(kKey, Count, &self);
  for (int i = 1; i <= 3; ++i) {
    vconf_set_int(kKey, 1);
    Settle();
    EXPECT_EQ(self.calls, i);
  }
}

TEST(SettingsWatch, ACallbackMayEndAnotherOfTheSameNotification) {
  Probe victim;
  Probe killer{0, [] { vconf_ignore_key_changed(kKey, CountToo); }};
  vconf_notify_key_changed(kKey, Count, &killer);
  vconf_notify_key_changed(kKey, CountToo, &victim);
  vconf_set_int(kKey, 1);
  Settle();
  EXPECT_EQ(killer.calls, 1);
  EXPECT_EQ(victim.calls, 0);
}

TEST(SettingsWatch, ACallbackMayEndTheWatchOfAnotherKeyThatWasWrittenToo) {
  Probe victim;
  Probe killer{0, [] { vconf_ignore_key_changed(kElsewhere, CountToo); }};
  vconf_notify_key_changed(kKey, Count, &killer);
  vconf_notify_key_changed(kElsewhere, CountToo, &victim);
  vconf_set_int(kKey, 1);
  vconf_set_int(kElsewhere, 1);
  Settle();
  EXPECT_EQ(victim.calls, 0);
}

TEST(SettingsWatch, ACallbackMayWatch) {
  Probe added;
  Probe adder;
  adder.action = [&] {
    if (adder.calls == 1) {
      vconf_notify_key_changed(kKey, CountToo, &added);
      vconf_notify_key_changed(kElsewhere, CountToo, &added);
    }
  };
  vconf_notify_key_changed(kKey, Count, &adder);
  vconf_set_int(kKey, 1);
  vconf_set_int(kKey, 2);
  Settle();
  EXPECT_EQ(adder.calls, 2);
  EXPECT_EQ(added.calls, 0) << "both writes came before it";
  vconf_set_int(kKey, 3);
  vconf_set_int(kElsewhere, 3);
  Settle();
  EXPECT_EQ(added.calls, 2);
}

TEST(SettingsWatch, ACallbackMayWriteItsOwnKey) {
  Probe probe;
  probe.action = [&] {
    if (probe.calls < 5) {
      vconf_set_int(kKey, probe.calls);
    }
  };
  vconf_notify_key_changed(kKey, Count, &probe);
  vconf_set_int(kKey, 0);
  Settle();
  EXPECT_EQ(probe.calls, 5);
}

TEST(SettingsWatch, ACallbackThatThrowsCostsItsOwnCallOnly) {
  Probe thrower{0, [] { throw std::runtime_error("not a document"); }};
  Probe other;
  vconf_notify_key_changed(kKey, Count, &thrower);
  vconf_notify_key_changed(kKey, CountToo, &other);
  vconf_set_int(kKey, 1);
  vconf_set_int(kKey, 2);
  Settle();
  EXPECT_EQ(thrower.calls, 2);
  EXPECT_EQ(other.calls, 2);
  EXPECT_EQ(test_log::Count("exception not a document"), 2U);
}

TEST(SettingsWatch, AnOverflowOfTheKernelsQueueNotifiesEveryKey) {
  const int queue = std::stoi(files::Read("/proc/sys/fs/inotify/max_queued_events"));
  Probe written;
  Probe neighbour;
  Probe elsewhere;
  vconf_notify_key_changed(kKey, Count, &written);
  vconf_notify_key_changed(kNeighbour, Count, &neighbour);
  vconf_notify_key_changed(kElsewhere, Count, &elsewhere);
  for (int i = 0; i <= queue; ++i) {
    vconf_set_int(kKey, i);
  }
  vconf_set_int(kElsewhere, 1);
  Settle();
  EXPECT_GT(written.calls, 1);
  EXPECT_LT(written.calls, queue) << "the queue did not overflow";
  EXPECT_EQ(neighbour.calls, 1);
  EXPECT_EQ(elsewhere.calls, 1) << "its write was lost";
  written.calls = 0;
  vconf_set_int(kKey, 1);
  Settle();
  EXPECT_EQ(written.calls, 1) << "and all goes on";
}

TEST(SettingsWatch, ADirectoryRemovedDuringAnOverflowIsHeardAgain) {
  const int queue = std::stoi(files::Read("/proc/sys/fs/inotify/max_queued_events"));
  Probe elsewhere;
  Probe written;
  vconf_notify_key_changed(kKey, Count, &written);
  vconf_notify_key_changed(kElsewhere, Count, &elsewhere);
  for (int i = 0; i <= queue; ++i) {
    vconf_set_int(kKey, i);
  }
  fs::remove_all(files::kDatabase);
  Settle();
  elsewhere.calls = 0;
  vconf_set_int(kElsewhere, 1);
  Settle();
  EXPECT_EQ(elsewhere.calls, 1);
}

TEST(SettingsWatch, ADirectoryRemovedAndMadeAnewIsHeardAgain) {
  Probe probe;
  vconf_notify_key_changed(kElsewhere, Count, &probe);
  vconf_set_int(kElsewhere, 1);
  Settle();
  for (int round = 0; round < 3; ++round) {
    fs::remove_all(files::kDatabase);
    Settle();
    probe.calls = 0;
    processes::Run([] { vconf_set_int(kElsewhere, 2); });
    Settle();
    EXPECT_EQ(probe.calls, 1);
  }
}

TEST(SettingsWatch, AWriteIntoADirectoryMadeAnewIsHeardBeforeTheLossWasNoticed) {
  Probe probe;
  Probe later;
  vconf_notify_key_changed(kElsewhere, Count, &probe);
  fs::remove_all(files::kDatabase);
  vconf_set_int(kElsewhere, 2);
  vconf_notify_key_changed("db/menu/network/ap_name", Count, &later);
  vconf_set_int("db/menu/network/ap_name", 2);
  Settle();
  EXPECT_GE(probe.calls, 1);
  EXPECT_GE(later.calls, 1);
  probe.calls = 0;
  later.calls = 0;
  vconf_set_int(kElsewhere, 3);
  vconf_set_int("db/menu/network/ap_name", 3);
  Settle();
  EXPECT_EQ(probe.calls, 1);
  EXPECT_EQ(later.calls, 1);
}

TEST(SettingsWatch, ADirectoryThatWasMovedAwayIsWatchedAtItsPlace) {
  Probe probe;
  vconf_notify_key_changed(kElsewhere, Count, &probe);
  fs::rename(files::kDatabase / "db/menu/network", files::kDatabase / "db/menu/old");
  Settle();
  probe.calls = 0;
  vconf_set_int(kElsewhere, 1);
  Settle();
  EXPECT_EQ(probe.calls, 1);
  vconf_set_int("db/menu/old/launchNS", 1);
  Settle();
  EXPECT_EQ(probe.calls, 1);
}

TEST(SettingsWatch, TwoNamesOfOneDirectoryAreTwoKeys) {
  fs::create_directories(files::kDatabase / "db/real");
  fs::create_directory_symlink("real", files::kDatabase / "db/alias");
  Probe real;
  Probe alias;
  vconf_notify_key_changed("db/real/key", Count, &real);
  vconf_notify_key_changed("db/alias/key", Count, &alias);
  vconf_set_int("db/real/key", 1);
  Settle();
  EXPECT_EQ(real.calls, 1);
  EXPECT_EQ(alias.calls, 1);
  EXPECT_EQ(vconf_ignore_key_changed("db/alias/key", Count), VCONF_OK);
  vconf_set_int("db/alias/key", 1);
  vconf_set_int("db/alias/key", 1);
  Settle();
  EXPECT_EQ(real.calls, 3);
  EXPECT_EQ(alias.calls, 1);
}

TEST(SettingsWatch, WithoutADescriptorForInotifyAWatchFailsAndALaterOneWorks) {
  fs::create_directories(files::kMemory / "memory/Pelorus");
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const int next = dup(STDIN_FILENO);
  close(next);
  const rlimit none{static_cast<rlim_t>(next), before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  Probe probe;
  EXPECT_EQ(vconf_notify_key_changed(kKey, Count, &probe), VCONF_ERROR);
  EXPECT_EQ(vconf_set_int(kKey, 1), VCONF_ERROR);
  EXPECT_EQ(vconf_ignore_key_changed(kKey, Count), VCONF_ERROR);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_TRUE(test_log::Has("cannot watch memory/Pelorus/Command: Too many open files"));
  EXPECT_EQ(vconf_notify_key_changed(kKey, Count, &probe), VCONF_OK);
  EXPECT_EQ(vconf_set_int(kKey, 1), VCONF_OK);
  Settle();
  EXPECT_EQ(probe.calls, 1);
}

TEST(SettingsWatch, ReadInsideTheCallbackGivesTheLatestValue) {
  int read = 0;
  Probe probe{0, [&] { vconf_get_int(kKey, &read); }};
  vconf_notify_key_changed(kKey, Count, &probe);
  for (int i = 1; i <= 3; ++i) {
    vconf_set_int(kKey, i);
  }
  Settle();
  EXPECT_EQ(probe.calls, 3);
  EXPECT_EQ(read, 3);
}

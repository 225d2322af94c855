#include "SettingsCache.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "Files.h"
#include "Processes.h"

namespace fs = std::filesystem;
using settings::Content;
using settings::SettingsCache;

namespace {

const fs::path kFile = files::kMemory / "memory/wizard/wizard_mode";
const fs::path kNeighbour = files::kMemory / "memory/wizard/language";

int g_reads = 0;

Content ReadFile(const std::string& path) {
  ++g_reads;
  return {fs::exists(path) ? g_variant_ref_sink(g_variant_new_string(files::Read(path).c_str()))
                           : nullptr};
}

Content FailToRead(const std::string& /*path*/) {
  ++g_reads;
  return {nullptr, false};
}

std::string Ask(const fs::path& path = kFile) {
  g_autoptr(GVariant) value = SettingsCache::Instance().Read(path, ReadFile);
  return value == nullptr ? "(no value)" : g_variant_get_string(value, nullptr);
}

/// From then on the file is not read for its value.
void Learn(const fs::path& path = kFile) {
  for (int i = 0; i < 3; ++i) {
    Ask(path);
  }
  g_reads = 0;
  Ask(path);
  ASSERT_EQ(g_reads, 0) << path << " is read each time";
}

void Replace(const fs::path& path, std::string_view content) {
  const fs::path temporary = path.parent_path() / ".temporary";
  files::Write(temporary, content);
  fs::rename(temporary, path);
}

struct Change {
  const char* name;
  std::function<void()> make;
  std::string value;
};

void PrintTo(const Change& change, std::ostream* out) {
  *out << change.name;
}

class AFileThat : public testing::TestWithParam<Change> {};
class AMissingFileThat : public testing::TestWithParam<Change> {};

const auto kName = [](const testing::TestParamInfo<Change>& info) {
  return std::string(info.param.name);
};

TEST_P(AFileThat, IsReadAgain) {
  files::Write(kFile, "before");
  Learn();
  EXPECT_EQ(Ask(), "before");
  GetParam().make();
  EXPECT_EQ(Ask(), GetParam().value);
  EXPECT_GT(g_reads, 0);
  Replace(kFile, "and again");
  EXPECT_EQ(Ask(), "and again");
}

INSTANTIATE_TEST_SUITE_P(
    SettingsCache, AFileThat,
    testing::Values(
        Change{"IsReplaced", [] { Replace(kFile, "after"); }, "after"},
        Change{"IsReplacedByTheSame", [] { Replace(kFile, "before"); }, "before"},
        Change{"IsWrittenInPlace", [] { files::Write(kFile, "after"); }, "after"},
        Change{"GrowsInPlace", [] { std::ofstream(kFile, std::ios::app) << " and after"; },
               "before and after"},
        Change{"IsCutInPlace", [] { fs::resize_file(kFile, 3); }, "bef"},
        Change{"IsRemoved", [] { fs::remove(kFile); }, "(no value)"},
        Change{"IsMovedAway", [] { fs::rename(kFile, files::kMemory / "elsewhere"); }, "(no value)"},
        Change{"MayNoLongerBeRead", [] { fs::permissions(kFile, fs::perms::none); }, "before"},
        Change{"LosesItsDirectory", [] { fs::remove_all(kFile.parent_path()); }, "(no value)"},
        Change{"LosesItsRoot", [] { fs::remove_all(files::kMemory); }, "(no value)"},
        Change{"IsMovedWithItsDirectory",
               [] { fs::rename(kFile.parent_path(), files::kMemory / "memory/old"); }, "(no value)"},
        Change{"IsMovedWithADirectoryAbove",
               [] { fs::rename(files::kMemory.parent_path(), "/run/old"); }, "(no value)"},
        Change{"HasADirectoryAboveReplaced",
               [] {
                 fs::rename(files::kMemory.parent_path(), "/run/older");
                 files::Write(kFile, "after");
               },
               "after"}),
    kName);

TEST_P(AMissingFileThat, IsReadAgain) {
  fs::create_directories(files::kMemory);
  Learn();
  EXPECT_EQ(Ask(), "(no value)");
  GetParam().make();
  EXPECT_EQ(Ask(), GetParam().value);
  EXPECT_GT(g_reads, 0);
  Replace(kFile, "and again");
  EXPECT_EQ(Ask(), "and again");
}

INSTANTIATE_TEST_SUITE_P(
    SettingsCache, AMissingFileThat,
    testing::Values(Change{"Comes", [] { files::Write(kFile, "after"); }, "after"},
                    Change{"ComesWithADirectory",
                           [] {
                             files::Write(files::kMemory / "new/wizard_mode", "after");
                             fs::create_directories(kFile.parent_path().parent_path());
                             fs::rename(files::kMemory / "new", kFile.parent_path());
                           },
                           "after"},
                    Change{"GetsItsDirectoryOnly", [] { fs::create_directories(kFile.parent_path()); },
                           "(no value)"},
                    Change{"LosesADirectoryAbove", [] { fs::remove_all(files::kMemory); },
                           "(no value)"}),
    kName);

}  // namespace

TEST(SettingsCache, WhatIsReadOnceIsNotWatched) {
  files::Write(kFile, "value");
  const int next = dup(STDIN_FILENO);
  close(next);
  Ask();
  const int next_after = dup(STDIN_FILENO);
  close(next_after);
  EXPECT_EQ(next_after, next);
}

TEST(SettingsCache, AnotherFileOfTheDirectoryChangesNothing) {
  files::Write(kFile, "value");
  Learn();
  for (int i = 0; i < 100; ++i) {
    Replace(kNeighbour, std::to_string(i));
  }
  EXPECT_EQ(Ask(), "value");
  EXPECT_EQ(g_reads, 0);
}

TEST(SettingsCache, ADirectoryOnTheWayThatIsAFileIsLookedAtEachTime) {
  files::Write(files::kMemory / "memory", "no directory");
  for (int i = 1; i <= 5; ++i) {
    EXPECT_EQ(Ask(), "(no value)");
    EXPECT_EQ(g_reads, i);
  }
  fs::remove(files::kMemory / "memory");
  files::Write(kFile, "value");
  EXPECT_EQ(Ask(), "value");
}

TEST(SettingsCache, WhatCouldNotBeReadIsTriedAgain) {
  files::Write(kFile, "value");
  for (int i = 1; i <= 5; ++i) {
    EXPECT_EQ(SettingsCache::Instance().Read(kFile, FailToRead), nullptr);
    EXPECT_EQ(g_reads, i);
  }
  EXPECT_EQ(Ask(), "value");
}

TEST(SettingsCache, MoreNotesThanTheKernelKeepsAreAChangeOfEverything) {
  const int queue = std::stoi(files::Read("/proc/sys/fs/inotify/max_queued_events"));
  files::Write(kFile, "value");
  Learn();
  for (int i = 0; i <= queue; ++i) {
    Replace(kNeighbour, "x");
  }
  files::Write(kFile, "after");
  EXPECT_EQ(Ask(), "after");
}

TEST(SettingsCache, AForkedProcessAndItsParentEachHearOfEveryChange) {
  files::Write(kFile, "before");
  Learn();
  int told[2];
  int asked[2];
  ASSERT_EQ(pipe(told), 0);
  ASSERT_EQ(pipe(asked), 0);
  const pid_t child = processes::Start([&] {
    for (char value = 0; read(told[0], &value, 1) == 1 && value != '.';) {
      EXPECT_EQ(Ask(), std::string(1, value));
      EXPECT_EQ(Ask(), std::string(1, value));
      EXPECT_EQ(write(asked[1], &value, 1), 1);
    }
  });
  for (const char value : {'a', 'b', 'c', 'd'}) {
    Replace(kFile, std::string(1, value));
    ASSERT_EQ(write(told[1], &value, 1), 1);  // the child looks first
    char answer = 0;
    ASSERT_EQ(read(asked[0], &answer, 1), 1);
    EXPECT_EQ(Ask(), std::string(1, value));
    EXPECT_EQ(Ask(), std::string(1, value));
  }
  ASSERT_EQ(write(told[1], ".", 1), 1);
  processes::Join(child);
}

TEST(SettingsCache, WithoutADescriptorForItsNotesEachValueIsReadFromItsFile) {
  files::Write(kFile, "value");
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const int next = dup(STDIN_FILENO);
  close(next);
  Ask();
  const rlimit one{static_cast<rlim_t>(next), before.rlim_max};
  const auto read_nothing = [](const std::string&) -> Content {
    ++g_reads;
    return {g_variant_ref_sink(g_variant_new_string("read"))};
  };
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &one), 0);
  g_reads = 0;
  for (int i = 1; i <= 3; ++i) {
    g_variant_unref(SettingsCache::Instance().Read(kFile, read_nothing));
    EXPECT_EQ(g_reads, i);
  }
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  Learn();
  EXPECT_EQ(Ask(), "value");
}

TEST(SettingsCache, OfManyFilesEachIsRight) {
  std::vector<fs::path> paths;
  for (int i = 0; i < 1000; ++i) {
    paths.push_back(files::kMemory / ("memory/" + std::to_string(i % 50)) / std::to_string(i));
    files::Write(paths.back(), "before");
  }
  for (const char* value : {"before", "after"}) {
    for (const fs::path& path : paths) {
      files::Write(path, value);
      for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Ask(path), value);
      }
    }
  }
}

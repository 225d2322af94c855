#include "AbsentKeys.h"

#include <filesystem>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Files.h"
#include "Processes.h"
#include "VirtualClock.h"
#include "vconf.h"

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

constexpr auto kRest = 3s;
const fs::path kRoot = "/run/keys";
const fs::path kDirectory = kRoot / "memory";

std::string Text(const char* key) {
  const std::unique_ptr<char, decltype(&std::free)> text(vconf_get_str(key), std::free);
  return text == nullptr ? "(no value)" : text.get();
}

/// A directory in memory that nothing has come into for some time.
class AbsentKey : public testing::Test {
 protected:
  AbsentKey() {
    fs::create_directories(kDirectory);
    virtual_clock::Advance(kRest);
  }
  bool IsTakenNoteOf(const fs::path& path) {
    m_keys.Note("key", path);
    return m_keys.Has("key");
  }

  AbsentKeys m_keys;
};

}  // namespace

TEST_F(AbsentKey, IsVouchedForByItsDirectory) {
  EXPECT_FALSE(m_keys.Has("key")) << "nobody has looked";
  EXPECT_TRUE(IsTakenNoteOf(kDirectory / "key"));
  EXPECT_TRUE(m_keys.Has("key"));
  EXPECT_FALSE(m_keys.Has("other"));
}

TEST_F(AbsentKey, IsLookedForOnceSomethingCameIntoTheDirectory) {
  ASSERT_TRUE(IsTakenNoteOf(kDirectory / "key"));
  files::Write(kDirectory / "other", "1\n");
  EXPECT_FALSE(m_keys.Has("key"));
  EXPECT_FALSE(m_keys.Has("key")) << "until somebody has looked again";
}

TEST_F(AbsentKey, IsLookedForOnceItsMissingDirectoryCame) {
  ASSERT_TRUE(IsTakenNoteOf(kDirectory / "wizard" / "steps" / "mode"));
  fs::create_directory(kDirectory / "wizard");
  EXPECT_FALSE(m_keys.Has("key"));
  virtual_clock::Advance(kRest);
  ASSERT_TRUE(IsTakenNoteOf(kDirectory / "wizard" / "steps" / "mode"));
  files::Write(kDirectory / "other", "1\n");
  EXPECT_TRUE(m_keys.Has("key")) << "the deepest directory that exists is another now";
  files::Write(kDirectory / "wizard" / "steps" / "mode", "1\n");
  EXPECT_FALSE(m_keys.Has("key"));
}

TEST_F(AbsentKey, IsLookedForOnceItsDirectoryWasMovedOrRemoved) {
  fs::create_directories(kDirectory / "wizard");
  ASSERT_TRUE(IsTakenNoteOf(kDirectory / "wizard" / "mode"));
  files::Write(kDirectory / "new" / "mode", "1\n");
  fs::rename(kDirectory / "wizard", kDirectory / "old");
  fs::rename(kDirectory / "new", kDirectory / "wizard");
  EXPECT_FALSE(m_keys.Has("key"));

  fs::remove(kDirectory / "wizard" / "mode");
  ASSERT_TRUE(IsTakenNoteOf(kDirectory / "wizard" / "mode"));
  fs::remove(kDirectory / "wizard");
  files::Write(kDirectory / "wizard" / "mode", "1\n");
  EXPECT_FALSE(m_keys.Has("key"));
}

TEST_F(AbsentKey, IsNotVouchedForByADirectoryThatChangedJustNow) {
  virtual_clock::Advance(-kRest);  // back to the kernel's time
  files::Write(kDirectory / "other", "1\n");
  EXPECT_FALSE(IsTakenNoteOf(kDirectory / "key"));
  virtual_clock::Advance(kRest);
  EXPECT_TRUE(IsTakenNoteOf(kDirectory / "key"));
}

TEST_F(AbsentKey, IsNotVouchedForByADirectoryOfTheFuture) {
  virtual_clock::Advance(-24h);  // the clock was set back
  EXPECT_FALSE(IsTakenNoteOf(kDirectory / "key"));
}

TEST_F(AbsentKey, IsNotVouchedForByAnotherFileSystem) {
  EXPECT_FALSE(IsTakenNoteOf("/proc/self/key"));
}

TEST_F(AbsentKey, ThatIsThereIsNotTakenNoteOf) {
  files::Write(kDirectory / "key", "1\n");
  fs::create_symlink("/run/keys/nowhere", kDirectory / "wizard");
  virtual_clock::Advance(kRest);
  EXPECT_FALSE(IsTakenNoteOf(kDirectory / "key"));
  EXPECT_FALSE(IsTakenNoteOf(kDirectory / "wizard" / "mode")) << "its directory may come elsewhere";
}

TEST_F(AbsentKey, IsForgottenWhenThereAreTooMany) {
  for (int i = 0; i < 10'000; ++i) {
    m_keys.Note("key" + std::to_string(i), kDirectory / std::to_string(i));
  }
  int kept = 0;
  for (int i = 0; i < 10'000; ++i) {
    kept += m_keys.Has("key" + std::to_string(i)) ? 1 : 0;
  }
  EXPECT_GT(kept, 0);
  EXPECT_LE(kept, 32);
}

/// The store takes note of it; the clock makes each directory look as if it had rested.
TEST(AbsentSetting, IsReadAsSoonAsAnotherProcessHasWrittenIt) {
  static constexpr char kKey[] = "memory/wizard/wizard_mode";
  ASSERT_EQ(vconf_set_str("memory/other", "1"), VCONF_OK);
  virtual_clock::Advance(1h);
  int requests[2];
  int answers[2];
  ASSERT_EQ(pipe(requests), 0);
  ASSERT_EQ(pipe(answers), 0);
  constexpr int kRounds = 5'000;
  const pid_t writer = processes::Start([&] {
    char byte = 0;
    for (int i = 0; i < kRounds && read(requests[0], &byte, 1) == 1; ++i) {
      vconf_set_str(kKey, std::to_string(i).c_str());
      ASSERT_EQ(write(answers[1], &byte, 1), 1);
    }
  });
  const fs::path file = files::kMemory / kKey;
  for (int i = 0; i < kRounds; ++i) {
    for (int look = 0; look < 3; ++look) {
      ASSERT_EQ(Text(kKey), "(no value)") << i;
    }
    char byte = 0;
    ASSERT_EQ(write(requests[1], &byte, 1), 1);
    ASSERT_EQ(read(answers[0], &byte, 1), 1);
    ASSERT_EQ(Text(kKey), std::to_string(i));
    if (i % 3 == 0) {
      fs::remove_all(file.parent_path());
    } else {
      fs::remove(file);
    }
  }
  processes::Join(writer);
}

#include <algorithm>
#include <atomic>
#include <climits>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "Files.h"
#include "SettingsFile.h"
#include "TestLog.h"
#include "vconf.h"

namespace fs = std::filesystem;

namespace {

std::atomic<int> g_flushes{0};

constexpr char kInt[] = "db/menu/network/networkapp_status";
constexpr char kText[] = "db/menu/network/network_type";
constexpr char kVolatile[] = "memory/Pelorus/SwitchNetwork";

std::string Text(const char* key) {
  const std::unique_ptr<char, decltype(&std::free)> text(vconf_get_str(key), std::free);
  return text == nullptr ? "(no value)" : text.get();
}

/// What the three kinds of read say to a file of this content.
struct Reads {
  bool as_int;
  bool as_bool;
  bool as_text;
  bool operator==(const Reads&) const = default;
};

Reads ReadsOf(const char* key) {
  int number = 77;
  int truth = 77;
  const Reads reads{vconf_get_int(key, &number) == VCONF_OK, vconf_get_bool(key, &truth) == VCONF_OK,
                    Text(key) != "(no value)"};
  EXPECT_TRUE(reads.as_int || number == 77) << "touched on failure";
  EXPECT_TRUE(reads.as_bool || truth == 77) << "touched on failure";
  return reads;
}

void PrintTo(const Reads& reads, std::ostream* out) {
  *out << "int " << reads.as_int << ", bool " << reads.as_bool << ", text " << reads.as_text;
}

constexpr Reads kNone{false, false, false};

}  // namespace

/// Counts, and flushes as always.
extern "C" int fdatasync(int fd) {
  ++g_flushes;
  return static_cast<int>(syscall(SYS_fdatasync, fd));
}

TEST(SettingsStore, EveryTypeReadsBackWhatWasWritten) {
  for (const int number : {0, 1, -1, 42, INT_MAX, INT_MIN}) {
    ASSERT_EQ(vconf_set_int(kInt, number), VCONF_OK);
    int read = number + 1U;
    ASSERT_EQ(vconf_get_int(kInt, &read), VCONF_OK);
    EXPECT_EQ(read, number);
  }
  for (const int truth : {0, 1, 7, -1}) {
    ASSERT_EQ(vconf_set_bool(kInt, truth), VCONF_OK);
    int read = 9;
    ASSERT_EQ(vconf_get_bool(kInt, &read), VCONF_OK);
    EXPECT_EQ(read, truth == 0 ? 0 : 1);
  }
  ASSERT_EQ(vconf_set_str(kText, "Wireless"), VCONF_OK);
  EXPECT_EQ(Text(kText), "Wireless");
  ASSERT_EQ(vconf_set_str(kText, ""), VCONF_OK);
  EXPECT_EQ(Text(kText), "");
}

TEST(SettingsStore, AValueIsOneReadableLineInTheFileOfItsName) {
  vconf_set_int(kInt, 5);
  vconf_set_str(kText, "Wired");
  vconf_set_bool(kVolatile, 1);
  EXPECT_EQ(files::Read(files::kDatabase / kInt), "5\n");
  EXPECT_EQ(files::Read(files::kDatabase / kText), "'Wired'\n");
  EXPECT_EQ(files::Read(files::kMemory / kVolatile), "true\n");
}

TEST(SettingsStore, AReadOfAnotherTypeFails) {
  vconf_set_int(kInt, 1);
  EXPECT_EQ(ReadsOf(kInt), (Reads{true, false, false}));
  vconf_set_bool(kInt, 1);
  EXPECT_EQ(ReadsOf(kInt), (Reads{false, true, false}));
  vconf_set_str(kInt, "1");
  EXPECT_EQ(ReadsOf(kInt), (Reads{false, false, true}));
}

TEST(SettingsStore, AKeyWithoutAFileHasNoValue) {
  EXPECT_EQ(ReadsOf(kInt), kNone);
  EXPECT_EQ(ReadsOf("memory/never/written"), kNone);
}

TEST(SettingsStore, NullArgumentsAreRefused) {
  EXPECT_EQ(vconf_get_int(kInt, nullptr), VCONF_ERROR);
  EXPECT_EQ(vconf_get_bool(kInt, nullptr), VCONF_ERROR);
  EXPECT_EQ(vconf_set_str(kText, nullptr), VCONF_ERROR);
  EXPECT_EQ(ReadsOf(nullptr), kNone);
  EXPECT_EQ(vconf_set_int(nullptr, 1), VCONF_ERROR);
}

TEST(SettingsStore, ADamagedFileIsAFailedRead) {
  const std::string binary(
      "\x7f"
      "ELF\0\1\2\xff\n",
      9);
  const std::string damaged[] = {
      "",
      "\n",
      " \n",
      "5",
      "'Wired'",
      "5\n6\n",
      "5\n\n",
      "\n5\n",
      "'Wired\n",
      "'Wi\nred'\n",
      "5 6\n",
      "99999999999999\n",
      "1.5\n",
      "uint32 5\n",
      "<5>\n",
      "nothing\n",
      "'a\\\n",
      "'\\ud800'\n",
      "'\\U00110000'\n",
      "'\\u'\n",
      "'\\",
      "'\\\n",
      "'caf\xe9'\n",
      "b'\\ud800\n",
      "%i\n",
      "@i\n",
      "@\n",
      std::string("'a\0b\n", 5),
      std::string("5\0\n", 3),
      std::string("\0", 1),
      binary,
      std::string(100'000, '(') + "\n",
      std::string(100'000, '[') + "\n",
      std::string(100'000, '<') + "\n",
      std::string(2 << 20, '1') + "\n",
      std::string(2 << 20, '\0'),
      "'" + std::string(2 << 20, 'a') + "'\n",
  };
  for (const std::string& content : damaged) {
    files::Write(files::kDatabase / kInt, content);
    EXPECT_EQ(ReadsOf(kInt), kNone) << content.substr(0, 40);
  }
  ASSERT_EQ(vconf_set_int(kInt, 1), VCONF_OK) << "a damaged value can be replaced";
  EXPECT_EQ(ReadsOf(kInt), (Reads{true, false, false}));
}

/// Most values are told without GLib's parser: it has the last word on what they are.
TEST(SettingsStore, EveryShortLineIsWhatGLibTakesItFor) {
  const fs::path path = files::kDatabase / kInt;
  fs::create_directories(path.parent_path());
  const auto expect_what_glib_says = [&path](const std::string& line) {
    files::Write(path, line + "\n");
    g_autoptr(GVariant) expected = g_variant_parse(nullptr, line.c_str(), nullptr, nullptr, nullptr);
    const bool is_number = expected != nullptr && g_variant_is_of_type(expected, G_VARIANT_TYPE_INT32);
    ASSERT_EQ(settings::ReadNumber(kInt),
              is_number ? std::optional(g_variant_get_int32(expected)) : std::nullopt)
        << line;
    ASSERT_EQ(settings::ReadText(kInt), expected != nullptr ? settings::ToText(expected) : std::nullopt)
        << line;
  };
  constexpr std::string_view kCharacters = "'\"\\-+0179x a";
  std::vector<std::string> lines = {""};
  for (std::size_t i = 0; i < lines.size(); ++i) {
    expect_what_glib_says(lines[i]);
    for (const char character : lines[i].size() < 4 ? kCharacters : "") {
      lines.push_back(lines[i] + character);
    }
  }
  EXPECT_EQ(lines.size(), 1 + 12 + 144 + 1728 + 20736U);
  for (const char* line : {"2147483647", "2147483648", "-2147483648", "-2147483649",
                           "99999999999999999999", "1\t", "'\t'", "'Wohnzimmer-TV \u00fc'", "'it\\'s'",
                           "\"it's\"", "true", "false", "1.5", "@i 5", "uint32 5", "b'bytes'"}) {
    expect_what_glib_says(line);
  }
}

TEST(SettingsStore, RandomBytesNeverCrashARead) {
  std::mt19937 random(20);
  const std::string_view alphabet = "'\"\\ub0x123@<>()[]{},:ayisn%-. \n\x80\xc3\xff";
  for (int round = 0; round < 20'000; ++round) {
    std::string content;
    for (int length = static_cast<int>(random() % 24); length > 0; --length) {
      content += alphabet[random() % alphabet.size()];
    }
    files::Write(files::kMemory / kVolatile, content + "\n");
    ReadsOf(kVolatile);
  }
}

TEST(SettingsStore, WhatIsNoFileIsAFailedRead) {
  const fs::path path = files::kDatabase / kInt;
  fs::create_directories(path);
  EXPECT_EQ(ReadsOf(kInt), kNone) << "directory";
  EXPECT_EQ(vconf_set_int(kInt, 1), VCONF_ERROR) << "directory";
  fs::remove(path);
  ASSERT_EQ(mkfifo(path.c_str(), 0644), 0);
  EXPECT_EQ(ReadsOf(kInt), kNone) << "pipe";
  const int pipe_end = open(path.c_str(), O_RDWR);
  ASSERT_EQ(write(pipe_end, "5\n", 2), 2);
  EXPECT_EQ(ReadsOf(kInt), kNone) << "pipe with something in it";
  close(pipe_end);
  ASSERT_EQ(vconf_set_int(kInt, 1), VCONF_OK) << "pipe";
  EXPECT_EQ(ReadsOf(kInt), (Reads{true, false, false})) << "the write replaced the pipe";
  fs::remove(path);
  files::Write("/run/elsewhere", "5\n");
  fs::create_symlink("/run/elsewhere", path);
  EXPECT_EQ(ReadsOf(kInt), kNone) << "symbolic link";
  ASSERT_EQ(vconf_set_int(kInt, 6), VCONF_OK);
  EXPECT_EQ(files::Read("/run/elsewhere"), "5\n") << "a write does not follow it";
  EXPECT_EQ(files::Read(path), "6\n");
}

TEST(SettingsStore, StrangeThingsAtATemporaryNameAreWalkedAround) {
  const fs::path directory = (files::kDatabase / kInt).parent_path();
  const std::string name = "." + fs::path(kInt).filename().string() + ".";
  fs::create_directories(directory / (name + "0"));
  fs::create_symlink("/run/elsewhere", directory / (name + "1"));
  ASSERT_EQ(mkfifo((directory / (name + "2")).c_str(), 0644), 0);
  files::Write(directory / (name + "3"), "the longer rest of a writer that was killed\n");
  ASSERT_EQ(vconf_set_int(kInt, 3), VCONF_OK);
  EXPECT_EQ(files::Read(directory / "networkapp_status"), "3\n");
  EXPECT_FALSE(fs::exists("/run/elsewhere"));
  EXPECT_FALSE(fs::exists(directory / (name + "3"))) << "what was left behind was used";
}

TEST(SettingsStore, AnyTextRoundTripsAndStaysOneLine) {
  std::string every_byte;
  for (int byte = 1; byte < 256; ++byte) {
    every_byte += static_cast<char>(byte);
  }
  const std::string texts[] = {
      "it's",
      "\"quoted\" and 'both'",
      "two\nlines\r\nand\ttab",
      "back\\slash \\n \\u1234 %s",
      "\x01\x02\x1b[31m\x7f",
      "한국어 ☃ \U0001F4FA",
      "\xef\xbb\xbf\xe2\x80\xa8\xc2\x85",  // byte order mark, line separator, next line
      "caf\xe9",
      "\xff\xfe",
      "\xed\xa0\x80",
      every_byte,
      R"({"SavedAPList":[{"SSID":"a'b","Signal":-40}]})",
      "5",
      "true",
      "b'x'",
      std::string(200'000, 'x'),
  };
  for (const std::string& text : texts) {
    ASSERT_EQ(vconf_set_str(kText, text.c_str()), VCONF_OK) << text;
    EXPECT_EQ(Text(kText), text);
    const std::string content = files::Read(files::kDatabase / kText);
    EXPECT_EQ(content.find('\n'), content.size() - 1) << text;
  }
}

TEST(SettingsStore, RandomTextRoundTrips) {
  std::mt19937 random(11);
  for (int round = 0; round < 3'000; ++round) {
    std::string text;
    for (int length = static_cast<int>(random() % 40); length > 0; --length) {
      text += static_cast<char>(1 + random() % 255);
    }
    ASSERT_EQ(vconf_set_str("memory/random", text.c_str()), VCONF_OK);
    ASSERT_EQ(Text("memory/random"), text);
  }
}

TEST(SettingsStore, ATextTooLongToBeReadBackIsNotWritten) {
  ASSERT_EQ(vconf_set_str(kText, "old"), VCONF_OK);
  EXPECT_EQ(vconf_set_str(kText, std::string(2 << 20, 'a').c_str()), VCONF_ERROR);
  EXPECT_EQ(vconf_set_str(kText, std::string(300'000, '\x01').c_str()), VCONF_ERROR);
  EXPECT_EQ(Text(kText), "old");
  const std::string longest((1 << 20) - 3, 'a');  // with two quotes and the end of the line
  ASSERT_EQ(vconf_set_str(kText, longest.c_str()), VCONF_OK);
  EXPECT_EQ(Text(kText), longest);
  EXPECT_EQ(vconf_set_str(kText, (longest + "a").c_str()), VCONF_ERROR);
}

TEST(SettingsStore, NamesThatLeadElsewhereAreRefused) {
  const std::string refused[] = {
      "",          "/",       "db",      "db/",          "memory",         "memory/",    "/db/a",
      "db//a",     "db/a/",   "db/../a", "db/a/../../b", "db/..",          "db/./a",     "db/.a",
      "db/a/.b",   "../db/a", "./db/a",  ".db/a",        "file/a",         "DB/a",       "dbx/a",
      "memoryx/a", "db\\a",   " db/a",   "db/a/..",      "memory/../db/a", "etc/passwd", "db/a//b",
  };
  for (const std::string& key : refused) {
    EXPECT_EQ(vconf_set_int(key.c_str(), 1), VCONF_ERROR) << key;
    EXPECT_EQ(vconf_set_str(key.c_str(), "x"), VCONF_ERROR) << key;
    EXPECT_EQ(ReadsOf(key.c_str()), kNone) << key;
    EXPECT_EQ(vconf_notify_key_changed(
                  key.c_str(), [](keynode_t*, void*) {}, nullptr),
              VCONF_ERROR)
        << key;
  }
  EXPECT_FALSE(fs::exists("/var/lib/pelorus"));
  EXPECT_FALSE(fs::exists("/run/pelorus"));
}

TEST(SettingsStore, OddButHarmlessNamesAreKeys) {
  for (const std::string key : {"db/a", "db/a.b", "db/a..", "db/sp-kpi/x y", "db/two\nlines",
                                "db/\xff\xfe", "memory/db/memory", "db/~", "db/*", "db/%s%n"}) {
    ASSERT_EQ(vconf_set_str(key.c_str(), key.c_str()), VCONF_OK) << key;
    EXPECT_EQ(Text(key.c_str()), key);
    EXPECT_EQ(vconf_set_int((key + "/below").c_str(), 1), VCONF_ERROR) << "a key holds no keys";
    EXPECT_EQ(Text(key.c_str()), key);
  }
}

TEST(SettingsStore, ANameTooLongForTheFileSystemFails) {
  for (const std::string& key :
       {"db/" + std::string(300, 'a'), "db/" + std::string(253, 'a'), "db" + [] {
          std::string deep;
          for (int i = 0; i < 3'000; ++i) {
            deep += "/a";
          }
          return deep;
        }()}) {
    EXPECT_EQ(vconf_set_int(key.c_str(), 1), VCONF_ERROR) << key.size();
    EXPECT_EQ(ReadsOf(key.c_str()), kNone);
  }
  EXPECT_EQ(vconf_set_int(("db/" + std::string(250, 'a')).c_str(), 1), VCONF_OK);
}

TEST(SettingsStore, OnlyWhatMustOutliveAPowerCutIsFlushed) {
  vconf_set_int(kVolatile, 1);
  EXPECT_EQ(g_flushes, 0);
  vconf_set_int(kInt, 1);
  EXPECT_EQ(g_flushes, 1);
  vconf_set_int(kInt, 1);
  vconf_set_str(kText, "Wired");
  EXPECT_EQ(g_flushes, 3);
}

TEST(SettingsStore, AFullDiskKeepsTheOldValueAndIsForgotten) {
  fs::create_directories(files::kDatabase);
  ASSERT_EQ(mount("tmpfs", files::kDatabase.c_str(), "tmpfs", 0, "size=64k,mode=0755"), 0);
  ASSERT_EQ(vconf_set_str(kText, "old"), VCONF_OK);
  const std::size_t count = files::Count(files::kDatabase);
  const fs::path filler = files::kDatabase / "filler";
  files::Write(filler, std::string(1 << 20, 'x'));
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(vconf_set_str(kText, "new"), VCONF_ERROR);
    EXPECT_EQ(vconf_set_int("db/fresh", 1), VCONF_ERROR);
  }
  EXPECT_EQ(Text(kText), "old");
  EXPECT_EQ(ReadsOf("db/fresh"), kNone);
  EXPECT_EQ(files::Count(files::kDatabase), count + 1) << "nothing is left of the failed writes";
  EXPECT_TRUE(test_log::Has("cannot write db/menu/network/network_type: No space left on device"));
  fs::remove(filler);
  ASSERT_EQ(vconf_set_str(kText, "new"), VCONF_OK);
  EXPECT_EQ(Text(kText), "new");
  umount(files::kDatabase.c_str());
}

TEST(SettingsStore, ADiskWithoutRoomForAnotherFileKeepsTheOldValue) {
  fs::create_directories(files::kDatabase);
  ASSERT_EQ(mount("tmpfs", files::kDatabase.c_str(), "tmpfs", 0, "nr_inodes=5,mode=0755"), 0);
  ASSERT_EQ(vconf_set_str("db/key", "old"), VCONF_OK);  // with the root, "db" and this: three
  files::Write(files::kDatabase / "filler1", "");
  files::Write(files::kDatabase / "filler2", "");
  EXPECT_EQ(vconf_set_str("db/key", "new"), VCONF_ERROR);
  EXPECT_EQ(vconf_set_str("db/other/key", "new"), VCONF_ERROR);
  EXPECT_EQ(Text("db/key"), "old");
  fs::remove(files::kDatabase / "filler1");
  EXPECT_EQ(vconf_set_str("db/key", "new"), VCONF_OK);
  umount(files::kDatabase.c_str());
}

TEST(SettingsStore, AReadOnlyDirectoryIsReadAndNotWritten) {
  vconf_set_str(kText, "old");
  const char* root = files::kDatabase.c_str();
  ASSERT_EQ(mount(root, root, nullptr, MS_BIND, nullptr), 0);
  ASSERT_EQ(mount(nullptr, root, nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr), 0);
  EXPECT_EQ(vconf_set_str(kText, "new"), VCONF_ERROR);
  EXPECT_EQ(vconf_set_int("db/fresh/key", 1), VCONF_ERROR);
  EXPECT_EQ(Text(kText), "old");
  const auto callback = [](keynode_t*, void*) {};
  EXPECT_EQ(vconf_notify_key_changed(kText, callback, nullptr), VCONF_OK) << "watching needs no write";
  EXPECT_EQ(vconf_notify_key_changed("db/fresh/key", callback, nullptr), VCONF_ERROR);
  EXPECT_EQ(vconf_ignore_key_changed("db/fresh/key", callback), VCONF_ERROR);
  umount2(root, MNT_DETACH);
}

TEST(SettingsStore, TheDirectoryOfTheEnvironmentHoldsBothKinds) {
  setenv("PELORUS_SETTINGS_DIR", "/run/other", 1);
  vconf_set_int(kInt, 5);
  vconf_set_int(kVolatile, 6);
  EXPECT_EQ(files::Read(fs::path("/run/other") / kInt), "5\n");
  EXPECT_EQ(files::Read(fs::path("/run/other") / kVolatile), "6\n");
  EXPECT_FALSE(fs::exists(files::kDatabase));
}

TEST(SettingsStore, AnEmptyDirectoryOfTheEnvironmentIsNone) {
  setenv("PELORUS_SETTINGS_DIR", "", 1);
  vconf_set_int(kInt, 5);
  EXPECT_EQ(files::Read(files::kDatabase / kInt), "5\n");
}

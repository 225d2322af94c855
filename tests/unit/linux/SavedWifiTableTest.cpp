#include "SavedWifiTable.h"

#include <string>

#include <glib/gstdio.h>
#include <gtest/gtest.h>

namespace {

constexpr char kDen[] = "5fb06bd0-0bb0-7ffb-45f1-d6edd65f3e03";
constexpr char kCafe[] = "0d1f2c3b-0bb0-4ffb-85f1-d6edd65f3e04";
const SavedWifiTable::Record kLow{"02:00:00:00:10:00", 2437, -40, 1700000000};
const SavedWifiTable::Record kHigh{"02:00:00:00:20:00", 5180, -61, 1700000100};

std::string LineOf(const char* uuid, const std::string& rest) {
  return std::string(uuid) + " " + rest + "\n";
}

}  // namespace

TEST(SavedWifiTable, WhatIsWrittenIsReadAgain) {
  const SavedWifiTable::Records records{{kDen, kLow}, {kCafe, kHigh}};
  EXPECT_EQ(SavedWifiTable::Parse(SavedWifiTable::Format(records)), records);
}

TEST(SavedWifiTable, ADamagedLineCostsThatLineOnly) {
  const std::string sound = LineOf(kDen, "02:00:00:00:10:00 2437 -40 1700000000");
  for (const std::string& damaged :
       {std::string("\n"), std::string("\0\xff\x80\n", 4), LineOf(kCafe, ""), LineOf(kCafe, "02:00"),
        LineOf(kCafe, "02:00:00:00:20:00 5180 -61"), LineOf(kCafe, "02:00:00:00:20:0x 5180 -61 1"),
        LineOf(kCafe, "02:00:00:00:20:00 0 -61 1"), LineOf(kCafe, "02:00:00:00:20:00 5180 61 1"),
        LineOf(kCafe, "02:00:00:00:20:00 99999999999999 -61 1"),
        LineOf(kCafe, "02:00:00:00:20:00 5180 -61 -1"), LineOf(kCafe, "02:00:00:00:20:00 5180 -61 1 x"),
        LineOf("\xc3\x28", "02:00:00:00:20:00 5180 -61 1")}) {
    EXPECT_EQ(SavedWifiTable::Parse(damaged + sound), (SavedWifiTable::Records{{kDen, kLow}}))
        << damaged;
    EXPECT_EQ(SavedWifiTable::Parse(sound + damaged), (SavedWifiTable::Records{{kDen, kLow}}))
        << damaged;
  }
}

TEST(SavedWifiTable, ALineThatWasCutCountsAsNotThere) {
  const std::string line = LineOf(kDen, "02:00:00:00:10:00 2437 -40 1700000000");
  for (std::size_t length = 0; length < line.size(); ++length) {
    EXPECT_TRUE(SavedWifiTable::Parse(line.substr(0, length)).empty()) << length;
  }
}

TEST(SavedWifiTable, IsKeptInItsFile) {
  g_autofree char* directory = g_dir_make_tmp("table-XXXXXX", nullptr);
  const std::string path = std::string(directory) + "/table";
  SavedWifiTable table;
  table.Load(path);
  EXPECT_TRUE(table.All().empty());
  table.Add({{kDen, kLow}, {kCafe, kHigh}});
  table.Add({{kDen, kHigh}, {"no uuid", kLow}});
  SavedWifiTable second;
  second.Load(path);
  EXPECT_EQ(second.All(), (SavedWifiTable::Records{{kDen, kHigh}, {kCafe, kHigh}}));
  second.RemoveUnless([](const std::string& uuid) { return uuid == kCafe; });
  table.Load(path);
  EXPECT_EQ(table.All(), (SavedWifiTable::Records{{kCafe, kHigh}}));
  g_remove(path.c_str());
  g_rmdir(directory);
}

TEST(SavedWifiTable, KeepsWhatItCannotWrite) {
  SavedWifiTable table;
  table.Load("/proc/nowhere/table");
  table.Add({{kDen, kLow}});
  EXPECT_EQ(table.All(), (SavedWifiTable::Records{{kDen, kLow}}));
}

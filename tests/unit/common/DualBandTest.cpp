#include <iterator>
#include <string>

#include <glib.h>
#include <gtest/gtest.h>

#include "setwell/NetworkUtil.h"

using Setwell::NetworkUtil;

namespace {

constexpr int kUntouched = 123456;

struct Row {
  const char* bssid;
  const char* connected;
  bool is_dual_band;
  int difference;  // expected, or kUntouched
};

const Row kRows[] = {
    // One radio, however it is written.
    {"AA:BB:CC:DD:EE:01", "AA:BB:CC:DD:EE:01", true, 0},
    {"aa:bb:cc:dd:ee:0f", "AA:BB:CC:DD:EE:0F", true, 0},
    {"aA:Bb:cC:dD:Ee:fF", "Aa:bB:Cc:Dd:eE:Ff", true, 0},
    {"00:00:00:00:00:00", "00:00:00:00:00:00", true, 0},
    {"FF:FF:FF:FF:FF:FF", "ff:ff:ff:ff:ff:ff", true, 0},
    // Radios that are counted in the last octet.
    {"AA:BB:CC:DD:EE:05", "AA:BB:CC:DD:EE:01", true, 4},
    {"AA:BB:CC:DD:EE:01", "AA:BB:CC:DD:EE:05", true, -4},
    {"AA:BB:CC:DD:EE:FF", "AA:BB:CC:DD:EE:00", true, 255},
    {"AA:BB:CC:DD:EE:00", "AA:BB:CC:DD:EE:FF", true, -255},
    {"aa:bb:cc:dd:ee:10", "AA:BB:CC:DD:EE:0f", true, 1},
    // Radios whose address the router made itself: the locally-administered bit.
    {"02:11:22:33:44:55", "00:11:22:33:44:55", true, 2 * 256},
    {"00:11:22:33:44:55", "02:11:22:33:44:55", true, -2 * 256},
    {"A8:11:22:33:44:55", "AA:11:22:33:44:55", true, -2 * 256},
    {"02:11:22:33:44:56", "00:11:22:33:44:55", true, 1},
    {"00:11:22:33:44:55", "02:11:22:33:44:56", true, -1},
    // Radios that are counted in the upper nibble.
    {"10:11:22:33:44:55", "00:11:22:33:44:55", true, 16 * 256},
    {"04:11:22:33:44:55", "F4:11:22:33:44:55", true, -240 * 256},
    {"14:11:22:33:44:50", "04:11:22:33:44:55", true, -5},
    // Both.
    {"16:11:22:33:44:55", "04:11:22:33:44:55", true, 18 * 256},
    {"F2:11:22:33:44:55", "00:11:22:33:44:55", true, 242 * 256},
    {"F0:11:22:33:44:55", "02:11:22:33:44:54", true, 1},
    // The rest of the first octet tells makers apart.
    {"01:11:22:33:44:55", "00:11:22:33:44:55", false, kUntouched},
    {"04:11:22:33:44:55", "00:11:22:33:44:55", false, kUntouched},
    {"08:11:22:33:44:55", "00:11:22:33:44:56", false, kUntouched},
    {"16:11:22:33:44:55", "00:11:22:33:44:55", false, kUntouched},
    // Another router.
    {"AA:BC:CC:DD:EE:01", "AA:BB:CC:DD:EE:01", false, kUntouched},
    {"AA:BB:CD:DD:EE:01", "AA:BB:CC:DD:EE:01", false, kUntouched},
    {"AA:BB:CC:DE:EE:01", "AA:BB:CC:DD:EE:01", false, kUntouched},
    {"AA:BB:CC:DD:EF:01", "AA:BB:CC:DD:EE:01", false, kUntouched},
    {"00:11:22:33:44:55", "66:77:88:99:AA:BB", false, kUntouched},
    // No address.
    {"", "", false, kUntouched},
    {"", "AA:BB:CC:DD:EE:01", false, kUntouched},
    {"NotFound", "AA:BB:CC:DD:EE:01", false, kUntouched},
    {"AA:BB:CC:DD:EE", "AA:BB:CC:DD:EE", false, kUntouched},
    {"AA:BB:CC:DD:EE:0", "AA:BB:CC:DD:EE:0", false, kUntouched},
    {"AA:BB:CC:DD:EE:011", "AA:BB:CC:DD:EE:011", false, kUntouched},
    {"AA:BB:CC:DD:EE:01:02", "AA:BB:CC:DD:EE:01:02", false, kUntouched},
    {"AABBCCDDEE01", "AABBCCDDEE01", false, kUntouched},
    {"AA-BB-CC-DD-EE-01", "AA-BB-CC-DD-EE-01", false, kUntouched},
    {"AA:BB:CC:DD:EE-01", "AA:BB:CC:DD:EE:01", false, kUntouched},
    {"GA:BB:CC:DD:EE:01", "GA:BB:CC:DD:EE:01", false, kUntouched},
    {"AA:BB:CC:DD:EE:0G", "AA:BB:CC:DD:EE:0G", false, kUntouched},
    {" A:BB:CC:DD:EE:01", " A:BB:CC:DD:EE:01", false, kUntouched},
    {"+A:BB:CC:DD:EE:01", "+A:BB:CC:DD:EE:01", false, kUntouched},
    {"0x:BB:CC:DD:EE:01", "0x:BB:CC:DD:EE:01", false, kUntouched},
    {" AA:BB:CC:DD:EE:01", "AA:BB:CC:DD:EE:01", false, kUntouched},
    {"AA:BB:CC:DD:EE:01\n", "AA:BB:CC:DD:EE:01", false, kUntouched},
    {"\xC3\x84:BB:CC:DD:EE:01", "\xC3\x84:BB:CC:DD:EE:01", false, kUntouched},
};

TEST(DualBand, TellsRadiosOfOneRouterFromOthers) {
  EXPECT_GE(std::size(kRows), 30U);
  for (const Row& row : kRows) {
    SCOPED_TRACE(std::string(row.bssid) + " and " + row.connected);
    int difference = kUntouched;
    EXPECT_EQ(NetworkUtil::IsDualBand(row.bssid, row.connected, difference), row.is_dual_band);
    EXPECT_EQ(difference, row.difference);
  }
}

TEST(DualBand, TurnsTheSignWhenTheRadiosChangePlaces) {
  for (const Row& row : kRows) {
    SCOPED_TRACE(std::string(row.bssid) + " and " + row.connected);
    int difference = kUntouched;
    EXPECT_EQ(NetworkUtil::IsDualBand(row.connected, row.bssid, difference), row.is_dual_band);
    EXPECT_EQ(difference, row.is_dual_band ? -row.difference : kUntouched);
  }
}

TEST(DualBand, RefusesAnAddressWithANulInIt) {
  std::string bssid = "AA:BB:CC:DD:EE:01";
  bssid[16] = '\0';
  int difference = kUntouched;
  EXPECT_FALSE(NetworkUtil::IsDualBand(bssid, bssid, difference));
  EXPECT_EQ(difference, kUntouched);
}

// All first octets beside all first octets, with the last octets equal and not.
TEST(DualBand, TellsADifferenceForEveryDistinctPartner) {
  const auto address = [](int first, int last) {
    g_autofree char* text = g_strdup_printf("%02X:11:22:33:44:%02X", first, last);
    return std::string(text);
  };
  int partners = 0;
  for (int first = 0; first < 256; ++first) {
    for (int connected_first = 0; connected_first < 256; ++connected_first) {
      for (const int last : {0x40, 0x41}) {
        int difference = 0;
        if (!NetworkUtil::IsDualBand(address(first, last), address(connected_first, 0x40), difference)) {
          continue;
        }
        ++partners;
        const bool is_same = first == connected_first && last == 0x40;
        ASSERT_EQ(difference == 0, is_same) << first << " " << connected_first << " " << last;
      }
    }
  }
  EXPECT_EQ(partners, 256 * 32 * 2);  // 16 upper nibbles, with and without the bit
}

}  // namespace

#include "SsidText.h"

#include <random>

#include <glib.h>
#include <gtest/gtest.h>

using namespace std::string_literals;

TEST(SsidText, TextIsItself) {
  for (const auto& name : {"Den"s, ""s, "Café 커피"s, "say \"hi\""s, "back\\slash"s, "\\x"s, "\\xg0"s}) {
    EXPECT_EQ(ssid_text::FromBytes(name), name);
    EXPECT_EQ(ssid_text::ToBytes(name), name);
  }
}

TEST(SsidText, BytesThatAreNoTextAreWrittenOut) {
  EXPECT_EQ(ssid_text::FromBytes("a\0b"s), "a\\x00b");
  EXPECT_EQ(ssid_text::FromBytes("line\nfeed\x7f"s), "line\\x0afeed\\x7f");
  EXPECT_EQ(ssid_text::FromBytes("\xc3\x28\xff"s), "\\xc3(\\xff");
  EXPECT_EQ(ssid_text::FromBytes("cut \xed\x95"s), "cut \\xed\\x95");
  EXPECT_EQ(ssid_text::FromBytes("\xc2\x85"s), "\\xc2\\x85");  // a control character of two bytes
}

TEST(SsidText, NameThatLooksLikeAnEscapeIsToldFromTheByte) {
  EXPECT_EQ(ssid_text::FromBytes("\\x41"s), "\\x5cx41");
  EXPECT_EQ(ssid_text::ToBytes("\\x5cx41"), "\\x41"s);
  EXPECT_EQ(ssid_text::ToBytes("\\x41"), "A"s);
}

TEST(SsidText, AnyBytesComeBackAndTheTextIsUtf8WithoutControls) {
  std::mt19937 dice(20);
  const std::string favourites = "\\xX0aF\0\n\xff\xc3\xa9"s;
  for (int round = 0; round < 100000; ++round) {
    std::string bytes(dice() % 33, '\0');
    for (auto& byte : bytes) {
      byte = dice() % 2 == 0 ? favourites[dice() % favourites.size()] : static_cast<char>(dice() % 256);
    }
    const auto text = ssid_text::FromBytes(bytes);
    ASSERT_EQ(ssid_text::ToBytes(text), bytes) << text;
    ASSERT_TRUE(g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr)) << text;
  }
}

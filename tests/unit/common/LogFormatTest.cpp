#include "LogFormat.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <memory>
#include <random>
#include <string>

#include <gtest/gtest.h>

// Formats that are put together at run time, and flags that the compiler finds of no use.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat"

namespace {

std::size_t Format(char* buffer, std::size_t size, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::size_t length = FormatSignalSafe(buffer, size, format, arguments);
  va_end(arguments);
  return length;
}

/// Holds ours against the C library's, in a buffer that is large enough and in one that is not.
template <class... Arguments>
void ExpectSame(const std::string& format, Arguments... arguments) {
  for (const std::size_t size : {std::size_t{2048}, std::size_t{7}, std::size_t{1}}) {
    char theirs[2048];
    char ours[2048 + 2048];
    std::fill(std::begin(ours), std::end(ours), '#');
    const int length = std::snprintf(theirs, size, format.c_str(), arguments...);
    ASSERT_GE(length, 0) << format;
    EXPECT_EQ(Format(ours, size, format.c_str(), arguments...), static_cast<std::size_t>(length))
        << format;
    EXPECT_STREQ(ours, theirs) << format;
    EXPECT_TRUE(std::all_of(ours + size, std::end(ours), [](char c) { return c == '#'; }))
        << format << ": wrote beyond the buffer";
  }
}

}  // namespace

TEST(LogFormat, TextIsFormattedAsPrintfDoes) {
  const char* const null = nullptr;
  ExpectSame("");
  ExpectSame("plain");
  ExpectSame("100%%");
  ExpectSame("%s: %s(%d) > %s", "NotiProxy.cpp", "LaunchPopup", 42, "START");
  ExpectSame("[%10s] [%-10s] [%.2s] [%10.2s] [%-10.2s] [%.0s] [%s]", "abc", "abc", "abc", "abc", "abc",
             "abc", "");
  ExpectSame("[%*s] [%*s] [%.*s] [%.*s]", 8, "abc", -8, "abc", 2, "abc", -1, "abc");
  ExpectSame("%s", null);
  ExpectSame("[%8s]", null);
  ExpectSame("%c%c%c [%5c] [%-5c]", 'a', '\n', 'z', 'x', 'x');
  ExpectSame("%s", std::string(1500, 'y').c_str());
  ExpectSame("%p %p [%20p] [%-20p]", static_cast<const void*>("x"), nullptr, nullptr,
             static_cast<const void*>("x"));
}

TEST(LogFormat, AnUnendedTextIsReadNoFartherThanItsPrecision) {
  const auto text = std::make_unique<char[]>(3);
  std::copy_n("abc", 3, text.get());
  char out[16];
  EXPECT_EQ(Format(out, sizeof out, "%.3s", text.get()), 3U);
  EXPECT_STREQ(out, "abc");
}

TEST(LogFormat, EdgesOfEveryIntegerTypeAreFormattedAsPrintfDoes) {
  for (const char conversion : {'d', 'i', 'u', 'x', 'X', 'o'}) {
    const auto with = [conversion](const char* length) {
      return std::string("%") + length + conversion + " %#" + length + conversion;
    };
    for (const int v : {0, 1, -1, 127, 128, 255, 256, INT_MAX, INT_MIN}) {
      ExpectSame(with(""), v, v);
      ExpectSame(with("hh"), v, v);
      ExpectSame(with("h"), v, v);
    }
    for (const long v : {0L, 1L, -1L, LONG_MAX, LONG_MIN}) {
      ExpectSame(with("l"), v, v);
      ExpectSame(with("ll"), static_cast<long long>(v), static_cast<long long>(v));
      ExpectSame(with("j"), static_cast<std::intmax_t>(v), static_cast<std::intmax_t>(v));
      ExpectSame(with("z"), static_cast<std::size_t>(v), static_cast<std::size_t>(v));
      ExpectSame(with("t"), static_cast<std::ptrdiff_t>(v), static_cast<std::ptrdiff_t>(v));
    }
  }
}

TEST(LogFormat, RandomFormatsAndValuesAreFormattedAsPrintfDoes) {
  std::mt19937_64 random(5);
  const char* const lengths[] = {"", "hh", "h", "l", "ll", "j", "z", "t"};
  for (int round = 0; round < 30'000 && !testing::Test::HasFailure(); ++round) {
    std::string format = "<%";
    for (const char flag : {'-', '0', '+', ' ', '#'}) {
      if (random() % 3 == 0) {
        format += flag;
      }
    }
    if (random() % 2 == 0) {
      format += std::to_string(1 + random() % 30);
    }
    if (random() % 2 == 0) {
      format += "." + (random() % 4 == 0 ? "" : std::to_string(random() % 30));
    }
    const std::uint64_t bits = random() >> (random() % 64);
    const std::size_t length = random() % std::size(lengths);
    format += lengths[length];
    format += "diuxXo"[random() % 6];
    format += ">";
    if (length < 3) {
      ExpectSame(format, static_cast<int>(random() % 2 == 0 ? bits : -bits));
    } else {
      ExpectSame(format, random() % 2 == 0 ? bits : -bits);
    }
  }
}

TEST(LogFormat, AnUnknownConversionIsCopiedWithAllBehindIt) {
  char out[64];
  for (const char* rest :
       {"%f and %s", "%n", "%1$d", "%Lf", "%y %d", "%", "%-", "%5", "%.", "%l", "%hh"}) {
    const std::string format = std::string("%d ") + rest;
    EXPECT_EQ(Format(out, sizeof out, format.c_str(), 7), 2 + std::string(rest).size());
    EXPECT_EQ(out, std::string("7 ") + rest);
  }
}

TEST(LogFormat, ImmoderateWidthsAreBounded) {
  char out[16];
  EXPECT_EQ(Format(out, sizeof out, "%99999999999d", 1), 1'000'000U);
  EXPECT_EQ(Format(out, sizeof out, "%*d", INT_MIN, 1), 1'000'000U);
  EXPECT_EQ(Format(out, sizeof out, "%.*d", INT_MAX, 1), 1'000'000U);
}

TEST(LogFormat, ErrnoStaysAsItWas) {
  char out[16];
  errno = 1234;
  Format(out, sizeof out, "%d %s", 1, "a text that is cut");
  EXPECT_EQ(errno, 1234);
}

#include "ProbeConfig.h"

#include <gtest/gtest.h>

namespace {

using Complaints = std::vector<std::string>;

ProbeConfig Parse(const std::string& text, std::size_t expected_complaints = 0) {
  Complaints complaints;
  ProbeConfig config = ParseProbeConfig(text, complaints);
  EXPECT_EQ(complaints.size(), expected_complaints) << text;
  return config;
}

}  // namespace

TEST(ProbeConfig, HasADefaultForAll) {
  for (const char* text : {"", "[Other]\nEnabled=false\n", "[InternetProbe]\n"}) {
    const ProbeConfig config = Parse(text);
    EXPECT_TRUE(config.is_on);
    EXPECT_EQ(config.host, "network-test.debian.org");
    EXPECT_EQ(config.port, 80);
    EXPECT_EQ(config.target, "/nm");
    EXPECT_EQ(config.answer, "NetworkManager is online");
    EXPECT_EQ(config.interval, std::chrono::seconds(300));
  }
}

TEST(ProbeConfig, SaysWhatIsAskedAndHowOften) {
  const ProbeConfig config = Parse(
      "[InternetProbe]\nAddress=http://probe.maker.test:8080/"
      "a%2Fb?tv=1\nAnswer=fine\nIntervalSeconds=60\n");
  EXPECT_EQ(config.host, "probe.maker.test");
  EXPECT_EQ(config.port, 8080);
  EXPECT_EQ(config.target, "/a%2Fb?tv=1");
  EXPECT_EQ(config.answer, "fine");
  EXPECT_EQ(config.interval, std::chrono::seconds(60));
}

TEST(ProbeConfig, CanBeSwitchedOff) {
  EXPECT_FALSE(Parse("[InternetProbe]\nEnabled=false\n").is_on);
}

TEST(ProbeConfig, AnotherServerIsNotHeldToTheDefaultsPage) {
  const ProbeConfig config = Parse("[InternetProbe]\nAddress=http://192.0.2.1\n");
  EXPECT_EQ(config.host, "192.0.2.1");
  EXPECT_EQ(config.target, "/");
  EXPECT_EQ(config.answer, "");
}

TEST(ProbeConfig, ANewerProtocolsAddressNamesAServerToo) {
  EXPECT_EQ(Parse("[InternetProbe]\nAddress=http://[2001:db8::1]/\n").host, "2001:db8::1");
}

TEST(ProbeConfig, WhatIsWrongIsSaidAndTakenAsNotSaid) {
  for (const char* address : {"https://probe.test/", "probe.test/", "http://", "http:///a",
                              "http://a b/", "http://a:0/", "http://a:99999/", "", "ftp://a/"}) {
    const ProbeConfig config =
        Parse("[InternetProbe]\nAddress=" + std::string(address) + "\nAnswer=other\n", 1);
    EXPECT_EQ(config.host, "network-test.debian.org") << address;
    EXPECT_EQ(config.answer, "NetworkManager is online") << address;
  }
  for (const char* interval : {"0", "-5", "86401", "soon", "99999999999"}) {
    EXPECT_EQ(Parse("[InternetProbe]\nIntervalSeconds=" + std::string(interval) + "\n", 1).interval,
              std::chrono::seconds(300))
        << interval;
  }
  EXPECT_TRUE(Parse("[InternetProbe]\nEnabled=perhaps\n", 1).is_on);
  EXPECT_TRUE(Parse("Enabled=false\n", 1).is_on) << "no key file";
}

TEST(ProbeConfig, AComplaintNamesTheKey) {
  Complaints complaints;
  static_cast<void>(ParseProbeConfig("[InternetProbe]\nIntervalSeconds=soon\n", complaints));
  EXPECT_EQ(
      complaints,
      Complaints{"[InternetProbe] IntervalSeconds: no number from 1 to 86400; the default is taken"});
}

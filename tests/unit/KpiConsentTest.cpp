// The user's consent: what is measured stays on the TV until it is given, and after it is withdrawn.

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Journal.h"
#include "MainLoop.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "WirelessKPILogger.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

namespace {

constexpr char kLogger[] = "AddEventLogSync";
constexpr const char* kKey = vconf_keys::kDisclaimerAgree;
constexpr auto kLoggerWait = 4s;

CWirelessKPILogger& Service() {
  return *CNetworkLogServiceSingleton<CWirelessKPILogger>::Get();
}

void Queue(const std::string& description) {
  Service().AddEventLogToFile("EV004", "ETHERNET", description, "21_wireless");
}

/// How many records the logger was given.
std::size_t Sent() {
  EXPECT_FALSE(VirtualTv::Instance().Calls("vconf_get_int").empty()) << "nobody counts";
  return VirtualTv::Instance().Calls(kLogger).size();
}

void Answer(int answer) {
  ASSERT_EQ(vconf_set_int(kKey, answer), VCONF_OK);
}

void WriteStoreFile(const std::string& content) {
  const std::filesystem::path path = std::filesystem::path("/var/lib/pelorus/settings") / kKey;
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path) << content;
}

class KpiConsent : public testing::Test {
 protected:
  KpiConsent() { m_tv.PlugCable(); }

  VirtualTv& m_tv = VirtualTv::Instance();  // counts from here on
};

/// What the store can hold in place of a yes.
struct NoConsent {
  const char* name;
  void (*store)();
};

void PrintTo(const NoConsent& consent, std::ostream* out) {
  *out << consent.name;
}

class KpiNoConsent : public KpiConsent, public testing::WithParamInterface<NoConsent> {};

TEST_P(KpiNoConsent, HandsNothingOverAtStart) {
  GetParam().store();
  Queue("a=1");
  EXPECT_FALSE(Service().SendKPIData());
  RunLoopFor(60s);
  EXPECT_FALSE(Service().SendKPIData());
  EXPECT_EQ(Sent(), 0U);
  EXPECT_FALSE(std::filesystem::exists(journal::kPath));
}

TEST_P(KpiNoConsent, HandsNothingOverAfterAYes) {
  Answer(1);
  Queue("a=1");
  EXPECT_TRUE(Service().SendKPIData());
  ASSERT_EQ(Sent(), 1U);
  GetParam().store();
  CNetworkLogService::DUIDReadyCb(nullptr, &Service());
  Queue("a=2");
  EXPECT_FALSE(Service().SendKPIData());
  RunLoopFor(60s);
  EXPECT_FALSE(Service().SendKPIData());
  EXPECT_EQ(Sent(), 1U);
}

TEST_P(KpiNoConsent, EndsTheWaitOfAYes) {
  Service();
  Queue("a=1");
  Answer(1);
  RunLoopFor(2s);
  GetParam().store();
  CNetworkLogService::DUIDReadyCb(nullptr, &Service());
  RunLoopFor(60s);
  EXPECT_FALSE(Service().SendKPIData());
  EXPECT_EQ(Sent(), 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Of, KpiNoConsent,
    testing::Values(NoConsent{"Unset",
                              [] {
                                std::filesystem::remove(
                                    std::filesystem::path("/var/lib/pelorus/settings") / kKey);
                              }},
                    NoConsent{"Zero", [] { vconf_set_int(kKey, 0); }},
                    NoConsent{"Bool", [] { vconf_set_bool(kKey, 1); }},
                    NoConsent{"Text", [] { vconf_set_str(kKey, "1"); }},
                    NoConsent{"Damaged", [] { WriteStoreFile("1"); }},
                    NoConsent{"Empty", [] { WriteStoreFile(""); }},
                    NoConsent{"Unreadable",
                              [] {
                                vconf_set_int(kKey, 1);
                                VirtualTv::Instance().Fail("vconf_get_int", -1);
                              }}),
    [](const auto& test) { return test.param.name; });

TEST_F(KpiConsent, AnUnreadableAnswerIsSaidInTheLog) {
  EXPECT_FALSE(Service().SendKPIData());
  EXPECT_TRUE(test_log::Has("(r = -1) get defaultdisclaimeragree failed"));
  Answer(0);
  RunLoopOnce();
  EXPECT_TRUE(test_log::Has("defaultdisclaimeragree = 0"));
  EXPECT_TRUE(test_log::Has("DUIDReadyCb <<<<<") && test_log::Has("DUIDReadyCb >>>>>"));
}

TEST_F(KpiConsent, IsAnyNumberButZero) {
  for (const int answer : {1, 2, -1}) {
    Answer(answer);
    EXPECT_TRUE(Service().m_IsDefaultDisclaimerAgreed()) << answer;
  }
}

TEST_F(KpiConsent, GivenBeforeTheStartNeedsNoWait) {
  Answer(1);
  Queue("a=1");
  EXPECT_TRUE(Service().SendKPIData());
  EXPECT_EQ(Sent(), 1U);
  EXPECT_FALSE(test_log::Has("__WaitLoggerReady <<<<<"));
}

TEST_F(KpiConsent, AYesSendsTheQueueFourSecondsLater) {
  Queue("a=1");
  Queue("a=2");
  Answer(1);
  RunLoopFor(kLoggerWait - 300ms);  // GLib may be a quarter of a second early, and one late
  EXPECT_FALSE(Service().SendKPIData()) << "not before";
  EXPECT_EQ(Sent(), 0U);
  RunLoopFor(1300ms);
  EXPECT_EQ(journal::Texts("description"), (std::vector<std::string>{"{a=1}", "{a=2}"}));
  EXPECT_TRUE(test_log::Has("__WaitLoggerReady <<<<<"));
  Queue("a=3");
  EXPECT_TRUE(Service().SendKPIData());
  EXPECT_EQ(Sent(), 3U);
}

/// Answers of the user, and when.
struct Answers {
  const char* name;
  std::vector<std::pair<std::chrono::milliseconds, int>> answers;
  bool is_sent;
  unsigned waits;  ///< how many of them were waited out
};

void PrintTo(const Answers& answers, std::ostream* out) {
  *out << answers.name;
}

class KpiAnswers : public KpiConsent, public testing::WithParamInterface<Answers> {};

TEST_P(KpiAnswers, TheLastOneHolds) {
  const auto& answers = GetParam().answers;
  Queue("a=1");
  auto now = 0ms;
  for (std::size_t i = 0; i < answers.size(); ++i) {
    const auto [when, answer] = answers[i];
    RunLoopFor(when - now);
    now = when;
    Answer(answer);
    const bool is_followed_at_once = i + 1 < answers.size() && answers[i + 1].first == when;
    if (answer != 0 || is_followed_at_once) {
      continue;
    }
    RunLoopOnce();
    const std::size_t sent = Sent();
    const auto next = i + 1 < answers.size() ? answers[i + 1].first : when + 60s;
    Queue("after a no");
    EXPECT_FALSE(Service().SendKPIData());
    RunLoopFor(next - now);
    EXPECT_FALSE(Service().SendKPIData());
    EXPECT_EQ(Sent(), sent) << "sent after it was withdrawn";
    now = next;
  }
  RunLoopFor(60s);
  EXPECT_EQ(Service().SendKPIData(), answers.back().second != 0);
  EXPECT_EQ(Sent() > 0, GetParam().is_sent);
  EXPECT_EQ(test_log::Count("__WaitLoggerReady <<<<<"), GetParam().waits);
}

INSTANTIATE_TEST_SUITE_P(
    Given, KpiAnswers,
    testing::Values(Answers{"Yes", {{0ms, 1}}, true, 1}, Answers{"No", {{0ms, 0}}, false, 0},
                    Answers{"YesNoAtOnce", {{0ms, 1}, {0ms, 0}}, false, 0},
                    Answers{"NoYesAtOnce", {{0ms, 0}, {0ms, 1}}, true, 1},
                    Answers{"YesNoYesAtOnce", {{0ms, 1}, {0ms, 0}, {0ms, 1}}, true, 1},
                    Answers{"YesNoSoon", {{0ms, 1}, {1ms, 0}}, false, 0},
                    Answers{"YesNoInTheWait", {{0ms, 1}, {2s, 0}}, false, 0},
                    Answers{"YesNoJustBeforeTheEnd", {{0ms, 1}, {3700ms, 0}}, false, 0},
                    Answers{"YesNoYesInTheWait", {{0ms, 1}, {2s, 0}, {3s, 1}}, true, 1},
                    Answers{"YesNoYesNoInTheWait", {{0ms, 1}, {1s, 0}, {2s, 1}, {3s, 0}}, false, 0},
                    Answers{"YesYesInTheWait", {{0ms, 1}, {2s, 1}}, true, 1},
                    Answers{"YesYesYes", {{0ms, 1}, {2s, 1}, {4s, 1}}, true, 1},
                    Answers{"YesYesNo", {{0ms, 1}, {2s, 1}, {4s, 0}}, false, 0},
                    Answers{"NoYesNo", {{0ms, 0}, {1s, 1}, {2s, 0}}, false, 0},
                    Answers{"YesNoAfterIt", {{0ms, 1}, {6s, 0}}, true, 1}),
    [](const auto& test) { return test.param.name; });

TEST_F(KpiConsent, ASecondYesInTheWaitStartsTheOneWaitAnew) {
  Queue("a=1");
  Answer(1);
  RunLoopFor(3s);
  Answer(1);
  RunLoopFor(3s);
  EXPECT_EQ(Sent(), 0U);
  RunLoopFor(2s);
  EXPECT_EQ(Sent(), 1U);
  EXPECT_EQ(test_log::Count("__WaitLoggerReady <<<<<"), 1U);
}

TEST_F(KpiConsent, AYesAfterAYesWaitsAgainAndKeepsSending) {
  Queue("a=1");
  for (std::size_t times = 1; times <= 3; ++times) {
    Answer(1);
    RunLoopFor(6s);
    EXPECT_EQ(test_log::Count("__WaitLoggerReady <<<<<"), times);
    EXPECT_TRUE(Service().SendKPIData());
  }
  EXPECT_EQ(Sent(), 1U);
}

TEST_F(KpiConsent, WhatWasQueuedAfterANoIsSentAfterTheNextYes) {
  Answer(1);
  Service();
  Answer(0);
  RunLoopOnce();
  Queue("a=1");
  EXPECT_FALSE(Service().SendKPIData());
  Answer(1);
  RunLoopFor(5s);
  EXPECT_EQ(journal::Texts("description"), std::vector<std::string>{"{a=1}"});
}

TEST_F(KpiConsent, AWaitThatEndsWithoutAGatewayKeepsTheQueue) {
  m_tv.Fail("connection_profile_check_default_gateway", -1, 1);
  Queue("a=1");
  Answer(1);
  RunLoopFor(6s);
  EXPECT_EQ(Sent(), 0U);
  EXPECT_TRUE(Service().SendKPIData());
  EXPECT_EQ(Sent(), 1U);
}

TEST_F(KpiConsent, CannotBeHeardWhenTheKeyCannotBeWatched) {
  m_tv.Fail("vconf_notify_key_changed", -1);
  Queue("a=1");
  Answer(1);
  RunLoopFor(10s);
  EXPECT_EQ(Sent(), 0U) << "on the safe side";
}

TEST_F(KpiConsent, CallbacksWithoutAServiceOnlyLog) {
  Answer(1);
  CNetworkLogService::DUIDReadyCb(nullptr, nullptr);
  EXPECT_EQ(CNetworkLogService::__WaitLoggerReady(nullptr), G_SOURCE_REMOVE);
  EXPECT_EQ(test_log::Messages(),
            (std::vector<std::string>{"DUIDReadyCb <<<<<", "__WaitLoggerReady <<<<<"}));
}

TEST_F(KpiConsent, AServiceThatEndsInTheWaitHearsNothingMore) {
  auto service = std::make_unique<CWirelessKPILogger>();
  service->AddEventLogToFile("EV004", "ETHERNET", "a=1", "21_wireless");
  Answer(1);
  RunLoopFor(1s);
  service.reset();
  Answer(1);
  RunLoopFor(10s);
  EXPECT_EQ(Sent(), 0U);
  EXPECT_EQ(test_log::Count("DUIDReadyCb <<<<<"), 1U);
  EXPECT_FALSE(test_log::Has("__WaitLoggerReady <<<<<"));
}

TEST_F(KpiConsent, AServiceThatEndsAfterTheWaitRemovesNoTimer) {
  auto service = std::make_unique<CWirelessKPILogger>();
  Answer(1);
  RunLoopFor(6s);
  EXPECT_TRUE(test_log::Has("__WaitLoggerReady <<<<<"));
  service.reset();  // GLib's complaint about a timer that is gone ends a test
}

/// Each platform function that the service calls fails, once or for good: nothing is sent that may not
/// be, nothing is lost, and once it works again all is sent.
class KpiFailures : public KpiConsent,
                    public testing::WithParamInterface<std::tuple<const char*, int>> {};

TEST_P(KpiFailures, CostNoRecord) {
  const auto [function, times] = GetParam();
  Answer(1);
  m_tv.Fail(function, -1, times);
  Queue("a=1");
  Service().SendKPIData();
  Answer(1);
  RunLoopFor(6s);
  Queue("a=2");
  Service().SendKPIData();
  m_tv.StopFailing(function);
  Answer(1);
  RunLoopFor(6s);
  Service().SendKPIData();
  // A watch that could not be made is not made later; with consent at the start it is not needed.
  EXPECT_EQ(journal::Texts("description"), (std::vector<std::string>{"{a=1}", "{a=2}"}));
}

INSTANTIATE_TEST_SUITE_P(Of, KpiFailures,
                         testing::Combine(testing::Values("vconf_notify_key_changed", "vconf_get_int",
                                                          "connection_profile_check_default_gateway",
                                                          "AddEventLogSync"),
                                          testing::Values(1, VirtualTv::kForGood)),
                         [](const auto& test) {
                           return std::string(std::get<0>(test.param)) +
                                  (std::get<1>(test.param) == 1 ? "Once" : "ForGood");
                         });

}  // namespace

#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "SavedNetworksRoom.h"
#include "TestLog.h"
#include "call_guarded.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

// A stored list that somebody else wrote, or that a disk has damaged, and commands that are none.

namespace {

enum class Outcome {
  kMadeAnew,    ///< there is no document: the list is made of the configurations
  kHandedOver,  ///< read to its end
  kStops,       ///< read to the damage, and not handed over
  kThrows,      ///< as kStops, and the start step ends there
};

struct Damage {
  const char* name;
  std::string stored;
  Outcome outcome;
  const char* list;  ///< the networks that are in the list then
};

void PrintTo(const Damage& damage, std::ostream* out) {
  *out << damage.name;
}

std::string Record(const std::string& name) {
  return R"({"SSID":")" + name + R"(","SIGNAL_STRENGTH":-50,"FREQUENCY":2412})";
}

std::string List(const std::string& count, const std::string& values) {
  return R"({"count":)" + count + R"(,"values":)" + values + "}";
}

std::string Nested(std::size_t depth) {
  return R"({"count":1,"values":)" + std::string(depth, '[') + std::string(depth, ']') + "}";
}

constexpr char kAll[] = "Home Office Attic Garden";
const std::string kA = Record("A");
const std::string kB = Record("B");

const Damage kDamages[] = {
    {"Empty", "", Outcome::kMadeAnew, kAll},
    {"NoJson", "hello", Outcome::kMadeAnew, kAll},
    {"CutOff", List("1", "[" + kA), Outcome::kMadeAnew, kAll},
    {"TwoDocuments", List("1", "[" + kA + "]") + "{}", Outcome::kMadeAnew, kAll},
    {"Comment", "/**/" + List("1", "[" + kA + "]"), Outcome::kMadeAnew, kAll},
    {"KeyTwice", R"({"count":1,"count":1,"values":[]})", Outcome::kMadeAnew, kAll},
    {"BareText", R"("count")", Outcome::kMadeAnew, kAll},
    {"Array", "[" + kA + "]", Outcome::kThrows, ""},
    {"NoMembers", "{}", Outcome::kThrows, ""},
    {"NoCount", R"({"values":[)" + kA + "]}", Outcome::kThrows, ""},
    {"CountAsText", List(R"("1")", "[" + kA + "]"), Outcome::kThrows, ""},
    {"CountAsObject", List("{}", "[" + kA + "]"), Outcome::kThrows, ""},
    {"CountBeyondInt", List("4294967296", "[" + kA + "]"), Outcome::kThrows, ""},
    {"CountNull", List("null", "[" + kA + "]"), Outcome::kHandedOver, ""},
    {"CountZero", List("0", "[" + kA + "]"), Outcome::kHandedOver, ""},
    {"CountNegative", List("-1", "[" + kA + "]"), Outcome::kHandedOver, ""},
    {"CountTooSmall", List("1", "[" + kA + "," + kB + "]"), Outcome::kHandedOver, "A"},
    {"CountTooLarge", List("3", "[" + kA + "," + kB + "]"), Outcome::kStops, "A B"},
    {"CountHuge", List("2147483647", "[" + kA + "]"), Outcome::kStops, "A"},
    {"NoValues", R"({"count":1})", Outcome::kStops, ""},
    {"ValuesNull", List("1", "null"), Outcome::kStops, ""},
    {"ValuesEmpty", List("1", "[]"), Outcome::kStops, ""},
    {"ValuesText", List("1", R"("AB")"), Outcome::kThrows, ""},
    {"ValuesObject", List("1", R"({"0":{}})"), Outcome::kThrows, ""},
    {"ItemNull", List("2", "[" + kA + ",null]"), Outcome::kStops, "A"},
    {"ItemEmpty", List("2", "[" + kA + ",{}]"), Outcome::kStops, "A"},
    {"ItemNumber", List("2", "[" + kA + ",7]"), Outcome::kThrows, "A"},
    {"NoName", List("1", R"([{"SIGNAL_STRENGTH":-50,"FREQUENCY":2412}])"), Outcome::kHandedOver, ""},
    {"NameAsObject", List("1", R"([{"SSID":{},"SIGNAL_STRENGTH":-5,"FREQUENCY":1}])"), Outcome::kThrows,
     ""},
    {"NoSignal", List("2", "[" + kA + R"(,{"SSID":"B","FREQUENCY":2412}])"), Outcome::kThrows, "A"},
    {"SignalAsText", List("1", R"([{"SSID":"A","SIGNAL_STRENGTH":"-5","FREQUENCY":1}])"),
     Outcome::kThrows, ""},
    {"NoFrequency", List("1", R"([{"SSID":"A","SIGNAL_STRENGTH":-5}])"), Outcome::kThrows, ""},
    {"StatusAsArray", List("1", R"([{"SSID":"A","SIGNAL_STRENGTH":-5,"FREQUENCY":1,"STATUS":[]}])"),
     Outcome::kThrows, ""},
    {"NestedTooDeep", Nested(2000), Outcome::kThrows, ""},
};

std::string Names(const std::string& brief) {
  std::string names;
  for (std::size_t begin = 0; begin < brief.size();) {
    const std::size_t end = brief.find(' ', begin);
    const std::string word = brief.substr(begin, end - begin);
    names += (names.empty() ? "" : " ") + word.substr(0, word.find(':'));
    begin = end == std::string::npos ? brief.size() : end + 1;
  }
  return names;
}

bool HasException() {
  return std::ranges::any_of(test_log::Messages(), [](const std::string& message) {
    return message.starts_with("exception ");
  });
}

class DamagedList : public testing::TestWithParam<Damage>, protected SavedNetworksRoom {
 protected:
  ~DamagedList() override { End(); }
};

TEST_P(DamagedList, CostsNoMoreThanItMust) {
  const Damage& damage = GetParam();
  Write(vconf_keys::kSavedAPList, damage.stored);
  SavedAPConnHander::GetInstance()->RegisterVconf();
  CallGuarded([] { SavedAPPriorityHandler::GetInstance()->RegisterWifiEvents(); });

  EXPECT_EQ(HasException(), damage.outcome == Outcome::kThrows);
  EXPECT_EQ(tv.Calls("wifi_initialize").size(), damage.outcome == Outcome::kThrows ? 0U : 1U);
  EXPECT_EQ(PublishedLists().size(), damage.outcome == Outcome::kMadeAnew ? 2U : 0U);
  RunLoopFor(2s);
  const bool is_handed_over =
      damage.outcome == Outcome::kMadeAnew || damage.outcome == Outcome::kHandedOver;
  EXPECT_EQ(PublishedStatuses().size(), is_handed_over ? 1U : 0U);

  // The object is there, knows what was read, and hears each command once.
  Forget();
  SavedAPPriorityHandler::GetInstance()->UpdateVconf(true);
  EXPECT_EQ(Names(SavedList()), damage.list);
  Forget();
  Command(R"({"COMMAND":"3"})");
  EXPECT_EQ(Published(vconf_keys::kSavedAPList), Texts{R"({"count":0})"});
  RunLoopFor(2s);
  SavedAPPriorityHandler::GetInstance()->UpdateListOnAPConnect(ConnectedAp().Get());
  RunLoopFor(2s);
  EXPECT_EQ(SavedList(), "Home:-48");
  EXPECT_EQ(TopStatuses(), "Home:Connected");
  EXPECT_FALSE(HasException());
}

INSTANTIATE_TEST_SUITE_P(SavedNetworks, DamagedList, testing::ValuesIn(kDamages),
                         [](const auto& case_info) { return std::string(case_info.param.name); });

struct Bad {
  const char* name;
  std::string command;
  int exceptions;  ///< of the two who hear it
};

void PrintTo(const Bad& bad, std::ostream* out) {
  *out << bad.name;
}

class BadCommand : public testing::TestWithParam<Bad>, protected SavedNetworksRoom {
 protected:
  BadCommand() {
    Store({{"Home", 5180}, {"Office", 2437}});
    Start();
    RunLoopFor(2s);
    Forget();
  }
  ~BadCommand() override { End(); }
};

/// Commands that make the library throw, in both who hear them.
TEST_P(BadCommand, CostsOnlyThatCall) {
  Command(GetParam().command);
  EXPECT_EQ(std::ranges::count_if(
                test_log::Messages(),
                [](const std::string& message) { return message.starts_with("exception "); }),
            GetParam().exceptions);
  EXPECT_TRUE(test_log::Has("START"));
  EXPECT_FALSE(test_log::Has("END"));
  EXPECT_TRUE(PublishedLists().empty());
  EXPECT_TRUE(PublishedStatuses().empty());
  Connect("Office");
  RunLoopFor(3s);
  EXPECT_EQ(TopStatuses(), "Home:DisConnected Office:Connected") << "the next one works";
}

INSTANTIATE_TEST_SUITE_P(SavedNetworks, BadCommand,
                         testing::Values(Bad{"CommandObject", R"({"COMMAND":{}})", 2},
                                         Bad{"CommandArray", R"({"COMMAND":["1"]})", 2},
                                         Bad{"SsidObject", R"({"COMMAND":"1","SSID":{"a":1}})", 1},
                                         Bad{"Array", R"(["COMMAND","1"])", 2},
                                         Bad{"NestedTooDeep", std::string(5000, '['), 2}),
                         [](const auto& case_info) { return std::string(case_info.param.name); });

class NoCommand : public testing::Test, protected SavedNetworksRoom {
 protected:
  ~NoCommand() override { End(); }
};

TEST_F(NoCommand, IsLoggedAndIgnored) {
  Store({{"Home", 5180}});
  Start();
  RunLoopFor(2s);
  for (const char* text : {"", "hello", "{", R"({"COMMAND":"3"} x)", R"({"COMMAND":"3",})"}) {
    Forget();
    Command(text);
    EXPECT_EQ(std::ranges::count_if(test_log::Messages(),
                                    [](const std::string& message) {
                                      return message.starts_with("reader.parse() - return false errs=");
                                    }),
              2)
        << text;
    EXPECT_TRUE(PublishedLists().empty()) << text;
  }
  settings::Write(vconf_keys::kCommand, g_variant_new_int32(3));
  RunLoopOnce();
  EXPECT_TRUE(PublishedLists().empty()) << "of another type";
}

}  // namespace

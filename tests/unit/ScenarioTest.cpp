#include "Scenario.h"

#include <chrono>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ScenarioRequest.h"
#include "ScenarioStep.h"
#include "vconf.h"

using scenario::Step;
using std::chrono::milliseconds;

namespace {

std::vector<Step> Parsed(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> errors;
  auto result = scenario::Parse("evening", stream, errors);
  EXPECT_EQ(errors, std::vector<std::string>{}) << text;
  return result.steps;
}

/// The first error, without the file's name.
std::string ErrorOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> errors;
  scenario::Parse("f", stream, errors);
  return errors.empty() ? "" : errors.front();
}

TEST(ScenarioParser, StepsHaveTheirTimesAndLinesAndKeepTheirOrder) {
  const auto steps = Parsed(
      "# a comment\n"
      "\n"
      "initially telephony start\n"
      "at 500ms cable plug   # another\n"
      "at 1.5s expect popup ethernet_attached\n"
      "at 2min close popup\n");
  ASSERT_EQ(steps.size(), 4U);
  EXPECT_TRUE(steps[0].is_initial);
  EXPECT_EQ(steps[0].line, 3);
  EXPECT_FALSE(steps[1].is_initial);
  EXPECT_EQ(steps[1].at, milliseconds(500));
  EXPECT_EQ(steps[1].text, "cable plug");
  EXPECT_EQ(steps[1].request["action"], "plug");
  EXPECT_EQ(steps[2].at, milliseconds(1500));
  EXPECT_EQ(steps[2].kind, Step::Kind::kExpectPopup);
  EXPECT_EQ(steps[2].subject, "ethernet_attached");
  EXPECT_EQ(steps[3].at, milliseconds(120'000));
  EXPECT_EQ(steps[3].kind, Step::Kind::kClosePopup);
}

TEST(ScenarioParser, EveryKindOfStepIsUnderstood) {
  using Kind = Step::Kind;
  const struct {
    const char* text;
    Kind kind;
    const char* subject;
  } cases[] = {
      {"cable unplug", Kind::kTv, ""},
      {"cable state 2", Kind::kTv, ""},
      {"dongle insert", Kind::kTv, ""},
      {"telephony stop", Kind::kTv, ""},
      {"feature set a b", Kind::kTv, ""},
      {"fail tel_init -3", Kind::kTv, ""},
      {"fail tel_init -3 2", Kind::kTv, ""},
      {"heal tel_init", Kind::kTv, ""},
      {"latency cable 20ms", Kind::kTv, ""},
      {"clear-calls", Kind::kTv, ""},
      {"set db/x int -4", Kind::kSet, "db/x"},
      {"set db/x bool true", Kind::kSet, "db/x"},
      {"set db/x string ''", Kind::kSet, "db/x"},
      {"set db/x raw \"'torn\"", Kind::kSet, "db/x"},
      {"close popup", Kind::kClosePopup, ""},
      {"remove popup program", Kind::kRemovePopupProgram, ""},
      {"create file /home/owner/share/a", Kind::kCreateFile, "/home/owner/share/a"},
      {"expect popup k", Kind::kExpectPopup, "k"},
      {"expect no popup", Kind::kExpectNoPopup, ""},
      {"expect key db/x v", Kind::kExpectKey, "db/x"},
      {"expect no key db/x", Kind::kExpectNoKey, "db/x"},
      {"expect log \"two words\"", Kind::kExpectLog, "two words"},
      {"expect no log", Kind::kExpectNoLog, ""},
      {"expect no log t", Kind::kExpectNoLog, "t"},
      {"expect file /a", Kind::kExpectFile, "/a"},
      {"expect no file /a", Kind::kExpectNoFile, "/a"},
      {"expect calls tel_init 3", Kind::kExpectCalls, "tel_init"},
  };
  for (const auto& expected : cases) {
    const auto steps = Parsed(std::string("at 1s ") + expected.text);
    ASSERT_EQ(steps.size(), 1U) << expected.text;
    EXPECT_EQ(steps[0].kind, expected.kind) << expected.text;
    EXPECT_EQ(steps[0].subject, expected.subject) << expected.text;
  }
}

TEST(ScenarioParser, EachMistakeIsNamedWithItsFileAndLine) {
  const struct {
    const char* text;
    const char* error;
  } cases[] = {
      {"", "f:1: nothing happens here"},
      {"\n\ncable plug", "f:3: a step begins with \"initially\" or \"at TIME\""},
      {"at", "f:1: a step begins with \"initially\" or \"at TIME\""},
      {"at 1s", "f:1: a time without a step"},
      {"at 5 cable plug", "f:1: not a time: \"5\"; write 500ms, 1.5s or 2min"},
      {"at -1s cable plug", "f:1: not a time: \"-1s\"; write 500ms, 1.5s or 2min"},
      {"at infs cable plug", "f:1: not a time: \"infs\"; write 500ms, 1.5s or 2min"},
      {"at 2s cable plug\nat 1s cable unplug", "f:2: this is earlier than the step before it"},
      {"at 1s cable plug\ninitially telephony start",
       "f:2: what is so initially comes before the first \"at\""},
      {"initially expect no popup", "f:1: before the daemon's start nothing can be seen"},
      {"initially close popup", "f:1: before the daemon's start nothing can be seen"},
      {"at 1s dance", "f:1: unknown step \"dance\""},
      {"at 1s cable chew", "f:1: expected: cable plug | cable unplug | cable state NUMBER"},
      {"at 1s cable state two", "f:1: expected: cable plug | cable unplug | cable state NUMBER"},
      {"at 1s fail tel_init", "f:1: expected: fail FUNCTION CODE [TIMES]"},
      {"at 1s fail tel_init 1 x", "f:1: expected: fail FUNCTION CODE [TIMES]"},
      {"at 1s latency cable 20", "f:1: expected: latency cable|dongle TIME, with TIME such as 50ms"},
      {"at 1s set db/x int", "f:1: expected: set KEY int|bool|string|raw VALUE"},
      {"at 1s set db/x int four", "f:1: \"four\" is no value of type int"},
      {"at 1s set db/x bool 1", "f:1: \"1\" is no value of type bool"},
      {"at 1s set db/x text a", "f:1: \"a\" is no value of type text"},
      {"at 1s create file /etc/passwd", "f:1: files are created under /home/owner/share/ only"},
      {"at 1s create file /home/owner/share/../x",
       "f:1: files are created under /home/owner/share/ only"},
  };
  for (const auto& expected : cases) {
    EXPECT_EQ(ErrorOf(expected.text), expected.error);
  }
  EXPECT_EQ(ErrorOf("at 1s expect a miracle").substr(0, 30), "f:1: expected: expect [no] pop");
  EXPECT_EQ(ErrorOf("at 1s expect popup").substr(0, 30), "f:1: expected: expect [no] pop");
  EXPECT_NE(ErrorOf("at 1s expect log \"open"), "");
}

TEST(ScenarioParser, AllMistakesAreToldAtOnce) {
  std::istringstream stream("at 1s dance\nat 2s cable plug\nat 3s sing\n");
  std::vector<std::string> errors;
  scenario::Parse("f", stream, errors);
  EXPECT_EQ(errors.size(), 2U);
}

Step StepOf(const std::string& text) {
  return Parsed("at 1s " + text).at(0);
}

scenario::Outcome Played(const std::string& text, const Json::Value& answer = {}) {
  return scenario::Play(StepOf(text), [&](const Json::Value&) { return answer; });
}

TEST(ScenarioStep, WritesAndReadsSettingsOfEachType) {
  using Kind = scenario::Outcome::Kind;
  EXPECT_EQ(Played("set memory/a int -4").kind, Kind::kDone);
  EXPECT_EQ(Played("set memory/b bool true").kind, Kind::kDone);
  EXPECT_EQ(Played("set memory/c string \"a 'text'\"").kind, Kind::kDone);
  int number = 0;
  EXPECT_EQ(vconf_get_int("memory/a", &number), VCONF_OK);
  EXPECT_EQ(number, -4);
  EXPECT_EQ(Played("expect key memory/a -4").kind, Kind::kDone);
  EXPECT_EQ(Played("expect key memory/b true").kind, Kind::kDone);
  EXPECT_EQ(Played("expect key memory/c \"a 'text'\"").kind, Kind::kDone);
  EXPECT_EQ(Played("set memory/c raw \"'torn\"").kind, Kind::kDone);
  EXPECT_EQ(Played("expect no key memory/c").kind, Kind::kDone);
  EXPECT_EQ(Played("expect key memory/a 4").why, "it is \"-4\"");
  EXPECT_EQ(Played("expect key memory/none 4").why, "it has no value");
  EXPECT_EQ(Played("expect no key memory/a").why, "it is \"-4\"");
  EXPECT_EQ(Played("set memory/../x int 1").kind, Kind::kUnmet);
  EXPECT_EQ(Played("set memory/../x raw 1").kind, Kind::kUnmet);
}

TEST(ScenarioStep, TheTvsRefusalIsPassedOn) {
  Json::Value answer;
  answer["ok"] = false;
  answer["error"] = "no";
  EXPECT_EQ(Played("cable plug", answer).kind, scenario::Outcome::Kind::kUnmet);
  EXPECT_EQ(Played("cable plug", answer).why, "no");
  answer["ok"] = true;
  EXPECT_EQ(Played("cable plug", answer).kind, scenario::Outcome::Kind::kDone);
}

TEST(ScenarioStep, CallsAreCounted) {
  Json::Value answer;
  answer["ok"] = true;
  answer["calls"].append("one");
  EXPECT_EQ(Played("expect calls tel_init 1", answer).kind, scenario::Outcome::Kind::kDone);
  EXPECT_EQ(Played("expect calls tel_init 2", answer).why, "it was called 1 times");
}

}  // namespace

// The days have everything in them that the language of scenarios has. What can be said is asked of
// those who understand it, so that a new word is missed here.

#include "Household.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <glib.h>
#include <gtest/gtest.h>

#include "Commands.h"
#include "PlatformFunctions.h"
#include "Scenario.h"
#include "ScenarioRequest.h"
#include "Story.h"
#include "VirtualTv.h"
#include "vconf_keys.h"

using soak::Events;
using soak::Household;

namespace {

using Words = scenario::Words;
using Names = std::set<std::string>;

/// What no day has, and why.
const std::map<std::string, std::string>& LeftOut() {
  static const std::map<std::string, std::string> words = {
      {"calls", "only looks"},
      {"status", "only looks"},
      {"clear-calls", "the soak itself reads the calls, and forgets them when it has"},
  };
  return words;
}

/// Words that a usage has in it for people.
const Names& Prose() {
  static const Names words = {"with", "such", "as"};
  return words;
}

Words Split(const std::string& text) {
  int count = 0;
  g_auto(GStrv) parsed = nullptr;
  g_shell_parse_argv(text.c_str(), &count, &parsed, nullptr);
  return {parsed, parsed + count};
}

/// The steps of two months, as words. A rare thing happens a few times in them.
const std::vector<Words>& Steps() {
  static const std::vector<Words> steps = [] {
    std::vector<Words> all;
    for (const std::uint64_t seed : {1, 2}) {
      Household household(seed);
      for (int day = 0; day < 30; ++day) {
        const Events events = household.NextDay();
        std::ranges::transform(events, std::back_inserter(all),
                               [](const soak::Event& event) { return Split(event.text); });
      }
    }
    return all;
  }();
  return steps;
}

/// A word, or the name of an option, in any step that begins so.
bool IsSaid(const Words& beginning, const std::string& word) {
  return std::ranges::any_of(Steps(), [&](const Words& step) {
    return step.size() >= beginning.size() &&
           std::equal(beginning.begin(), beginning.end(), step.begin()) &&
           std::ranges::any_of(step, [&](const std::string& said) {
             return said == word || said.starts_with(word + "=");
           });
  });
}

/// The words in small letters, which are to be said as they stand.
Names Literals(const std::string& usage) {
  Names literals;
  std::string word;
  for (const char c : usage + " ") {
    if (g_ascii_isalnum(c) || c == '-' || c == '_') {
      word += c;
      continue;
    }
    if (!word.empty() &&
        std::ranges::all_of(
            word, [](char l) { return g_ascii_islower(l) || g_ascii_isdigit(l) || l == '-'; }) &&
        !g_ascii_isdigit(word.front())) {
      literals.insert(word);
    }
    word.clear();
  }
  return literals;
}

/// What a command that lacks something is told.
std::string UsageOf(const Words& words) {
  std::string error;
  EXPECT_FALSE(scenario::RequestOf(words, error)) << words.front();
  constexpr std::string_view kExpected = "expected: ";
  EXPECT_TRUE(error.starts_with(kExpected)) << error;
  return error.substr(kExpected.size());
}

/// What a request is told that has a word which nobody knows.
Names KnownInstead(const std::string& line) {
  std::string error;
  const auto request = scenario::RequestOf(Split(line), error);
  EXPECT_TRUE(request) << line << ": " << error;
  const std::string refusal = tv_commands::Execute(VirtualTv::Instance(), *request)["error"].asString();
  constexpr std::string_view kMark = "must be one of ";
  const std::size_t mark = refusal.find(kMark);
  EXPECT_NE(mark, std::string::npos) << line << ": " << refusal;
  return Literals(refusal.substr(mark + kMark.size()));
}

void ExpectSaid(const Words& beginning, const Names& words) {
  EXPECT_FALSE(words.empty()) << beginning.front();
  for (const std::string& word : words) {
    EXPECT_TRUE(IsSaid(beginning, word))
        << "\"" << word << "\" is in no step that begins with \"" << beginning.front() << "\"";
  }
}

/// Whether the days have it; one that is new here has to be decided about.
bool IsPlayed(scenario::Step::Kind kind) {
  using Kind = scenario::Step::Kind;
  switch (kind) {
    case Kind::kTv:
    case Kind::kSet:
    case Kind::kClosePopup:
    case Kind::kRemovePopupProgram:
    case Kind::kCreateFile:
      return true;
    case Kind::kExpectPopup:
    case Kind::kExpectNoPopup:
    case Kind::kExpectKey:
    case Kind::kExpectNoKey:
    case Kind::kExpectLog:
    case Kind::kExpectNoLog:
    case Kind::kExpectFile:
    case Kind::kExpectNoFile:
    case Kind::kExpectSoftapManager:
    case Kind::kExpectCalls:
    case Kind::kExpectKpi:
    case Kind::kExpectNoKpi:
    case Kind::kExpectJson:
    case Kind::kExpectSaved:
    case Kind::kExpectTop:
    case Kind::kExpectWifi:
      return false;
  }
  return false;
}

}  // namespace

TEST(Household, TheSameSeedWritesTheSameDays) {
  Household one(7);
  Household other(7);
  Household another(8);
  for (int day = 0; day < 3; ++day) {
    const Events events = one.NextDay();
    EXPECT_EQ(events, other.NextDay());
    EXPECT_NE(events, another.NextDay());
    EXPECT_TRUE(std::ranges::is_sorted(events, {}, &soak::Event::at));
    EXPECT_GT(events.size(), 200U);
    EXPECT_LE(events.back().at, soak::kDay);
  }
}

TEST(Household, EveryDayIsAScenario) {
  Household household(3);
  for (int day = 0; day < 30; ++day) {
    const Events events = household.NextDay();
    EXPECT_EQ(soak::ToScenario(events).steps.size(), events.size());
  }
}

TEST(Household, HasEveryKindOfStepThatChangesSomething) {
  std::set<scenario::Step::Kind> played;
  Household household(1);
  for (int day = 0; day < 30; ++day) {
    for (const scenario::Step& step : soak::ToScenario(household.NextDay()).steps) {
      played.insert(step.kind);
    }
  }
  for (int kind = 0; kind <= static_cast<int>(scenario::Step::Kind::kExpectWifi); ++kind) {
    EXPECT_EQ(played.contains(static_cast<scenario::Step::Kind>(kind)),
              IsPlayed(static_cast<scenario::Step::Kind>(kind)))
        << kind;
  }
}

TEST(Household, HasEveryCommandForTheTvWithAllItsWords) {
  for (const std::string& command : scenario::TvCommands()) {
    if (LeftOut().contains(command)) {
      EXPECT_FALSE(IsSaid({command}, command)) << command << ", although: " << LeftOut().at(command);
      continue;
    }
    Names words = Literals(UsageOf({command}));
    for (const std::string& prose : Prose()) {
      words.erase(prose);
    }
    ExpectSaid({command}, words);
  }
}

TEST(Household, HasTheOptionsOfTheCommandsThatHaveSome) {
  ExpectSaid({"radio", "add"}, Literals(UsageOf({"radio", "add"})));
  ExpectSaid({"wifi", "save"}, Literals(UsageOf({"wifi", "save"})));
  ExpectSaid({"wifi", "connect"}, Literals(UsageOf({"wifi", "connect"})));
  ExpectSaid({"internet", "addresses"}, {"cable", "dongle", "ipv4", "ipv6"});
}

TEST(Household, HasEveryValueThatACommandKnows) {
  VirtualTv::Instance().GetWifi().AddRadio({.bssid = "02:00:00:00:00:01", .essid = "Test"});
  ExpectSaid({"delay"}, KnownInstead("delay nonsense 1s"));
  ExpectSaid({"latency"}, KnownInstead("latency nonsense 1s"));
  ExpectSaid({"player"}, KnownInstead("player nonsense 1"));
  ExpectSaid({"settings-app", "answer"}, KnownInstead("settings-app answer nonsense"));
  ExpectSaid({"wifi", "fail-next"}, KnownInstead("wifi fail-next nonsense 1"));
  ExpectSaid({"radio", "temper"}, KnownInstead("radio temper 02:00:00:00:00:01 nonsense"));
  ExpectSaid({"internet"}, KnownInstead("internet nonsense on"));
  const auto values_of = [](const std::string& option) {
    Names values;
    for (const std::string& value :
         KnownInstead("radio add 02:00:00:00:00:02 Test " + option + "=nonsense")) {
      values.insert(option + "=" + value);
    }
    return values;
  };
  ExpectSaid({"radio", "add"}, values_of("security"));
  ExpectSaid({"radio", "add"}, values_of("mode"));
}

TEST(Household, LetsEveryFunctionFailThatGivesNothingBack) {
  const auto gives_back = [](std::string_view function) {
    return function.ends_with("destroy") || function.ends_with("deinit") ||
           function.ends_with("deinitialize") || function.ends_with("_fini") ||
           function.find("_free_") != std::string_view::npos ||
           function.find("_unset_") != std::string_view::npos ||
           function.find("_ignore_") != std::string_view::npos;
  };
  for (const std::string_view function : kPlatformFunctions) {
    EXPECT_NE(IsSaid({"fail"}, std::string(function)), gives_back(function)) << function;
  }
}

TEST(Household, WritesEverySetting) {
  for (const vconf_keys::Entry& entry : vconf_keys::kCatalogue) {
    EXPECT_TRUE(IsSaid({"set"}, std::string(entry.name))) << entry.name;
  }
  ExpectSaid({"set"}, {"int", "bool", "string", "raw"});
}

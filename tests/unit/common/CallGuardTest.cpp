#include "call_guarded.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CallGate.h"
#include "TestLog.h"
#include "vconf.h"

TEST(CallGuard, RunsOnceAndSaysNothingWhenAllIsWell) {
  int runs = 0;
  CallGuarded([&] { ++runs; });
  EXPECT_EQ(runs, 1);
  EXPECT_TRUE(test_log::Lines().empty());
}

TEST(CallGuard, AnExceptionBecomesALogLine) {
  CallGuarded([] { throw std::out_of_range("no such member"); });
  EXPECT_TRUE(test_log::Has("exception no such member"));
}

TEST(CallGuard, AnExceptionWithPercentSignsIsLoggedAsItStands) {
  CallGuarded([] { throw std::runtime_error("100%s%n"); });
  EXPECT_TRUE(test_log::Has("exception 100%s%n"));
}

namespace {
std::vector<std::string> g_seen;

std::optional<int> Record(std::string_view function, std::vector<std::string> arguments) {
  std::string call(function);
  for (const std::string& argument : arguments) {
    call += " " + argument;
  }
  g_seen.push_back(call);
  return std::nullopt;
}
}  // namespace

TEST(CallGate, AHookSeesEveryCallWithItsArguments) {
  call_gate::SetHook(Record);
  int value = 0;
  vconf_set_int("memory/a", -5);
  vconf_get_int("memory/a", &value);
  vconf_set_str("memory/b", nullptr);
  vconf_get_str(nullptr);
  EXPECT_EQ(g_seen, (std::vector<std::string>{"vconf_set_int memory/a -5", "vconf_get_int memory/a",
                                              "vconf_set_str memory/b null", "vconf_get_str null"}));
  EXPECT_EQ(value, -5);
}

TEST(CallGate, AHookRefusesWithItsCode) {
  call_gate::SetHook([](std::string_view, std::vector<std::string>) { return std::optional<int>(-7); });
  int value = 3;
  EXPECT_EQ(vconf_set_int("memory/a", 1), -7);
  EXPECT_EQ(vconf_set_str("memory/a", "x"), -7);
  EXPECT_EQ(vconf_notify_key_changed(
                "memory/a", [](keynode_t*, void*) {}, nullptr),
            -7);
  EXPECT_NE(vconf_get_int("memory/a", &value), VCONF_OK);
  EXPECT_EQ(value, 3);
  call_gate::SetHook(nullptr);
  EXPECT_EQ(vconf_get_int("memory/a", &value), VCONF_ERROR) << "nothing was written";
  EXPECT_EQ(vconf_set_int("memory/a", 1), VCONF_OK);
}

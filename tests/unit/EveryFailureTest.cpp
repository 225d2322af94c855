// Every function of the platform fails, one after the other: during the start sequence, for a whole
// evening, and once. The daemon lives on, and what is missing then is what docs/failures.md says.

#include <cstdio>
#include <fstream>
#include <map>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Evening.h"
#include "PlatformFunctions.h"
#include "TestLog.h"
#include "VirtualTv.h"

namespace {

enum class When { kAtStart, kAllEvening, kOnce };
constexpr When kWhens[] = {When::kAtStart, When::kAllEvening, When::kOnce};
constexpr int kFailed = -1;
constexpr char kNothing[] = "–";
constexpr char kNotCalled[] = "not called";

struct Failure {
  std::string function;
  When when;
};

const char* NameOf(When when) {
  switch (when) {
    case When::kAtStart:
      return "AtStart";
    case When::kAllEvening:
      return "AllEvening";
    case When::kOnce:
      return "Once";
  }
  return "";
}

void PrintTo(const Failure& failure, std::ostream* out) {
  *out << failure.function << " " << NameOf(failure.when);
}

std::vector<Failure> All() {
  std::vector<Failure> all;
  for (const std::string_view function : kPlatformFunctions) {
    for (const When when : kWhens) {
      all.push_back({std::string(function), when});
    }
  }
  return all;
}

/// The page's rows: function, at the start, all evening, once.
std::vector<std::vector<std::string>> Rows() {
  std::vector<std::vector<std::string>> rows;
  std::ifstream page(FAILURES_PAGE);
  for (std::string line; std::getline(page, line);) {
    if (!line.starts_with("| `")) {
      continue;
    }
    std::vector<std::string> cells;
    std::istringstream fields(line.substr(2));
    for (std::string cell; std::getline(fields, cell, '|');) {
      const std::size_t first = cell.find_first_not_of(' ');
      const std::size_t last = cell.find_last_not_of(' ');
      cells.push_back(first == std::string::npos ? "" : cell.substr(first, last - first + 1));
    }
    rows.push_back(cells);
  }
  return rows;
}

std::string CellOf(const Failure& failure) {
  for (const auto& row : Rows()) {
    if (row.size() == 4 && row[0] == "`" + failure.function + "`") {
      return row[1 + static_cast<std::size_t>(failure.when)];
    }
  }
  return "(no row)";
}

/// What the page says of an evening.
std::string Describe(const Evening& evening) {
  std::string text;
  const auto add = [&text](const std::string& what) { text += (text.empty() ? "" : "; ") + what; };
  for (const std::string& name : evening.Expected()) {
    if (!evening.IsSeen(name)) {
      add(name);
    }
  }
  for (const std::string& keyword :
       std::set<std::string>(evening.Surprises().begin(), evening.Surprises().end())) {
    add("**too much:** popup `" + keyword + "`");
  }
  return text.empty() ? kNothing : text;
}

/// Whether a failure of the function means that a handle stays.
bool EndsAHandle(const std::string& function) {
  return function.ends_with("_destroy") || function.ends_with("_deinitialize") ||
         function.ends_with("_deinit") || function == "usb_device_free_device_list";
}

/// Those of the two handlers of saved networks, and of the capture with its stick, which live as long as
/// the process.
const std::map<std::string, std::size_t> kHandlesAfterwards{
    {"connections", 1}, {"access points", 0},   {"Wi-Fi managers", 2},
    {"packages", 0},    {"lists of sticks", 0}, {"sticks", 1},
};

TEST(Evening, UndisturbedShowsAllThatItIsAboutAndNothingElse) {
  Evening evening;
  evening.Play([] {}, [] {}, [] {});
  EXPECT_EQ(Describe(evening), kNothing);
  EXPECT_EQ(evening.Handles(), kHandlesAfterwards);
  EXPECT_TRUE(test_log::Has(" Main Ended"));
}

TEST(EveryFailure, HasARowInThePageForEachFunctionInTheirOrder) {
  std::vector<std::string> in_page;
  for (const auto& row : Rows()) {
    EXPECT_EQ(row.size(), 4U) << row[0];
    in_page.push_back(row[0]);
  }
  std::vector<std::string> functions;
  for (const std::string_view function : kPlatformFunctions) {
    functions.push_back("`" + std::string(function) + "`");
  }
  EXPECT_EQ(in_page, functions);
}

class EveryFailure : public testing::TestWithParam<Failure> {};

TEST_P(EveryFailure, IsLivedThroughAndCostsWhatThePageSays) {
  VirtualTv& tv = VirtualTv::Instance();
  const auto& [function, when] = GetParam();
  Evening evening;
  bool is_called = false;
  if (when == When::kAtStart) {
    tv.Fail(function, kFailed);
  }
  evening.Play(
      [&, function = function, when = when] {
        if (when == When::kAtStart) {
          is_called = !tv.Calls(function).empty();
          tv.StopFailing(function);
        } else {
          tv.ClearCalls();
          tv.Fail(function, kFailed, when == When::kOnce ? 1 : VirtualTv::kForGood);
        }
      },
      [&, function = function] { tv.StopFailing(function); },
      [&, function = function, when = when] {
        if (when == When::kAllEvening) {
          tv.Fail(function, kFailed);
        }
      });
  is_called = is_called || (when != When::kAtStart && !tv.Calls(function).empty());
  EXPECT_TRUE(test_log::Has(" Main Ended"));

  const bool cable = evening.IsSeen(Evening::kCableAfterwards);
  const bool screen = evening.IsSeen(Evening::kScreenAfterwards);
  EXPECT_TRUE(cable || screen) << "the daemon does not answer any more";
  if (when != When::kAtStart) {
    EXPECT_TRUE(cable && screen) << "what works again is not used again";
  }
  if (!EndsAHandle(function)) {
    auto most = kHandlesAfterwards;
    // One that does not come to its end has its connection for good.
    most["connections"] += evening.IsSeen(Evening::kWiredRenewal) ? 0 : 1;
    for (const auto& [kind, count] : evening.Handles()) {
      EXPECT_LE(count, most[kind]) << kind << " are forgotten";
    }
  }
  if (!is_called) {
    EXPECT_EQ(Describe(evening), kNothing) << "by what?";
  }
  const std::string cell = is_called ? Describe(evening) : kNotCalled;
  std::printf("cell: %s\n", cell.c_str());  // tests/docs/write_failures.py reads it
  EXPECT_EQ(cell, CellOf(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(OfThePlatform, EveryFailure, testing::ValuesIn(All()),
                         [](const auto& info) { return info.param.function + NameOf(info.param.when); });

}  // namespace

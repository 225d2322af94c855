// A month of a household, at random, on the whole daemon: it must live through it, and be at its end
// what it was after the first day. What fails is made as short as it can be, and written as a scenario.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include <unistd.h>
#include <CLI/CLI.hpp>

#include "Child.h"
#include "Household.h"
#include "Shrinker.h"
#include "Story.h"

using namespace std::chrono_literals;
using namespace soak;

#ifdef __SANITIZE_ADDRESS__
/// So that a sanitizer's end is told from others.
extern "C" const char* __asan_default_options() {
  return "exitcode=23:detect_stack_use_after_return=1:handle_abort=1";
}
#endif

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitMisuse = 2;

struct Options {
  double days = 30;
  std::uint64_t seed = 0;
  bool is_shrunk = true;
  std::size_t most_tries = 400;
  std::string out = "soak-failure.scenario";
  std::string play;
  bool is_twice = false;
};

/// What is freed must be seen to be freed: without the allocators' caches, which can only be switched
/// off before a program starts.
void SwitchOffCaches(char** argv) {
  constexpr char kMark[] = "PELORUS_SOAK_STARTED";
  if (std::getenv(kMark) != nullptr) {
    return;
  }
  setenv(kMark, "1", 1);
  setenv("GLIBC_TUNABLES", "glibc.malloc.tcache_count=0", 1);
  setenv("G_SLICE", "always-malloc", 1);
  execv("/proc/self/exe", argv);
  std::perror("soak: cannot start anew");
}

/// The days, one after the other; of the last one perhaps only a part.
std::vector<Events> WriteDays(std::uint64_t seed, double days) {
  Household household(seed);
  std::vector<Events> all;
  for (double left = days; left > 0; left -= 1) {
    Events day = household.NextDay();
    if (left < 1) {
      const auto end = std::chrono::milliseconds(static_cast<std::int64_t>(kDay.count() * left));
      std::erase_if(day, [end](const Event& event) { return event.at > end; });
    }
    all.push_back(std::move(day));
  }
  return all;
}

Plan PlanOf(const std::vector<Events>& days) {
  Plan plan;
  plan.furnishing = FurnishingScenario();
  plan.has_morning = true;
  for (const Events& day : days) {
    plan.chapters.push_back(ToScenario(day));
  }
  return plan;
}

bool IsGrowth(const std::string& failure) {
  return failure.starts_with("growth");
}

/// The same events, as a story that is told once, or for what grows again and again.
Plan PlanOfCandidate(const scenario::Scenario& furnishing, const Events& events, bool is_growth) {
  constexpr std::size_t kTimes = 6;
  Plan plan;
  plan.furnishing = furnishing;
  plan.chapters.assign(is_growth ? kTimes : 1, ToScenario(events));
  plan.is_each_chapter_alike = is_growth;
  return plan;
}

void TellOutcome(const Outcome& outcome) {
  const Report& report = outcome.report;
  if (!outcome.failure.empty()) {
    std::printf("FAILED: %s: %s\n", outcome.failure.c_str(), outcome.details.c_str());
    std::printf("  on day %d, after its event %d\n", report.chapter + 1, report.step + 1);
  }
  std::printf(
      "%llu events (%llu could not be done), %llu calls of the platform, %llu popups, %llu KPI "
      "records\n",
      static_cast<unsigned long long>(report.steps), static_cast<unsigned long long>(report.refused),
      static_cast<unsigned long long>(report.calls), static_cast<unsigned long long>(report.popups),
      static_cast<unsigned long long>(report.records));
  std::printf("what happened and what the daemon asked for: %016llx\n",
              static_cast<unsigned long long>(report.hash));
}

/// Up to the one that failed, which is in it.
Events UpTo(const Events& day, const Report& report) {
  const bool has_step = report.step >= 0 && static_cast<std::size_t>(report.step) < day.size();
  return has_step ? Events(day.begin(), day.begin() + report.step + 1) : day;
}

/// All days until then as one long one.
Events Joined(const std::vector<Events>& days, const Report& report) {
  Events all;
  for (int i = 0; i <= report.chapter; ++i) {
    const auto& day = days[static_cast<std::size_t>(i)];
    for (const Event& event : i == report.chapter ? UpTo(day, report) : day) {
      all.push_back({event.at + i * kDay, event.text});
    }
  }
  return all;
}

void WriteFailure(const Options& options, const Outcome& outcome, const Events& events, bool is_shrunk) {
  const bool is_growth = IsGrowth(outcome.failure);
  const std::vector<std::string> remarks = {
      outcome.failure + ": " + outcome.details,
      "Found by pelorus-soak --days " + std::to_string(options.days) + " --seed " +
          std::to_string(options.seed) + (is_shrunk ? ", and shrunk." : ", and not shrunk."),
      is_growth ? "Played again and again it leaves more behind each time: pelorus-soak --play FILE"
                : "Play it with scenario-runner FILE, or with what the soak looks at: pelorus-soak "
                  "--play FILE",
      ""};
  constexpr std::size_t kMostShown = 100;
  if (events.size() <= kMostShown) {
    WriteScenario(std::cout, remarks, events);
  }
  std::ofstream file(options.out);
  WriteScenario(file, remarks, events);
  file.close();
  if (file) {
    std::printf("written to %s\n", options.out.c_str());
  } else {
    std::fprintf(stderr, "soak: cannot write %s\n", options.out.c_str());
  }
}

void ShrinkFailure(const Options& options, const std::vector<Events>& days, const Outcome& outcome) {
  Limits limits;
  limits.silence = 30s;
  limits.is_quiet = true;
  const scenario::Scenario furnishing = FurnishingScenario();
  // By the wall's clock, and not by the virtual one.
  constexpr std::time_t kLongestSeconds = 600;
  const std::time_t end = std::time(nullptr) + kLongestSeconds;
  const auto fails = [&](const Events& events) {
    if (std::time(nullptr) > end) {
      return false;
    }
    const Outcome again =
        LiveInChild(PlanOfCandidate(furnishing, events, IsGrowth(outcome.failure)), limits);
    return again.failure == outcome.failure || (IsGrowth(again.failure) && IsGrowth(outcome.failure));
  };
  const auto day = static_cast<std::size_t>(outcome.report.chapter);
  Events events = UpTo(days[day], outcome.report);
  if (!fails(events)) {
    events = Joined(days, outcome.report);
    if (!fails(events)) {
      std::printf("it does not fail again by itself; the seed shows it\n");
      WriteFailure(options, outcome, events, false);
      return;
    }
  }
  std::printf("shrinking %zu events\n", events.size());
  std::fflush(stdout);
  Shrinker shrinker(fails, options.most_tries);
  events = shrinker.Shrink(events);
  std::printf("%zu are left, after %zu tries%s\n", events.size(), shrinker.Tries(),
              shrinker.HasRunOut() ? ", which were all there are" : "");
  WriteFailure(options, outcome, events, true);
}

int Soak(const Options& options) {
  const std::vector<Events> days = WriteDays(options.seed, options.days);
  Plan plan = PlanOf(days);
  plan.is_told = !options.is_twice;
  const Outcome outcome = LiveInChild(plan, {});
  TellOutcome(outcome);
  if (!outcome.failure.empty()) {
    if (options.is_shrunk) {
      ShrinkFailure(options, days, outcome);
    }
    return kExitFailed;
  }
  if (options.is_twice) {
    const Outcome again = LiveInChild(plan, {});
    TellOutcome(again);
    if (!again.failure.empty() || again.report.hash != outcome.report.hash) {
      std::printf("FAILED: the same seed went another way\n");
      return kExitFailed;
    }
  }
  return 0;
}

/// A scenario file, with all that the soak looks at: once, and several times over for what grows.
int Play(const Options& options) {
  scenario::Scenario furnishing;
  Events events;
  if (!ReadScenario(options.play, furnishing, events)) {
    return kExitMisuse;
  }
  for (const bool is_growth : {false, true}) {
    const Outcome outcome = LiveInChild(PlanOfCandidate(furnishing, events, is_growth), {});
    if (!outcome.failure.empty() || is_growth) {
      TellOutcome(outcome);
      return outcome.failure.empty() ? 0 : kExitFailed;
    }
  }
  return 0;
}

/// A new one each day, and the same one all day.
std::uint64_t SeedOfToday() {
  const std::time_t now = std::time(nullptr);
  std::tm date{};
  gmtime_r(&now, &date);
  return static_cast<std::uint64_t>((date.tm_year + 1900) * 10'000 + (date.tm_mon + 1) * 100 +
                                    date.tm_mday);
}

}  // namespace

int main(int argc, char** argv) {
  SwitchOffCaches(argv);
  Options options;
  options.seed = SeedOfToday();
  bool is_not_shrunk = false;
  CLI::App app{
      "Random days of a household on the whole daemon, on the virtual TV and the virtual clock.\n"
      "Fails when the daemon crashes, hangs, breaks a rule, no longer does its work in the evening, or\n"
      "has more memory, descriptors, threads, GLib sources or handles than after the first day. A\n"
      "failure is shrunk to the shortest sequence that still fails, and written as a scenario.\n"};
  app.add_option("--days", options.days, "how many days; 0.25 is a morning")
      ->check(CLI::Range(0.001, 10'000.0))
      ->capture_default_str();
  app.add_option("--seed", options.seed,
                 "what chance starts from; the same seed is the same days. Default: the date");
  app.add_flag("--no-shrink", is_not_shrunk, "leave a failure as it is found");
  app.add_option("--tries", options.most_tries, "how many shorter sequences are tried at most")
      ->capture_default_str();
  app.add_option("--out", options.out, "where a failure's scenario is written")->capture_default_str();
  app.add_option("--play", options.play,
                 "play this scenario file in place of random days: once, then six times over")
      ->check(CLI::ExistingFile);
  app.add_flag("--twice", options.is_twice,
               "live through the days two times, which must go the same way");
  app.footer(
      "Exit code: 0 when all went well, 1 for a failure, 2 for a mistake on the command line.\n"
      "Needs to be root, or unshare -rm: the daemon has fixed paths.");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kExitMisuse;
  }
  options.is_shrunk = !is_not_shrunk;
  if (!options.play.empty()) {
    return Play(options);
  }
  std::printf("%g days, seed %llu\n", options.days, static_cast<unsigned long long>(options.seed));
  std::fflush(stdout);
  return Soak(options);
}

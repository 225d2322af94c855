// Plays a scenario file against the whole daemon, on the virtual clock: hours pass in milliseconds, and
// the real world (a program that starts or ends) is waited for while the clock stands.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <dlfcn.h>
#include <glib.h>
#include <signal.h>
#include <unistd.h>

#include "Commands.h"
#include "Pelorus.h"
#include "Popups.h"
#include "Sandbox.h"
#include "Scenario.h"
#include "ScenarioStep.h"
#include "TestLog.h"
#include "VirtualClock.h"
#include "VirtualTv.h"

namespace {

using std::chrono::milliseconds;
using Kind = scenario::Step::Kind;

/// What events of the last step may still bring.
constexpr milliseconds kAftermath(1000);

/// Waits in real time, without running the main loop.
bool WaitFor(const std::function<bool()>& fact) {
  constexpr useconds_t kLookEveryUs = 500;
  constexpr int kMostLooks = 20'000;
  for (int looks = 0; looks < kMostLooks; ++looks) {
    if (fact()) {
      return true;
    }
    usleep(kLookEveryUs);
  }
  return false;
}

/// The evening that this process plays: steps in, complaints out.
class Player {
 public:
  /// @param all_unmet  the evening is made so that no expectation of it is met, which tests the player
  Player(scenario::Scenario scenario, bool all_unmet)
      : m_scenario(std::move(scenario)), m_all_unmet(all_unmet) {}

  void PlayInitialSteps() {
    for (const scenario::Step& step : m_scenario.steps) {
      if (step.is_initial) {
        PlayStep(step);
      }
    }
  }

  /// Puts every step on the main loop that is just being made, in front of all that the daemon will.
  void Schedule(GMainLoop* loop) {
    m_loop = loop;
    for (const scenario::Step& step : m_scenario.steps) {
      if (!step.is_initial) {
        At(step.at, [this, &step] { PlayStep(step); });
      }
    }
    const milliseconds end = m_scenario.steps.back().at + kAftermath;
    At(end, [this] { g_main_loop_quit(m_loop); });
    virtual_clock::SetHorizon(virtual_clock::Now() + end + kAftermath);
  }

  /// After the daemon has ended. @return whether all was as the scenario says
  bool Finish(int exit_code) {
    if (!m_all_unmet) {
      Check(exit_code == 0, m_scenario.file + ": the daemon ended with " + std::to_string(exit_code));
      Check(test_log::Has("On Terminate") && test_log::Has(" Main Ended"),
            m_scenario.file + ": the daemon did not go through its stop sequence");
      Check(SpawnCount() == m_expected_popups, m_scenario.file + ": popups came that nobody expected");
      Check(SpawnCountOf("SoftapProxy.cpp: ") == m_expected_managers,
            m_scenario.file + ": a soft access point manager came that nobody expected");
    }
    EndPopups();
    return m_complaints == 0;
  }

 private:
  static void At(milliseconds time, std::function<void()> what) {
    g_timeout_add_full(
        G_PRIORITY_DEFAULT, static_cast<guint>(time.count()),
        [](gpointer function) -> gboolean {
          (*static_cast<std::function<void()>*>(function))();
          return G_SOURCE_REMOVE;
        },
        new std::function<void()>(std::move(what)),
        [](gpointer function) { delete static_cast<std::function<void()>*>(function); });
  }

  void Check(bool is_so, const std::string& complaint) {
    if (!is_so) {
      ++m_complaints;
      std::printf("%s\n", complaint.c_str());
    }
  }

  void PlayStep(const scenario::Step& step) {
    const bool is_expectation = scenario::IsExpectation(step.kind);
    if (!is_expectation) {
      m_log_before_action = test_log::Messages().size();
    }
    scenario::Outcome outcome = scenario::Play(
        step,
        [](const Json::Value& request) { return tv_commands::Execute(VirtualTv::Instance(), request); },
        m_kpi_records);
    if (outcome.kind == scenario::Outcome::Kind::kNotOurs) {
      const std::string why = PlayHere(step);
      outcome.kind = why.empty() ? scenario::Outcome::Kind::kDone : scenario::Outcome::Kind::kUnmet;
      outcome.why = why;
    }
    const bool is_met = outcome.kind == scenario::Outcome::Kind::kDone;
    if (is_expectation && m_all_unmet) {
      Check(!is_met, scenario::NameOf(m_scenario, step) + ": this was not to be met, and was");
    } else {
      Check(is_met, scenario::NameOf(m_scenario, step) + ": " + outcome.why);
    }
  }

  /// The steps that need the daemon's process, its log or its files. @return why not, or nothing
  std::string PlayHere(const scenario::Step& step) {
    switch (step.kind) {
      case Kind::kClosePopup:
        return ClosePopup();
      case Kind::kRemovePopupProgram:
        return std::filesystem::remove(sandbox::kNotificationProgram) ? "" : "there was none";
      case Kind::kCreateFile:
        return CreateFile(step.subject);
      case Kind::kExpectPopup:
        return ExpectPopup(step.subject);
      case Kind::kExpectNoPopup:
        return SpawnCount() == m_expected_popups ? "" : "one was started";
      case Kind::kExpectSoftapManager:
        return ExpectSoftapManager();
      case Kind::kExpectLog:
        return HasLogged(step.subject) ? "" : "it was not logged since the last step that did something";
      case Kind::kExpectNoLog:
        return HasLogged(step.subject) ? "it was logged" : "";
      case Kind::kExpectFile:
        return std::filesystem::exists(step.subject) ? "" : "it is not there";
      case Kind::kExpectNoFile:
        return std::filesystem::exists(step.subject) ? "it is there" : "";
      case Kind::kTv:
      case Kind::kSet:
      case Kind::kExpectKey:
      case Kind::kExpectNoKey:
      case Kind::kExpectCalls:
      case Kind::kExpectKpi:
      case Kind::kExpectNoKpi:
      case Kind::kExpectJson:
      case Kind::kExpectSaved:
      case Kind::kExpectTop:
      case Kind::kExpectWifi:
        break;
    }
    return "nobody plays this";
  }

  /// How many notification programs the daemon has started, by its own word; it comes before theirs.
  static std::size_t SpawnCount() { return SpawnCountOf("NotiProxy.cpp: "); }
  /// @param launcher  how its log lines begin
  static std::size_t SpawnCountOf(std::string_view launcher) {
    const auto lines = test_log::Lines();
    return static_cast<std::size_t>(std::ranges::count_if(lines, [&](const std::string& line) {
      return line.starts_with(launcher) && line.find(") > posix_spawn ret 0 pid ") != std::string::npos;
    }));
  }

  std::string ExpectSoftapManager() {
    if (SpawnCountOf("SoftapProxy.cpp: ") <= m_expected_managers) {
      return "none was started";
    }
    ++m_expected_managers;
    return WaitFor([this] { return popups::SoftapManagers().size() >= m_expected_managers; })
               ? ""
               : "the manager did not run";
  }

  /// @return false when a started program has not said with what
  static bool WaitForStartedPopups() {
    return WaitFor([] { return popups::All().size() >= SpawnCount(); });
  }

  std::string ExpectPopup(const std::string& keyword) {
    if (SpawnCount() <= m_expected_popups) {
      return "none was started";
    }
    if (!WaitForStartedPopups()) {
      return "the notification program did not run";
    }
    const std::string shown = popups::Keywords()[m_expected_popups++];
    return shown == keyword ? "" : "it was \"" + shown + "\"";
  }

  static bool IsUp(pid_t pid) { return kill(pid, 0) == 0; }

  static std::string ClosePopup() {
    if (!WaitForStartedPopups()) {
      return "the notification program did not run";
    }
    const auto all = popups::All();
    if (all.empty() || !IsUp(all.back().pid)) {
      return "none is up";
    }
    kill(all.back().pid, SIGTERM);
    return WaitFor([&] { return !IsUp(all.back().pid); }) ? "" : "the daemon does not reap it";
  }

  static void EndPopups() {
    WaitForStartedPopups();
    std::vector<popups::Started> programs = popups::All();
    std::ranges::copy(popups::SoftapManagers(), std::back_inserter(programs));
    for (const popups::Started& program : programs) {
      if (IsUp(program.pid)) {
        kill(program.pid, SIGTERM);
      }
    }
  }

  static std::string CreateFile(const std::string& path) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream file(path);
    file << "left by a scenario\n";
    file.close();
    return file ? "" : "it cannot be written";
  }

  /// @param text  empty for any message
  [[nodiscard]] bool HasLogged(const std::string& text) const {
    const auto messages = test_log::Messages();
    const auto begin = messages.begin() + static_cast<std::ptrdiff_t>(m_log_before_action);
    return text.empty() ? begin != messages.end()
                        : std::find(begin, messages.end(), text) != messages.end();
  }

  scenario::Scenario m_scenario;
  bool m_all_unmet;
  scenario::KpiRecords m_kpi_records;
  GMainLoop* m_loop = nullptr;
  std::size_t m_expected_popups = 0;
  std::size_t m_expected_managers = 0;
  std::size_t m_log_before_action = 0;
  int m_complaints = 0;
};

Player* g_player = nullptr;  // set while the daemon runs

}  // namespace

/// The daemon keeps its loop to itself and never quits it; this is how the player comes by it.
extern "C" GMainLoop* g_main_loop_new(GMainContext* context, gboolean is_running) {
  using Function = GMainLoop* (*)(GMainContext*, gboolean);
  static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "g_main_loop_new"));
  GMainLoop* loop = real(context, is_running);
  if (Player* player = std::exchange(g_player, nullptr)) {
    player->Schedule(loop);
  }
  return loop;
}

int main(int argc, char** argv) {
  const bool all_unmet = argc == 3 && std::string(argv[1]) == "--unmet";
  if (argc != 2 && !all_unmet) {
    std::fprintf(stderr, "usage: %s [--unmet] FILE\n", argv[0]);
    return 2;
  }
  std::ifstream file(argv[argc - 1]);
  std::vector<std::string> errors;
  scenario::Scenario parsed = scenario::Parse(argv[argc - 1], file, errors);
  for (const std::string& error : errors) {
    std::printf("%s\n", error.c_str());
  }
  if (!errors.empty()) {
    return 1;
  }
  setenv("G_DEBUG", "fatal-criticals", 1);
  sandbox::Enter();
  sandbox::InstallPopupRecorder();
  sandbox::InstallSoftapManagerRecorder();
  test_log::Start();
  Player player(std::move(parsed), all_unmet);
  player.PlayInitialSteps();
  g_player = &player;
  if (!player.Finish(PelorusMain())) {
    test_log::Dump();
    return 1;
  }
  return 0;
}

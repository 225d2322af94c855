#include "Life.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <utility>

#include <dlfcn.h>
#include <glib.h>
#include <malloc.h>
#include <signal.h>
#include <unistd.h>

#include "Evening.h"
#include "Pelorus.h"
#include "Sandbox.h"
#include "VirtualClock.h"
#include "VirtualTv.h"
#include "Watch.h"

namespace soak {
namespace {

using std::chrono::milliseconds;
using namespace std::chrono_literals;

/// The plan on its way through the main loop.
class Player {
 public:
  Player(Plan plan, Report& report) : m_plan(std::move(plan)), m_report(report) {}

  void Furnish() {
    RememberTheNewTv();
    for (const scenario::Step& step : m_plan.furnishing.steps) {
      if (!Do(step)) {
        watch::Fail("soak", "the room cannot be furnished: " + step.text);
      }
    }
  }

  /// On the loop that the daemon has just made: the first steps are in front of all that it will put
  /// there.
  void Begin(GMainLoop* loop) {
    m_loop = loop;
    virtual_clock::SetHorizon(std::chrono::hours(24 * 365 * 10));
    if (m_plan.has_morning) {
      PlayActs(Evening(m_plan.furnishing), [this] { BeginChapter(0); });
    } else {
      BeginChapter(0);
    }
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

  void BeginChapter(std::size_t number) {
    m_report.chapter = static_cast<int>(number);
    m_report.step = -1;
    const scenario::Scenario& chapter = m_plan.chapters[number];
    for (const scenario::Step& step : chapter.steps) {
      At(step.at, [this, &step, &chapter] {
        m_report.step = static_cast<int>(&step - chapter.steps.data());
        Play(step);
      });
    }
    const milliseconds end = chapter.steps.empty() ? 0ms : chapter.steps.back().at;
    At(end + 1s,
       [this, number] { PlayActs(Evening(m_plan.furnishing), [this, number] { EndChapter(number); }); });
  }

  void Play(const scenario::Step& step) {
    ++m_report.steps;
    ++m_report.pulse;
    watch::LookAtCalls();
    const bool is_done = Do(step);
    m_report.refused += is_done ? 0 : 1;
    Mix(m_report, (is_done ? "done " : "refused ") + step.text);
  }

  void PlayActs(Acts acts, std::function<void()> then) {
    m_acts = std::move(acts);
    m_then = std::move(then);
    PlayAct(0);
  }

  void PlayAct(std::size_t number) {
    ++m_report.pulse;
    watch::LookAtCalls();
    if (number == m_acts.size()) {
      m_acts.clear();
      std::exchange(m_then, nullptr)();
      return;
    }
    At(m_acts[number].wait, [this, number] {
      m_acts[number].what();
      PlayAct(number + 1);
    });
  }

  /// From a round of the loop of its own: the timer that led here is gone, and those of the steps are.
  void EndChapter(std::size_t number) {
    g_idle_add_full(
        G_PRIORITY_LOW,
        [](gpointer self) -> gboolean {
          static_cast<Player*>(self)->JudgeChapter();
          return G_SOURCE_REMOVE;
        },
        this, nullptr);
    m_ended = number;
  }

  void JudgeChapter() {
    Inventory inventory = TakeInventory();
    // Each start of a capture opens a connection and leaves the last one open, which is known.
    inventory["connections"] -= m_report.captures;
    inventory[kHeapBytes] -= m_heap_before;
    if (m_ended == 0) {
      m_first = inventory;
    } else if (m_plan.is_growth_judged) {
      JudgeGrowth(inventory);
    }
    if (m_plan.is_told) {
      Tell(inventory);
    }
    m_last = std::move(inventory);
    m_last_captures = m_report.captures;
    if (m_ended + 1 < m_plan.chapters.size()) {
      BeginChapter(m_ended + 1);
    } else {
      g_main_loop_quit(m_loop);
    }
  }

  void JudgeGrowth(const Inventory& inventory) {
    for (const std::string& grown : Growth(m_first, inventory)) {
      watch::Fail("growth of " + grown.substr(0, grown.find(':')), grown);
    }
    if (!m_plan.is_each_chapter_alike) {
      return;
    }
    constexpr long kLeastLeak = 16;
    constexpr long kMostBytesOfAConnection = 160;
    const long captures = m_report.captures - m_last_captures;
    const long more = inventory.at(kHeapBytes) - m_last.at(kHeapBytes) -
                      std::max(0L, captures) * kMostBytesOfAConnection;
    m_growing_chapters = more >= kLeastLeak ? m_growing_chapters + 1 : 0;
    if (m_growing_chapters + 1 == m_plan.chapters.size()) {
      watch::Fail(std::string("growth of ") + kHeapBytes,
                  std::to_string(more) + " bytes more, each time that it happens");
    }
  }

  void Tell(const Inventory& inventory) const {
    std::printf("day %zu: %llu events, %llu calls, %llu popups, %llu records", m_ended + 1,
                static_cast<unsigned long long>(m_report.steps),
                static_cast<unsigned long long>(m_report.calls),
                static_cast<unsigned long long>(m_report.popups),
                static_cast<unsigned long long>(m_report.records));
    const bool is_last = m_ended + 1 == m_plan.chapters.size();
    std::printf("; heap %ld bytes\n", inventory.at(kHeapBytes));
    for (const auto& [kind, count] : inventory) {
      if (m_ended == 0 || is_last) {
        std::printf("    %-24s %ld\n", kind.c_str(), count);
      }
    }
    std::fflush(stdout);
  }

  Plan m_plan;
  Report& m_report;
  GMainLoop* m_loop = nullptr;
  Acts m_acts;
  std::function<void()> m_then;
  std::size_t m_ended = 0;
  std::size_t m_growing_chapters = 0;
  const long m_heap_before = TakeInventory()[kHeapBytes];  // what the plan takes, mostly
  Inventory m_first;
  Inventory m_last;
  long m_last_captures = 0;
};

Player* g_player = nullptr;  // until the daemon has made its loop

#ifndef __SANITIZE_ADDRESS__  // which tells of them itself
void OnDeadlySignal(int number) {
  watch::DumpLog();
  signal(number, SIG_DFL);
  raise(number);
}
#endif

}  // namespace

int Live(Plan plan, Report& report) {
  // One arena, so that what is counted is all there is.
  mallopt(M_ARENA_MAX, 1);
  // Timers of seconds end at a moment within the second that GLib makes of these.
  g_unsetenv("DBUS_SESSION_BUS_ADDRESS");
  g_unsetenv("HOSTNAME");
  g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK | G_LOG_LEVEL_CRITICAL));
#ifndef __SANITIZE_ADDRESS__
  for (const int number : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL, SIGTRAP}) {
    signal(number, OnDeadlySignal);
  }
#endif
  sandbox::Enter();
  sandbox::InstallPopupRecorder();
  watch::Start(report);
  Player player(std::move(plan), report);
  player.Furnish();
  g_player = &player;
  const int result = PelorusMain();
  watch::LookAtCalls();
  watch::ClosePopup();
  return result;
}

/// For the interposed function below, which comes by the daemon's loop.
void OnLoopMade(GMainLoop* loop) {
  if (Player* const player = std::exchange(g_player, nullptr)) {
    player->Begin(loop);
  }
}

}  // namespace soak

/// The daemon keeps its loop to itself and never quits it; this is how the player comes by it.
extern "C" GMainLoop* g_main_loop_new(GMainContext* context, gboolean is_running) {
  using Function = GMainLoop* (*)(GMainContext*, gboolean);
  static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "g_main_loop_new"));
  GMainLoop* loop = real(context, is_running);
  soak::OnLoopMade(loop);
  return loop;
}

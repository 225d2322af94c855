#include "WifiMonHandler.h"

#include <cerrno>
#include <cstdlib>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include "MainLoop.h"
#include "TestLog.h"

namespace {

bool g_has_no_threads = false;

}  // namespace

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*function)(void*), void* argument) {
  using Function = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
  static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "pthread_create"));
  return g_has_no_threads ? EAGAIN : real(thread, attributes, function, argument);
}

namespace {

/// Held by an object that is destroyed after main().
std::shared_ptr<WifiMonHandler> g_kept;

class WifiMonitor : public testing::Test {
 protected:
  WifiMonHandler::Listener Note(const std::string& name) {
    return [this, name](int result) { m_told.push_back(name + std::to_string(result)); };
  }
  void RunPass(std::size_t listeners) {
    RunLoopUntil([&] { return m_told.size() >= listeners; });
    RunLoopOnce();
  }

  std::vector<std::string> m_told;
  std::shared_ptr<WifiMonHandler> m_monitor = CNWSingleton<WifiMonHandler>::GetInstance();
};

TEST_F(WifiMonitor, IsOneForAllWhoHoldIt) {
  EXPECT_EQ(CNWSingleton<WifiMonHandler>::GetInstance(), m_monitor);
}

TEST_F(WifiMonitor, OnePassServesAllWhoWaitInTheirOrder) {
  EXPECT_EQ(m_monitor->Start(Note("a")), 101);
  EXPECT_EQ(m_monitor->Start(Note("b")), 102);
  EXPECT_EQ(m_monitor->Start(Note("c")), 103);
  RunPass(3);
  EXPECT_EQ(m_told, (std::vector<std::string>{"a1", "b1", "c1"}));
  EXPECT_EQ(test_log::Count("Run Wifi Mon =>"), 1U);
  EXPECT_EQ(test_log::Count("[WifiMon is already started ,wait for Results}"), 2U);
}

TEST_F(WifiMonitor, TellsNobodyBeforeTheMainLoopRuns) {
  m_monitor->Start(Note("a"));
  EXPECT_TRUE(m_told.empty());
}

TEST_F(WifiMonitor, LogsTheWayOfAPass) {
  m_monitor->Start(Note("a"));
  RunPass(1);
  // The thread's two lines come whenever it runs.
  EXPECT_EQ(test_log::Count("Run Wifi Mon =>"), 1U);
  EXPECT_EQ(test_log::Count("Inside m_notifyCb =>"), 1U);
  std::vector<std::string> messages = test_log::Messages();
  std::erase(messages, "Run Wifi Mon =>");
  std::erase(messages, "Inside m_notifyCb =>");
  EXPECT_EQ(messages, (std::vector<std::string>{"START", "Start => ", "START", "END", "END",
                                                "Inside _TimerCB =>", "START", "END"}));
}

TEST_F(WifiMonitor, PassOfAWorkerThatWasStoppedIsNotReported) {
  m_monitor->Start(Note("a"));
  WifiMonHandler stranger;
  ThreadBaseWifiIMPL(stranger).Stop();  // whether a worker runs is known once for the process
  RunLoopUntil([] { return test_log::Has("Inside _TimerCB =>"); });
  EXPECT_TRUE(m_told.empty());
  EXPECT_TRUE(test_log::Has("[Thread is  Stopped ]"));
}

TEST_F(WifiMonitor, NextPassIsANewOne) {
  m_monitor->Start(Note("a"));
  RunPass(1);
  EXPECT_EQ(m_monitor->Start(Note("b")), 102);
  RunPass(2);
  EXPECT_EQ(m_told, (std::vector<std::string>{"a1", "b1"}));
  EXPECT_EQ(test_log::Count("Run Wifi Mon =>"), 2U);
}

TEST_F(WifiMonitor, StoppedListenerIsNotTold) {
  const LocalHandler stopped = m_monitor->Start(Note("a"));
  m_monitor->Start(Note("b"));
  m_monitor->Stop(stopped);
  RunPass(1);
  EXPECT_EQ(m_told, std::vector<std::string>{"b1"});
}

TEST_F(WifiMonitor, StoppingAStrangerDoesNoHarm) {
  m_monitor->Start(Note("a"));
  m_monitor->Stop(0);
  RunPass(1);
  EXPECT_EQ(m_told, std::vector<std::string>{"a1"});
}

TEST_F(WifiMonitor, StartAfterStopBeginsANewPassThatServesTheOthersToo) {
  m_monitor->Start(Note("a"));
  m_monitor->Stop(m_monitor->Start(Note("b")));
  m_monitor->Start(Note("c"));
  RunPass(2);
  EXPECT_EQ(m_told, (std::vector<std::string>{"a1", "c1"}));
  EXPECT_EQ(test_log::Count("Run Wifi Mon =>"), 2U);
  EXPECT_EQ(test_log::Count("Inside _TimerCB =>"), 1U);
}

TEST_F(WifiMonitor, EmptyListenerStartsAPassAndGetsTheLatestName) {
  EXPECT_EQ(m_monitor->Start(nullptr), 100);
  EXPECT_EQ(test_log::Count("Start => "), 1U);
  EXPECT_EQ(m_monitor->Start(Note("a")), 101);
  EXPECT_EQ(m_monitor->Start({}), 101);
  RunPass(1);
  EXPECT_EQ(m_told, std::vector<std::string>{"a1"});
  EXPECT_EQ(test_log::Count("Run Wifi Mon =>"), 1U);
}

TEST_F(WifiMonitor, TakesNoSamplesOfItsOwn) {
  m_monitor->Start(Note("a"));
  RunPass(1);
  EXPECT_EQ(m_monitor->GetLinkSpeed(), 0);
  EXPECT_EQ(m_monitor->GetChannelInterferance(), 0);
}

TEST_F(WifiMonitor, ListenerThatStartsAgainBelongsToTheNextPass) {
  m_monitor->Start([&](int result) {
    Note("a")(result);
    EXPECT_EQ(m_monitor->Start(Note("again")), 103);
  });
  m_monitor->Start(Note("b"));
  RunLoopUntil([&] { return m_told.size() >= 2; });
  EXPECT_EQ(m_told, (std::vector<std::string>{"a1", "b1"}));
  RunPass(3);
  EXPECT_EQ(m_told, (std::vector<std::string>{"a1", "b1", "again1"}));
  EXPECT_EQ(test_log::Count("Run Wifi Mon =>"), 2U);
}

TEST_F(WifiMonitor, ListenerMayStopItselfAndOthersWhileAllAreTold) {
  LocalHandler first = 0;
  LocalHandler second = 0;
  first = m_monitor->Start([&](int result) {
    Note("a")(result);
    m_monitor->Stop(first);
    m_monitor->Stop(second);
  });
  second = m_monitor->Start(Note("b"));
  m_monitor->Start(Note("c"));
  RunPass(2);
  EXPECT_EQ(m_told, (std::vector<std::string>{"a1", "c1"}));
}

TEST_F(WifiMonitor, ListenerMayLetGoOfTheMonitor) {
  m_monitor->Start([&](int result) {
    Note("a")(result);
    m_monitor.reset();
  });
  m_monitor->Start(Note("b"));
  RunPass(2);
  EXPECT_EQ(m_told, (std::vector<std::string>{"a1", "b1"}));
  EXPECT_EQ(CNWSingleton<WifiMonHandler>::GetInstance()->Start(nullptr), 100) << "a new one";
}

TEST_F(WifiMonitor, ListenerThatOwnsTheMonitorEndsItWithItself) {
  const std::weak_ptr<WifiMonHandler> watch = m_monitor;
  m_monitor->Start([&, owned = m_monitor](int result) { Note("a")(result); });
  m_monitor.reset();
  RunPass(1);
  EXPECT_TRUE(watch.expired());
}

TEST_F(WifiMonitor, ListenerThatThrowsCostsTheOthersNothing) {
  m_monitor->Start([](int) { throw std::runtime_error("broken listener"); });
  m_monitor->Start(Note("b"));
  RunPass(1);
  EXPECT_EQ(m_told, std::vector<std::string>{"b1"});
  EXPECT_TRUE(test_log::Has("exception broken listener"));
}

TEST_F(WifiMonitor, EndsSilentlyWithAPassPending) {
  m_monitor->Start(Note("a"));
  m_monitor.reset();
  RunLoopFor(std::chrono::seconds(1));
  EXPECT_TRUE(m_told.empty());
  EXPECT_FALSE(test_log::Has("Inside _TimerCB =>"));
}

TEST_F(WifiMonitor, WithoutAThreadThePassStillEnds) {
  g_has_no_threads = true;
  m_monitor->Start(Note("a"));
  g_has_no_threads = false;
  EXPECT_FALSE(test_log::Has("Run Wifi Mon =>"));
  RunPass(1);
  EXPECT_EQ(m_told, std::vector<std::string>{"a1"});
  m_monitor->Start(Note("b"));
  RunPass(2);
  EXPECT_EQ(m_told, (std::vector<std::string>{"a1", "b1"}));
  EXPECT_TRUE(test_log::Has("Run Wifi Mon =>"));
}

TEST_F(WifiMonitor, ProcessMayEndWithAPassPending) {
  EXPECT_EXIT(
      {
        m_monitor->Start(Note("a"));
        g_kept = std::move(m_monitor);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_EXIT(
      {
        m_monitor->Start(Note("a"));
        static const auto kept = std::move(m_monitor);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

/// Calls `walk` with every sequence of that many steps out of `kinds`.
template <class Walk>
void ForEachSequence(int length, int kinds, Walk&& walk) {
  int count = 1;
  for (int i = 0; i < length; ++i) {
    count *= kinds;
  }
  for (int number = 0; number < count; ++number) {
    std::vector<int> steps;
    for (int i = 0, rest = number; i < length; ++i, rest /= kinds) {
      steps.push_back(rest % kinds);
    }
    walk(steps);
  }
}

TEST(WifiMonitorOrders, EveryOrderOfStepsTellsEachWaitingListenerOnce) {
  enum Step { kStart, kStartEmpty, kStop, kRunLoop, kRenew, kStepCount };
  ForEachSequence(5, kStepCount, [](const std::vector<int>& steps) {
    auto monitor = std::make_unique<WifiMonHandler>();
    std::set<int> waiting;
    std::vector<int> strangers;  // told although they did not wait
    LocalHandler latest = 0;
    int number = 0;
    int listener = 0;
    for (const int step : steps) {
      switch (static_cast<Step>(step)) {
        case kStart:
          listener = ++number;
          waiting.insert(listener);
          latest = monitor->Start([&waiting, &strangers, listener](int) {
            if (waiting.erase(listener) == 0) {
              strangers.push_back(listener);
            }
          });
          break;
        case kStartEmpty:
          monitor->Start(nullptr);
          break;
        case kStop:
          monitor->Stop(latest);
          waiting.erase(listener);
          break;
        case kRunLoop:
          RunLoopUntil([&] { return waiting.empty(); });
          RunLoopOnce();
          break;
        case kRenew:
          monitor = std::make_unique<WifiMonHandler>();
          waiting.clear();
          latest = 0;
          break;
        case kStepCount:
          break;
      }
    }
    RunLoopUntil([&] { return waiting.empty(); });
    monitor.reset();
    RunLoopOnce();
    ASSERT_TRUE(waiting.empty()) << testing::PrintToString(steps);
    ASSERT_TRUE(strangers.empty()) << testing::PrintToString(steps);
  });
}

TEST(WifiMonitorOrders, WorkerSurvivesEveryOrderOfStartAndStopAndEnd) {
  enum Step { kStart, kStop, kRunLoop, kRenew, kStepCount };
  ForEachSequence(6, kStepCount, [](const std::vector<int>& steps) {
    WifiMonHandler monitor;
    auto worker = std::make_unique<ThreadBaseWifiIMPL>(monitor);
    int passes = 0;
    bool is_pending = false;
    for (const int step : steps) {
      switch (static_cast<Step>(step)) {
        case kStart:
          worker->Start();
          is_pending = true;
          break;
        case kStop:
          worker->Stop();
          is_pending = false;
          break;
        case kRunLoop: {
          const std::size_t reported = test_log::Count("Inside _TimerCB =>");
          if (is_pending) {
            RunLoopUntil([&] { return test_log::Count("Inside _TimerCB =>") > reported; });
            ++passes;
          }
          RunLoopOnce();
          is_pending = false;
          break;
        }
        case kRenew:
          worker = std::make_unique<ThreadBaseWifiIMPL>(monitor);
          is_pending = false;
          break;
        case kStepCount:
          break;
      }
    }
    worker.reset();
    RunLoopOnce();
    ASSERT_EQ(test_log::Count("Inside _TimerCB =>"), static_cast<std::size_t>(passes))
        << testing::PrintToString(steps);
    test_log::Clear();
  });
}

}  // namespace

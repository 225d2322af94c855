#include "TimerHelper.h"

#include <vector>

#include <glib.h>
#include <gtest/gtest.h>

#include "MainLoop.h"
#include "TestLog.h"

using namespace std::chrono_literals;

namespace {

int g_timers_that_fail = 0;

}  // namespace

extern "C" guint g_timeout_add_seconds(guint interval, GSourceFunc function, gpointer data) {
  if (g_timers_that_fail > 0) {
    --g_timers_that_fail;
    return 0;
  }
  return g_timeout_add_seconds_full(G_PRIORITY_DEFAULT, interval, function, data, nullptr);
}

namespace {

using Messages = std::vector<std::string>;

gboolean CountOnce(gpointer count) {
  ++*static_cast<int*>(count);
  return G_SOURCE_REMOVE;
}

class TimerHelper : public testing::Test {
 protected:
  guint m_id = 0;
  int m_count = 0;
};

TEST_F(TimerHelper, StartsATimerAndKeepsItsId) {
  add_timer_seconds(2, CountOnce, &m_count, &m_id);
  EXPECT_NE(m_id, 0U);
  RunLoopFor(1s);
  EXPECT_EQ(m_count, 0);
  RunLoopFor(2s);
  EXPECT_EQ(m_count, 1);
  EXPECT_TRUE(test_log::Messages().empty());
}

TEST_F(TimerHelper, StartsOneWhoseIdNobodyKeeps) {
  add_timer_seconds(1, CountOnce, &m_count, nullptr);
  RunLoopFor(2s);
  EXPECT_EQ(m_count, 1);
}

TEST_F(TimerHelper, StartsNothingWithoutACallback) {
  add_timer_seconds(1, nullptr, &m_count, &m_id);
  EXPECT_EQ(m_id, 0U);
  EXPECT_EQ(test_log::Messages(), Messages{"callback function is NULL"});
}

TEST_F(TimerHelper, StartsNothingWhileTheIdIsTaken) {
  add_timer_seconds(1, CountOnce, &m_count, &m_id);
  const guint first = m_id;
  add_timer_seconds(1, CountOnce, &m_count, &m_id);
  EXPECT_EQ(m_id, first);
  EXPECT_EQ(test_log::Messages(), Messages{"timer already is registered"});
  RunLoopFor(3s);
  EXPECT_EQ(m_count, 1);
}

TEST_F(TimerHelper, TriesOnceMoreWhenThereIsNoTimer) {
  g_timers_that_fail = 1;
  add_timer_seconds(1, CountOnce, &m_count, &m_id);
  EXPECT_NE(m_id, 0U);
  EXPECT_EQ(test_log::Messages(), Messages{"Can't add timer"});
  RunLoopFor(2s);
  EXPECT_EQ(m_count, 1);
}

TEST_F(TimerHelper, TriesNoThirdTime) {
  g_timers_that_fail = 3;
  add_timer_seconds(1, CountOnce, &m_count, &m_id);
  EXPECT_EQ(g_timers_that_fail, 1);
  EXPECT_EQ(m_id, 0U);
  EXPECT_EQ(test_log::Messages(), (Messages{"Can't add timer", "Can't add timer again"}));
}

TEST_F(TimerHelper, EndsATimer) {
  add_timer_seconds(1, CountOnce, &m_count, &m_id);
  remove_timer(&m_id);
  EXPECT_EQ(m_id, 0U);
  RunLoopFor(3s);
  EXPECT_EQ(m_count, 0);
}

// GLib calls it a critical error to remove what is not there, and ends this process for it.
TEST_F(TimerHelper, LeavesATimerAloneThatHasRun) {
  add_timer_seconds(1, CountOnce, &m_count, &m_id);
  RunLoopFor(2s);
  EXPECT_NE(m_id, 0U);
  remove_timer(&m_id);
  EXPECT_EQ(m_id, 0U);
  remove_timer(&m_id);
  EXPECT_TRUE(test_log::Messages().empty());
}

TEST_F(TimerHelper, SaysThatThereIsNoId) {
  remove_timer(nullptr);
  EXPECT_EQ(test_log::Messages(), Messages{"timer is NULL"});
}

struct Own {
  guint id = 0;
  int count = 0;
};

gboolean EndYourself(gpointer data) {
  auto* const own = static_cast<Own*>(data);
  ++own->count;
  remove_timer(&own->id);
  return G_SOURCE_REMOVE;
}

TEST_F(TimerHelper, ATimerMayEndItself) {
  Own own;
  add_timer_seconds(1, EndYourself, &own, &own.id);
  RunLoopFor(5s);
  EXPECT_EQ(own.count, 1);
  EXPECT_EQ(own.id, 0U);
}

}  // namespace

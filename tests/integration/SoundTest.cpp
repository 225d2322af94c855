#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <glib.h>
#include <gtest/gtest.h>

#include "MainLoop.h"
#include "SoundStub.h"
#include "platform.h"
#include "sound_manager.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

constexpr int kNotKnown = -1;
constexpr int kTv = 0;
constexpr char kSession[] = "/run/session/pulse/native";
constexpr char kMachine[] = "/run/pulse/native";

int Selection() {
  constexpr int kUntouched = -77;
  int selection = kUntouched;
  if (sound_manager_get_speaker_selection(&selection) == SOUND_MANAGER_ERROR_NONE) {
    return selection;
  }
  EXPECT_EQ(selection, kUntouched);
  return kNotKnown;
}

void WaitFor(int selection) {
  RunLoopUntil([=] { return Selection() == selection; });
}

class Sound : public testing::Test {
 protected:
  void SetUp() override {
    setenv("XDG_RUNTIME_DIR", "/run/session", 1);
    unsetenv("PULSE_SERVER");
    setenv("HOME", "/run/home", 1);
  }
  void TearDown() override { platform_stop(); }

  SoundStub m_server;
};

}  // namespace

TEST_F(Sound, WithoutAServerTheQuestionFailsAndLeavesNothingBehind) {
  EXPECT_EQ(Selection(), kNotKnown);
  RunLoopFor(300ms);
  EXPECT_EQ(Selection(), kNotKnown);
  EXPECT_FALSE(fs::exists("/run/home"));
  EXPECT_FALSE(fs::exists("/run/session"));
}

TEST_F(Sound, TheFirstQuestionBeginsTheConversationAndDoesNotWaitForIt) {
  m_server.Start(kMachine);
  RunLoopFor(100ms);
  EXPECT_EQ(m_server.Questions(), 0);  // nobody wanted to know
  EXPECT_EQ(Selection(), kNotKnown);
  WaitFor(kTv);
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(Selection(), kTv);
  }
  EXPECT_EQ(m_server.Questions(), 1);
}

TEST_F(Sound, TheDefaultSinkIsFollowed) {
  m_server.Start(kMachine);
  for (int i = 0; i < 20; ++i) {
    m_server.SetDefault("network");
    WaitFor(SOUND_MANAGER_SPEAKER_NETWORK);
    m_server.SetDefault("none");
    WaitFor(kNotKnown);
    m_server.SetDefault("local");
    WaitFor(kTv);
  }
}

TEST_F(Sound, AVolumeIsNoReasonToAskAndARestIsARest) {
  static int polls = 0;
  m_server.Start(kMachine);
  WaitFor(kTv);
  RunLoopFor(100ms);
  const int questions = m_server.Questions();
  for (int i = 0; i < 10; ++i) {
    m_server.TurnUp();
    RunLoopOnce();
  }
  RunLoopFor(100ms);
  EXPECT_EQ(m_server.Questions(), questions);

  const GPollFunc poll_of_glib = g_main_context_get_poll_func(nullptr);
  g_main_context_set_poll_func(nullptr, [](GPollFD* fds, guint count, gint timeout) {
    ++polls;
    return g_poll(fds, count, timeout);
  });
  RunLoopFor(1s);
  g_main_context_set_poll_func(nullptr, poll_of_glib);
  EXPECT_LE(polls, 2);  // the end of that second
}

TEST_F(Sound, AServerThatAppearsLaterDiesAndComesBackIsTakenUp) {
  EXPECT_EQ(Selection(), kNotKnown);
  for (int i = 0; i < 10; ++i) {
    m_server.Start(kMachine);
    WaitFor(kTv);
    m_server.SetDefault("network");
    WaitFor(SOUND_MANAGER_SPEAKER_NETWORK);
    m_server.Kill();
    WaitFor(kNotKnown);
  }
}

TEST_F(Sound, AServerThatComesBackIsTakenUpThoughNobodyAsks) {
  m_server.Start(kMachine);
  WaitFor(kTv);
  m_server.Kill();
  WaitFor(kNotKnown);
  RunLoopFor(8s);  // no attempt is left
  m_server.Start(kMachine);
  RunLoopUntil([this] { return m_server.Questions() == 1; });
  RunLoopFor(50ms);
  EXPECT_EQ(Selection(), kTv);
}

TEST_F(Sound, TheSessionsServerComesFirstAndADeadOneHidesNoOther) {
  SoundStub session;
  session.Start(kSession);
  session.SetDefault("network");
  m_server.Start(kMachine);
  WaitFor(SOUND_MANAGER_SPEAKER_NETWORK);
  session.Kill();
  WaitFor(kTv);
  EXPECT_TRUE(fs::exists(kSession));
}

TEST_F(Sound, TheEnvironmentNamesAnotherServer) {
  m_server.Start(kMachine);
  SoundStub other;
  other.Start("/run/other/socket");
  other.SetDefault("network");
  setenv("PULSE_SERVER", "unix:/run/other/socket", 1);
  WaitFor(SOUND_MANAGER_SPEAKER_NETWORK);
  EXPECT_EQ(m_server.Questions(), 0);
  platform_stop();
  setenv("PULSE_SERVER", "/run/other/socket", 1);
  EXPECT_EQ(Selection(), kNotKnown);
  WaitFor(SOUND_MANAGER_SPEAKER_NETWORK);
  platform_stop();
  setenv("PULSE_SERVER", "what:ever", 1);
  EXPECT_EQ(Selection(), kNotKnown);
  RunLoopFor(300ms);
  EXPECT_EQ(Selection(), kNotKnown);
}

TEST_F(Sound, ALateAnswerIsWaitedForWithoutStandingStill) {
  m_server.Start(kMachine);
  m_server.Answer("late");
  EXPECT_EQ(Selection(), kNotKnown);
  RunLoopUntil([this] { return m_server.Questions() == 1; });
  RunLoopFor(300ms);
  EXPECT_EQ(Selection(), kNotKnown);
  m_server.SetDefault("network");  // while the question waits
  RunLoopFor(100ms);
  m_server.Answer("normally");
  WaitFor(SOUND_MANAGER_SPEAKER_NETWORK);
}

TEST_F(Sound, APlatformThatStopsWaitsForNoAnswer) {
  m_server.Start(kMachine);
  m_server.Answer("late");
  EXPECT_EQ(Selection(), kNotKnown);
  RunLoopUntil([this] { return m_server.Questions() == 1; });
  platform_stop();
  m_server.Answer("normally");
  RunLoopFor(100ms);
  EXPECT_EQ(Selection(), kNotKnown);
  WaitFor(kTv);
}

TEST_F(Sound, AnErrorIsNothingKnownUntilTheNextChange) {
  m_server.Start(kMachine);
  WaitFor(kTv);
  m_server.Answer("error");
  m_server.SetDefault("network");
  WaitFor(kNotKnown);
  m_server.Answer("normally");
  m_server.SetDefault("network");
  WaitFor(SOUND_MANAGER_SPEAKER_NETWORK);
}

TEST_F(Sound, NonsenseEndsTheConversationAndIsNotAskedForWithoutEnd) {
  m_server.Start(kMachine);
  m_server.Answer("nonsense");
  EXPECT_EQ(Selection(), kNotKnown);
  RunLoopFor(8s);
  const int questions = m_server.Questions();
  EXPECT_GE(questions, 2);
  EXPECT_LE(questions, 7);
  RunLoopFor(1s);
  EXPECT_EQ(m_server.Questions(), questions);
  m_server.Answer("normally");
  WaitFor(kTv);  // to ask is to try again
}

TEST_F(Sound, AServerThatDiesInTheMiddleOfAQuestionIsTakenUpAgain) {
  for (int i = 0; i < 10; ++i) {
    m_server.Start(kMachine);
    m_server.Answer("death");
    EXPECT_EQ(Selection(), kNotKnown);
    RunLoopFor(50ms);
    EXPECT_EQ(Selection(), kNotKnown);
  }
  m_server.Start(kMachine);
  WaitFor(kTv);
}

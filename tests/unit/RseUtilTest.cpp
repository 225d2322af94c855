// The commands are real shells, so these tests wait for the real world while the virtual clock stands.

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include "MainLoop.h"
#include "NotiProxy.h"
#include "Popups.h"
#include "RSEUtil.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "vconf.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

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

constexpr char kMode[] = "db/menu/network/eu_wifi_reg_test_mode";
constexpr char kCommand[] = "memory/menu/network/rse_command";
constexpr char kTooMany[] = "MAX thread already running";

bool IsInSystemLog(const std::string& message) {
  for (const std::string& line : test_log::Lines()) {
    if (line.starts_with("(system)") && line.ends_with("> " + message)) {
      return true;
    }
  }
  return false;
}

class ServiceTool : public testing::Test {
 protected:
  static void SetMode(bool is_on) {
    ASSERT_EQ(vconf_set_bool(kMode, is_on ? 1 : 0), VCONF_OK);
    RunLoopOnce();
  }
  static void Write(const std::string& command) {
    ASSERT_EQ(vconf_set_str(kCommand, command.c_str()), VCONF_OK);
    RunLoopOnce();
  }
  static void TurnOn() {
    RSEUtil::GetRSEInstance().registerRSECall();
    SetMode(true);
  }
  /// @return what the next command that was written ends with
  static std::string ResultOf(const std::string& command) {
    test_log::Clear();
    Write(command);
    std::string result;
    RunLoopUntil([&] {
      for (const std::string& message : test_log::Messages()) {
        if (message.starts_with("Result: ")) {
          result = message;
        }
      }
      return !result.empty();
    });
    return result;
  }

  VirtualTv& m_tv = VirtualTv::Instance();
};

TEST_F(ServiceTool, IsOneObject) {
  EXPECT_EQ(&RSEUtil::GetRSEInstance(), &RSEUtil::GetRSEInstance());
}

TEST_F(ServiceTool, HasItsCommandRunOnceTheTestModeIsOn) {
  RSEUtil::GetRSEInstance().registerRSECall();
  Write("echo too early");
  SetMode(true);
  EXPECT_EQ(test_log::Messages(), std::vector<std::string>{"RSEUtil::VconfNotifyRSELaunched: 1"});
  EXPECT_EQ(ResultOf("echo \"$0 said so\" > /run/said"), "Result: 0");
  EXPECT_TRUE(test_log::Has("RSEUtil::VconfNotifyRSEUtil"));
  EXPECT_TRUE(test_log::Has("Thread Count : 0"));
  EXPECT_TRUE(test_log::Has("command: echo \"$0 said so\" > /run/said"));
  std::ifstream file("/run/said");
  std::string said;
  std::getline(file, said);
  EXPECT_EQ(said, "sh said so");
  EXPECT_EQ(test_log::Count("Result: 0"), 1U);
}

TEST_F(ServiceTool, HasEachCommandRunOnceHoweverOftenTheModeIsTurnedOn) {
  TurnOn();
  SetMode(false);
  SetMode(true);
  SetMode(true);
  EXPECT_EQ(ResultOf("echo run >> /run/said"), "Result: 0");
  EXPECT_EQ(test_log::Count("RSEUtil::VconfNotifyRSEUtil"), 1U);
}

TEST_F(ServiceTool, HasTheSameCommandRunAgainAtEachWrite) {
  TurnOn();
  EXPECT_EQ(ResultOf("true"), "Result: 0");
  EXPECT_EQ(ResultOf("true"), "Result: 0");
  EXPECT_TRUE(test_log::Has("Thread Count : 1"));
}

TEST_F(ServiceTool, HearsTheResultThatTheShellTells) {
  TurnOn();
  EXPECT_EQ(ResultOf("exit 3"), "Result: 3");
  EXPECT_EQ(ResultOf("kill -9 $$"), "Result: 137");
  EXPECT_EQ(ResultOf("/no/such/program 2>/dev/null"), "Result: 127");
  EXPECT_EQ(ResultOf(""), "Result: 0");
}

TEST_F(ServiceTool, HearsTheRightResultWhilePopupsAreReaped) {
  GetNotiInstance()->ShowLanCablePopup(true);  // from now on SIGCHLD has a handler, which reaps
  popups::WaitForStarted(1);
  TurnOn();
  for (int i = 0; i < 50; ++i) {
    ASSERT_EQ(ResultOf("exit 7"), "Result: 7");
  }
  EXPECT_EQ(kill(popups::All().at(0).pid, 0), 0);
  popups::Close(popups::All().at(0).pid);
}

TEST_F(ServiceTool, RunsCommandsBesideEachOther) {
  TurnOn();
  Write("until test -e /run/go; do sleep 0.01; done; exit 1");
  Write("touch /run/go; exit 2");
  RunLoopUntil([] { return test_log::Has("Result: 1") && test_log::Has("Result: 2"); });
}

TEST_F(ServiceTool, HasAHundredCommandsRunAndNoMore) {
  TurnOn();
  for (int i = 0; i < RSEUtil::kMostCommands; ++i) {
    Write(":");
    ASSERT_TRUE(test_log::Has("Thread Count : " + std::to_string(i)));
  }
  EXPECT_FALSE(test_log::Has(kTooMany));
  RunLoopUntil([] { return test_log::Count("Result: 0") == 100; });
  Write("touch /run/one-too-many");
  EXPECT_TRUE(IsInSystemLog(kTooMany));
  EXPECT_FALSE(test_log::Has("Thread Count : 100"));
  EXPECT_FALSE(test_log::Has("command: touch /run/one-too-many"));
  EXPECT_NE(access("/run/one-too-many", F_OK), 0);
  RSEUtil::GetRSEInstance().unregisterRSECall();
  TurnOn();
  Write(":");
  EXPECT_EQ(test_log::Count(kTooMany), 2U) << "for the life of the process";
}

TEST_F(ServiceTool, WithoutACommandRunsNothing) {
  TurnOn();
  m_tv.Fail("vconf_get_str", VCONF_ERROR, 1);
  Write("touch /run/ran");
  EXPECT_TRUE(IsInSystemLog("NULL Vconf"));
  EXPECT_EQ(vconf_set_int(kCommand, 1), VCONF_OK);  // no text
  RunLoopOnce();
  EXPECT_EQ(test_log::Count("NULL Vconf"), 2U);
  EXPECT_FALSE(test_log::Has("Thread Count : 0"));
  EXPECT_NE(access("/run/ran", F_OK), 0);
}

TEST_F(ServiceTool, WithoutAThreadRunsNothingAndCountsNothing) {
  TurnOn();
  g_has_no_threads = true;
  Write(":");
  g_has_no_threads = false;
  EXPECT_TRUE(test_log::Has("exception Resource temporarily unavailable"));
  EXPECT_EQ(ResultOf(":"), "Result: 0");
  EXPECT_TRUE(test_log::Has("Thread Count : 0"));
}

TEST_F(ServiceTool, IsNotListenedToUnlessSomebodyRegistersIt) {
  SetMode(true);
  Write("touch /run/ran");
  EXPECT_TRUE(test_log::Messages().empty());
}

TEST_F(ServiceTool, AModeThatCannotBeReadIsOff) {
  RSEUtil::GetRSEInstance().registerRSECall();
  m_tv.Fail("vconf_get_bool", VCONF_ERROR, 1);
  SetMode(true);
  EXPECT_TRUE(test_log::Has("RSEUtil::VconfNotifyRSELaunched: 0"));
  EXPECT_EQ(m_tv.Calls("vconf_notify_key_changed").size(), 1U);
}

TEST_F(ServiceTool, IsHeardOnAfterTheModeIsOff) {
  TurnOn();
  SetMode(false);
  EXPECT_EQ(ResultOf(":"), "Result: 0");
}

TEST_F(ServiceTool, SaysWhenTheModeCannotBeWatched) {
  m_tv.Fail("vconf_notify_key_changed", VCONF_ERROR, 1);
  RSEUtil::GetRSEInstance().registerRSECall();
  EXPECT_TRUE(IsInSystemLog("failed to register vconf change notify for RSEV tool launched conf"));
}

TEST_F(ServiceTool, SaysWhenCommandsCannotBeWatchedAndTriesAgainWithTheNextMode) {
  RSEUtil::GetRSEInstance().registerRSECall();
  m_tv.Fail("vconf_notify_key_changed", VCONF_ERROR, 1);
  SetMode(true);
  EXPECT_TRUE(IsInSystemLog("failed to register vconf change notify for RSEVconf"));
  SetMode(true);
  EXPECT_EQ(ResultOf(":"), "Result: 0");
}

TEST_F(ServiceTool, IsTurnedOffWhenItIsUnregisteredAndTheModeIsStillWatched) {
  TurnOn();
  m_tv.ClearCalls();
  RSEUtil::GetRSEInstance().unregisterRSECall();
  EXPECT_EQ(m_tv.Calls(), (std::vector<VirtualTv::Call>{
                              {"vconf_set_bool", {kMode, "0"}},
                              {"vconf_ignore_key_changed", {kCommand}},
                              {"vconf_ignore_key_changed", {kCommand}},
                          }));
  RunLoopOnce();
  EXPECT_TRUE(test_log::Has("RSEUtil::VconfNotifyRSELaunched: 0"));
  test_log::Clear();
  Write("touch /run/ran");
  EXPECT_TRUE(test_log::Messages().empty());
  SetMode(true);
  EXPECT_TRUE(test_log::Has("RSEUtil::VconfNotifyRSELaunched: 1"));
  EXPECT_EQ(ResultOf(":"), "Result: 0");
}

/// What a process ends with that turned the test mode on and did something, and how it left the mode.
struct End {
  int status;
  int mode;
  std::chrono::milliseconds duration;
};

End EndOf(void (*something)()) {
  const auto begin = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    RSEUtil::GetRSEInstance().registerRSECall();
    vconf_set_bool(kMode, 1);
    RunLoopOnce();
    something();
    std::exit(5);
  }
  End end{};
  waitpid(child, &end.status, 0);
  end.mode = -1;
  vconf_get_bool(kMode, &end.mode);
  end.duration =
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
  return end;
}

constexpr auto kAtOnce = 5s;  // of real time; the commands below take longer

void ExpectOrderly(const End& end) {
  ASSERT_TRUE(WIFEXITED(end.status)) << "signal " << WTERMSIG(end.status);
  EXPECT_EQ(WEXITSTATUS(end.status), 5);
  EXPECT_EQ(end.mode, 0);
  EXPECT_LT(end.duration, kAtOnce);
}

TEST_F(ServiceTool, ModeIsOffWhenTheProcessHasEnded) {
  ExpectOrderly(EndOf([] {}));
}

TEST_F(ServiceTool, CommandsThatAreOverDoNotDisturbTheEndOfTheProcess) {
  ExpectOrderly(EndOf([] { ResultOf(":"); }));
}

TEST_F(ServiceTool, ACommandThatHangsDoesNotHoldUpTheEndOfTheProcess) {
  ExpectOrderly(EndOf([] {
    Write("echo $$ > /run/hangs; exec sleep 60");
    RunLoopUntil([] {
      std::ifstream file("/run/hangs");
      int pid = 0;
      return static_cast<bool>(file >> pid);
    });
  }));
  std::ifstream file("/run/hangs");
  int pid = 0;
  ASSERT_TRUE(file >> pid);
  EXPECT_EQ(kill(pid, SIGKILL), 0) << "it outlives the daemon";
}

TEST_F(ServiceTool, AModeThatCannotBeStoredDoesNotDisturbTheEndOfTheProcess) {
  const End end = EndOf([] { VirtualTv::Instance().Fail("vconf_set_bool", VCONF_ERROR); });
  ASSERT_TRUE(WIFEXITED(end.status));
  EXPECT_EQ(WEXITSTATUS(end.status), 5);
  EXPECT_EQ(end.mode, 1);
}

}  // namespace

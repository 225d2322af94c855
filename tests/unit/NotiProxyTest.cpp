#include "NotiProxy.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "MainLoop.h"
#include "NW_Common.h"
#include "Popups.h"
#include "Sandbox.h"
#include "Signals.h"
#include "TestLog.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

std::string Forwarded() {
  const HeapString value(vconf_get_str(vconf_keys::kPelorusCommand));
  return value == nullptr ? "(none)" : value.get();
}

bool HasNoChild() {
  return waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD;
}

struct Show {
  const char* name;
  std::function<void(NotiProxy&)> call;
  std::string keyword;
  std::string data;
};

void PrintTo(const Show& show, std::ostream* out) {
  *out << show.name;
}

class EachPopup : public testing::TestWithParam<Show> {};

TEST_P(EachPopup, StartsTheProgramWithItsKeywordAsArgumentZeroAndNoEnvironment) {
  GetParam().call(*GetNotiInstance());
  popups::WaitForStarted(1);
  const popups::Started started = popups::All().at(0);
  std::vector<std::string> expected{GetParam().keyword};
  if (!GetParam().data.empty()) {
    expected.push_back(GetParam().data);
  }
  EXPECT_EQ(started.arguments, expected);
  EXPECT_EQ(started.environment_variables, 0);
  EXPECT_TRUE(test_log::Has("data==" + GetParam().data));
  EXPECT_TRUE(test_log::Has("posix_spawn ret 0 pid " + std::to_string(started.pid)));
  popups::Close(started.pid);
}

INSTANTIATE_TEST_SUITE_P(
    Keywords, EachPopup,
    testing::Values(
        Show{"LanAttached", [](NotiProxy& n) { n.ShowLanCablePopup(true); }, "ethernet_attached", ""},
        Show{"LanDetached", [](NotiProxy& n) { n.ShowLanCablePopup(false); }, "ethernet_detached", ""},
        Show{"DongleAttached", [](NotiProxy& n) { n.ShowCellularDonglePopup(true); }, "dongle_attached",
             ""},
        Show{"DongleDetached", [](NotiProxy& n) { n.ShowCellularDonglePopup(false); }, "dongle_detached",
             ""},
        Show{"Captive", [](NotiProxy& n) { n.ShowCaptiveAPPopup("http://portal/?a=b c"); }, "captiveap",
             "http://portal/?a=b c"},
        Show{"CaptiveWithoutUrl", [](NotiProxy& n) { n.ShowCaptiveAPPopup(""); }, "captiveap", ""},
        Show{"Quill", [](NotiProxy& n) { n.ShowQuillPopup(); }, "quillhotspot", ""},
        Show{"Settings", [](NotiProxy& n) { n.LaunchVestaNetworkSetting(); }, "vesta_networksettings",
             ""},
        Show{"CannotConnect", [](NotiProxy& n) { n.ShowCanNotConnect(); }, "cannot_connect", ""},
        Show{"Speaker", [](NotiProxy& n) { n.ShowWifiSpeakerPopup(); }, "ShowWifiSpeakerPopup", ""},
        Show{"Capture", [](NotiProxy& n) { n.ShowTCPDumpPopup("TCPDumpAlreadyRunning"); },
             "TCPDumpAlreadyRunning", ""}),
    [](const auto& case_info) { return std::string(case_info.param.name); });

TEST(NotiProxy, IsOneObject) {
  EXPECT_EQ(GetNotiInstance(), GetNotiInstance());
}

TEST(NotiProxy, HandsTheKeywordToTheProgramThatIsUpAndDropsTheData) {
  GetNotiInstance()->ShowLanCablePopup(true);
  test_log::Clear();
  GetNotiInstance()->ShowCaptiveAPPopup("http://portal/");
  EXPECT_EQ(Forwarded(), "captiveap");
  EXPECT_EQ(test_log::Messages(), std::vector<std::string>{"url==http://portal/"});
  popups::WaitForStarted(1);
  EXPECT_EQ(popups::All().size(), 1U);
}

TEST(NotiProxy, StartsANewProgramOnceTheOldOneIsReaped) {
  GetNotiInstance()->ShowLanCablePopup(true);
  popups::WaitForStarted(1);
  popups::Close(popups::All().at(0).pid);
  EXPECT_TRUE(test_log::Has("SIGCHLD signal is comming"));
  EXPECT_TRUE(HasNoChild());
  GetNotiInstance()->ShowLanCablePopup(false);
  popups::WaitForStarted(2);
  EXPECT_EQ(popups::Keywords(), (std::vector<std::string>{"ethernet_attached", "ethernet_detached"}));
  EXPECT_EQ(Forwarded(), "(none)");
}

TEST(NotiProxy, AMissingProgramIsLoggedAndTheNextRequestTriesAgain) {
  std::filesystem::remove(sandbox::kNotificationProgram);
  GetNotiInstance()->ShowLanCablePopup(true);
  EXPECT_EQ(test_log::Messages().back().substr(0, 18), "posix_spawn ret 2 ");
  EXPECT_EQ(Forwarded(), "(none)");
  sandbox::InstallPopupRecorder();
  GetNotiInstance()->ShowLanCablePopup(false);
  popups::WaitForStarted(1);
  EXPECT_EQ(popups::Keywords(), std::vector<std::string>{"ethernet_detached"});
}

TEST(NotiProxy, AProgramThatMayNotBeRunIsLoggedAndTheNextRequestTriesAgain) {
  std::ofstream(sandbox::kNotificationProgram, std::ios::trunc) << "neither a script nor a program";
  GetNotiInstance()->ShowLanCablePopup(true);
  EXPECT_EQ(test_log::Messages().back(), "posix_spawn ret " + std::to_string(ENOEXEC) + " pid 0");
  std::filesystem::permissions(sandbox::kNotificationProgram, std::filesystem::perms::owner_read);
  GetNotiInstance()->ShowLanCablePopup(true);
  EXPECT_EQ(test_log::Messages().back(), "posix_spawn ret " + std::to_string(EACCES) + " pid 0");
  EXPECT_TRUE(HasNoChild());
  std::filesystem::remove(sandbox::kNotificationProgram);
  sandbox::InstallPopupRecorder();
  GetNotiInstance()->ShowLanCablePopup(false);
  popups::WaitForStarted(1);
  EXPECT_EQ(popups::Keywords(), std::vector<std::string>{"ethernet_detached"});
}

TEST(NotiProxy, TheProgramStartsWithNoSignalBlockedOrCaughtAndTheDaemonKeepsItsHandler) {
  GetNotiInstance()->ShowLanCablePopup(true);
  popups::WaitForStarted(1);
  const pid_t program = popups::All().at(0).pid;
  EXPECT_EQ(SignalsOf(program, "SigBlk"), 0U);
  EXPECT_EQ(SignalsOf(program, "SigCgt") & SignalBit(SIGCHLD), 0U);
  EXPECT_EQ(SignalsOf(getpid(), "SigCgt") & SignalBit(SIGCHLD), SignalBit(SIGCHLD));
  popups::Close(program);
  EXPECT_TRUE(HasNoChild());
}

TEST(NotiProxy, AFailedSpawnDoesNotWaitForAnotherChildThatRunsOn) {
  const pid_t other = fork();
  if (other == 0) {
    pause();
    _exit(0);
  }
  std::filesystem::remove(sandbox::kNotificationProgram);
  GetNotiInstance()->ShowLanCablePopup(true);
  kill(getpid(), SIGCHLD);
  EXPECT_TRUE(test_log::Has("SIGCHLD signal is comming"));
  EXPECT_EQ(kill(other, 0), 0);
  kill(other, SIGKILL);
}

TEST(NotiProxy, AProgramThatEndsAtOnceIsNeverTakenForOneThatIsUp) {
  std::filesystem::remove(sandbox::kNotificationProgram);
  std::filesystem::copy("/bin/true", sandbox::kNotificationProgram);
  for (int i = 0; i < 200; ++i) {
    GetNotiInstance()->ShowLanCablePopup(true);
    RunLoopUntil(HasNoChild);
  }
  EXPECT_EQ(test_log::Count("SIGCHLD signal is comming"), 200U);
  EXPECT_EQ(Forwarded(), "(none)");
}

TEST(NotiProxy, TheHandlerLeavesErrnoAlone) {
  GetNotiInstance()->ShowLanCablePopup(true);
  popups::WaitForStarted(1);
  popups::Close(popups::All().at(0).pid);
  errno = EEXIST;
  raise(SIGCHLD);  // with nothing to reap
  EXPECT_EQ(errno, EEXIST);
}

}  // namespace

#include "SoftapProxy.h"

#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "MainLoop.h"
#include "NW_Common.h"
#include "NotiProxy.h"
#include "Popups.h"
#include "Sandbox.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "vconf.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

namespace {

constexpr char kBootStep[] = "[SoftAP]OnbootUpCB-- wait for pelorus init in case of boot up";
constexpr char kGatewayIsKnown[] = "  connection_profile_check_default_gateway : connection error none";

class SoftapManager : public testing::Test {
 protected:
  SoftapManager() { sandbox::InstallSoftapManagerRecorder(); }

  static void Store(const char* key, int value) { ASSERT_EQ(vconf_set_int(key, value), VCONF_OK); }
  static int Tethering() {
    int value = -1;
    vconf_get_int(vconf_keys::kTetheringStatus, &value);
    return value;
  }
  static std::string SettingsScreenWord() {
    const HeapString value(vconf_get_str(vconf_keys::kPelorusCommand));
    return value == nullptr ? "(none)" : value.get();
  }

  void LaunchAndBoot() {
    GetInstance()->Launch_SoftapMgr();
    RunLoopFor(2s);
  }
  static void WaitForManagers(std::size_t count) {
    RunLoopUntil([count] { return popups::SoftapManagers().size() >= count; });
  }
  /// By the daemon's own word, which comes before the program's.
  static std::size_t SpawnCount() {
    std::size_t count = 0;
    for (const std::string& message : test_log::Messages()) {
      count += message.starts_with("posix_spawn ret ") ? 1 : 0;
    }
    return count;
  }

  VirtualTv& m_tv = VirtualTv::Instance();
};

TEST_F(SoftapManager, HasOneLauncher) {
  EXPECT_EQ(GetInstance(), GetInstance());
}

TEST_F(SoftapManager, IsForBusinessModels) {
  m_tv.SetFeature("product.b2b_option_support", "true");
  EXPECT_TRUE(SoftapProxy::IsB2BOptionSupported());
  EXPECT_EQ(test_log::Messages(), std::vector<std::string>{"supported = true"});
}

TEST_F(SoftapManager, IsNotForOtherModels) {
  m_tv.SetFeature("product.b2b_option_support", "false");
  EXPECT_FALSE(SoftapProxy::IsB2BOptionSupported());
  EXPECT_EQ(test_log::Messages(), std::vector<std::string>{"supported = false"});
}

TEST_F(SoftapManager, IsNotForModelsThatDoNotSay) {
  m_tv.SetFeature("product.b2b_option_support", "true");
  m_tv.Fail("system_info_get_custom_bool", -1, 1);
  EXPECT_FALSE(SoftapProxy::IsB2BOptionSupported());
  EXPECT_EQ(test_log::Messages(),
            (std::vector<std::string>{
                "system info get fail: com.velanor/featureconf/product.b2b_option_support",
                "supported = false"}));
}

TEST_F(SoftapManager, TheModelTypeIsZepWhenItIsFive) {
  for (const int type : {-1, 0, 4, 5, 6, 55}) {
    m_tv.SetFeature("tv_model_type", std::to_string(type));
    test_log::Clear();
    EXPECT_EQ(SoftapProxy::isZEPProduct(), type == 5);
    EXPECT_EQ(test_log::Messages(), std::vector<std::string>{"model = " + std::to_string(type)});
  }
}

TEST_F(SoftapManager, TheModelTypeIsNotZepWhenItCannotBeRead) {
  m_tv.SetFeature("tv_model_type", "5");
  m_tv.Fail("system_info_get_custom_int", -1, 1);
  EXPECT_FALSE(SoftapProxy::isZEPProduct());
  EXPECT_EQ(test_log::Messages(),
            (std::vector<std::string>{"system info get fail:tv_model_type", "model = -1"}));
}

TEST_F(SoftapManager, StartsASecondAfterItsLaunchWithAnEmptyNameAndNoEnvironment) {
  GetInstance()->Launch_SoftapMgr();
  EXPECT_EQ(test_log::Messages(), (std::vector<std::string>{"SoftapProxy::Launch_SoftapMgr",
                                                            "Launch_SoftapMgr, register cb"}));
  RunLoopFor(900ms);
  EXPECT_FALSE(test_log::Has(kBootStep));
  RunLoopFor(1200ms);
  WaitForManagers(1);
  const popups::Started manager = popups::SoftapManagers().at(0);
  EXPECT_EQ(manager.arguments, std::vector<std::string>{""});
  EXPECT_EQ(manager.environment_variables, 0);
  EXPECT_TRUE(test_log::Has("posix_spawn ret 0 pid " + std::to_string(manager.pid)));
  popups::Close(manager.pid);
}

TEST_F(SoftapManager, StartsOnceHoweverOftenItIsLaunched) {
  GetInstance()->Launch_SoftapMgr();
  GetInstance()->Launch_SoftapMgr();
  EXPECT_EQ(test_log::Count("timer already is registered"), 1U);
  RunLoopFor(10s);
  EXPECT_EQ(test_log::Count(kBootStep), 1U);
  test_log::Clear();
  GetInstance()->Launch_SoftapMgr();
  RunLoopFor(10s);
  EXPECT_EQ(test_log::Messages(), (std::vector<std::string>{
                                      "SoftapProxy::Launch_SoftapMgr",
                                      "timer already is registered",
                                      "Launch_SoftapMgr, register cb",
                                  }));
}

TEST_F(SoftapManager, IsNotLaunchedWithoutACallback) {
  unsigned id = 0;
  GetInstance()->add_timer_seconds(1, nullptr, nullptr, &id);
  EXPECT_EQ(id, 0U);
  EXPECT_TRUE(test_log::Has("callback function is NULL"));
}

TEST_F(SoftapManager, TetheringWithoutAGatewayIsOffBeforeItStarts) {
  Store(vconf_keys::kTetheringStatus, 1);
  Store(vconf_keys::kCustomerStatus, 3);
  LaunchAndBoot();
  EXPECT_EQ(Tethering(), 0);
  const std::vector<std::string> expected{
      kBootStep,          "CheckGatewayNetwork",      kGatewayIsKnown,
      "is_valid = false", "Set tethringStatus vconf", "tethringStatus: 0, guestStatus:3",
  };
  const auto logged = test_log::Messages();
  ASSERT_EQ(logged.size(), expected.size() + 3);
  EXPECT_TRUE(std::equal(expected.begin(), expected.end(), logged.begin() + 2));
  EXPECT_TRUE(logged.back().starts_with("posix_spawn ret 0 pid "));
}

TEST_F(SoftapManager, TetheringWithAGatewayStays) {
  m_tv.PlugCable();
  Store(vconf_keys::kTetheringStatus, 1);
  LaunchAndBoot();
  EXPECT_EQ(Tethering(), 1);
  EXPECT_TRUE(test_log::Has(kGatewayIsKnown));
  EXPECT_TRUE(test_log::Has("is_valid = true"));
  EXPECT_TRUE(test_log::Has("tethringStatus: 1, guestStatus:0"));
  EXPECT_EQ(SpawnCount(), 1U);
}

TEST_F(SoftapManager, NoOtherStateOfTetheringIsTouched) {
  for (const int state : {0, 2, -1}) {
    Store(vconf_keys::kTetheringStatus, state);
  }
  LaunchAndBoot();
  EXPECT_EQ(Tethering(), -1);
  EXPECT_TRUE(m_tv.Calls("connection_profile_check_default_gateway").empty());
  EXPECT_TRUE(test_log::Has("tethringStatus: -1, guestStatus:0"));
}

TEST_F(SoftapManager, WithoutAValueTetheringIsOff) {
  LaunchAndBoot();
  EXPECT_TRUE(test_log::Has("Get tethringStatus failed!!"));
  EXPECT_TRUE(test_log::Has("Get customer status failed!!"));
  EXPECT_TRUE(test_log::Has("tethringStatus: 0, guestStatus:0"));
  EXPECT_EQ(Tethering(), -1);
  EXPECT_EQ(SpawnCount(), 1U);
}

TEST_F(SoftapManager, TheStateGoesToTheSystemLog) {
  LaunchAndBoot();
  std::size_t found = 0;
  for (const std::string& line : test_log::Lines()) {
    found += line.starts_with("(system)") && line.ends_with("tethringStatus: 0, guestStatus:0") ? 1 : 0;
  }
  EXPECT_EQ(found, 1U);
}

TEST_F(SoftapManager, AGatewayThatCannotBeCheckedIsNone) {
  m_tv.PlugCable();
  Store(vconf_keys::kTetheringStatus, 1);
  m_tv.Fail("connection_profile_check_default_gateway", CONNECTION_ERROR_OPERATION_FAILED);
  LaunchAndBoot();
  EXPECT_FALSE(test_log::Has(kGatewayIsKnown));
  EXPECT_TRUE(test_log::Has("is_valid = false"));
  EXPECT_EQ(Tethering(), 0);
}

TEST_F(SoftapManager, StartsAlthoughTetheringCannotBeStored) {
  Store(vconf_keys::kTetheringStatus, 1);
  m_tv.Fail("vconf_set_int", VCONF_ERROR);
  LaunchAndBoot();
  EXPECT_TRUE(test_log::Has("Set tethringStatus failed!!"));
  EXPECT_TRUE(test_log::Has("tethringStatus: 0, guestStatus:0"));
  EXPECT_EQ(Tethering(), 1);
  EXPECT_EQ(SpawnCount(), 1U);
}

TEST_F(SoftapManager, ThatIsMissingIsLoggedAndNotTriedAgain) {
  std::filesystem::remove(sandbox::kSoftapManagerProgram);
  LaunchAndBoot();
  RunLoopFor(1h);
  EXPECT_EQ(SpawnCount(), 1U);
  EXPECT_TRUE(test_log::Has("posix_spawn ret 2 pid 0"));
}

TEST_F(SoftapManager, StartsAgainWhileOneIsUp) {
  GetInstance()->HandleChildFork("");
  GetInstance()->HandleChildFork("again");
  WaitForManagers(2);
  popups::Close(popups::SoftapManagers().at(0).pid);
  popups::Close(popups::SoftapManagers().at(1).pid);
  EXPECT_EQ(test_log::Count("SIGCHLD signal is comming"), 2U);
}

TEST_F(SoftapManager, RunsOnWhenItIsUnregistered) {
  LaunchAndBoot();
  WaitForManagers(1);
  test_log::Clear();
  GetInstance()->Unregistered_softapMgr();
  EXPECT_EQ(test_log::Messages(), std::vector<std::string>{"Unregistered_softapMgr"});
  EXPECT_EQ(kill(popups::SoftapManagers().at(0).pid, 0), 0);
}

TEST_F(SoftapManager, ThatEndsAtOnceIsReaped) {
  std::filesystem::remove(sandbox::kSoftapManagerProgram);
  std::filesystem::copy("/bin/true", sandbox::kSoftapManagerProgram);
  for (int i = 0; i < 200; ++i) {
    GetInstance()->HandleChildFork("");
    RunLoopUntil([] { return waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD; });
  }
}

TEST_F(SoftapManager, ThatStartedLastAnswersForThePopupToo) {
  GetNotiInstance()->ShowLanCablePopup(true);
  popups::WaitForStarted(1);
  GetInstance()->HandleChildFork("");
  WaitForManagers(1);
  popups::Close(popups::All().at(0).pid);
  // The popup's launcher was not told, and takes its program for one that is up.
  GetNotiInstance()->ShowLanCablePopup(false);
  EXPECT_EQ(SettingsScreenWord(), "ethernet_detached");
  EXPECT_EQ(SpawnCount(), 2U);
}

TEST_F(SoftapManager, ThatStartedBeforeThePopupLeavesThePopupsToTheirLauncher) {
  GetInstance()->HandleChildFork("");
  WaitForManagers(1);
  GetNotiInstance()->ShowLanCablePopup(true);
  popups::WaitForStarted(1);
  popups::Close(popups::All().at(0).pid);
  GetNotiInstance()->ShowLanCablePopup(false);
  popups::WaitForStarted(2);
  EXPECT_EQ(SettingsScreenWord(), "(none)");
}

}  // namespace

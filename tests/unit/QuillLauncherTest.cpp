// The screen that a projector without network offers.

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "Popups.h"
#include "QuillRemoteQRUILauncher.h"
#include "StaticObjects.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "system_info.h"
#include "vconf.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

namespace {

constexpr int kFailed = CONNECTION_ERROR_OPERATION_FAILED;
constexpr char kWaits[] = "Network disconnected, StartWaitTimerForNewConnection ";
constexpr char kGatewayCheck[] = "connection_profile_check_default_gateway";

/// A projector with a network cable that is not plugged in, set up a while ago.
class QuillLauncher : public testing::Test {
 protected:
  QuillLauncher() {
    m_tv.SetFeature("projector_feature_support", "true");
    m_tv.SetFeature("projector.engine_type", "2");
    SetWizard("OFF");
  }

  static void SetWizard(const char* step) {
    ASSERT_EQ(vconf_set_str(vconf_keys::kWizardMode, step), VCONF_OK);
  }
  void Report(int result, const std::string& step) {
    m_tv.GetInternet().Report(result, step);
    RunLoopFor(1s);
  }
  static void ExpectShown(std::size_t times = 1) {
    popups::WaitForStarted(times);
    EXPECT_EQ(popups::Keywords(), std::vector<std::string>(times, "quillhotspot"));
  }
  /// By the log, and not by the programs: those are started in the real world's time.
  static void ExpectNotShown() { EXPECT_FALSE(test_log::Has("data==")); }

  VirtualTv& m_tv = VirtualTv::Instance();
  std::unique_ptr<CQuillRemoteQRUILauncher> m_launcher = std::make_unique<CQuillRemoteQRUILauncher>();
};

TEST_F(QuillLauncher, ShowsTheScreenAfter45SecondsWithoutGateway) {
  m_launcher->Init();
  EXPECT_TRUE(test_log::Has(kWaits));
  EXPECT_TRUE(test_log::Has("isProjector : [1]"));
  EXPECT_TRUE(test_log::Has("SOLSTICE_FMS == 2"));
  RunLoopFor(44s);
  ExpectNotShown();
  RunLoopFor(2s);
  ExpectShown();
  RunLoopFor(1h);
  EXPECT_EQ(test_log::Count("data=="), 1U) << "once a wait";
}

TEST_F(QuillLauncher, OfTheDaemonShowsTheScreen) {
  g_oRemoteLauncher.Init();
  RunLoopFor(46s);
  ExpectShown();
  g_oRemoteLauncher.DeInit();
}

struct Model {
  const char* name;
  const char* projector;  // null: the model does not say
  const char* engine;
  bool is_supported;
};

class QuillModel : public QuillLauncher, public testing::WithParamInterface<Model> {};

TEST_P(QuillModel, ShowsTheScreenOrNot) {
  VirtualTv::Instance().SetFeature("projector_feature_support", GetParam().projector);
  VirtualTv::Instance().SetFeature("projector.engine_type", GetParam().engine);
  EXPECT_EQ(CQuillRemoteQRUILauncher::IsFeatureSupported(), GetParam().is_supported);
  m_launcher->Init();
  EXPECT_EQ(test_log::Has(kWaits), GetParam().is_supported);
  EXPECT_EQ(m_tv.Calls("connection_set_network_monitor_cb").size(), GetParam().is_supported ? 1U : 0U);
  RunLoopFor(46s);
  EXPECT_EQ(test_log::Count("data=="), GetParam().is_supported ? 1U : 0U);
}

INSTANTIATE_TEST_SUITE_P(Of, QuillModel,
                         testing::Values(Model{"ProjectorOfType3", "true", "3", false},
                                         Model{"ProjectorOfType2", "true", "2", true},
                                         Model{"ProjectorOfType4", "true", "4", true},
                                         Model{"ProjectorOfABrokenType", "true", "'3'", true},
                                         Model{"Television", "false", "2", false},
                                         Model{"WhatIsNoYesAndNoNo", "7", "2", false}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(QuillLauncher, TakesEachValueOfTheSetupButOffForASetup) {
  for (const char* step : {"PNP_SETUP", "INITIAL_SETUP", "MARQUEE_SETUP", "HOTPLUG_SETUP", "TERMS_SETUP",
                           "off", "OFF ", "ON", ""}) {
    SetWizard(step);
    test_log::Clear();
    EXPECT_TRUE(CQuillRemoteQRUILauncher::IsOOBE()) << step;
    EXPECT_TRUE(test_log::Has("During PNP. Skip to launch Banner.")) << step;
    EXPECT_FALSE(CQuillRemoteQRUILauncher::IsFeatureSupported()) << step;
  }
  SetWizard("OFF");
  test_log::Clear();
  EXPECT_FALSE(CQuillRemoteQRUILauncher::IsOOBE());
  EXPECT_TRUE(test_log::Messages().empty());
}

TEST_F(QuillLauncher, TakesNoValueOfTheSetupForNone) {
  m_tv.Fail("vconf_get_str", VCONF_ERROR);
  EXPECT_FALSE(CQuillRemoteQRUILauncher::IsOOBE());
  m_launcher->Init();
  RunLoopFor(46s);
  ExpectShown();
}

TEST_F(QuillLauncher, DoesNotShowTheScreenInASetup) {
  SetWizard("PNP_SETUP");
  m_launcher->Init();
  RunLoopFor(46s);
  ExpectNotShown();
}

TEST_F(QuillLauncher, DoesNotShowTheScreenIntoASetupThatHasBegun) {
  m_launcher->Init();
  RunLoopFor(20s);
  SetWizard("PNP_SETUP");
  RunLoopFor(30s);
  ExpectNotShown();
}

TEST_F(QuillLauncher, DoesNotWaitWithAGateway) {
  m_tv.PlugCable();
  m_launcher->Init();
  EXPECT_FALSE(test_log::Has(kWaits));
  m_tv.UnplugCable();  // of which only the link is reported
  RunLoopFor(1h);
  ExpectNotShown();
}

TEST_F(QuillLauncher, GivesUpTheWaitWhenTheGatewayComes) {
  m_launcher->Init();
  RunLoopFor(20s);
  Report(0, "GATEWAY");
  EXPECT_TRUE(test_log::Has("__OnConnectEvent 1 GATEWAY"));
  RunLoopFor(1h);
  ExpectNotShown();
}

TEST_F(QuillLauncher, LooksForTheGatewayOnceMoreAtTheEndOfTheWait) {
  m_launcher->Init();
  RunLoopFor(20s);
  m_tv.PlugCable();  // reported as HTTP
  RunLoopFor(1h);
  ExpectNotShown();
}

TEST_F(QuillLauncher, Waits45SecondsFromTheReportOfALostGateway) {
  m_tv.PlugCable();
  m_launcher->Init();
  RunLoopFor(100s);
  m_tv.GetInternet().SetGateway(false);
  RunLoopFor(30s);
  Report(kFailed, "GATEWAY");  // once more: the wait begins anew
  RunLoopFor(43s);
  ExpectNotShown();
  RunLoopFor(3s);
  ExpectShown();
}

TEST_F(QuillLauncher, GivesUpTheWaitWhenALostGatewayIsBack) {
  m_tv.PlugCable();
  m_launcher->Init();
  RunLoopFor(100s);
  m_tv.GetInternet().SetGateway(false);
  RunLoopFor(30s);
  EXPECT_TRUE(test_log::Has("__OnConnectEvent 0 GATEWAY"));
  m_tv.GetInternet().SetGateway(true);
  RunLoopFor(1s);
  EXPECT_TRUE(test_log::Has("__OnConnectEvent 1 GATEWAY"));
  m_tv.UnplugCable();
  RunLoopFor(1h);
  ExpectNotShown();
}

TEST_F(QuillLauncher, LeavesTheOtherStepsAlone) {
  m_launcher->Init();
  for (const char* step : {"PHY", "DNS", "HTTP", "gateway", "GATEWAYS", ""}) {
    Report(0, step);
    Report(kFailed, step);
  }
  RunLoopFor(30s);
  ExpectNotShown();
  RunLoopFor(4s);
  EXPECT_EQ(test_log::Count("data=="), 1U) << "the wait from the start went on";
}

TEST_F(QuillLauncher, EndsWithDeInit) {
  m_launcher->Init();
  RunLoopFor(5s);
  m_launcher->DeInit();
  EXPECT_TRUE(test_log::Has("Find handle successfully"));
  EXPECT_EQ(m_tv.Calls("connection_unset_network_monitor_cb").size(), 1U);
  Report(kFailed, "GATEWAY");
  RunLoopFor(1h);
  ExpectNotShown();
}

TEST_F(QuillLauncher, IsStillInitialisedAfterDeInit) {
  m_launcher->Init();
  m_launcher->DeInit();
  m_launcher->StartWaitTimerForNewConnection();
  test_log::Clear();
  m_launcher->DeInit();
  EXPECT_FALSE(test_log::Messages().empty());
  EXPECT_FALSE(test_log::Has("Find handle successfully"));
  RunLoopFor(1h);
  ExpectNotShown();
}

TEST_F(QuillLauncher, DoesNothingAtDeInitWhenItIsNotSupported) {
  m_tv.SetFeature("projector_feature_support", "false");
  m_launcher->Init();
  test_log::Clear();
  m_launcher->DeInit();
  EXPECT_TRUE(test_log::Messages().empty());
}

TEST_F(QuillLauncher, IsGoneWithItsWaitAndItsListener) {
  m_launcher->Init();
  m_launcher.reset();
  Report(kFailed, "GATEWAY");
  RunLoopFor(1h);
  ExpectNotShown();
}

TEST_F(QuillLauncher, ShowsTheScreenAgainWhenTheGatewayIsLostAgain) {
  m_launcher->Init();
  RunLoopFor(46s);
  ExpectShown();
  popups::Close(popups::All().at(0).pid);
  Report(kFailed, "GATEWAY");
  RunLoopFor(46s);
  ExpectShown(2);
}

/// A platform function that fails, and what the user sees then.
struct Failure {
  const char* function;
  bool is_shown_at_start;      ///< failing from before Init()
  bool is_shown_while_online;  ///< failing from the end of the wait, with a gateway
};

void PrintTo(const Failure& failure, std::ostream* out) {
  *out << failure.function;
}

class QuillFailure : public QuillLauncher, public testing::WithParamInterface<Failure> {};

TEST_P(QuillFailure, ForGoodIsNeverFatal) {
  m_tv.Fail(GetParam().function, -99);
  m_launcher->Init();
  RunLoopFor(46s);
  EXPECT_EQ(test_log::Has("data=="), GetParam().is_shown_at_start);
  m_launcher->DeInit();
}

TEST_P(QuillFailure, AtTheEndOfTheWaitDecidesForItselfOnly) {
  m_launcher->Init();
  m_tv.PlugCable();
  RunLoopFor(40s);
  m_tv.Fail(GetParam().function, -99, 1);
  RunLoopFor(6s);
  EXPECT_EQ(test_log::Has("data=="), GetParam().is_shown_while_online);
}

INSTANTIATE_TEST_SUITE_P(Of, QuillFailure,
                         testing::Values(Failure{"system_info_get_custom_bool", false, false},
                                         Failure{"system_info_get_custom_int", true, false},
                                         Failure{"vconf_get_str", true, false},
                                         Failure{kGatewayCheck, true, true},
                                         Failure{"connection_create", true, false},
                                         Failure{"connection_set_network_monitor_cb", true, false},
                                         Failure{"connection_unset_network_monitor_cb", true, false},
                                         Failure{"connection_destroy", true, false}),
                         [](const auto& test) { return std::string(test.param.function); });

TEST_F(QuillLauncher, SaysWhenTheModelCannotBeRead) {
  m_tv.Fail("system_info_get_custom_bool", SYSTEM_INFO_ERROR_IO_ERROR, 1);
  EXPECT_FALSE(CQuillRemoteQRUILauncher::IsProjector());
  EXPECT_TRUE(test_log::Has("fail to get com.velanor/featureconf/projector_feature_support"));
  EXPECT_TRUE(test_log::Has("isProjector : [0]"));
  m_tv.Fail("system_info_get_custom_int", SYSTEM_INFO_ERROR_IO_ERROR, 1);
  EXPECT_FALSE(CQuillRemoteQRUILauncher::IsQMB_A_B());
  EXPECT_TRUE(test_log::Has("fail to get SOLSTICE_FMS"));
  EXPECT_TRUE(test_log::Has("SOLSTICE_FMS == 0"));
}

}  // namespace

// The check for a captive portal, ten seconds after the start and whenever a connection asks for one.

#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "NetworkCaptiveAP.h"
#include "NotiProxy.h"
#include "Popups.h"
#include "StaticObjects.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "vconf.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

namespace {

constexpr char kHotel[] = "02:00:00:00:30:00";
constexpr char kPage[] = "http://portal.hotel.example/welcome?room=12 b";
constexpr char kBrowser[] = "org.orvik.browser";
constexpr char kAnswered[] = "OnCaptiveAPCB";
constexpr char kAsk[] = "wifi_ap_is_captive_portal_network";

/// A TV with a browser, on the Wi-Fi of a hotel that shows a portal.
class CaptivePortal : public testing::Test {
 protected:
  CaptivePortal() {
    m_tv.GetPackages().Install(kBrowser);
    m_wifi.AddRadio(
        {.bssid = kHotel, .essid = "Hotel", .security = WIFI_SECURITY_TYPE_NONE, .portal_url = kPage});
    EXPECT_TRUE(m_wifi.Join(kHotel));
  }

  static void SetWizard(const char* step) {
    ASSERT_EQ(vconf_set_str(vconf_keys::kWizardMode, step), VCONF_OK);
  }
  std::size_t Asked() { return m_tv.Calls(kAsk).size(); }

  /// To the end of the wait, and to the answer.
  static void Wait() { RunLoopFor(12s); }

  static void ExpectPage() {
    popups::WaitForStarted(1);
    const auto started = popups::All();
    ASSERT_EQ(started.size(), 1U);
    EXPECT_EQ(started[0].arguments, (std::vector<std::string>{"captiveap", kPage}));
  }
  static void ExpectNoPage() {
    EXPECT_FALSE(test_log::Has(std::string("url==") + kPage));
    EXPECT_TRUE(popups::All().empty());
  }

  VirtualTv& m_tv = VirtualTv::Instance();
  Wifi& m_wifi = m_tv.GetWifi();
  std::unique_ptr<NetworkCaptiveAP> m_check = std::make_unique<NetworkCaptiveAP>();
};

TEST_F(CaptivePortal, IsOpenedTenSecondsAfterTheStart) {
  m_check->Init();
  RunLoopFor(9s);
  EXPECT_EQ(Asked(), 0U);
  RunLoopFor(3s);
  EXPECT_EQ(Asked(), 1U);
  ExpectPage();
  EXPECT_TRUE(test_log::Has("wifi_ap_is_captive_portal_network call success"));
  EXPECT_TRUE(test_log::Has("OnCaptiveAPCB  IsCaptive ==1"));
  EXPECT_TRUE(test_log::Has(std::string("OnCaptiveAPCB  IsCaptive ==1:: url==") + kPage));
  RunLoopFor(24h);
  EXPECT_EQ(Asked(), 1U) << "once a start";
}

TEST_F(CaptivePortal, IsOpenedByTheDaemonsOwnCheck) {
  g_CaptiveAP.Init();
  Wait();
  ExpectPage();
  g_CaptiveAP.DeInit();
}

TEST_F(CaptivePortal, IsNotLookedForWithoutABrowser) {
  ASSERT_TRUE(m_tv.GetPackages().Remove(kBrowser));
  m_check->Init();
  EXPECT_TRUE(test_log::Has("Not Installed"));
  EXPECT_FALSE(test_log::Has("Feature Supported == 0"));
  Wait();
  EXPECT_EQ(Asked(), 0U);
  test_log::Clear();
  m_check->DeInit();
  EXPECT_EQ(test_log::Messages(), std::vector<std::string>{}) << "nothing was begun";
}

TEST_F(CaptivePortal, IsNotOpenedOnceTheBrowserIsGone) {
  m_check->Init();
  RunLoopFor(5s);
  ASSERT_TRUE(m_tv.GetPackages().Remove(kBrowser));
  Wait();
  EXPECT_EQ(Asked(), 0U);
}

TEST_F(CaptivePortal, IsNotLookedForDuringTheSetup) {
  SetWizard("INITIAL_SETUP");
  m_check->Init();
  EXPECT_TRUE(test_log::Has("During PNP. Skip to launch Banner."));
  EXPECT_TRUE(test_log::Has("Feature Supported == 1"));
  Wait();
  EXPECT_EQ(Asked(), 0U);
}

TEST_F(CaptivePortal, IsNotOpenedIntoASetupThatHasBegun) {
  m_check->Init();
  EXPECT_TRUE(test_log::Has("Feature Supported == 0"));
  RunLoopFor(5s);
  SetWizard("PNP_SETUP");
  Wait();
  EXPECT_EQ(Asked(), 0U);
}

TEST_F(CaptivePortal, IsLookedForWhenTheGatewayComesInTime) {
  m_wifi.Drop();
  m_check->Init();
  RunLoopFor(9s);
  ASSERT_TRUE(m_wifi.Join(kHotel));
  Wait();
  ExpectPage();
}

TEST_F(CaptivePortal, IsNotLookedForLaterWhenThereWasNoGatewayInTime) {
  m_wifi.Drop();
  m_check->Init();
  Wait();
  ASSERT_TRUE(m_wifi.Join(kHotel));
  RunLoopFor(1h);
  EXPECT_EQ(Asked(), 0U);
  ExpectNoPage();
}

TEST_F(CaptivePortal, IsNoneWhereTheInternetIs) {
  m_wifi.FindRadio(kHotel)->portal_url = "";
  m_check->Init();
  Wait();
  EXPECT_TRUE(test_log::Has("OnCaptiveAPCB  IsCaptive ==0"));
  EXPECT_EQ(test_log::Count(kAnswered), 1U);
  ExpectNoPage();
}

TEST_F(CaptivePortal, IsNotOnTheCable) {
  m_wifi.Drop();
  m_tv.PlugCable();
  m_check->Init();
  Wait();
  EXPECT_EQ(Asked(), 1U);
  EXPECT_TRUE(test_log::Has("wifi_ap_is_captive_portal_network call Fail"));
  ExpectNoPage();
}

TEST_F(CaptivePortal, IsNotOpenedByAnAnswerThatLacksAnything) {
  std::string page = kPage;
  NetworkCaptiveAP* const self = m_check.get();
  NetworkCaptiveAP::OnCaptiveAPCB(WIFI_MANAGER_ERROR_OPERATION_FAILED, true, page.data(), self);
  NetworkCaptiveAP::OnCaptiveAPCB(WIFI_MANAGER_ERROR_NONE, false, page.data(), self);
  NetworkCaptiveAP::OnCaptiveAPCB(WIFI_MANAGER_ERROR_NONE, true, nullptr, self);
  NetworkCaptiveAP::OnCaptiveAPCB(WIFI_MANAGER_ERROR_NONE, true, page.data(), nullptr);
  EXPECT_EQ(test_log::Messages(),
            (std::vector<std::string>{
                kAnswered, "OnCaptiveAPCB  IsCaptive ==1", kAnswered, "OnCaptiveAPCB  IsCaptive ==0",
                kAnswered, "OnCaptiveAPCB  IsCaptive ==1", kAnswered, "OnCaptiveAPCB  IsCaptive ==1"}));
  NetworkCaptiveAP::OnCaptiveAPCB(WIFI_MANAGER_ERROR_NONE, true, page.data(), self);
  ExpectPage();
}

TEST_F(CaptivePortal, IsNotOpenedWhenTheQuestionFailsLater) {
  m_wifi.Failures().FailNext(WifiRequest::kPortal, WIFI_MANAGER_ERROR_OPERATION_FAILED);
  m_check->Init();
  Wait();
  EXPECT_TRUE(test_log::Has(kAnswered));
  ExpectNoPage();
  RunLoopFor(1h);
  EXPECT_EQ(Asked(), 1U) << "no retry";
}

TEST_F(CaptivePortal, IsOpenedForAConnectionThatStartsTheWait) {
  m_check->StartWaitTimerForNewConnection();
  RunLoopFor(6s);
  m_check->StartWaitTimerForNewConnection();
  RunLoopFor(6s);
  EXPECT_EQ(Asked(), 0U) << "the wait begins anew";
  Wait();
  EXPECT_EQ(Asked(), 1U);
  ExpectPage();
}

TEST_F(CaptivePortal, IsNotLookedForOnceTheWaitIsStopped) {
  m_check->StartWaitTimerForNewConnection();
  m_check->StopWaitTimer();
  m_check->StopWaitTimer();
  Wait();
  EXPECT_EQ(Asked(), 0U);
}

TEST_F(CaptivePortal, IsNotLookedForByReportsOfTheMonitor) {
  m_wifi.Drop();
  m_check->Init();
  Wait();
  EXPECT_TRUE(m_tv.Calls("connection_set_network_monitor_cb").empty());
  const auto monitor = CNWSingleton<NetworkMonitor>::GetInstance();
  MonitorHandle other = monitor->RegisterCb([](bool, const std::string&) {});
  ASSERT_TRUE(m_wifi.Join(kHotel));
  m_tv.GetInternet().Report(CONNECTION_ERROR_OPERATION_FAILED, "GATEWAY");
  RunLoopFor(1h);
  EXPECT_EQ(Asked(), 0U);
  monitor->UnRegisterCb(other);
}

TEST_F(CaptivePortal, CheckEndsWithDeInitAndLeavesOtherListenersAlone) {
  const auto monitor = CNWSingleton<NetworkMonitor>::GetInstance();
  int reports = 0;
  MonitorHandle other = monitor->RegisterCb([&](bool, const std::string&) { ++reports; });
  m_check->Init();
  RunLoopFor(5s);
  reports = 0;
  m_check->DeInit();
  m_check->DeInit();
  EXPECT_FALSE(test_log::Has("Find handle successfully"));
  m_tv.GetInternet().Report(0, "HTTP");
  Wait();
  EXPECT_EQ(Asked(), 0U);
  EXPECT_EQ(reports, 1);
  monitor->UnRegisterCb(other);
}

TEST_F(CaptivePortal, IsOpenedByAnAnswerThatComesAfterDeInit) {
  m_check->CheckCaptiveAP();
  m_check->DeInit();
  Wait();
  ExpectPage();
}

TEST_F(CaptivePortal, IsNotOpenedForSomeoneWhoIsGone) {
  m_check->CheckCaptiveAP();
  m_check.reset();
  Wait();
  EXPECT_EQ(test_log::Count(kAnswered), 1U);
  ExpectNoPage();
}

TEST_F(CaptivePortal, IsNotOpenedForSomeoneElseInTheSamePlace) {
  alignas(NetworkCaptiveAP) std::byte place[sizeof(NetworkCaptiveAP)];
  auto* first = new (place) NetworkCaptiveAP;
  first->CheckCaptiveAP();
  std::destroy_at(first);
  auto* second = new (place) NetworkCaptiveAP;
  Wait();
  EXPECT_EQ(test_log::Count(kAnswered), 1U);
  ExpectNoPage();
  second->CheckCaptiveAP();
  Wait();
  ExpectPage();
  std::destroy_at(second);
}

TEST_F(CaptivePortal, WaitEndsWithWhoWaits) {
  m_check->StartWaitTimerForNewConnection();
  m_check.reset();
  Wait();
  EXPECT_EQ(Asked(), 0U);
}

TEST_F(CaptivePortal, IsShownByAProgramThatIsUpAlready) {
  GetNotiInstance()->ShowLanCablePopup(true);
  m_check->Init();
  Wait();
  EXPECT_TRUE(test_log::Has(std::string("url==") + kPage));
  EXPECT_EQ(m_tv.Calls("vconf_set_str").back().arguments,
            (std::vector<std::string>{vconf_keys::kPelorusCommand, "captiveap"}));
  popups::WaitForStarted(1);
  EXPECT_EQ(popups::Keywords(), std::vector<std::string>{"ethernet_attached"});
}

TEST_F(CaptivePortal, BrowsersInformationIsGivenBack) {
  EXPECT_TRUE(NetworkCaptiveAP::IsAPPInstalled(kBrowser));
  EXPECT_TRUE(test_log::Has("IsAPPInstalled"));
  EXPECT_TRUE(test_log::Has("Installed"));
  EXPECT_EQ(m_tv.Calls("package_info_destroy").size(), 1U);
  EXPECT_FALSE(NetworkCaptiveAP::IsAPPInstalled("org.orvik.player"));
  EXPECT_EQ(m_tv.Calls("package_info_destroy").size(), 1U);
}

/// A platform function that fails from after Init() on, and what comes of the check.
struct Failure {
  const char* function;
  bool is_shown;
};

void PrintTo(const Failure& failure, std::ostream* out) {
  *out << failure.function;
}

class CaptivePortalFailure : public CaptivePortal, public testing::WithParamInterface<Failure> {
 protected:
  void ExpectOutcome() {
    if (GetParam().is_shown) {
      ExpectPage();
    } else {
      ExpectNoPage();
    }
  }
};

TEST_P(CaptivePortalFailure, OnceCostsAtMostThisCheck) {
  m_check->Init();
  m_tv.Fail(GetParam().function, -99, 1);
  Wait();
  ExpectOutcome();
  if (!GetParam().is_shown) {
    m_check->StartWaitTimerForNewConnection();
    Wait();
    ExpectPage();
  }
}

TEST_P(CaptivePortalFailure, ForGoodCostsAtMostTheChecks) {
  m_check->Init();
  m_tv.Fail(GetParam().function, -99);
  Wait();
  ExpectOutcome();
  m_check->DeInit();
}

INSTANTIATE_TEST_SUITE_P(Of, CaptivePortalFailure,
                         testing::Values(Failure{"package_manager_get_package_info", false},
                                         Failure{"package_info_destroy", true},
                                         Failure{"vconf_get_str", true},
                                         Failure{"connection_profile_check_default_gateway", false},
                                         Failure{kAsk, false}),
                         [](const auto& test) { return std::string(test.param.function); });

TEST_F(CaptivePortal, IsNotLookedForWhenThePackagesCannotBeReadAtTheStart) {
  m_tv.Fail("package_manager_get_package_info", PACKAGE_MANAGER_ERROR_IO_ERROR, 1);
  m_check->Init();
  RunLoopFor(1h);
  EXPECT_EQ(Asked(), 0U);
}

}  // namespace

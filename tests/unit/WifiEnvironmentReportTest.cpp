// The report of the Wi-Fi environment every three hours.

#include <memory>
#include <string>
#include <vector>

#include <glib.h>
#include <gtest/gtest.h>

#include "KPIEV008Capture.h"
#include "MainLoop.h"
#include "SwitchRoom.h"
#include "TestLog.h"
#include "VirtualClock.h"
#include "VirtualTv.h"
#include "WifiMonHandler.h"

using namespace std::chrono_literals;

namespace {

constexpr char kTick[] = "EV008 _OnTimeout";

class WifiEnvironmentReport : public testing::Test, protected SwitchRoom {
 protected:
  WifiEnvironmentReport() {
    vconf_set_int(vconf_keys::kDisclaimerAgree, 1);
    vconf_set_str(vconf_keys::kApName, "Home");
    handler.Init();
    RunLoopOnce();
    EXPECT_TRUE(m_capture->Start());
  }

  std::size_t Sent() { return tv.Calls("AddEventLogSync").size(); }

  /// Until the timer has fired, and no further: what was measured waits to be told.
  static void RunUntilTheTick() {
    RunLoopFor(3h - 1s);
    EXPECT_FALSE(test_log::Has(kTick));
    virtual_clock::Advance(3s);
    g_main_context_iteration(nullptr, FALSE);
    ASSERT_TRUE(test_log::Has(kTick));
  }

  /// The measurement runs on a thread of its own, in real time.
  static void WaitForTheEndOfThePass() {
    RunLoopUntil([] { return SwitchRoom::CountPrefix("[OnDone received") > 0; });
  }

  /// Whether a measurement is kept: it holds the Wi-Fi monitor, which otherwise begins anew and names
  /// its first listener 101.
  static bool IsMeasurementKept() {
    return CNWSingleton<WifiMonHandler>::GetInstance()->Start(nullptr) != 100;
  }

  std::unique_ptr<CKPIEV008Capture> m_capture = std::make_unique<CKPIEV008Capture>();
};

TEST_F(WifiEnvironmentReport, IsMadeThreeHoursAfterTheStartAndThenEveryThreeHours) {
  RunLoopFor(3h - 1s);
  EXPECT_EQ(Sent(), 0U);
  RunLoopFor(2s);
  WaitForTheEndOfThePass();
  ASSERT_EQ(Sent(), 1U);
  EXPECT_EQ(tv.Calls("AddEventLogSync")[0].arguments,
            (std::vector<std::string>{
                "21_wireless_environment", "WIRELESS_ENVIRONMENT", "EV008",
                "{ntype=2;rssi=-62;interfer=0;appid=NONE;mac=AA-BB-CC;freq=2437;prot=802.11n;bw=20;"
                "security=4;linkspeed=00;ip=2;aptype=0;dualap=1;moduleid=0}"}));
  EXPECT_TRUE(test_log::Has("Sending EV008 of  ssid => Home"));
  EXPECT_FALSE(IsMeasurementKept());
  test_log::Clear();
  RunLoopFor(3h);
  WaitForTheEndOfThePass();
  EXPECT_EQ(Sent(), 2U);
}

TEST_F(WifiEnvironmentReport, IsMissingForAPeriodOnTheCable) {
  tv.PlugCable();
  RunLoopFor(3h + 2s);
  EXPECT_TRUE(test_log::Has(kTick));
  EXPECT_FALSE(test_log::Has("Run Wifi Mon =>"));
  tv.UnplugCable();
  RunLoopFor(3h);
  WaitForTheEndOfThePass();
  EXPECT_EQ(Sent(), 1U);
}

TEST_F(WifiEnvironmentReport, IsDroppedWhenTheCableIsPluggedDuringTheMeasurement) {
  RunUntilTheTick();
  tv.PlugCable();
  WaitForTheEndOfThePass();
  EXPECT_EQ(Sent(), 0U);
  EXPECT_EQ(CountPrefix("Sending EV008"), 0U);
  EXPECT_FALSE(IsMeasurementKept());
  tv.UnplugCable();
  test_log::Clear();
  RunLoopFor(3h + 2s);
  WaitForTheEndOfThePass();
  EXPECT_EQ(Sent(), 1U) << "the next period is not hindered";
}

TEST_F(WifiEnvironmentReport, OfAMeasurementThatNeverEndedIsReplacedByTheNext) {
  RunUntilTheTick();
  virtual_clock::Advance(3h +
                         2s);  // GLib fires up to a second late; by now the next tick is due for certain
  RunLoopFor(1s);
  WaitForTheEndOfThePass();
  RunLoopFor(1s);
  EXPECT_EQ(test_log::Count(kTick), 2U);
  EXPECT_EQ(Sent(), 1U);
}

TEST_F(WifiEnvironmentReport, IsMissingWithoutAnAccessPoint) {
  tv.Fail("wifi_get_connected_ap", WIFI_ERROR_NO_CONNECTION, 1);
  RunLoopFor(3h + 2s);
  EXPECT_TRUE(test_log::Has("[Cannot start EV008 ,no ap connected =>]"));
  EXPECT_EQ(Sent(), 0U);
  RunLoopFor(3h);
  WaitForTheEndOfThePass();
  EXPECT_EQ(Sent(), 1U);
}

TEST_F(WifiEnvironmentReport, SaysSoWhenTheNameIsNotKnown) {
  tv.Fail("vconf_get_str", VCONF_ERROR);
  RunLoopFor(3h + 2s);
  WaitForTheEndOfThePass();
  EXPECT_TRUE(test_log::Has("Sending EV008 of  ssid => (null)"));
  EXPECT_EQ(Sent(), 1U);
}

TEST_F(WifiEnvironmentReport, EndsWithStop) {
  m_capture->Stop();
  m_capture->Stop();
  RunLoopFor(24h);
  EXPECT_FALSE(test_log::Has(kTick));
  m_capture->Start();
  RunLoopFor(3h + 2s);
  EXPECT_TRUE(test_log::Has(kTick));
}

TEST_F(WifiEnvironmentReport, StartedTwiceHasTwoTimersOfWhichStopKnowsTheSecond) {
  m_capture->Start();
  m_capture->Stop();
  RunLoopFor(3h + 2s);
  EXPECT_EQ(test_log::Count(kTick), 1U);
  g_source_remove_by_user_data(m_capture.get());  // or it would outlive the capture
}

TEST_F(WifiEnvironmentReport, EndsWithTheCapture) {
  m_capture.reset();
  RunLoopFor(24h);
  EXPECT_FALSE(test_log::Has(kTick));
}

TEST_F(WifiEnvironmentReport, OfAMeasurementUnderWayEndsWithTheCapture) {
  RunUntilTheTick();
  m_capture.reset();
  RunLoopFor(10s);
  EXPECT_EQ(Sent(), 0U);
}

TEST_F(WifiEnvironmentReport, OfAMeasurementUnderWayIsMadeAlsoAfterStop) {
  RunUntilTheTick();
  m_capture->Stop();
  WaitForTheEndOfThePass();
  EXPECT_EQ(Sent(), 1U);
}

}  // namespace

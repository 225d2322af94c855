#include "IgnorePopup.h"

#include <glib.h>
#include <gtest/gtest.h>

#include "MainLoop.h"
#include "NW_Common.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "system_info.h"
#include "vconf.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

namespace {

constexpr char kExpired[] = "Ignore attached >>Timer is Expired ";
constexpr char kRestarted[] = "[Start Ignore Timer] >>>";
constexpr char kWiredSupport[] = "com.velanor/featureconf/network.network_support";

bool g_timers_fail = false;

void PowerManagerSays(const char* word) {
  vconf_set_str(vconf_keys::kNotifyPelorus, word);
  RunLoopOnce();
}

TEST(IgnoreWindow, ClosesThirtySecondsAfterRegistration) {
  RegisterIgnorePopup();
  RunLoopFor(29s);
  EXPECT_FALSE(test_log::Has(kExpired));
  RunLoopFor(2s);
  EXPECT_EQ(test_log::Count(kExpired), 1U);
  RunLoopFor(10min);
  EXPECT_EQ(test_log::Count(kExpired), 1U);
}

TEST(IgnoreWindow, ASecondRegistrationDoesNotRestartIt) {
  RegisterIgnorePopup();
  RunLoopFor(20s);
  RegisterIgnorePopup();
  EXPECT_TRUE(test_log::Has("[IsIgnoreCondition Already initialized]"));
  EXPECT_EQ(test_log::Count(kRestarted), 1U);
  RunLoopFor(11s);
  EXPECT_TRUE(test_log::Has(kExpired));
}

TEST(IgnoreWindow, ClosesFortySecondsAfterInstantOn) {
  RegisterIgnorePopup();
  PowerManagerSays("instant_on");
  RunLoopFor(39s);
  EXPECT_FALSE(test_log::Has(kExpired));
  RunLoopFor(2s);
  EXPECT_EQ(test_log::Count(kExpired), 1U);
}

TEST(IgnoreWindow, EachInstantOnRestartsItFromZero) {
  RegisterIgnorePopup();
  PowerManagerSays("instant_on");
  RunLoopFor(30s);
  PowerManagerSays("instant_on");
  EXPECT_EQ(test_log::Count(kRestarted), 3U);
  EXPECT_EQ(test_log::Count("instant off vconf result =>instant_on"), 2U);
  RunLoopFor(39s);
  EXPECT_FALSE(test_log::Has(kExpired));
  RunLoopFor(2s);
  EXPECT_TRUE(test_log::Has(kExpired));
}

TEST(IgnoreWindow, IsOpenedAgainByInstantOnAfterItClosed) {
  RegisterIgnorePopup();
  RunLoopFor(60s);
  PowerManagerSays("instant_on");
  RunLoopFor(41s);
  EXPECT_EQ(test_log::Count(kExpired), 2U);
}

TEST(IgnoreWindow, ComparesTheWordsExactly) {
  RegisterIgnorePopup();
  for (const char* word : {"INSTANT_ON", "Instant_off", "instant_off ", "", "on"}) {
    PowerManagerSays(word);
  }
  EXPECT_EQ(test_log::Count(kRestarted), 1U);
  IsIgnoreCondition(eNetworkTypeCellular);
  EXPECT_FALSE(test_log::Has("is_instantoff True"));
}

TEST(IgnoreWindow, AWordThatCannotBeReadChangesNothing) {
  RegisterIgnorePopup();
  vconf_set_int(vconf_keys::kNotifyPelorus, 1);
  RunLoopOnce();
  EXPECT_TRUE(test_log::Has("instant off vconf result =>(null)"));
  EXPECT_EQ(test_log::Count(kRestarted), 1U);
}

TEST(IgnoreWindow, UnregistrationStopsTheTimerAndTheListening) {
  RegisterIgnorePopup();
  PowerManagerSays("instant_off");
  UnRegisterIgnorePopup();
  UnRegisterIgnorePopup();
  PowerManagerSays("instant_on");
  RunLoopFor(60s);
  EXPECT_FALSE(test_log::Has(kExpired));
  EXPECT_EQ(test_log::Count(kRestarted), 1U);
  IsIgnoreCondition(eNetworkTypeCellular);
  EXPECT_FALSE(test_log::Has("is_instantoff True")) << "forgotten with the registration";
}

TEST(IgnoreWindow, CanBeRegisteredAnew) {
  RegisterIgnorePopup();
  UnRegisterIgnorePopup();
  RegisterIgnorePopup();
  RunLoopFor(31s);
  EXPECT_EQ(test_log::Count(kExpired), 1U);
}

TEST(IgnoreWindow, AFailedWatchStillOpensIt) {
  VirtualTv::Instance().Fail("vconf_notify_key_changed", VCONF_ERROR, 1);
  RegisterIgnorePopup();
  RunLoopFor(31s);
  EXPECT_EQ(test_log::Count(kExpired), 1U);
}

TEST(IgnoreWindow, WithoutATimerDecisionsStayTheSame) {
  g_timers_fail = true;
  RegisterIgnorePopup();
  g_timers_fail = false;
  EXPECT_TRUE(test_log::Has("Failed to create timer"));
  EXPECT_FALSE(IsIgnoreCondition(eNetworkTypeWired));
}

TEST(IgnoreCondition, DropsTheCableOfAModelWithoutWiredNetwork) {
  VirtualTv::Instance().SetFeature(kWiredSupport, "2");
  EXPECT_TRUE(IsIgnoreCondition(eNetworkTypeWired));
  EXPECT_EQ(test_log::Messages(), (std::vector<std::string>{
                                      "Wired plugged in, but wired network is not supported",
                                      "IsIgnoreCondition => true]",
                                  }));
}

TEST(IgnoreCondition, ShowsTheCableInsideTheWindowAndWhileInstantOff) {
  VirtualTv::Instance().SetFeature(kWiredSupport, "3");
  RegisterIgnorePopup();
  RunLoopFor(11s);
  test_log::Clear();
  EXPECT_FALSE(IsIgnoreCondition(eNetworkTypeWired));
  EXPECT_EQ(test_log::Messages(), (std::vector<std::string>{
                                      "Wired is Supported",
                                      "__IgnoreObj.iTimerCount < _nwpopuptimeout ::10=30",
                                      "IsIgnoreCondition => false]",
                                  }));
  PowerManagerSays("instant_off");
  test_log::Clear();
  EXPECT_FALSE(IsIgnoreCondition(eNetworkTypeWired));
  EXPECT_EQ(test_log::Messages(), (std::vector<std::string>{
                                      "Wired is Supported",
                                      "is_instantoff True",
                                      "IsIgnoreCondition => false]",
                                  }));
}

TEST(IgnoreCondition, TakesAFailedQueryForAWiredModel) {
  VirtualTv::Instance().SetFeature(kWiredSupport, "0");
  VirtualTv::Instance().Fail("system_info_get_custom_int", SYSTEM_INFO_ERROR_IO_ERROR, 1);
  EXPECT_FALSE(IsIgnoreCondition(eNetworkTypeWired));
  EXPECT_TRUE(
      test_log::Has(" Error: Fail to get com.velanor/featureconf/network.network_support value"));
}

TEST(IgnoreCondition, NeverDropsTheDongle) {
  VirtualTv::Instance().SetFeature(kWiredSupport, "0");
  RegisterIgnorePopup();
  RunLoopFor(21s);
  test_log::Clear();
  EXPECT_FALSE(IsIgnoreCondition(eNetworkTypeCellular));
  EXPECT_EQ(test_log::Messages(), (std::vector<std::string>{
                                      "__IgnoreObj.iTimerCount < _nwpopuptimeout ::20=40",
                                      "IsIgnoreCondition => false]",
                                  }));
  PowerManagerSays("instant_off");
  EXPECT_FALSE(IsIgnoreCondition(eNetworkTypeCellular));
}

TEST(IgnoreCondition, TheWiredReferenceStaysThirtySecondsAfterInstantOn) {
  VirtualTv::Instance().SetFeature(kWiredSupport, "1");
  RegisterIgnorePopup();
  PowerManagerSays("instant_on");
  RunLoopFor(31s);
  test_log::Clear();
  IsIgnoreCondition(eNetworkTypeWired);
  EXPECT_EQ(test_log::Messages(),
            (std::vector<std::string>{"Wired is Supported", "IsIgnoreCondition => false]"}));
  test_log::Clear();
  IsIgnoreCondition(eNetworkTypeCellular);
  EXPECT_TRUE(test_log::Has("__IgnoreObj.iTimerCount < _nwpopuptimeout ::30=40"));
}

}  // namespace

// Only the ignore window's timer counts in seconds.
extern "C" guint g_timeout_add_seconds(guint interval, GSourceFunc function, gpointer data) {
  if (g_timers_fail) {
    return 0;
  }
  return g_timeout_add_seconds_full(G_PRIORITY_DEFAULT, interval, function, data, nullptr);
}

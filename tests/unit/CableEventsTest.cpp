#include <gtest/gtest.h>

#include "IgnorePopup.h"
#include "MainLoop.h"
#include "NW_Common.h"
#include "NW_LanPopup.h"
#include "Popups.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "net_connection.h"
#include "system_info.h"
#include "vconf.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

namespace {

constexpr char kWiredSupport[] = "com.velanor/featureconf/network.network_support";
constexpr char kPopupSupport[] = "com.velanor/featureconf/networkui.network_popup_supported";
constexpr char kDuringSetup[] = "During PNP. Skip to launch Banner.";

using Keywords = std::vector<std::string>;

class CableEvents : public testing::Test {
 protected:
  CableEvents() {
    m_tv.SetFeature(kWiredSupport, "1");
    m_tv.SetFeature(kPopupSupport, "true");
    registerEvent();
  }

  /// Lets the event reach the daemon.
  static void Settle() { RunLoopFor(1s); }

  VirtualTv& m_tv = VirtualTv::Instance();
};

TEST_F(CableEvents, PluggedShowsAttached) {
  m_tv.PlugCable();
  Settle();
  popups::WaitForStarted(1);
  EXPECT_EQ(popups::Keywords(), Keywords{"ethernet_attached"});
}

TEST_F(CableEvents, PulledShowsDetached) {
  m_tv.PlugCable();
  Settle();
  popups::WaitForStarted(1);
  popups::Close(popups::All().at(0).pid);
  m_tv.UnplugCable();
  Settle();
  popups::WaitForStarted(2);
  EXPECT_TRUE(test_log::Has("GOT DETTACHED Event "));
  EXPECT_EQ(popups::Keywords(), (Keywords{"ethernet_attached", "ethernet_detached"}));
}

TEST_F(CableEvents, TwoInQuickSuccessionSpawnOnceAndForwardTheSecond) {
  m_tv.PlugCable();
  m_tv.UnplugCable();
  Settle();
  popups::WaitForStarted(1);
  EXPECT_EQ(popups::Keywords(), Keywords{"ethernet_attached"});
  const HeapString forwarded(vconf_get_str(vconf_keys::kPelorusCommand));
  ASSERT_NE(forwarded, nullptr);
  EXPECT_STREQ(forwarded.get(), "ethernet_detached");
}

class CableDuringSetup : public CableEvents, public testing::WithParamInterface<const char*> {};

TEST_P(CableDuringSetup, ShowsNothing) {
  vconf_set_str(vconf_keys::kWizardMode, GetParam());
  m_tv.PlugCable();
  Settle();
  EXPECT_TRUE(test_log::Has(std::string("memory/wizard/wizard_mode == ") + GetParam()));
  EXPECT_TRUE(test_log::Has(kDuringSetup));
  EXPECT_FALSE(test_log::Has("data=="));
}

INSTANTIATE_TEST_SUITE_P(Steps, CableDuringSetup,
                         testing::Values("PNP_SETUP", "INITIAL_SETUP", "MARQUEE_SETUP", "HOTPLUG_SETUP",
                                         "TERMS_SETUP"),
                         [](const auto& case_info) { return std::string(case_info.param); });

TEST_F(CableEvents, AStepThatIsNoSetupStepShowsThePopup) {
  for (const char* step : {"pnp_setup", "MARQUEE_SETUP ", "", "SOFTWARE_UPDATE"}) {
    vconf_set_str(vconf_keys::kWizardMode, step);
    m_tv.EmitCableState(1);
    Settle();
  }
  EXPECT_FALSE(test_log::Has(kDuringSetup));
  EXPECT_TRUE(test_log::Has("data=="));
}

TEST_F(CableEvents, AMissingSetupStepShowsThePopup) {
  m_tv.PlugCable();
  Settle();
  popups::WaitForStarted(1);
  EXPECT_TRUE(test_log::Has("memory/wizard/wizard_mode == (null)"));
}

TEST_F(CableEvents, AreIgnoredOnAModelWithoutWiredNetwork) {
  m_tv.SetFeature(kWiredSupport, "2");
  m_tv.PlugCable();
  m_tv.UnplugCable();
  Settle();
  EXPECT_EQ(test_log::Count("Event received >> deleted Timer"), 2U);
  EXPECT_TRUE(test_log::Has("Ignoring event : 1"));
  EXPECT_TRUE(test_log::Has("Ignoring event : 0"));
  EXPECT_FALSE(test_log::Has("data=="));
  RunLoopFor(60s);
  EXPECT_FALSE(test_log::Has("Ignore attached >>Timer is Expired ")) << "the event ended the window";
}

TEST_F(CableEvents, AnUnknownStateOnAModelWithoutWiredNetworkShowsNothing) {
  m_tv.SetFeature(kWiredSupport, "2");
  m_tv.EmitCableState(2);
  Settle();
  EXPECT_TRUE(test_log::Has("Event received >> deleted Timer"));
  EXPECT_FALSE(test_log::Has("Ignoring event : 2"));
  EXPECT_FALSE(test_log::Has("data=="));
}

TEST_F(CableEvents, AnUnknownStateShowsNothing) {
  m_tv.EmitCableState(2);
  Settle();
  EXPECT_TRUE(test_log::Has("IsIgnoreCondition => false]"));
  EXPECT_FALSE(test_log::Has("data=="));
}

TEST_F(CableEvents, AreShownInsideTheStartWindowAndWhileInstantOff) {
  RunLoopFor(5s);
  vconf_set_str(vconf_keys::kNotifyPelorus, "instant_off");
  RunLoopOnce();
  m_tv.PlugCable();
  Settle();
  popups::WaitForStarted(1);
  EXPECT_TRUE(test_log::Has("is_instantoff True"));
}

TEST_F(CableEvents, ShowNothingOnAModelThatShowsNoNetworkPopups) {
  m_tv.SetFeature(kPopupSupport, "false");
  m_tv.PlugCable();
  Settle();
  EXPECT_TRUE(test_log::Has("Dont show popup when SYSTEM_INFO_KEY_LFD_NETWORK_POPUP_SUPPORT is false"));
  EXPECT_FALSE(test_log::Has("data=="));
}

TEST_F(CableEvents, AreShownWhenTheModelCannotBeAsked) {
  m_tv.SetFeature(kPopupSupport, "false");
  m_tv.Fail("system_info_get_custom_bool", SYSTEM_INFO_ERROR_IO_ERROR, 1);
  m_tv.PlugCable();
  Settle();
  popups::WaitForStarted(1);
  EXPECT_TRUE(test_log::Has("SYSTEM_INFO_KEY_LFD_NETWORK_POPUP_SUPPORT returns error"));
}

TEST_F(CableEvents, EndWithDeregistration) {
  m_tv.PlugCable();
  deregisterEvent();
  Settle();
  EXPECT_FALSE(test_log::Has("data=="));
  EXPECT_TRUE(test_log::Has("Terminating >>"));
  EXPECT_TRUE(test_log::Has("Done deregistration>>"));
  RunLoopFor(60s);
  EXPECT_FALSE(test_log::Has("Ignore attached >>Timer is Expired "));
  deregisterEvent();
}

TEST(CableEventsWithoutConnection, RegisterNeitherCableNorWindow) {
  VirtualTv& tv = VirtualTv::Instance();
  tv.Fail("connection_create", CONNECTION_ERROR_OPERATION_FAILED, 1);
  EXPECT_EQ(registerEvent(), 0);
  EXPECT_FALSE(test_log::Has("[Start Ignore Timer] >>>"));
  EXPECT_TRUE(tv.Calls("connection_set_ethernet_cable_state_chaged_cb").empty());
  tv.PlugCable();
  RunLoopFor(1s);
  EXPECT_FALSE(test_log::Has("data=="));
  EXPECT_EQ(deregisterEvent(), 0);
}

TEST(CableEventsWithoutConnection, AreTakenUpByTheNextRegistration) {
  VirtualTv::Instance().Fail("connection_create", CONNECTION_ERROR_OPERATION_FAILED, 1);
  registerEvent();
  registerEvent();
  VirtualTv::Instance().PlugCable();
  RunLoopFor(1s);
  popups::WaitForStarted(1);
  EXPECT_EQ(popups::Keywords(), Keywords{"ethernet_attached"});
}

TEST(CableEventsWithoutCallback, StillOpenTheWindow) {
  VirtualTv::Instance().Fail("connection_set_ethernet_cable_state_chaged_cb",
                             CONNECTION_ERROR_OPERATION_FAILED, 1);
  registerEvent();
  EXPECT_TRUE(test_log::Has("[Start Ignore Timer] >>>"));
}

}  // namespace

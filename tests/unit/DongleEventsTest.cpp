#include <gtest/gtest.h>

#include "MainLoop.h"
#include "NW_CellularPopup.h"
#include "NW_Common.h"
#include "NW_LanPopup.h"
#include "Popups.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "tapi.h"
#include "vconf.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

namespace {

using Keywords = std::vector<std::string>;

class DongleEvents : public testing::Test {
 protected:
  static void Settle() { RunLoopFor(1s); }

  static std::string Forwarded() {
    const HeapString value(vconf_get_str(vconf_keys::kPelorusCommand));
    return value == nullptr ? "(none)" : value.get();
  }

  VirtualTv& m_tv = VirtualTv::Instance();
};

TEST_F(DongleEvents, TelephonyUpAtStartWithoutDongleReportsItRemoved) {
  m_tv.StartTelephony();
  registerCellularEvents();
  popups::WaitForStarted(1);
  EXPECT_EQ(popups::Keywords(), Keywords{"dongle_detached"});
  EXPECT_TRUE(test_log::Has("telephony-daemon is running, register timer"));
  EXPECT_TRUE(test_log::Has("telephony-daemon is running now,register Modem State Change Events"));
  EXPECT_TRUE(test_log::Has("tel_register_noti_event for TAPI_PROP_MODEM_DONGLE_STATUS , return : 0"));
  EXPECT_TRUE(test_log::Has("Dongle Removed"));
}

TEST_F(DongleEvents, TelephonyUpAtStartWithADongleReportsItInserted) {
  m_tv.InsertDongle();
  m_tv.StartTelephony();
  registerCellularEvents();
  popups::WaitForStarted(1);
  EXPECT_EQ(popups::Keywords(), Keywords{"dongle_attached"});
  EXPECT_TRUE(test_log::Has("Dongle Inserted"));
  EXPECT_TRUE(test_log::Has("Cellular timer >> Invalid data"));
}

TEST_F(DongleEvents, WaitForTelephonyWhenItIsNotUp) {
  registerCellularEvents();
  EXPECT_TRUE(test_log::Has("telephony-daemon is not running, Register vconf notify key changed."));
  EXPECT_TRUE(test_log::Has("Success to register vconf notification callback"));
  EXPECT_TRUE(m_tv.Calls("tel_init").empty());
  m_tv.StartTelephony();
  Settle();
  popups::WaitForStarted(1);
  EXPECT_EQ(popups::Keywords(), Keywords{"dongle_detached"});
}

TEST_F(DongleEvents, AFailedWatchIsLogged) {
  registerEvent();  // has opened the ignore window, which would watch too
  m_tv.Fail("vconf_notify_key_changed", VCONF_ERROR, 1);
  registerCellularEvents();
  EXPECT_TRUE(test_log::Has("Failed to register vconf notification callback"));
}

TEST_F(DongleEvents, InsertedAndRemovedWhileRunning) {
  m_tv.StartTelephony();
  registerCellularEvents();
  popups::WaitForStarted(1);
  popups::Close(popups::All().at(0).pid);
  m_tv.InsertDongle();
  Settle();
  popups::WaitForStarted(2);
  popups::Close(popups::All().at(1).pid);
  m_tv.RemoveDongle();
  Settle();
  popups::WaitForStarted(3);
  EXPECT_EQ(popups::Keywords(), (Keywords{"dongle_detached", "dongle_attached", "dongle_detached"}));
}

TEST_F(DongleEvents, InsertedWhileAPopupIsUpIsForwarded) {
  m_tv.StartTelephony();
  registerCellularEvents();
  popups::WaitForStarted(1);
  m_tv.InsertDongle();
  Settle();
  EXPECT_EQ(Forwarded(), "dongle_attached");
  EXPECT_EQ(popups::All().size(), 1U);
}

TEST_F(DongleEvents, EveryChangeOfTelephonyReadyReportsTheDongleAgain) {
  registerCellularEvents();
  m_tv.StartTelephony();
  Settle();
  vconf_set_bool(vconf_keys::kTelephonyReady, 1);
  Settle();
  EXPECT_EQ(test_log::Count("Dongle Removed"), 2U);
  EXPECT_EQ(m_tv.Calls("tel_init").size(), 1U) << "the session is kept";
  EXPECT_EQ(m_tv.Calls("tel_register_noti_event").size(), 2U) << "the subscription is renewed";
  test_log::Clear();
  m_tv.InsertDongle();
  Settle();
  EXPECT_EQ(test_log::Count("IsIgnoreCondition => false]"), 1U) << "and still delivers each change once";
}

TEST_F(DongleEvents, WithoutASessionNothingIsShownAndTheNextChangeTriesAgain) {
  registerCellularEvents();
  m_tv.Fail("tel_init", -1, 1);
  m_tv.StartTelephony();
  Settle();
  EXPECT_TRUE(test_log::Has("TapiHandle Failed"));
  EXPECT_FALSE(test_log::Has("Dongle Removed"));
  vconf_set_bool(vconf_keys::kTelephonyReady, 1);
  Settle();
  EXPECT_TRUE(test_log::Has("Dongle Removed"));
}

TEST_F(DongleEvents, AStatusThatCannotBeReadShowsNothingAndTheNextChangeTriesAgain) {
  registerCellularEvents();
  m_tv.Fail("tel_get_property_int", TAPI_API_OPERATION_FAILED, 1);
  m_tv.StartTelephony();
  Settle();
  EXPECT_TRUE(test_log::Has("tel_get_property_int Failed"));
  EXPECT_TRUE(m_tv.Calls("tel_register_noti_event").empty());
  EXPECT_FALSE(test_log::Has("data=="));
  vconf_set_bool(vconf_keys::kTelephonyReady, 1);
  Settle();
  EXPECT_TRUE(test_log::Has("Dongle Removed"));
}

TEST_F(DongleEvents, AFailedSubscriptionStillReportsThePresentState) {
  m_tv.InsertDongle();
  m_tv.StartTelephony();
  m_tv.Fail("tel_register_noti_event", TAPI_API_OPERATION_FAILED, 1);
  registerCellularEvents();
  EXPECT_TRUE(test_log::Has("== failed to get Tapi handler,Tapi async functionality may not work =="));
  popups::WaitForStarted(1);
  EXPECT_EQ(popups::Keywords(), Keywords{"dongle_attached"});
  test_log::Clear();
  m_tv.RemoveDongle();
  Settle();
  EXPECT_TRUE(test_log::Messages().empty()) << "later changes are missed";
}

TEST_F(DongleEvents, AreNeverDroppedByTheIgnoreRule) {
  m_tv.SetFeature("com.velanor/featureconf/network.network_support", "0");
  m_tv.StartTelephony();
  registerCellularEvents();
  vconf_set_str(vconf_keys::kNotifyPelorus, "instant_off");
  RunLoopOnce();
  m_tv.InsertDongle();
  Settle();
  EXPECT_TRUE(test_log::Has("is_instantoff True"));
  EXPECT_FALSE(test_log::Has("[Ignoring cellular dongle  event]>>>> "));
  EXPECT_EQ(Forwarded(), "dongle_attached");
}

TEST_F(DongleEvents, OpenTheIgnoreWindowWhenTheCableCouldNot) {
  m_tv.Fail("connection_create", -1, 1);
  registerEvent();
  registerCellularEvents();
  RunLoopFor(31s);
  EXPECT_EQ(test_log::Count("Ignore attached >>Timer is Expired "), 1U);
}

TEST_F(DongleEvents, EndWithDeregistration) {
  m_tv.StartTelephony();
  registerCellularEvents();
  popups::WaitForStarted(1);
  m_tv.InsertDongle();
  deregisterCellularEvent();
  EXPECT_TRUE(test_log::Has("Cellular >> Terminating >>"));
  EXPECT_TRUE(test_log::Has("Cellular >> Done deregistration>>"));
  Settle();
  EXPECT_EQ(Forwarded(), "(none)");
  deregisterCellularEvent();
  EXPECT_EQ(m_tv.Calls("tel_deinit").size(), 1U);
}

TEST_F(DongleEvents, TheWatchForTelephonyOutlivesDeregistration) {
  registerCellularEvents();
  deregisterCellularEvent();
  m_tv.StartTelephony();
  Settle();
  EXPECT_TRUE(test_log::Has("Dongle Removed"));
}

}  // namespace

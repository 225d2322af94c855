#include "VirtualTv.h"

#include <chrono>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "TestLog.h"
#include "net_connection.h"
#include "platform.h"
#include "system_info.h"
#include "tapi.h"
#include "vconf.h"
#include "vconf_keys.h"

using std::chrono::milliseconds;

namespace {

using States = std::vector<int>;

VirtualTv& Tv() {
  return VirtualTv::Instance();
}

void RecordCable(connection_ethernet_cable_state_e state, void* states) {
  static_cast<States*>(states)->push_back(state);
}

void RecordDongle(TapiHandle* /*handle*/, const char* evt, void* data, void* states) {
  EXPECT_STREQ(evt, TAPI_PROP_MODEM_DONGLE_STATUS);
  static_cast<States*>(states)->push_back(*static_cast<int*>(data));
}

void RecordDongleElsewhere(TapiHandle* handle, const char* evt, void* data, void* states) {
  RecordDongle(handle, evt, data, states);
}

connection_h Connection(States& states) {
  connection_h connection = nullptr;
  EXPECT_EQ(connection_create(&connection), CONNECTION_ERROR_NONE);
  EXPECT_EQ(connection_set_ethernet_cable_state_chaged_cb(connection, RecordCable, &states),
            CONNECTION_ERROR_NONE);
  return connection;
}

TapiHandle* Session(States& states) {
  Tv().StartTelephony();
  TapiHandle* session = tel_init(nullptr);
  EXPECT_NE(session, nullptr);
  EXPECT_EQ(tel_register_noti_event(session, TAPI_PROP_MODEM_DONGLE_STATUS, RecordDongle, &states),
            TAPI_API_SUCCESS);
  return session;
}

TEST(VirtualCable, ComesAfterItsLatencyAndNotBefore) {
  States states;
  Connection(states);
  Tv().PlugCable();
  RunLoopFor(milliseconds(9));
  EXPECT_EQ(states, States{});
  RunLoopFor(milliseconds(2));
  EXPECT_EQ(states, States{1});
}

TEST(VirtualCable, EventsKeepTheirOrderWhenTheLatencyShrinks) {
  States states;
  Connection(states);
  Tv().SetLatency(VirtualTv::EventKind::kCable, 500);
  Tv().PlugCable();
  Tv().SetLatency(VirtualTv::EventKind::kCable, 0);
  Tv().UnplugCable();
  Tv().PlugCable();
  RunLoopFor(milliseconds(499));
  EXPECT_EQ(states, States{});
  RunLoopFor(milliseconds(2));
  EXPECT_EQ(states, (States{1, 0, 1}));
}

TEST(VirtualCable, PluggingWhatIsPluggedIsNoEvent) {
  States states;
  Connection(states);
  Tv().PlugCable();
  Tv().PlugCable();
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(states, States{1});
}

TEST(VirtualCable, StateBeforeTheCallbackIsNoEvent) {
  Tv().PlugCable();
  States states;
  Connection(states);
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(states, States{});
}

TEST(VirtualCable, AnyStateCanBeSentAndLeavesTheCableAlone) {
  States states;
  Connection(states);
  Tv().EmitCableState(2);
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(states, States{2});
  EXPECT_FALSE(Tv().GetCable().IsAttached());
}

TEST(VirtualCable, SecondCallbackReplacesTheFirstAlsoForAnEventUnderWay) {
  States first;
  States second;
  connection_h connection = Connection(first);
  Tv().PlugCable();
  connection_set_ethernet_cable_state_chaged_cb(connection, RecordCable, &second);
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(first, States{});
  EXPECT_EQ(second, States{1});
}

TEST(VirtualCable, DestroyedHandleHearsNothingOfWhatIsUnderWay) {
  States destroyed;
  States kept;
  connection_h connection = Connection(destroyed);
  Connection(kept);
  Tv().PlugCable();
  EXPECT_EQ(connection_destroy(connection), CONNECTION_ERROR_NONE);
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(destroyed, States{});
  EXPECT_EQ(kept, States{1});
}

struct SelfDestroyer {
  connection_h self = nullptr;
  connection_h other = nullptr;
  int calls = 0;
};

TEST(VirtualCable, HandleMayBeDestroyedInItsOwnCallbackAndTakeAnotherWithIt) {
  SelfDestroyer destroyer;
  States others;
  connection_create(&destroyer.self);
  connection_set_ethernet_cable_state_chaged_cb(
      destroyer.self,
      [](connection_ethernet_cable_state_e, void* data) {
        auto* self = static_cast<SelfDestroyer*>(data);
        ++self->calls;
        EXPECT_EQ(connection_destroy(self->self), CONNECTION_ERROR_NONE);
        EXPECT_EQ(connection_destroy(self->other), CONNECTION_ERROR_NONE);
      },
      &destroyer);
  destroyer.other = Connection(others);
  Tv().PlugCable();
  Tv().UnplugCable();
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(destroyer.calls, 1);
  EXPECT_EQ(others, States{});
}

TEST(VirtualCable, CallbackThatThrowsCostsOneCall) {
  connection_h connection = nullptr;
  connection_create(&connection);
  connection_set_ethernet_cable_state_chaged_cb(
      connection,
      [](connection_ethernet_cable_state_e, void*) { throw std::runtime_error("bad document"); },
      nullptr);
  States states;
  Connection(states);
  Tv().PlugCable();
  RunLoopFor(milliseconds(50));
  EXPECT_TRUE(test_log::Has("exception bad document"));
  EXPECT_EQ(states, States{1});
}

TEST(VirtualCable, NullsAndDestroyedHandlesAreRefused) {
  EXPECT_EQ(connection_create(nullptr), CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_destroy(nullptr), CONNECTION_ERROR_INVALID_PARAMETER);
  connection_h connection = nullptr;
  connection_create(&connection);
  EXPECT_EQ(connection_set_ethernet_cable_state_chaged_cb(connection, nullptr, nullptr),
            CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_set_ethernet_cable_state_chaged_cb(nullptr, RecordCable, nullptr),
            CONNECTION_ERROR_INVALID_PARAMETER);
  connection_destroy(connection);
  EXPECT_EQ(connection_destroy(connection), CONNECTION_ERROR_INVALID_PARAMETER);
}

TEST(VirtualDongle, IsHeardThroughASessionAfterItsLatency) {
  States states;
  TapiHandle* session = Session(states);
  Tv().InsertDongle();
  int status = 0;
  EXPECT_EQ(tel_get_property_int(session, TAPI_PROP_MODEM_DONGLE_STATUS, &status), TAPI_API_SUCCESS);
  EXPECT_EQ(status, 1);
  Tv().RemoveDongle();
  EXPECT_EQ(states, States{});
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(states, (States{1, 0}));
}

TEST(VirtualDongle, SecondSubscriptionOfTheSamePairRenewsAndDeliversOnce) {
  States first;
  States second;
  TapiHandle* session = Session(first);
  EXPECT_EQ(tel_register_noti_event(session, TAPI_PROP_MODEM_DONGLE_STATUS, RecordDongle, &second),
            TAPI_API_SUCCESS);
  Tv().InsertDongle();
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(first, States{});
  EXPECT_EQ(second, States{1});
}

TEST(VirtualDongle, TwoCallbacksOfOneSessionAreBothCalled) {
  States first;
  States second;
  TapiHandle* session = Session(first);
  tel_register_noti_event(session, TAPI_PROP_MODEM_DONGLE_STATUS, RecordDongleElsewhere, &second);
  Tv().InsertDongle();
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(first, States{1});
  EXPECT_EQ(second, States{1});
}

TEST(VirtualDongle, EndedSessionHearsNothingOfWhatIsUnderWay) {
  States states;
  TapiHandle* session = Session(states);
  Tv().InsertDongle();
  EXPECT_EQ(tel_deinit(session), TAPI_API_SUCCESS);
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(states, States{});
}

TEST(VirtualDongle, SessionMayEndInItsOwnCallback) {
  Tv().StartTelephony();
  int calls = 0;
  TapiHandle* session = tel_init(nullptr);
  tel_register_noti_event(
      session, TAPI_PROP_MODEM_DONGLE_STATUS,
      [](TapiHandle* handle, const char*, void*, void* count) {
        ++*static_cast<int*>(count);
        EXPECT_EQ(tel_deinit(handle), TAPI_API_SUCCESS);
      },
      &calls);
  Tv().InsertDongle();
  Tv().RemoveDongle();
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(calls, 1);
}

TEST(VirtualDongle, WithoutTheServiceThereIsNoSession) {
  EXPECT_EQ(tel_init(nullptr), nullptr);
}

TEST(VirtualDongle, ServiceThatWentFailsItsSessionsUntilItIsBack) {
  States states;
  TapiHandle* session = Session(states);
  Tv().StopTelephony();
  int status = 7;
  EXPECT_EQ(tel_get_property_int(session, TAPI_PROP_MODEM_DONGLE_STATUS, &status),
            TAPI_API_OPERATION_FAILED);
  EXPECT_EQ(status, 7);
  Tv().InsertDongle();
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(states, States{});
  Tv().StartTelephony();
  EXPECT_EQ(tel_get_property_int(session, TAPI_PROP_MODEM_DONGLE_STATUS, &status), TAPI_API_SUCCESS);
  EXPECT_EQ(status, 1);
  Tv().RemoveDongle();
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(states, States{0});
}

TEST(VirtualDongle, ServiceThatStopsTakesEventsWithItThatAreUnderWay) {
  States states;
  Session(states);
  Tv().InsertDongle();
  Tv().StopTelephony();
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(states, States{});
}

TEST(VirtualDongle, NullsUnknownPropertiesAndEndedSessionsAreRefused) {
  States states;
  TapiHandle* session = Session(states);
  int status = 0;
  EXPECT_EQ(tel_get_property_int(session, TAPI_PROP_MODEM_DONGLE_STATUS, nullptr),
            TAPI_API_INVALID_INPUT);
  EXPECT_EQ(tel_get_property_int(session, nullptr, &status), TAPI_API_INVALID_INPUT);
  EXPECT_EQ(tel_get_property_int(session, "modem:colour", &status), TAPI_API_NOT_SUPPORTED);
  EXPECT_EQ(tel_register_noti_event(session, TAPI_PROP_MODEM_DONGLE_STATUS, nullptr, nullptr),
            TAPI_API_INVALID_INPUT);
  EXPECT_EQ(tel_register_noti_event(session, "modem:colour", RecordDongle, nullptr),
            TAPI_API_NOT_SUPPORTED);
  EXPECT_EQ(tel_deinit(nullptr), TAPI_API_INVALID_INPUT);
  EXPECT_EQ(tel_deinit(session), TAPI_API_SUCCESS);
  EXPECT_EQ(tel_deinit(session), TAPI_API_INVALID_INPUT);
}

TEST(VirtualTelephony, ComingAndGoingIsWrittenToTheSettings) {
  int ready = -1;
  EXPECT_EQ(vconf_get_bool(vconf_keys::kTelephonyReady, &ready), VCONF_ERROR);
  Tv().StartTelephony();
  EXPECT_EQ(vconf_get_bool(vconf_keys::kTelephonyReady, &ready), VCONF_OK);
  EXPECT_EQ(ready, 1);
  Tv().StopTelephony();
  EXPECT_EQ(vconf_get_bool(vconf_keys::kTelephonyReady, &ready), VCONF_OK);
  EXPECT_EQ(ready, 0);
}

TEST(VirtualModel, FeatureIsFoundByNameAndByWholeKey) {
  Tv().SetFeature("network.network_support", "2");
  int support = 0;
  EXPECT_EQ(system_info_get_custom_int(FEATURE_NETWORK_SUPPORT, &support), SYSTEM_INFO_ERROR_NONE);
  EXPECT_EQ(support, 2);
  Tv().SetFeature(FEATURE_NETWORK_SUPPORT, "1");
  system_info_get_custom_int(FEATURE_NETWORK_SUPPORT, &support);
  EXPECT_EQ(support, 1);
}

TEST(VirtualFailures, EndAfterTheirNumber) {
  Tv().Fail("connection_create", CONNECTION_ERROR_OUT_OF_MEMORY, 2);
  connection_h connection = nullptr;
  EXPECT_EQ(connection_create(&connection), CONNECTION_ERROR_OUT_OF_MEMORY);
  EXPECT_EQ(connection_create(&connection), CONNECTION_ERROR_OUT_OF_MEMORY);
  EXPECT_EQ(connection, nullptr);
  EXPECT_EQ(connection_create(&connection), CONNECTION_ERROR_NONE);
}

TEST(VirtualFailures, ForGoodLastUntilTheyAreStopped) {
  Tv().Fail("system_info_get_custom_int", SYSTEM_INFO_ERROR_IO_ERROR);
  int value = 0;
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(system_info_get_custom_int(FEATURE_NETWORK_SUPPORT, &value), SYSTEM_INFO_ERROR_IO_ERROR);
  }
  Tv().StopFailing("system_info_get_custom_int");
  Tv().SetFeature("network.network_support", "1");
  EXPECT_EQ(system_info_get_custom_int(FEATURE_NETWORK_SUPPORT, &value), SYSTEM_INFO_ERROR_NONE);
}

TEST(VirtualFailures, EveryFunctionAnswersInItsWay) {
  States states;
  connection_h connection = Connection(states);
  TapiHandle* session = Session(states);
  for (const char* function :
       {"connection_create", "connection_destroy", "connection_set_ethernet_cable_state_chaged_cb",
        "tel_init", "tel_deinit", "tel_get_property_int", "tel_register_noti_event", "platform_start",
        "vconf_get_str"}) {
    Tv().Fail(function, -77);
  }
  connection_h other = nullptr;
  int status = 5;
  EXPECT_EQ(connection_create(&other), -77);
  EXPECT_EQ(connection_destroy(connection), -77);
  EXPECT_EQ(connection_set_ethernet_cable_state_chaged_cb(connection, RecordCable, nullptr), -77);
  EXPECT_EQ(tel_init(nullptr), nullptr);
  EXPECT_EQ(tel_deinit(session), -77);
  EXPECT_EQ(tel_get_property_int(session, TAPI_PROP_MODEM_DONGLE_STATUS, &status), -77);
  EXPECT_EQ(status, 5);
  EXPECT_EQ(tel_register_noti_event(session, TAPI_PROP_MODEM_DONGLE_STATUS, RecordDongle, nullptr), -77);
  EXPECT_EQ(platform_start(), -77);
  vconf_set_str(vconf_keys::kWizardMode, "PNP_SETUP");
  EXPECT_EQ(vconf_get_str(vconf_keys::kWizardMode), nullptr);
}

TEST(VirtualCalls, AreRecordedWithTheirArgumentsRefusedOnesToo) {
  Tv().ClearCalls();
  Tv().Fail("vconf_set_int", VCONF_ERROR, 1);
  vconf_set_int(vconf_keys::kNetworkAppStatus, 3);
  vconf_set_str(vconf_keys::kLaunchNS, "LaunchNS");
  tel_init(nullptr);
  const std::vector<VirtualTv::Call> expected = {
      {"vconf_set_int", {vconf_keys::kNetworkAppStatus, "3"}},
      {"vconf_set_str", {vconf_keys::kLaunchNS, "LaunchNS"}},
      {"tel_init", {"null"}},
  };
  EXPECT_EQ(Tv().Calls(), expected);
  EXPECT_EQ(Tv().Calls("vconf_set_str").size(), 1U);
  Tv().ClearCalls();
  EXPECT_TRUE(Tv().Calls().empty());
}

TEST(VirtualCalls, OfTheRoomItselfAreNotRecorded) {
  Tv().ClearCalls();
  Tv().StartTelephony();
  Tv().SetFeature("network.network_support", "1");
  EXPECT_TRUE(Tv().Calls().empty());
}

TEST(VirtualCalls, RecordDoesNotGrowForEver) {
  Tv().ClearCalls();
  int value = 0;
  vconf_get_int("memory/first", &value);
  for (std::size_t i = 0; i < VirtualTv::kMostCalls; ++i) {
    vconf_get_int("memory/other", &value);
  }
  EXPECT_EQ(Tv().Calls().size(), VirtualTv::kMostCalls);
  EXPECT_EQ(Tv().Calls().front().arguments.front(), "memory/other");
}

TEST(VirtualPlatform, DeliversNothingAfterItsStopAndAgainAfterAStart) {
  States states;
  Connection(states);
  EXPECT_EQ(platform_start(), 0);
  Tv().PlugCable();
  platform_stop();
  Tv().UnplugCable();
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(states, States{});
  EXPECT_EQ(platform_start(), 0);
  Tv().PlugCable();
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(states, States{1});
}

}  // namespace

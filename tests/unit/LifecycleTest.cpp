#include "Pelorus.h"

#include <algorithm>

#include <dlfcn.h>
#include <glib.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "MainLoop.h"
#include "NW_Common.h"
#include "Popups.h"
#include "TestLog.h"
#include "VirtualClock.h"
#include "VirtualTv.h"
#include "vconf.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

namespace {

bool g_loop_fails = false;
GMainLoop* g_loop = nullptr;

}  // namespace

// The daemon's loop, so that a test can end it, or refuse it.
extern "C" GMainLoop* g_main_loop_new(GMainContext* context, gboolean is_running) {
  if (g_loop_fails) {
    return nullptr;
  }
  using Function = GMainLoop* (*)(GMainContext*, gboolean);
  static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "g_main_loop_new"));
  g_loop = real(context, is_running);
  return g_loop;
}

namespace {

/// Runs the daemon for so long in virtual time; `during` is called from its loop at once.
int RunDaemonFor(
    std::chrono::seconds duration, void (*during)() = [] {}) {
  g_idle_add(
      [](gpointer function) -> gboolean {
        reinterpret_cast<void (*)()>(function)();
        return G_SOURCE_REMOVE;
      },
      reinterpret_cast<gpointer>(during));
  g_timeout_add(
      static_cast<guint>(std::chrono::milliseconds(duration).count()),
      [](gpointer) -> gboolean {
        g_main_loop_quit(g_loop);
        return G_SOURCE_REMOVE;
      },
      nullptr);
  virtual_clock::SetHorizon(virtual_clock::Now() + duration + 1s);
  const int result = PelorusMain();
  virtual_clock::SetHorizon(std::nullopt);
  return result;
}

/// The messages among `wanted`, in the order in which they were logged.
std::vector<std::string> LoggedAmong(const std::vector<std::string>& wanted) {
  std::vector<std::string> logged;
  std::ranges::copy_if(
      test_log::Messages(), std::back_inserter(logged),
      [&](const std::string& message) { return std::ranges::find(wanted, message) != wanted.end(); });
  return logged;
}

std::vector<std::string> Functions(const std::vector<VirtualTv::Call>& calls) {
  std::vector<std::string> functions;
  for (const auto& call : calls) {
    functions.push_back(call.function + (call.arguments.empty() ? "" : " " + call.arguments.front()));
  }
  return functions;
}

TEST(Lifecycle, WithoutAMainLoopNothingIsStarted) {
  VirtualTv& tv = VirtualTv::Instance();
  g_loop_fails = true;
  EXPECT_EQ(PelorusMain(), 0);
  EXPECT_EQ(test_log::Messages(), (std::vector<std::string>{
                                      " MAIN Launched.",
                                      "Failed to create g_main_loop",
                                      " Main Ended",
                                  }));
  EXPECT_TRUE(tv.Calls().empty());
}

TEST(Lifecycle, StartsAndStopsEachSubsystemInItsFixedOrder) {
  EXPECT_EQ(RunDaemonFor(1s), 0);
  const std::vector<std::string> landmarks{
      " MAIN Launched.",
      "On Pelorus Init ",
      "[Start Ignore Timer] >>>",
      "telephony-daemon is not running, Register vconf notify key changed.",
      "bRegister = 1",
      "On Terminate",
      "Terminating >>",
      "Cellular >> Terminating >>",
      "bRegister = 0",
      " Main Ended",
  };
  EXPECT_EQ(LoggedAmong(landmarks), landmarks);
}

TEST(Lifecycle, LeavesThePlatformInItsFixedOrder) {
  VirtualTv& tv = VirtualTv::Instance();
  RunDaemonFor(5s, [] {
    g_timeout_add(  // after what the start leaves to timers
        4000,
        [](gpointer) -> gboolean {
          VirtualTv::Instance().ClearCalls();
          return G_SOURCE_REMOVE;
        },
        nullptr);
  });
  EXPECT_EQ(Functions(tv.Calls()), (std::vector<std::string>{
                                       "connection_destroy",
                                       "vconf_ignore_key_changed memory/menu/network/notify_pelorus",
                                       "wifi_unset_connection_state_changed_cb",
                                       "connection_destroy",
                                       "vconf_ignore_key_changed db/was/factory_reset",
                                       "connection_unset_network_monitor_cb",
                                       "connection_destroy",
                                       "vconf_ignore_key_changed db/menu/network/network_type",
                                       "vconf_ignore_key_changed db/menu/network/launchNS",
                                       "system_info_get_custom_bool "
                                       "com.velanor/featureconf/product.b2b_option_support",
                                       "vconf_ignore_key_changed memory/Pelorus/start_stop_TCPDump",
                                       "vconf_ignore_key_changed memory/menu/network/pelorus_command",
                                       "vconf_ignore_key_changed memory/menu/network/wireless_kpi_info",
                                       "system_info_get_value_int 281",
                                       "vconf_ignore_key_changed memory/sp-kpi/neterr_streaming_buffer",
                                       "vconf_ignore_key_changed memory/sp-kpi/neterr_streaming_lowres",
                                       "vconf_ignore_key_changed db/menu/network/launchNS",
                                       "connection_destroy",
                                   }));
}

TEST(Lifecycle, UsesThePlatformInItsFixedOrder) {
  VirtualTv::Instance();
  static std::vector<VirtualTv::Call> started;
  RunDaemonFor(1s, [] { started = VirtualTv::Instance().Calls(); });
  EXPECT_EQ(Functions(started),
            (std::vector<std::string>{
                "platform_start",
                "connection_create",
                "wifi_initialize",
                "system_info_get_value_int 281",
                "vconf_notify_key_changed memory/sp-kpi/neterr_streaming_buffer",
                "vconf_notify_key_changed memory/sp-kpi/neterr_streaming_lowres",
                "vconf_notify_key_changed db/menu/network/launchNS",
                "wifi_manager_initialize",
                "vconf_notify_key_changed memory/Pelorus/Command",
                "vconf_notify_key_changed memory/Pelorus/Command",
                "wifi_manager_initialize",
                "vconf_get_str db/menu/network/SavedAPList",
                "wifi_manager_config_foreach_configuration",
                "wifi_manager_specific_scan_create",
                "vconf_set_str db/menu/network/SavedAPList",
                "wifi_manager_specific_scan_create",
                "vconf_set_str db/menu/network/SavedAPList",
                "wifi_initialize",
                "connection_create",
                "connection_set_ethernet_cable_state_chaged_cb",
                "vconf_notify_key_changed memory/menu/network/notify_pelorus",
                "vconf_get_bool memory/telephony/telephony_ready",
                "vconf_notify_key_changed memory/telephony/telephony_ready",
                "wifi_initialize",
                "connection_create",
                "wifi_get_connected_ap",
                "vconf_get_str db/menu/network/ap_name",
                "vconf_notify_key_changed "
                "db/menu/marquee/homedatacontrol/defaultdisclaimeragree",
                "vconf_get_int db/menu/marquee/homedatacontrol/defaultdisclaimeragree",
                "wifi_get_connected_ap",
                "connection_create",
                "connection_set_network_monitor_cb",
                "wifi_set_connection_state_changed_cb",
                "vconf_notify_key_changed db/was/factory_reset",
                "vconf_notify_key_changed db/menu/network/eap_certificate_status",
                "vconf_notify_key_changed db/menu/network/network_type",
                "vconf_get_str db/menu/network/network_type",
                "vconf_notify_key_changed db/menu/network/launchNS",
                "system_info_get_custom_bool com.velanor/featureconf/projector_feature_support",
                "vconf_notify_key_changed memory/Pelorus/start_stop_TCPDump",
                "package_manager_get_package_info org.orvik.browser",
                "vconf_notify_key_changed memory/menu/network/pelorus_command",
                "vconf_notify_key_changed memory/menu/network/wireless_kpi_info",
                "vconf_set_int db/menu/network/networkapp_status",
                "system_info_get_custom_bool com.velanor/featureconf/product.b2b_option_support",
            }));
}

TEST(Lifecycle, StartsTheRestWhenTheStoredListOfNetworksIsDamaged) {
  vconf_set_str(vconf_keys::kSavedAPList, R"({"values":[]})");
  static std::vector<VirtualTv::Call> started;
  RunDaemonFor(1s, [] { started = VirtualTv::Instance().Calls(); });
  EXPECT_TRUE(test_log::Has("exception Value is not convertible to Int."));
  const auto calls = Functions(started);
  const auto read = std::ranges::find(calls, "vconf_get_str db/menu/network/SavedAPList");
  ASSERT_NE(read, calls.end());
  EXPECT_NE(std::find(read, calls.end(), "connection_set_ethernet_cable_state_chaged_cb"), calls.end());
  EXPECT_NE(std::find(read, calls.end(), "vconf_set_int db/menu/network/networkapp_status"),
            calls.end());
}

TEST(Lifecycle, LaunchesTheSoftAccessPointManagerOfABusinessModelLast) {
  VirtualTv::Instance().SetFeature("product.b2b_option_support", "true");
  EXPECT_EQ(RunDaemonFor(5s), 0);
  const std::vector<std::string> landmarks{
      "On Pelorus Init ",
      "[Start Ignore Timer] >>>",
      "launch Softap Manager!!",
      "SoftapProxy::Launch_SoftapMgr",
      "[SoftAP]OnbootUpCB-- wait for pelorus init in case of boot up",
      "On Terminate",
      "bRegister = 0",
      "Unregistered_softapMgr",
      " Main Ended",
  };
  EXPECT_EQ(LoggedAmong(landmarks), landmarks);
  EXPECT_EQ(test_log::Count("supported = true"), 2U);
}

TEST(Lifecycle, LaunchesNoSoftAccessPointManagerOfAnotherModel) {
  EXPECT_EQ(RunDaemonFor(5s), 0);
  EXPECT_EQ(test_log::Count("supported = false"), 2U);
  EXPECT_FALSE(test_log::Has("launch Softap Manager!!"));
  EXPECT_FALSE(test_log::Has("SoftapProxy::Launch_SoftapMgr"));
  EXPECT_FALSE(test_log::Has("Unregistered_softapMgr"));
}

TEST(Lifecycle, RunsNoCommandOfTheServiceTool) {
  RunDaemonFor(10s, [] {
    vconf_set_bool(vconf_keys::kEuWifiRegTestMode, 1);
    vconf_set_str(vconf_keys::kRseCommand, "touch /run/ran");
  });
  EXPECT_FALSE(test_log::Has("RSEUtil::VconfNotifyRSELaunched: 1"));
  EXPECT_TRUE(VirtualTv::Instance().Calls("vconf_set_bool").size() == 1U);
  EXPECT_NE(access("/run/ran", F_OK), 0);
}

TEST(Lifecycle, ResetsTheStatusOfTheSettingsApplication) {
  vconf_set_int(vconf_keys::kNetworkAppStatus, 7);
  RunDaemonFor(1s);
  int status = -1;
  EXPECT_EQ(vconf_get_int(vconf_keys::kNetworkAppStatus, &status), VCONF_OK);
  EXPECT_EQ(status, 0);
  EXPECT_FALSE(test_log::Has("Vconf Error"));
}

TEST(Lifecycle, AStatusThatCannotBeResetIsLoggedAndTheDaemonRuns) {
  VirtualTv::Instance().Fail("vconf_set_int", VCONF_ERROR, 1);
  static bool ran = false;
  EXPECT_EQ(RunDaemonFor(1s, [] { ran = true; }), 0);
  EXPECT_TRUE(test_log::Has("Vconf Error"));
  EXPECT_TRUE(ran);
}

TEST(Lifecycle, TheRunningDaemonAnswersFactoryResetInstantOnAndTheSettingsScreen) {
  RunDaemonFor(100s, [] {
    vconf_set_int(vconf_keys::kFactoryReset, 0);
    vconf_set_str(vconf_keys::kNotifyPelorus, "instant_on");
    vconf_set_str(vconf_keys::kLaunchNS, "LaunchNS");
  });
  EXPECT_TRUE(test_log::Has("SetwellDaemon::power_off_clb"));
  EXPECT_TRUE(test_log::Has("instant off vconf result =>instant_on"));
  EXPECT_TRUE(test_log::Has(" Vconf [LaunchNS]"));
}

TEST(Lifecycle, TheRunningDaemonRelaysWhatOtherProgramsTellOfTheirPopups) {
  RunDaemonFor(10s, [] {
    vconf_set_str(vconf_keys::kPelorusCommand, "wifi_reconnection_kpi");
    vconf_set_str(vconf_keys::kWirelessKpiInfo, R"({"id":"EV011","execution_method":"manual"})");
  });
  EXPECT_TRUE(test_log::Has("EV008=>appid=NONE;aptype=0;click_reason=2"));
  EXPECT_TRUE(
      test_log::Has("rawJson [{\"id\":\"EV011\",\"execution_method\":\"manual\"}] bRet[1] err[]"));
}

TEST(Log, EveryLineNamesItsFileFunctionAndLine) {
  g_loop_fails = true;
  PelorusMain();
  const std::string line = test_log::Lines().at(0);
  EXPECT_TRUE(line.starts_with("Pelorus.cpp: PelorusMain(")) << line;
  EXPECT_TRUE(line.ends_with(") >  MAIN Launched.")) << line;
}

}  // namespace

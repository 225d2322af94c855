#include "NetworkMonitor.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "NW_Common.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "vconf.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;
using namespace std::string_literals;

namespace {

constexpr int kFailed = CONNECTION_ERROR_OPERATION_FAILED;

using Texts = std::vector<std::string>;

class InternetMonitor : public testing::Test {
 protected:
  InternetMonitor() { m_tv.PlugCable(); }

  NetworkMonitor& Monitor() { return *m_monitor; }

  /// A listener that notes what it is told under its name: "a+HTTP", "a-DNS".
  NetworkMonitor::Listener Note(const std::string& name) {
    return [this, name](bool success, const std::string& state) {
      m_told.push_back(name + (success ? "+" : "-") + state);
    };
  }

  static void Settle() { RunLoopFor(1s); }

  /// Subscribes, and lets pass what the platform finds first.
  MonitorHandle Listen(const std::string& name = "a") {
    const MonitorHandle handle = Monitor().RegisterCb(Note(name));
    Settle();
    m_told.clear();
    return handle;
  }

  void Tell(int result, const std::string& step) {
    m_tv.GetInternet().Report(result, step);
    Settle();
  }

  static void Store(const std::string& status) {
    ASSERT_EQ(vconf_set_str(vconf_keys::kInternetStatus, status.c_str()), VCONF_OK);
  }
  static std::string Stored() {
    const HeapString status(vconf_get_str(vconf_keys::kInternetStatus));
    return status == nullptr ? "" : status.get();
  }
  Texts Writes() {
    Texts values;
    for (const auto& call : m_tv.Calls("vconf_set_str")) {
      EXPECT_EQ(call.arguments.at(0), vconf_keys::kInternetStatus);
      values.push_back(call.arguments.at(1));
    }
    return values;
  }

  VirtualTv& m_tv = VirtualTv::Instance();
  /// One of the test's own: the daemon's static objects hold the process's one to the end.
  std::shared_ptr<NetworkMonitor> m_monitor = std::make_shared<NetworkMonitor>();
  Texts m_told;
};

TEST_F(InternetMonitor, AFailureAtAnyStepIsOfflineAndOnlyHttpIsOnline) {
  struct Case {
    const char* stored;
    int result;
    const char* step;
    const char* expected;
  };
  Listen();
  for (const Case& c : std::initializer_list<Case>{
           {"ONLINE", kFailed, "PHY", "OFFLINE"},
           {"ONLINE", kFailed, "DNS", "OFFLINE"},
           {"ONLINE", kFailed, "HTTP", "OFFLINE"},
           {"ONLINE", kFailed, "", "ONLINE"},
           {"ONLINE", kFailed, "http", "ONLINE"},
           {"ONLINE", kFailed, "HTTPS", "ONLINE"},
           {"ONLINE", 0, "PHY", "ONLINE"},
           {"ONLINE", 0, "GATEWAY", "ONLINE"},
           {"ONLINE", 0, "DNS", "ONLINE"},
           {"ONLINE", 0, "HTTP", "ONLINE"},
           {"OFFLINE", 0, "PHY", "OFFLINE"},
           {"OFFLINE", 0, "GATEWAY", "OFFLINE"},
           {"OFFLINE", 0, "DNS", "OFFLINE"},
           {"OFFLINE", 0, "HTTP", "ONLINE"},
           {"OFFLINE", 1, "HTTP", "OFFLINE"},
           {"online", 0, "HTTP", "ONLINE"},
           {"online", kFailed, "HTTP", "online"},
       }) {
    Store(c.stored);
    test_log::Clear();
    Tell(c.result, c.step);
    EXPECT_EQ(Stored(), c.expected) << c.stored << " " << c.result << " " << c.step;
    const bool is_changed = std::string(c.stored) != c.expected;
    EXPECT_EQ(test_log::Has("CONNECTION_ONLINE"), is_changed && c.result == 0) << c.step;
    EXPECT_EQ(test_log::Has("CONNECTION_OFFLINE"), is_changed && c.result != 0) << c.step;
  }
}

TEST_F(InternetMonitor, NothingStoredCountsAsOffline) {
  EXPECT_FALSE(Monitor().GetInternetStatusVconf());
  Monitor().RegisterCb(Note("a"));
  Settle();
  EXPECT_EQ(Stored(), "ONLINE");
  EXPECT_EQ(m_told, Texts{"a+HTTP"});
}

TEST_F(InternetMonitor, AGatewayThatComesBackIsOnlineAgain) {
  Store("ONLINE");
  Listen();
  Tell(kFailed, "GATEWAY");
  EXPECT_EQ(Stored(), "OFFLINE");
  Tell(0, "GATEWAY");
  EXPECT_EQ(Stored(), "ONLINE");
  EXPECT_EQ(m_told, (Texts{"a-GATEWAY", "a+GATEWAY"}));
}

TEST_F(InternetMonitor, AGatewayThatDidNotFailBeforeIsNotEnough) {
  Listen();
  Store("OFFLINE");
  Tell(0, "GATEWAY");
  EXPECT_EQ(Stored(), "OFFLINE");
  EXPECT_EQ(m_told, Texts{"a+GATEWAY"});
}

TEST_F(InternetMonitor, ALostLinkForgetsTheGatewaysFailure) {
  Store("ONLINE");
  Listen();
  Tell(kFailed, "GATEWAY");
  Tell(kFailed, "PHY");
  Tell(0, "GATEWAY");
  EXPECT_EQ(Stored(), "OFFLINE");
  Tell(0, "HTTP");
  EXPECT_EQ(Stored(), "ONLINE");
}

TEST_F(InternetMonitor, AGatewayFailureWhileOfflineIsNotRemembered) {
  Listen();
  Store("OFFLINE");
  Tell(kFailed, "GATEWAY");
  Tell(0, "GATEWAY");
  EXPECT_EQ(Stored(), "OFFLINE");
}

TEST_F(InternetMonitor, OtherFailuresLeaveTheGatewaysInMind) {
  Store("ONLINE");
  Listen();
  Tell(kFailed, "GATEWAY");
  Tell(kFailed, "DNS");
  Tell(kFailed, "HTTP");
  Tell(0, "PHY");
  Tell(0, "DNS");
  EXPECT_EQ(Stored(), "OFFLINE");
  Tell(0, "GATEWAY");
  EXPECT_EQ(Stored(), "ONLINE");
}

/// Only a lost link ends the memory of it: not the recovery, and not the monitor's end.
TEST_F(InternetMonitor, TheGatewaysFailureOutlivesRecoveryAndMonitor) {
  Store("ONLINE");
  MonitorHandle handle = Listen();
  Tell(kFailed, "GATEWAY");
  Tell(0, "GATEWAY");
  Tell(kFailed, "DNS");
  EXPECT_EQ(Stored(), "OFFLINE");
  Tell(0, "GATEWAY");
  EXPECT_EQ(Stored(), "ONLINE");

  Monitor().UnRegisterCb(handle);
  m_monitor.reset();
  m_monitor = std::make_shared<NetworkMonitor>();
  Listen();
  Store("OFFLINE");
  Tell(0, "GATEWAY");
  EXPECT_EQ(Stored(), "ONLINE");
}

TEST_F(InternetMonitor, WhatIsStoredAlreadyIsNotWritten) {
  Store("ONLINE");
  Listen();
  m_tv.ClearCalls();
  Tell(0, "HTTP");
  EXPECT_EQ(Writes(), Texts{});
  Tell(kFailed, "DNS");
  Tell(kFailed, "DNS");
  EXPECT_EQ(Writes(), Texts{"OFFLINE"});
  EXPECT_EQ(m_told, (Texts{"a+HTTP", "a-DNS", "a-DNS"}));
}

TEST_F(InternetMonitor, FollowsTheRoomsHealth) {
  Listen();
  Internet& internet = m_tv.GetInternet();
  const auto after = [&](auto change) {
    m_told.clear();
    change();
    Settle();
    return std::pair(m_told, Stored());
  };
  EXPECT_EQ(after([&] { internet.SetGateway(false); }), std::pair(Texts{"a-GATEWAY"}, "OFFLINE"s));
  EXPECT_EQ(after([&] { internet.SetGateway(true); }),
            std::pair((Texts{"a+GATEWAY", "a+HTTP"}), "ONLINE"s));
  EXPECT_EQ(after([&] { m_tv.UnplugCable(); }), std::pair(Texts{"a-PHY"}, "OFFLINE"s));
  EXPECT_EQ(after([&] { m_tv.PlugCable(); }), std::pair((Texts{"a+PHY", "a+HTTP"}), "ONLINE"s));
}

TEST_F(InternetMonitor, EveryListenerIsToldInOrder) {
  EXPECT_EQ(Monitor().RegisterCb(Note("a")), 1);
  MonitorHandle second = Monitor().RegisterCb(Note("b"));
  EXPECT_EQ(second, 2);
  EXPECT_EQ(Monitor().RegisterCb(Note("c")), 3);
  EXPECT_EQ(m_tv.Calls("connection_create").size(), 1U);
  EXPECT_EQ(m_tv.Calls("connection_set_network_monitor_cb").size(), 1U);
  Settle();
  EXPECT_EQ(m_told, (Texts{"a+HTTP", "b+HTTP", "c+HTTP"}));
  m_told.clear();

  test_log::Clear();
  Monitor().UnRegisterCb(second);
  EXPECT_EQ(second, 10000);
  EXPECT_TRUE(test_log::Has("Find handle successfully"));
  Tell(kFailed, "PHY");
  EXPECT_EQ(m_told, (Texts{"a-PHY", "c-PHY"}));
  EXPECT_EQ(Monitor().RegisterCb(Note("d")), 4) << "no handle is used again while there are listeners";
}

TEST_F(InternetMonitor, TheLastOneToGoEndsTheSubscription) {
  MonitorHandle first = Listen("a");
  MonitorHandle second = Listen("b");
  Monitor().UnRegisterCb(first);
  EXPECT_TRUE(m_tv.Calls("connection_unset_network_monitor_cb").empty());
  Monitor().UnRegisterCb(second);
  EXPECT_EQ(m_tv.Calls("connection_unset_network_monitor_cb").size(), 1U);
  EXPECT_EQ(m_tv.Calls("connection_destroy").size(), 1U);
  Tell(0, "HTTP");
  EXPECT_EQ(m_told, Texts{});
  EXPECT_EQ(Monitor().RegisterCb(Note("c")), 1);
  Settle();
  EXPECT_EQ(m_told, Texts{"c+HTTP"});
}

TEST_F(InternetMonitor, AnUnknownHandleChangesNothing) {
  MonitorHandle unknown = 7;
  Monitor().UnRegisterCb(unknown);
  EXPECT_EQ(unknown, 10000) << "of an empty list";
  MonitorHandle handle = Listen();
  unknown = handle + 1;
  test_log::Clear();
  Monitor().UnRegisterCb(unknown);
  EXPECT_EQ(unknown, 10000);
  EXPECT_FALSE(test_log::Has("Find handle successfully"));
  Tell(0, "HTTP");
  EXPECT_EQ(m_told, Texts{"a+HTTP"});

  Monitor().UnRegisterCb(handle);
  Monitor().UnRegisterCb(handle);
  EXPECT_EQ(handle, 10000);
}

TEST_F(InternetMonitor, AllAreForgottenAtOnce) {
  Listen("a");
  Listen("b");
  Monitor().UnRegisterAllCb();
  EXPECT_EQ(m_tv.Calls("connection_destroy").size(), 1U);
  Tell(0, "HTTP");
  EXPECT_EQ(m_told, Texts{});
  Monitor().UnRegisterAllCb();
  EXPECT_EQ(m_tv.Calls("connection_destroy").size(), 1U) << "nothing is left to end";
  EXPECT_EQ(Monitor().RegisterCb(Note("c")), 1);
}

TEST_F(InternetMonitor, AReportUnderWayDoesNotReachThoseWhoCameLater) {
  MonitorHandle handle = Listen("a");
  m_tv.GetInternet().Report(kFailed, "DNS");
  Monitor().UnRegisterCb(handle);
  Monitor().RegisterCb(Note("b"));
  Settle();
  EXPECT_EQ(m_told, Texts{"b+HTTP"});
}

TEST_F(InternetMonitor, AListenerThatIsAddedMeanwhileHearsTheNextReport) {
  bool is_added = false;
  Monitor().RegisterCb([&](bool success, const std::string& state) {
    Note("a")(success, state);
    if (!std::exchange(is_added, true)) {
      for (int i = 0; i < 100; ++i) {  // enough to move the list
        Monitor().RegisterCb(i == 0 ? Note("b") : [](bool, const std::string&) {});
      }
    }
  });
  Settle();
  EXPECT_EQ(m_told, Texts{"a+HTTP"});
  Tell(kFailed, "DNS");
  EXPECT_EQ(m_told, (Texts{"a+HTTP", "a-DNS", "b-DNS"}));
}

TEST_F(InternetMonitor, AListenerMayUnregisterItselfAndOthers) {
  MonitorHandle before = 0;
  MonitorHandle self = 0;
  MonitorHandle after = 0;
  before = Monitor().RegisterCb(Note("before"));
  self = Monitor().RegisterCb([&, kept = std::string("held by the listener itself")](bool, auto) {
    Monitor().UnRegisterCb(before);
    Monitor().UnRegisterCb(after);
    Monitor().UnRegisterCb(self);
    m_told.push_back(kept);
  });
  after = Monitor().RegisterCb(Note("after"));
  Monitor().RegisterCb(Note("last"));
  Settle();
  EXPECT_EQ(m_told, (Texts{"before+HTTP", "held by the listener itself", "last+HTTP"}));
  Tell(0, "DNS");
  EXPECT_EQ(m_told.back(), "last+DNS");
  EXPECT_EQ(m_told.size(), 4U);
}

TEST_F(InternetMonitor, AHandleThatIsGivenOutAnewMeanwhileIsNotTakenForTheOldOne) {
  MonitorHandle second = 0;
  Monitor().RegisterCb([&](bool, const std::string&) {
    Monitor().UnRegisterAllCb();
    EXPECT_EQ(Monitor().RegisterCb(Note("new a")), 1);
    EXPECT_EQ(Monitor().RegisterCb(Note("new b")), second);
  });
  second = Monitor().RegisterCb(Note("old b"));
  Settle();
  EXPECT_EQ(m_told, (Texts{"new a+HTTP", "new b+HTTP"})) << "by the new subscription's first report";
}

TEST_F(InternetMonitor, AListenerMayEndTheMonitor) {
  const std::weak_ptr<NetworkMonitor> watched = m_monitor;
  Monitor().RegisterCb([this](bool, const std::string&) {
    m_told.emplace_back("ends it");
    m_monitor.reset();
  });
  Monitor().RegisterCb(Note("b"));
  Settle();
  EXPECT_EQ(m_told, (Texts{"ends it", "b+HTTP"}));
  EXPECT_TRUE(watched.expired());
  EXPECT_EQ(m_tv.Calls("connection_destroy").size(), 1U);
  Tell(0, "DNS");
  EXPECT_EQ(m_told.size(), 2U);
}

TEST_F(InternetMonitor, AListenerMayEndTheMonitorThatItUnregistersFrom) {
  MonitorHandle handle = 0;
  handle = Monitor().RegisterCb([&, owner = std::move(m_monitor)](bool, const std::string&) {
    m_told.emplace_back("told");
    owner->UnRegisterCb(handle);
  });
  EXPECT_EQ(m_monitor, nullptr);
  Settle();
  EXPECT_EQ(m_told, Texts{"told"});
  EXPECT_EQ(handle, 10000);
  EXPECT_EQ(m_tv.Calls("connection_destroy").size(), 1U);
  EXPECT_EQ(std::make_shared<NetworkMonitor>()->RegisterCb(Note("b")), 1);
}

TEST_F(InternetMonitor, AListenerMayHoldTheMonitorThatItIsUnregisteredFrom) {
  NetworkMonitor* monitor = m_monitor.get();
  MonitorHandle handle = monitor->RegisterCb([owner = std::move(m_monitor)](bool, auto) {});
  monitor->UnRegisterCb(handle);
  EXPECT_EQ(handle, 10000);
  EXPECT_EQ(m_tv.Calls("connection_destroy").size(), 1U);

  m_monitor = std::make_shared<NetworkMonitor>();
  monitor = m_monitor.get();
  monitor->RegisterCb([owner = std::move(m_monitor)](bool, auto) {});
  monitor->UnRegisterAllCb();
  EXPECT_EQ(m_tv.Calls("connection_destroy").size(), 2U);
}

TEST_F(InternetMonitor, WhatAListenerHoldsMayComeBackWhenItEnds) {
  struct Holder {
    NetworkMonitor& monitor;
    MonitorHandle other;
    ~Holder() { monitor.UnRegisterCb(other); }
  };
  MonitorHandle other = Monitor().RegisterCb(Note("other"));
  MonitorHandle handle =
      Monitor().RegisterCb([holder = std::make_shared<Holder>(Monitor(), other)](bool, auto) {});
  Monitor().RegisterCb(Note("last"));
  Monitor().UnRegisterCb(handle);
  Settle();
  EXPECT_EQ(m_told, Texts{"last+HTTP"});

  Monitor().RegisterCb([holder = std::make_shared<Holder>(Monitor(), 1)](bool, auto) {});
  Monitor().UnRegisterAllCb();
  EXPECT_EQ(Monitor().RegisterCb(Note("new")), 1);
}

TEST_F(InternetMonitor, AListenersExceptionCostsOnlyItsOwnCall) {
  Monitor().RegisterCb([](bool, const std::string&) { throw std::runtime_error("a bad document"); });
  Monitor().RegisterCb(NetworkMonitor::Listener());
  Monitor().RegisterCb(Note("c"));
  Settle();
  EXPECT_EQ(m_told, Texts{"c+HTTP"});
  EXPECT_TRUE(test_log::Has("exception a bad document"));
}

TEST_F(InternetMonitor, LivesWhileItIsHeld) {
  Listen();
  EXPECT_EQ(Monitor().RegisterCb(Note("b")), 2);
  m_monitor.reset();
  EXPECT_EQ(m_tv.Calls("connection_unset_network_monitor_cb").size(), 1U);
  EXPECT_EQ(m_tv.Calls("connection_destroy").size(), 1U);
  Tell(0, "HTTP");
  EXPECT_EQ(m_told, Texts{});
  m_monitor = std::make_shared<NetworkMonitor>();
  EXPECT_EQ(Monitor().RegisterCb(Note("c")), 1);
}

TEST_F(InternetMonitor, OfTheProcessIsOneAndHeldFromBeforeMain) {
  const auto monitor = CNWSingleton<NetworkMonitor>::GetInstance();
  EXPECT_EQ(CNWSingleton<NetworkMonitor>::GetInstance(), monitor);
  EXPECT_GT(monitor.use_count(), 1);
}

TEST_F(InternetMonitor, LogsWhatItIsToldAndWhatIsStored) {
  Store("ONLINE");
  Listen();
  test_log::Clear();
  Tell(kFailed, "DNS");
  EXPECT_EQ(test_log::Lines().size(), 5U);
  EXPECT_TRUE(test_log::Has("StrState: DNS, Result -1"));
  EXPECT_TRUE(test_log::Has("Internet Status: ONLINE"));
  EXPECT_TRUE(test_log::Has("CONNECTION_OFFLINE"));
  EXPECT_TRUE(test_log::Has("START"));
  EXPECT_TRUE(test_log::Has("END"));
}

TEST_F(InternetMonitor, AReportWithoutAStepChangesNothing) {
  Store("ONLINE");
  Listen();
  NetworkMonitor::__MonitorCallBack(CONNECTION_ERROR_OPERATION_FAILED, nullptr, m_monitor.get());
  EXPECT_EQ(Stored(), "ONLINE");
  EXPECT_EQ(m_told, Texts{"a-"});
}

TEST_F(InternetMonitor, WithoutAHandleTheNextListenerTriesAgain) {
  m_tv.Fail("connection_create", CONNECTION_ERROR_OUT_OF_MEMORY, 1);
  EXPECT_EQ(Monitor().RegisterCb(Note("a")), 1);
  EXPECT_TRUE(test_log::Has("Fail to register monitor"));
  Tell(0, "DNS");
  EXPECT_EQ(m_told, Texts{});
  EXPECT_EQ(Monitor().RegisterCb(Note("b")), 2);
  Settle();
  EXPECT_EQ(m_told, (Texts{"a+HTTP", "b+HTTP"}));
}

TEST_F(InternetMonitor, ARefusedSubscriptionStandsUntilAllAreGone) {
  m_tv.Fail("connection_set_network_monitor_cb", CONNECTION_ERROR_NOT_SUPPORTED, 1);
  MonitorHandle first = Monitor().RegisterCb(Note("a"));
  EXPECT_TRUE(test_log::Has("Fail to register monitor"));
  MonitorHandle second = Monitor().RegisterCb(Note("b"));
  Tell(0, "HTTP");
  EXPECT_EQ(m_told, Texts{});
  Monitor().UnRegisterCb(first);
  Monitor().UnRegisterCb(second);
  EXPECT_EQ(m_tv.Calls("connection_destroy").size(), 1U);
  Monitor().RegisterCb(Note("c"));
  Settle();
  EXPECT_EQ(m_told, Texts{"c+HTTP"});
}

/// One evening of the monitor, of which any step may fail.
TEST_F(InternetMonitor, NoFunctionsFailureStopsIt) {
  for (const char* function :
       {"connection_create", "connection_set_network_monitor_cb", "connection_unset_network_monitor_cb",
        "connection_destroy", "vconf_get_str", "vconf_set_str"}) {
    for (const int times : {1, VirtualTv::kForGood}) {
      SCOPED_TRACE(std::string(function) + (times == 1 ? " once" : " for good"));
      m_told.clear();
      m_tv.Fail(function, -99, times);
      MonitorHandle handle = Monitor().RegisterCb(Note("a"));
      EXPECT_EQ(handle, 1);
      Tell(kFailed, "GATEWAY");
      Tell(0, "HTTP");
      const bool is_subscribed = !std::string(function).starts_with("connection_create") &&
                                 !std::string(function).starts_with("connection_set");
      EXPECT_EQ(m_told, is_subscribed ? (Texts{"a+HTTP", "a-GATEWAY", "a+HTTP"}) : Texts{});
      Monitor().UnRegisterCb(handle);
      m_monitor.reset();
      m_told.clear();
      Tell(0, "HTTP");
      EXPECT_EQ(m_told, Texts{});
      m_tv.StopFailing(function);
      m_monitor = std::make_shared<NetworkMonitor>();
    }
  }
}

TEST_F(InternetMonitor, AStatusThatCannotBeReadCountsAsOffline) {
  Store("ONLINE");
  Listen();
  m_tv.Fail("vconf_get_str", -1);
  m_tv.ClearCalls();
  Tell(kFailed, "DNS");
  EXPECT_EQ(Writes(), Texts{});
  Tell(0, "HTTP");
  EXPECT_EQ(Writes(), Texts{"ONLINE"});
}

TEST_F(InternetMonitor, AStatusThatCannotBeWrittenIsTriedAgainWithTheNextReport) {
  Listen();
  Store("OFFLINE");
  m_tv.Fail("vconf_set_str", -1, 1);
  Tell(0, "HTTP");
  EXPECT_EQ(Stored(), "OFFLINE");
  Tell(0, "HTTP");
  EXPECT_EQ(Stored(), "ONLINE");
  EXPECT_EQ(m_told, (Texts{"a+HTTP", "a+HTTP"}));
}

}  // namespace

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "InternetRoom.h"
#include "MainLoop.h"
#include "Network.h"
#include "net_connection.h"
#include "vconf.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

struct Report {
  bool works;
  std::string step;
  bool operator==(const Report&) const = default;
};
const Report kOnline{true, "HTTP"};
constexpr std::chrono::milliseconds kPatience = 20s;
constexpr int kSeldom = 600;  // seconds: no probe within a test but those that something led to

void GiveUpRawSockets() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3]{};
  ASSERT_EQ(syscall(SYS_capget, &header, data), 0);
  data[0].effective &= ~(1U << CAP_NET_RAW);
  ASSERT_EQ(syscall(SYS_capset, &header, data), 0);
  ASSERT_LT(socket(AF_PACKET, SOCK_DGRAM, 0), 0);
}

/// The way from a cable to the internet, with a real router and real servers behind it.
class InternetMonitorTest : public testing::Test {
 protected:
  void SetUp() override {
    network::EnterNamespace();
    network::AddCable("wall", "far");
    m_room.emplace();
    RunLoopUntil([] { return network::HasCarrier("wall"); });
    ASSERT_EQ(connection_create(&m_connection), CONNECTION_ERROR_NONE);
  }
  void TearDown() override { connection_destroy(m_connection); }

  static void OnReport(connection_error_e result, char* state, void* self) {
    static_cast<InternetMonitorTest*>(self)->m_reports.push_back(
        {result == CONNECTION_ERROR_NONE, state});
  }
  void Listen() {
    ASSERT_EQ(connection_set_network_monitor_cb(m_connection, OnReport, this), CONNECTION_ERROR_NONE);
  }
  static void JoinRouter() {
    network::AddAddress("wall", "192.0.2.10/24");
    network::AddDefaultRoute("wall", AF_INET, 100, InternetRoom::kRouter);
  }
  /// Waits for a report and prints for how long.
  void WaitFor(const Report& report, std::chrono::milliseconds limit = kPatience) {
    const auto begin = Clock::now();
    RunLoopUntil([&] { return std::ranges::find(m_reports, report) != m_reports.end(); }, limit);
    const std::chrono::duration<double> taken = Clock::now() - begin;
    std::printf("%s %s after %.2f s\n", report.step.c_str(), report.works ? "works" : "fails",
                taken.count());
  }
  void BeOnline() {
    JoinRouter();
    Listen();
    WaitFor(kOnline);
    m_reports.clear();
  }
  /// What is told once a fault is there, and again when it is mended.
  void ExpectFailure(const std::string& step, const std::function<void()>& mend) {
    WaitFor({false, step});
    EXPECT_EQ(m_reports.size(), 1U);
    m_reports.clear();
    mend();
    WaitFor(kOnline);
    EXPECT_TRUE(m_reports.front().works);
    EXPECT_EQ(m_reports.front().step, step);
  }

  std::optional<InternetRoom> m_room;
  connection_h m_connection = nullptr;
  std::vector<Report> m_reports;
};
using InternetMonitor = InternetMonitorTest;

}  // namespace

TEST_F(InternetMonitor, TellsThatAllWorks) {
  BeOnline();
  EXPECT_EQ(m_room->LastRequest(),
            "GET /is-it-there?a=%2F HTTP/1.0|Host: probe.test|User-Agent: pelorus|Accept: */*|"
            "Cache-Control: no-cache|Connection: close||");
}

TEST_F(InternetMonitor, TellsAPulledCableWithoutAProbe) {
  InternetRoom::Configure(InternetRoom::Configuration(kSeldom));
  BeOnline();
  network::SetUp("far", false);
  WaitFor({false, "PHY"});
  network::SetUp("far", true);
  WaitFor(kOnline);
}

TEST_F(InternetMonitor, TellsALinkWithoutARouteAsAMissingRouter) {
  Listen();
  WaitFor({false, "GATEWAY"});
  RunLoopFor(1500ms);
  EXPECT_EQ(m_room->DnsCount(), 0) << "nothing is probed where nothing leads out";
  JoinRouter();
  WaitFor(kOnline);
  EXPECT_EQ(m_reports, (std::vector<Report>{{false, "GATEWAY"}, {true, "GATEWAY"}, kOnline}));
}

TEST_F(InternetMonitor, TellsARouterThatHasDied) {
  BeOnline();
  m_room->SetRouterAlive(false);
  ExpectFailure("GATEWAY", [this] { m_room->SetRouterAlive(true); });
}

/// What is left is to notice that the kernel gets no answer either, which takes it some time.
TEST_F(InternetMonitor, TellsARouterThatHasDiedWithoutThePrivilegeToAskIt) {
  GiveUpRawSockets();
  // So that the kernel trusts a neighbour for a second, and not for half a minute.
  std::ofstream("/proc/sys/net/ipv4/neigh/wall/base_reachable_time_ms") << 1000;
  std::ofstream("/proc/sys/net/ipv4/neigh/wall/delay_first_probe_time") << 1;
  BeOnline();
  m_room->SetRouterAlive(false);
  WaitFor({false, "GATEWAY"}, 40s);
  m_room->SetRouterAlive(true);
  m_reports.clear();
  WaitFor(kOnline);
}

TEST_F(InternetMonitor, TellsAnUnknownName) {
  BeOnline();
  m_room->SetDns("nxdomain");
  ExpectFailure("DNS", [this] { m_room->SetDns("fine"); });
}

TEST_F(InternetMonitor, TellsANameServiceInTrouble) {
  BeOnline();
  m_room->SetDns("servfail");
  ExpectFailure("DNS", [this] { m_room->SetDns("fine"); });
}

TEST_F(InternetMonitor, TellsASilentNameService) {
  BeOnline();
  m_room->SetDns("silent");
  ExpectFailure("DNS", [this] { m_room->SetDns("fine"); });
}

/// Each is a fault of the last step, whoever it is that speaks there.
class InternetMonitorHttp : public InternetMonitorTest,
                            public testing::WithParamInterface<const char*> {};

TEST_P(InternetMonitorHttp, TellsThatTheServerIsNotReached) {
  BeOnline();
  m_room->SetHttp(GetParam());
  ExpectFailure("HTTP", [this] { m_room->SetHttp("fine"); });
}

INSTANTIATE_TEST_SUITE_P(Answers, InternetMonitorHttp,
                         testing::Values("302 http://192.0.2.1/welcome", "511", "other", "500", "close",
                                         "hang"),
                         [](const auto& info) {
                           const std::string how = info.param;
                           return "Of" + how.substr(0, how.find(' '));
                         });

TEST_F(InternetMonitor, TakesA204ForTheServersOwn) {
  m_room->SetHttp("204");
  BeOnline();
}

/// One lost packet is nothing to tell.
TEST_F(InternetMonitor, SaysNothingOfAFaultThatASecondLookDoesNotFind) {
  BeOnline();
  m_room->SetHttp("500");
  const int before = m_room->HttpCount();
  RunLoopUntil([&] { return m_room->HttpCount() > before; });
  m_room->SetHttp("fine");
  RunLoopFor(3s);
  EXPECT_EQ(m_reports, std::vector<Report>{});
}

/// A network of the newer protocol alone: its router, its name service and its servers.
TEST_F(InternetMonitor, ReachesThroughTheNewerProtocolAlone) {
  std::ofstream("/etc/resolv.conf") << "nameserver " << InternetRoom::kRouter6 << "\n";
  network::AddAddress("wall", "198.51.100.7/24");  // which leads nowhere
  network::AddAddress("wall", "2001:db8::10/64");
  network::AddDefaultRoute("wall", AF_INET6, 100, InternetRoom::kRouter6);
  Listen();
  WaitFor(kOnline);
  m_reports.clear();
  m_room->SetRouterAlive(false);
  ExpectFailure("GATEWAY", [this] { m_room->SetRouterAlive(true); });
}

TEST_F(InternetMonitor, ProbesOnceInItsIntervalAndNotForNobody) {
  BeOnline();
  const int before = m_room->HttpCount();
  const auto begin = Clock::now();
  RunLoopUntil([&] { return m_room->HttpCount() >= before + 3; }, kPatience);
  EXPECT_GT(Clock::now() - begin, 2s) << "three seconds, but for where timers of the machine meet";
  ASSERT_EQ(connection_unset_network_monitor_cb(m_connection), CONNECTION_ERROR_NONE);
  RunLoopFor(1s);  // for a request that is on its way
  const int at_end = m_room->HttpCount();
  RunLoopFor(2500ms);
  EXPECT_EQ(m_room->HttpCount(), at_end);
}

TEST_F(InternetMonitor, ProbesAnewAfterAChangeOfTheRoute) {
  InternetRoom::Configure(InternetRoom::Configuration(kSeldom));
  BeOnline();
  const int before = m_room->HttpCount();
  network::AddAddress("wall", "192.0.2.77/24");
  network::ReplaceDefaultRoute("wall", AF_INET, 100);
  RunLoopUntil([&] { return m_room->HttpCount() > before; });
}

TEST_F(InternetMonitor, ProbesAnewWhenTheMachineWakesUp) {
  InternetRoom::Configure(InternetRoom::Configuration(kSeldom));
  BeOnline();
  const int before = m_room->HttpCount();
  vconf_set_str(vconf_keys::kNotifyPelorus, "instant_off");
  RunLoopFor(1s);
  EXPECT_EQ(m_room->HttpCount(), before);
  m_room->SetHttp("302 http://192.0.2.1/");
  vconf_set_str(vconf_keys::kNotifyPelorus, "instant_on");
  WaitFor({false, "HTTP"});
}

TEST_F(InternetMonitor, FollowsAnInterfaceThroughANewName) {
  BeOnline();
  network::Rename("wall", "socket");
  const int before = m_room->HttpCount();
  RunLoopUntil([&] { return m_room->HttpCount() > before + 1; }, kPatience);
  EXPECT_EQ(m_reports, std::vector<Report>{});
}

TEST_F(InternetMonitor, FollowsTheTrafficToAnotherInterface) {
  BeOnline();
  network::Remove("wall");
  WaitFor({false, "PHY"});
  network::AddCable("usb", "usb-far");
  network::AddAddress("usb", "192.0.2.11/24");
  network::AddDefaultRoute("usb", AF_INET, 100, InternetRoom::kRouter);
  WaitFor(kOnline);
}

TEST_F(InternetMonitor, IsNotSupportedWhereItIsSwitchedOff) {
  InternetRoom::Configure("[InternetProbe]\nEnabled=false\n");
  EXPECT_EQ(connection_set_network_monitor_cb(m_connection, OnReport, this),
            CONNECTION_ERROR_NOT_SUPPORTED);
}

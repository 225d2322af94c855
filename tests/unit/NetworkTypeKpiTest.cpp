// The records of cables and dongles that come online.

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KpiRoom.h"
#include "MainLoop.h"
#include "NetworkChangeListener.h"
#include "NetworkTypeKPILogs.h"
#include "TestLog.h"
#include "WirelessKPILogger.h"
#include "kpi_logger.h"

using namespace std::chrono_literals;

namespace {

constexpr int kFailed = CONNECTION_ERROR_OPERATION_FAILED;
constexpr char kEthernet[] = "{mac=02-1A-11;iptype=2;ipv6=0;dhcplt=3600}";
constexpr char kEthernetWithIPv6[] = "{mac=02-1A-11;iptype=2;ipv6=1;dhcplt=3600}";
constexpr char kMarker[] = "/home/owner/share/wifi_mode";

/// A TV without network whose user has agreed to records.
class NetworkTypeLog : public KpiRoom {
 protected:
  void SetUp() override {
    KpiRoom::SetUp();
    m_wifi.Drop();
    SetType("Wired");
    ASSERT_EQ(vconf_set_int(vconf_keys::kDisclaimerAgree, 1), VCONF_OK);
    m_tv.ClearCalls();
    test_log::Clear();
  }

  static void SetType(const char* type) {
    ASSERT_EQ(vconf_set_str(vconf_keys::kNetworkType, type), VCONF_OK);
    RunLoopOnce();
  }
  /// The TV is on the cable, with a gateway, and all that the monitor says first is told.
  void StartOnTheCable() {
    m_tv.PlugCable();
    m_kpi->Start();
    RunLoopFor(1s);
  }
  void Report(int result, const std::string& step) {
    m_internet.Report(result, step);
    RunLoopFor(100ms);
  }

  /// What was handed over: event and description.
  std::vector<std::string> Sent() {
    std::vector<std::string> records;
    for (const auto& call : m_tv.Calls("AddEventLogSync")) {
      EXPECT_EQ(call.arguments.at(0), "21_wireless");
      records.push_back(call.arguments.at(1) + " " + call.arguments.at(2) + " " + call.arguments.at(3));
    }
    return records;
  }
  static std::size_t Queued() {
    std::size_t count = 0;
    for (const std::string& message : test_log::Messages()) {
      count += message.starts_with("PNP KPI: WriteDataFile() invoked") ? 1 : 0;
    }
    return count;
  }
  static void Flush() { CNetworkLogServiceSingleton<CWirelessKPILogger>::Get()->SendKPIData(); }

  std::unique_ptr<NetworkTypeKPI> m_kpi = std::make_unique<NetworkTypeKPI>();
};

TEST_F(NetworkTypeLog, RecordsTheCableFiveSecondsAfterItIsOnline) {
  StartOnTheCable();  // its first report is HTTP
  RunLoopFor(3s);
  EXPECT_EQ(Queued(), 0U);
  RunLoopFor(3s);
  EXPECT_EQ(Sent(), std::vector<std::string>{std::string("ETHERNET EV004 ") + kEthernet});
  RunLoopFor(1h);
  EXPECT_EQ(Sent().size(), 1U);
}

TEST_F(NetworkTypeLog, RecordsAnIPv6AddressThatCameLate) {
  StartOnTheCable();
  RunLoopFor(3s);
  m_internet.SetWiredAddresses({.ipv4 = "192.168.0.10", .ipv6 = "2001:db8::10"});
  RunLoopFor(3s);
  EXPECT_EQ(Sent(), std::vector<std::string>{std::string("ETHERNET EV004 ") + kEthernetWithIPv6});
}

TEST_F(NetworkTypeLog, RecordsNoIPv6AddressThatCameTooLate) {
  StartOnTheCable();
  RunLoopFor(6s);
  m_internet.SetWiredAddresses({.ipv4 = "192.168.0.10", .ipv6 = "2001:db8::10"});
  RunLoopFor(1h);
  EXPECT_EQ(Sent(), std::vector<std::string>{std::string("ETHERNET EV004 ") + kEthernet});
}

TEST_F(NetworkTypeLog, TakesOnlyTheFirstReportAfterAChange) {
  StartOnTheCable();
  RunLoopFor(2s);
  Report(0, "HTTP");
  Report(0, "GATEWAY");
  RunLoopFor(3s);
  EXPECT_EQ(Sent().size(), 1U) << "five seconds after the first, and not after the last";
  Report(0, "HTTP");
  RunLoopFor(1h);
  EXPECT_EQ(Sent().size(), 1U);
}

TEST_F(NetworkTypeLog, IsMadeByThreeStepsAndNoOther) {
  struct Case {
    int result;
    const char* step;
    bool is_taken;
  };
  m_kpi->Start();
  RunLoopFor(1s);
  for (const Case& c : std::initializer_list<Case>{{0, "PHY", false},
                                                   {0, "http", false},
                                                   {0, "Gateway", false},
                                                   {0, "dns", false},
                                                   {0, "HTTPS", false},
                                                   {0, "", false},
                                                   {kFailed, "HTTP", false},
                                                   {kFailed, "GATEWAY", false},
                                                   {kFailed, "DNS", false},
                                                   {0, "HTTP", true},
                                                   {0, "GATEWAY", true},
                                                   {0, "DNS", true}}) {
    test_log::Clear();
    Report(c.result, c.step);
    RunLoopFor(6s);
    EXPECT_EQ(Queued(), c.is_taken ? 1U : 0U) << c.result << " " << c.step;
    if (c.is_taken) {
      SetType("Cellular");  // to and fro, so that the next one is due
      SetType("Wired");
    }
  }
}

TEST_F(NetworkTypeLog, OfADongleIsQueuedAtOnceAndWaitsForTheNextFlush) {
  SetType("Cellular");
  m_kpi->Start();
  RunLoopFor(1s);
  m_tv.StartTelephony();
  m_tv.InsertDongle();
  RunLoopFor(100ms);  // its report is HTTP
  EXPECT_EQ(Queued(), 1U);
  RunLoopFor(1h);
  EXPECT_EQ(Sent().size(), 0U);
  Flush();
  ASSERT_EQ(Sent().size(), 1U);
  EXPECT_TRUE(Sent()[0].starts_with(
      "WIFI_ENV EV001 {mac=ff-ff-ff;freq=0000;prot=Not/A;bw=00;num=0;slist=;security=1;rssi=000,"
      "ntype=3,"))
      << Sent()[0];
}

TEST_F(NetworkTypeLog, OfADongleGoesWithTheCablesRecord) {
  SetType("Cellular");
  m_kpi->Start();
  Report(0, "GATEWAY");
  m_tv.PlugCable();  // which changes the type
  RunLoopFor(7s);
  const auto sent = Sent();
  ASSERT_EQ(sent.size(), 2U);
  EXPECT_TRUE(sent[0].starts_with("WIFI_ENV EV001 {")) << sent[0];
  EXPECT_TRUE(sent[1].starts_with("ETHERNET EV004 {")) << sent[1];
}

TEST_F(NetworkTypeLog, IsSilentOnWifiAndStaysDue) {
  SetType("Wireless");
  m_kpi->Start();
  for (int i = 0; i < 3; ++i) {
    Report(0, "HTTP");
    RunLoopFor(6s);
  }
  EXPECT_EQ(Queued(), 0U);
  SetType("Wired");
  Report(0, "HTTP");
  RunLoopFor(6s);
  EXPECT_EQ(Queued(), 1U);
}

TEST_F(NetworkTypeLog, StaysDueOnWifiAlsoWhenTheChangeIsNotHeard) {
  m_tv.Fail("vconf_notify_key_changed", VCONF_ERROR, 1);
  SetType("Wireless");
  m_kpi->Start();
  EXPECT_TRUE(test_log::Has("Failed to register NetworkType vconf callback"));
  Report(0, "HTTP");
  RunLoopFor(6s);
  EXPECT_EQ(Queued(), 0U);
  SetType("Wired");
  EXPECT_FALSE(test_log::Has("NetworkChanged to=>1"));
  Report(0, "HTTP");
  RunLoopFor(6s);
  EXPECT_EQ(Queued(), 1U);
  SetType("Cellular");
  Report(0, "HTTP");
  RunLoopFor(6s);
  EXPECT_EQ(Queued(), 1U) << "and no other after that";
  m_kpi->Stop();
}

TEST_F(NetworkTypeLog, WaitForTheCableGoesOnWhenTheTypeChangesMeanwhile) {
  StartOnTheCable();
  SetType("Cellular");
  Report(0, "DNS");
  EXPECT_EQ(Queued(), 1U);
  RunLoopFor(6s);
  EXPECT_EQ(Queued(), 2U);
}

TEST_F(NetworkTypeLog, WaitForTheCableBeginsAnewWithAnotherCable) {
  StartOnTheCable();
  RunLoopFor(3s);
  SetType("Cellular");
  SetType("Wired");
  Report(0, "HTTP");
  RunLoopFor(3s);
  EXPECT_EQ(Queued(), 0U);
  RunLoopFor(3s);
  EXPECT_EQ(Queued(), 1U);
  RunLoopFor(1h);
  EXPECT_EQ(Queued(), 1U);
}

TEST_F(NetworkTypeLog, TimerThatHasRunIsNotEndedOnceMore) {
  StartOnTheCable();
  RunLoopFor(6s);
  SetType("Cellular");
  SetType("Wired");
  Report(0, "HTTP");
  RunLoopFor(6s);
  m_kpi->Stop();  // GLib's complaint would end the test
  EXPECT_EQ(Queued(), 2U);
}

TEST_F(NetworkTypeLog, KeepsTheMarkerInLineWithTheType) {
  m_kpi->Start();
  EXPECT_FALSE(std::filesystem::exists(kMarker));
  SetType("Wireless");
  EXPECT_TRUE(test_log::Has("NetworkChanged to=>2"));
  EXPECT_TRUE(std::filesystem::exists(kMarker));
  SetType("Cellular");
  EXPECT_TRUE(test_log::Has("NetworkChanged to=>3"));
  EXPECT_FALSE(std::filesystem::exists(kMarker));
}

TEST_F(NetworkTypeLog, EndsWithStop) {
  StartOnTheCable();
  m_kpi->Stop();
  SetType("Wireless");
  SetType("Wired");
  Report(0, "HTTP");
  RunLoopFor(24h);
  EXPECT_EQ(Queued(), 0U);
  EXPECT_FALSE(test_log::Has("NetworkChanged to=>2"));
  EXPECT_FALSE(test_log::Has("EV008 _OnTimeout"));
  m_kpi->Stop();
  m_kpi->Start();
  RunLoopFor(7s);
  EXPECT_EQ(Queued(), 1U) << "a new start makes one due";
}

TEST_F(NetworkTypeLog, EndsWithItsObject) {
  StartOnTheCable();
  m_kpi.reset();
  SetType("Wireless");
  SetType("Wired");
  m_internet.Report(0, "HTTP");
  RunLoopFor(24h);
  EXPECT_EQ(Queued(), 0U);
}

TEST_F(NetworkTypeLog, RefusedByTheLoggerGoesWithTheNext) {
  m_tv.Fail("AddEventLogSync", -1, 1);
  StartOnTheCable();
  RunLoopFor(6s);
  EXPECT_EQ(Sent().size(), 1U);
  m_tv.ClearCalls();
  Flush();
  EXPECT_EQ(Sent(), std::vector<std::string>{std::string("ETHERNET EV004 ") + kEthernet});
}

TEST_F(NetworkTypeLog, WaitsForTheUsersConsent) {
  ASSERT_EQ(vconf_set_int(vconf_keys::kDisclaimerAgree, 0), VCONF_OK);
  StartOnTheCable();
  RunLoopFor(6s);
  EXPECT_EQ(Queued(), 1U);
  EXPECT_EQ(Sent().size(), 0U);
  ASSERT_EQ(vconf_set_int(vconf_keys::kDisclaimerAgree, 1), VCONF_OK);
  RunLoopFor(6s);
  EXPECT_EQ(Sent().size(), 1U);
}

TEST_F(NetworkTypeLog, WaitsForAGatewayThatWasLostMeanwhile) {
  StartOnTheCable();
  m_internet.SetGateway(false);
  RunLoopFor(6s);
  EXPECT_EQ(Queued(), 1U);
  EXPECT_EQ(Sent().size(), 0U);
  m_internet.SetGateway(true);
  Flush();
  EXPECT_EQ(Sent().size(), 1U);
}

TEST_F(NetworkTypeLog, RunsTheReportOfTheWifiEnvironment) {
  ASSERT_TRUE(m_wifi.Join(kLow));
  m_kpi->Start();
  RunLoopFor(3h - 1s);
  EXPECT_FALSE(test_log::Has("EV008 _OnTimeout"));
  RunLoopFor(3s);
  EXPECT_TRUE(test_log::Has("EV008 _OnTimeout"));
  // Measured on a thread of its own, in real time.
  RunLoopUntil([this] { return !m_tv.Calls("AddEventLogSync").empty(); });
  const auto arguments = m_tv.Calls("AddEventLogSync").at(0).arguments;
  EXPECT_EQ(arguments.at(0), "21_wireless_environment");
  EXPECT_EQ(arguments.at(1), "WIRELESS_ENVIRONMENT");
  m_kpi->Stop();
  test_log::Clear();
  RunLoopFor(24h);
  EXPECT_FALSE(test_log::Has("EV008 _OnTimeout"));
}

TEST_F(NetworkTypeLog, TellsWhetherThereIsAGateway) {
  EXPECT_FALSE(NetworkTypeKPI::IsGatewayConnected());
  EXPECT_TRUE(test_log::Has("IsGatewayConnected => false"));
  m_tv.PlugCable();
  EXPECT_TRUE(NetworkTypeKPI::IsGatewayConnected());
  EXPECT_TRUE(test_log::Has("IsGatewayConnected => true"));
  m_tv.Fail("connection_profile_check_default_gateway", kFailed, 1);
  EXPECT_FALSE(NetworkTypeKPI::IsGatewayConnected());
  EXPECT_TRUE(test_log::Has("connection_profile_check_default_gateway " + std::to_string(kFailed)));
}

/// A platform function that fails, and how many records are made of a cable all the same.
struct Failure {
  const char* function;
  std::size_t queued;
};

void PrintTo(const Failure& failure, std::ostream* out) {
  *out << failure.function;
}

class NetworkTypeLogFailure : public NetworkTypeLog, public testing::WithParamInterface<Failure> {};

TEST_P(NetworkTypeLogFailure, ForGoodIsNeverFatal) {
  m_tv.Fail(GetParam().function, -99);
  StartOnTheCable();
  RunLoopFor(6s);
  EXPECT_EQ(Queued(), GetParam().queued);
  m_kpi->Stop();
  m_tv.StopFailing(GetParam().function);
}

TEST_P(NetworkTypeLogFailure, OnceLeavesTheNextStartWhole) {
  m_tv.Fail(GetParam().function, -99, 1);
  StartOnTheCable();
  m_kpi->Stop();
  m_tv.StopFailing(GetParam().function);
  m_kpi->Stop();
  test_log::Clear();
  m_kpi->Start();
  RunLoopFor(7s);
  EXPECT_EQ(Queued(), 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Of, NetworkTypeLogFailure,
    testing::Values(Failure{"vconf_notify_key_changed", 1}, Failure{"vconf_ignore_key_changed", 1},
                    Failure{"vconf_get_str", 1}, Failure{"vconf_get_int", 1},
                    Failure{"vconf_set_str", 1}, Failure{"connection_create", 0},
                    Failure{"connection_set_network_monitor_cb", 0},
                    Failure{"connection_unset_network_monitor_cb", 1}, Failure{"connection_destroy", 1},
                    Failure{"connection_get_mac_address", 1}, Failure{"connection_get_ip_address", 1},
                    Failure{"connection_get_current_profile", 1},
                    Failure{"connection_profile_get_dhcp_lease_duration", 1},
                    Failure{"connection_profile_check_default_gateway", 1},
                    Failure{"AddEventLogSync", 1}),
    [](const auto& test) { return std::string(test.param.function); });

class NetworkChanges : public NetworkTypeLog {
 protected:
  struct Listener : NetworkChangeListener {};
  std::vector<int> m_told;
  Listener m_listener;
  void Listen() {
    m_listener.RegisterCb([this](eNetworkType type) { m_told.push_back(type); });
  }
};

TEST_F(NetworkChanges, AreToldOnceATypeAndNotOnceAWrite) {
  Listen();
  for (const char* type : {"Wired", "Wireless", "Wireless", "Cellular", "Wired", "something", "Wired",
                           "wireless", "", "Wireless"}) {
    SetType(type);
  }
  EXPECT_EQ(m_told, (std::vector<int>{2, 3, 1, 2}));
}

TEST_F(NetworkChanges, AreToldFromTheTypeAtTheStartOn) {
  SetType("Wireless");
  Listen();
  SetType("Wireless");
  EXPECT_EQ(m_told, std::vector<int>{});
  SetType("Wired");
  EXPECT_EQ(m_told, std::vector<int>{1});
}

TEST_F(NetworkChanges, AreToldToNobodyWithoutACallback) {
  m_listener.RegisterCb(nullptr);
  SetType("Wireless");
  SetType("Wired");
  Listen();
  SetType("Cellular");
  // Two watches on the key by now; the second finds the type as it was told.
  EXPECT_EQ(m_told, std::vector<int>{3});
}

TEST_F(NetworkChanges, AreNotToldAfterTheEnd) {
  Listen();
  m_listener.UnRegisterCb();
  SetType("Wireless");
  EXPECT_EQ(m_told, std::vector<int>{});
}

}  // namespace

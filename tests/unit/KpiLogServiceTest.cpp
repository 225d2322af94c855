#include <algorithm>
#include <ctime>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/mount.h>

#include "CallGate.h"
#include "Journal.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "WirelessKPILogger.h"
#include "vconf_keys.h"

namespace {

constexpr char kGateway[] = "connection_profile_check_default_gateway";
constexpr char kLogger[] = "AddEventLogSync";
constexpr char kNotReady[] = "[Logger is not ready => ]";
constexpr int kDiskFull = -28;

using Texts = std::vector<std::string>;

/// The descriptions of the records that the logger was given, also of those it refused.
Texts Given() {
  Texts descriptions;
  for (const VirtualTv::Call& call : VirtualTv::Instance().Calls(kLogger)) {
    descriptions.push_back(call.arguments.at(3));
  }
  return descriptions;
}

Texts Kept() {
  return journal::Texts("description");
}

class KpiLogService : public testing::Test {
 protected:
  KpiLogService() { m_tv.PlugCable(); }

  static void Agree(int answer) {
    ASSERT_EQ(vconf_set_int(vconf_keys::kDisclaimerAgree, answer), VCONF_OK);
  }

  /// Made when first asked for, with the consent that the store holds then.
  static CWirelessKPILogger& Service() {
    return *CNetworkLogServiceSingleton<CWirelessKPILogger>::Get();
  }

  static CWirelessKPILogger& ReadyService() {
    Agree(1);
    return Service();
  }

  static void Queue(const std::string& description) {
    EXPECT_TRUE(Service().AddEventLogToFile("EV004", "ETHERNET", description, "21_wireless"));
  }

  VirtualTv& m_tv = VirtualTv::Instance();
};

TEST_F(KpiLogService, IsOneForTheProcess) {
  EXPECT_EQ(CNetworkLogServiceSingleton<CWirelessKPILogger>::Get(), &Service());
  EXPECT_EQ(m_tv.Calls("vconf_notify_key_changed").size(), 1U);
}

TEST_F(KpiLogService, HandsARecordOverInTheLoggersOrder) {
  ReadyService();
  Queue("a=1");
  EXPECT_EQ(Given(), Texts{}) << "queueing sends nothing";
  EXPECT_TRUE(Service().SendKPIData());
  const std::vector<VirtualTv::Call> expected{{kLogger, {"21_wireless", "ETHERNET", "EV004", "{a=1}"}}};
  EXPECT_EQ(m_tv.Calls(kLogger), expected);
  const std::vector<Json::Value> records = journal::Records();
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0]["service"], "21_wireless");
  EXPECT_EQ(records[0]["event"], "ETHERNET");
  EXPECT_EQ(records[0]["code"], "EV004");
  EXPECT_EQ(records[0]["description"], "{a=1}");
}

TEST_F(KpiLogService, SaysWhatItQueuesAndWhatItHandsOver) {
  ReadyService();
  Queue("a=1");
  Service().SendKPIData();
  const std::string time = R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d[+-]\d{4})";
  const std::regex queued("PNP KPI: WriteDataFile\\(\\) invoked-> EVTName: ETHERNET,Stime:(" + time +
                          "),EpochTime: 100, Cat:EV004, mVal:21_wireless, sDec: \\{a=1\\}");
  const std::regex given(" PNP KPI: KPI Data Added in QUEUE: EventName: ETHERNET,StartTime: (" + time +
                         "), Catagory: EV004, servicename : 21_wireless, Desc: \\{a=1\\}");
  for (const std::regex& line : {queued, given}) {
    EXPECT_EQ(
        std::ranges::count_if(test_log::Messages(),
                              [&](const auto& message) { return std::regex_match(message, line); }),
        1);
  }
  EXPECT_TRUE(test_log::Has("SendKPIData() is invoked !!"));
  EXPECT_TRUE(test_log::Has(" PNP KPI: SendDataLoggerQueue is invoked "));
}

TEST_F(KpiLogService, TheTwentySixthRecordDropsTheOldest) {
  ReadyService();
  Texts expected;
  for (int i = 0; i < 25; ++i) {
    Queue(std::to_string(i));
  }
  m_tv.Fail(kLogger, kDiskFull);
  Service().SendKPIData();
  EXPECT_EQ(Given(), Texts{"{0}"}) << "25 fit";
  Queue("25");
  m_tv.StopFailing(kLogger);
  m_tv.ClearCalls();
  Service().SendKPIData();
  for (int i = 1; i <= 25; ++i) {
    expected.push_back("{" + std::to_string(i) + "}");
  }
  EXPECT_EQ(Given(), expected);
  EXPECT_EQ(Kept(), expected);
}

TEST_F(KpiLogService, AnEmptyQueueIsASuccess) {
  EXPECT_TRUE(ReadyService().SendKPIData());
  EXPECT_TRUE(test_log::Has(" PNP KPI: No Data found for sending SendDataLoggerQueue"));
  EXPECT_TRUE(Service().SendDataLoggerQueue());
  EXPECT_EQ(Given(), Texts{});
}

TEST_F(KpiLogService, ASentQueueIsEmpty) {
  ReadyService();
  Queue("a=1");
  Service().SendKPIData();
  Service().SendKPIData();
  EXPECT_EQ(Given(), Texts{"{a=1}"});
}

TEST_F(KpiLogService, KeepsEveryRecordWhileItIsNotReady) {
  Queue("a=1");
  Queue("a=2");
  EXPECT_FALSE(Service().SendKPIData());
  EXPECT_TRUE(test_log::Has(kNotReady));
  EXPECT_TRUE(m_tv.Calls(kGateway).empty());
  Service().SendKPIDataInternal();
  EXPECT_EQ(Given(), (Texts{"{a=1}", "{a=2}"})) << "a caller who knows better";
  Queue("a=3");
  EXPECT_TRUE(Service().SendKPIData()) << "and it stays so";
  EXPECT_EQ(Kept().size(), 3U);
}

TEST_F(KpiLogService, KeepsEveryRecordWithoutAGateway) {
  ReadyService();
  Queue("a=1");
  m_tv.UnplugCable();
  EXPECT_TRUE(Service().SendKPIData()) << "it is ready all the same";
  EXPECT_FALSE(test_log::Has("connection_profile_check_default_gateway 0"));
  m_tv.PlugCable();
  m_tv.GetInternet().SetGateway(false);
  EXPECT_TRUE(Service().SendKPIData());
  m_tv.GetInternet().SetGateway(true);
  m_tv.Fail(kGateway, -1);
  EXPECT_TRUE(Service().SendKPIData());
  EXPECT_TRUE(test_log::Has("connection_profile_check_default_gateway -1"));
  EXPECT_EQ(Given(), Texts{});
  m_tv.StopFailing(kGateway);
  Service().SendKPIData();
  EXPECT_EQ(Given(), Texts{"{a=1}"});
}

TEST_F(KpiLogService, ARefusedRecordStopsTheFlushAndKeepsAll) {
  ReadyService();
  for (const char* description : {"1", "2", "3", "4", "5"}) {
    Queue(description);
  }
  call_gate::SetHook([](std::string_view function, std::vector<std::string> arguments) {
    return function == kLogger && arguments.at(3) == "{3}" ? std::optional(kDiskFull) : std::nullopt;
  });
  EXPECT_TRUE(Service().SendKPIData());
  EXPECT_TRUE(test_log::Has("AddEventLog failed,errorcode -28"));
  EXPECT_EQ(Kept(), (Texts{"{1}", "{2}"})) << "later ones are not tried";
  EXPECT_FALSE(Service().SendDataLoggerQueue());
  call_gate::SetHook(nullptr);
  Service().SendKPIData();
  EXPECT_EQ(Kept(), (Texts{"{1}", "{2}", "{1}", "{2}", "{1}", "{2}", "{3}", "{4}", "{5}"}))
      << "those before it are given again";
  Service().SendKPIData();
  EXPECT_EQ(Kept().size(), 9U);
}

TEST_F(KpiLogService, AnythingButOneIsARefusal) {
  ReadyService();
  Queue("a=1");
  for (const int answer : {0, 2, -1, kDiskFull}) {
    m_tv.Fail(kLogger, answer, 1);
    Service().SendKPIData();
    EXPECT_TRUE(test_log::Has("AddEventLog failed,errorcode " + std::to_string(answer)));
  }
  EXPECT_EQ(Kept(), Texts{});
  m_tv.Fail(kLogger, 1, 1);
  Service().SendKPIData();
  Service().SendKPIData();
  EXPECT_EQ(Given().size(), 5U) << "taken, and gone from the queue";
}

TEST_F(KpiLogService, AFullDiskCostsNoRecord) {
  const std::filesystem::path directory = std::filesystem::path(journal::kPath).parent_path();
  std::filesystem::create_directories(directory);
  ASSERT_EQ(mount("tmpfs", directory.c_str(), "tmpfs", 0, "size=64k,mode=0755"), 0);
  std::ofstream(directory / "filler") << std::string(1 << 20, 'x');
  ReadyService();
  Queue("a=1");
  Service().SendKPIData();
  EXPECT_TRUE(test_log::Has("AddEventLog failed,errorcode -28"));
  EXPECT_EQ(Kept(), Texts{});
  Queue("a=2");
  std::filesystem::remove(directory / "filler");
  Service().SendKPIData();
  EXPECT_EQ(Kept(), (Texts{"{a=1}", "{a=2}"}));
  umount(directory.c_str());
}

TEST_F(KpiLogService, AddsNoSecondPairOfBraces) {
  EXPECT_EQ(Service().GetEventDescInfo("a=1;b=2"), "{a=1;b=2}");
  EXPECT_EQ(Service().GetEventDescInfo(""), "{}");
  EXPECT_EQ(CWirelessKPILogger::GetEventDescInfoAP("AA:BB:CC:DD:EE:FF", 2427, "11n", 20, 2,
                                                   "-62@2427|-65@5220", "security=1;rssi=-62"),
            "{mac=AA-BB-CC;freq=2427;prot=11n;bw=20;num=2;slist=-62@2427|-65@5220;security=1;rssi=-62}");
  EXPECT_TRUE(test_log::Has("ENTRY") && test_log::Has("EXIT"));
}

TEST_F(KpiLogService, TellsNoMoreThanTheVendorOfAnAccessPoint) {
  const auto describe = [](const char* mac) {
    return CWirelessKPILogger::GetEventDescInfoAP(mac, 5180, "11ac", 80, 0, "", "r=1");
  };
  const std::string rest = ";freq=5180;prot=11ac;bw=80;num=0;slist=;r=1}";
  EXPECT_EQ(describe("12:34:56:78:9A:BC"), "{mac=12-34-56" + rest);
  for (const char* mac : {"", "1", "12:34:5"}) {
    EXPECT_EQ(describe(mac), "{mac=ff-ff-ff" + rest) << mac;
  }
}

TEST_F(KpiLogService, AnAccessPointWithoutAddressOrProtocolHasNoDescription) {
  EXPECT_EQ(CWirelessKPILogger::GetEventDescInfoAP(nullptr, 1, "11n", 1, 1, "", ""), "");
  EXPECT_EQ(CWirelessKPILogger::GetEventDescInfoAP("AA:BB:CC:DD:EE:FF", 1, nullptr, 1, 1, "", ""), "");
  EXPECT_EQ(test_log::Count("NULL mac or NULL prot"), 2U);
  EXPECT_FALSE(test_log::Has("ENTRY"));
}

TEST_F(KpiLogService, QueuesTheTwoRecordsOfAWifiConnection) {
  ReadyService();
  Service().AddEventLogWirelessApConnected("rssi=-60");
  Service().AddEventLogWirelessSettingsChanged("AA:BB:CC:DD:EE:FF", 2427, "11n", 20, 1, "-62@2427",
                                               "security=1");
  EXPECT_EQ(Given(), Texts{});
  EXPECT_EQ(test_log::Count(" PNP KPI: AddEventLogExitStandby invoked"), 2U);
  Service().SendKPIData();
  const std::string settings = "{mac=AA-BB-CC;freq=2427;prot=11n;bw=20;num=1;slist=-62@2427;security=1}";
  const std::vector<VirtualTv::Call> expected{
      {kLogger, {"21_wireless", "WIFI_RSSI", "EV002", "{rssi=-60}"}},
      {kLogger, {"21_wireless", "WIFI_ENV", "EV001", settings}}};
  EXPECT_EQ(m_tv.Calls(kLogger), expected);
  const std::regex times(
      R"( PNP KPI: AddEventLogExitWirelessPage StartTime: (\d+), EndEventTime: (\d+), TimeDuration: (-?\d+), (.*))");
  Texts descriptions;
  for (const std::string& message : test_log::Messages()) {
    std::smatch match;
    if (std::regex_match(message, match, times)) {
      EXPECT_EQ(std::stol(match[2]) - std::stol(match[1]), std::stol(match[3]));
      EXPECT_NEAR(std::stod(match[2]), static_cast<double>(time(nullptr)), 60);
      descriptions.push_back(match[4]);
    }
  }
  EXPECT_EQ(descriptions, (Texts{"{rssi=-60}", settings}));
}

TEST_F(KpiLogService, ARecordKeepsItsFiveTextsApart) {
  const KPIDataMemberInfo_S first = CNetworkLogService::AddDataToContainer("a", "b", "c", "d", "e");
  const KPIDataMemberInfo_S second = CNetworkLogService::AddDataToContainer("f", "g", "h", "i", "j");
  EXPECT_EQ(
      (Texts{first.eventName, first.startTime, first.category, first.serviceName, first.description}),
      (Texts{"a", "b", "c", "d", "e"}));
  EXPECT_EQ((Texts{second.eventName, second.startTime, second.category, second.serviceName,
                   second.description}),
            (Texts{"f", "g", "h", "i", "j"}));
}

TEST_F(KpiLogService, WritesTimesWithTheZone) {
  setenv("TZ", "KST-9", 1);
  tzset();
  const std::regex format(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\+0900)");
  EXPECT_TRUE(std::regex_match(CNetworkLogService::CurrentTimeFormat(), format));
  EXPECT_TRUE(std::regex_match(Service().m_ConvertToFormatTime(7), format));
}

TEST_F(KpiLogService, OnlyTheFormattedTimeOfARecordMovesTheStartTime) {
  EXPECT_EQ(Service().FindTimeDuration(), 0);
  const time_t before = time(nullptr);
  Service().m_ConvertToFormatTime(0);
  EXPECT_LE(Service().FindTimeDuration(), -before) << "there is no end yet";
  CNetworkLogService::CurrentTimeFormat();
  Service().AddEventLogWirelessApConnected("");
  EXPECT_NEAR(static_cast<double>(Service().FindTimeDuration()), 0, 2);
}

TEST_F(KpiLogService, SaysThatItIsInitialised) {
  Service().InitialiseLogerService(KPIFOR_WIRELESS);
  EXPECT_FALSE(test_log::Has(" KPI module initialised"));
  Service().InitialiseLogService();
  EXPECT_EQ(test_log::Count(" KPI module initialised"), 1U);
}

TEST_F(KpiLogService, KnowsTheVersionOfTheSoftware) {
  m_tv.SetFeature("product/sw_version", "T-PLR-1.2");
  EXPECT_EQ(CNetworkLogService::GetProductSWVersion(), "T-PLR-1.2");
  EXPECT_TRUE(test_log::Has("PNP KPI: GetProductSWVersion: T-PLR-1.2"));
  EXPECT_TRUE(test_log::Has(" PNP KPI: Software Version: T-PLR-1.2"));
}

TEST_F(KpiLogService, AnUnknownVersionIsEmpty) {
  EXPECT_EQ(CNetworkLogService::GetProductSWVersion(), "");
  m_tv.SetFeature("product/sw_version", "1");
  m_tv.Fail("system_info_get_value_string", -5, 1);
  EXPECT_EQ(CNetworkLogService::GetProductSWVersion(), "");
  EXPECT_EQ(test_log::Count("PNP KPI: GetProductSWVersion Failed"), 2U);
  m_tv.Fail("system_info_get_value_string", 0, 1);
  EXPECT_EQ(CNetworkLogService::GetProductSWVersion(), "") << "success without a version";
  EXPECT_EQ(CNetworkLogService::GetProductSWVersion(), "1");
}

}  // namespace

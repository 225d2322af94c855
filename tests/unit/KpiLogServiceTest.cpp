#include <chrono>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/value.h>

#include "MainLoop.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "WirelessKPILogger.h"
#include "vconf.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

namespace {

constexpr char kJournal[] = "/var/lib/pelorus/kpi/journal.jsonl";
constexpr char kGateway[] = "connection_profile_check_default_gateway";
constexpr char kNotReady[] = "[Logger is not ready => ]";

using Texts = std::vector<std::string>;

/// What the journal holds: each line's member of that name.
Texts Journal(const char* member = "description") {
  Texts texts;
  std::ifstream file(kJournal);
  for (std::string line; std::getline(file, line);) {
    Json::Value record;
    std::string errors;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    EXPECT_TRUE(reader->parse(line.data(), line.data() + line.size(), &record, &errors)) << errors;
    texts.push_back(record[member].asString());
  }
  return texts;
}

class KpiLogService : public testing::Test {
 protected:
  KpiLogService() { m_tv.PlugCable(); }  // and so there is a gateway

  /// Makes the service, with whatever consent the store holds at this moment.
  CWirelessKPILogger& Service() { return *CNetworkLogServiceSingleton<CWirelessKPILogger>::Get(); }

  void Agree(int answer) { ASSERT_EQ(vconf_set_int(vconf_keys::kDisclaimerAgree, answer), VCONF_OK); }

  void Queue(const std::string& description) {
    EXPECT_TRUE(Service().AddEventLogToFile("EV004", "ETHERNET", description, "21_wireless"));
  }

  VirtualTv& m_tv = VirtualTv::Instance();
};

TEST_F(KpiLogService, HandsOverWhatWasQueuedInTheLoggersOrder) {
  Agree(1);
  Queue("a=1");
  EXPECT_TRUE(m_tv.Calls("AddEventLogSync").empty()) << "queueing sends nothing";
  EXPECT_TRUE(Service().SendKPIData());
  const std::vector<VirtualTv::Call> expected{
      {"AddEventLogSync", {"21_wireless", "ETHERNET", "EV004", "{a=1}"}}};
  EXPECT_EQ(m_tv.Calls("AddEventLogSync"), expected);
  EXPECT_EQ(Journal("service"), Texts{"21_wireless"});
  EXPECT_EQ(Journal("event"), Texts{"ETHERNET"});
  EXPECT_EQ(Journal("code"), Texts{"EV004"});
  EXPECT_EQ(Journal("description"), Texts{"{a=1}"});
}

TEST_F(KpiLogService, AnAgreementSendsTheQueueFourSecondsLater) {
  Queue("a=1");
  EXPECT_FALSE(Service().SendKPIData());
  EXPECT_TRUE(test_log::Has(kNotReady));
  Agree(1);
  RunLoopFor(3700ms);
  EXPECT_EQ(Journal(), Texts{});
  RunLoopFor(1300ms);
  EXPECT_EQ(Journal(), Texts{"{a=1}"});
}

}  // namespace

#include "ScenarioStep.h"

#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KpiJournal.h"
#include "Scenario.h"
#include "kpi_logger.h"
#include "vconf.h"

namespace {

scenario::Step StepOf(const std::string& text) {
  std::istringstream stream("at 1s " + text);
  std::vector<std::string> errors;
  auto evening = scenario::Parse("evening", stream, errors);
  EXPECT_EQ(errors, std::vector<std::string>{});
  return evening.steps.at(0);
}

scenario::Outcome Played(const std::string& text, const Json::Value& answer = {}) {
  scenario::KpiRecords records;
  return scenario::Play(
      StepOf(text), [&](const Json::Value&) { return answer; }, records);
}

TEST(ScenarioStep, WritesAndReadsSettingsOfEachType) {
  using Kind = scenario::Outcome::Kind;
  EXPECT_EQ(Played("set memory/a int -4").kind, Kind::kDone);
  EXPECT_EQ(Played("set memory/b bool true").kind, Kind::kDone);
  EXPECT_EQ(Played("set memory/c string \"a 'text'\"").kind, Kind::kDone);
  int number = 0;
  EXPECT_EQ(vconf_get_int("memory/a", &number), VCONF_OK);
  EXPECT_EQ(number, -4);
  EXPECT_EQ(Played("expect key memory/a -4").kind, Kind::kDone);
  EXPECT_EQ(Played("expect key memory/b true").kind, Kind::kDone);
  EXPECT_EQ(Played("expect key memory/c \"a 'text'\"").kind, Kind::kDone);
  EXPECT_EQ(Played("set memory/c raw \"'torn\"").kind, Kind::kDone);
  EXPECT_EQ(Played("expect no key memory/c").kind, Kind::kDone);
  EXPECT_EQ(Played("expect key memory/a 4").why, "it is \"-4\"");
  EXPECT_EQ(Played("expect key memory/none 4").why, "it has no value");
  EXPECT_EQ(Played("expect no key memory/a").why, "it is \"-4\"");
  EXPECT_EQ(Played("set memory/../x int 1").kind, Kind::kUnmet);
  EXPECT_EQ(Played("set memory/../x raw 1").kind, Kind::kUnmet);
}

TEST(ScenarioStep, TheTvsRefusalIsPassedOn) {
  Json::Value answer;
  answer["ok"] = false;
  answer["error"] = "no";
  EXPECT_EQ(Played("cable plug", answer).kind, scenario::Outcome::Kind::kUnmet);
  EXPECT_EQ(Played("cable plug", answer).why, "no");
  answer["ok"] = true;
  EXPECT_EQ(Played("cable plug", answer).kind, scenario::Outcome::Kind::kDone);
}

TEST(ScenarioStep, TheRadioThatTheTvIsConnectedToIsAskedFor) {
  using Kind = scenario::Outcome::Kind;
  Json::Value answer;
  answer["ok"] = true;
  answer["tv"]["wifi"]["bssid"] = "AA:BB:CC:DD:EE:01";
  EXPECT_EQ(Played("expect wifi aa:bb:cc:dd:ee:01", answer).kind, Kind::kDone);
  EXPECT_EQ(Played("expect wifi AA:BB:CC:DD:EE:02", answer).why, "it is connected to AA:BB:CC:DD:EE:01");
  EXPECT_EQ(Played("expect wifi none", answer).kind, Kind::kUnmet);
  answer["tv"]["wifi"]["bssid"] = "";
  EXPECT_EQ(Played("expect wifi none", answer).kind, Kind::kDone);
  EXPECT_EQ(Played("expect wifi AA:BB:CC:DD:EE:01", answer).why, "it is connected to none");
  answer["ok"] = false;
  answer["error"] = "no";
  EXPECT_EQ(Played("expect wifi none", answer).why, "no");
}

TEST(ScenarioStep, DocumentsAreComparedByWhatTheySay) {
  using Kind = scenario::Outcome::Kind;
  vconf_set_str("memory/a", "{\"count\" : 1,\n\t\"values\":[2]}");
  EXPECT_EQ(Played("expect json memory/a '{\"values\":[2],\"count\":1}'").kind, Kind::kDone);
  EXPECT_EQ(Played("expect json memory/a '{\"values\":[3],\"count\":1}'").kind, Kind::kUnmet);
  EXPECT_EQ(Played("expect json memory/none '{}'").why, "it is nothing");
  Played("set memory/a string torn");
  EXPECT_EQ(Played("expect json memory/a torn").why, "it is torn") << "no document equals another";
}

TEST(ScenarioStep, TheListsOfNetworksAreToldInWords) {
  using Kind = scenario::Outcome::Kind;
  EXPECT_EQ(Played("expect saved").why, "there is no such list") << "none is not an empty one";
  vconf_set_str("db/menu/network/SavedAPList", R"({"count":0})");
  EXPECT_EQ(Played("expect saved").kind, Kind::kDone);
  EXPECT_EQ(Played("expect saved Home").why, "it is empty");
  vconf_set_str("db/menu/network/SavedAPList",
                R"({"count":2,"values":[{"SSID":"Home"},{"SSID":"The office"}]})");
  EXPECT_EQ(Played("expect saved Home 'The office'").kind, Kind::kDone);
  EXPECT_EQ(Played("expect saved 'The office' Home").why, R"(it is "Home" "The office")");
  EXPECT_EQ(Played("expect saved Home").kind, Kind::kUnmet);
  vconf_set_str("db/menu/network/TopSavedAP",
                R"({"count":1,"values":[{"SSID":"Home","STATUS":"Connected"}]})");
  EXPECT_EQ(Played("expect top Home=Connected").kind, Kind::kDone);
  EXPECT_EQ(Played("expect top Home=DisConnected").why, "it is \"Home=Connected\"");
  for (const char* damaged : {"", "[]", "{}", R"({"count":1,"values":[7]})", R"({"count":1})"}) {
    vconf_set_str("db/menu/network/TopSavedAP", damaged);
    EXPECT_EQ(Played("expect top").why, "there is no such list") << damaged;
  }
}

void HandOver(const char* code, const char* event, const char* description) {
  EXPECT_EQ(Ledgerline::CLogger::GetInstance()->AddEventLogSync("21_wireless", event, code, description),
            Ledgerline::CLogger::kSuccess);
}

class ScenarioKpi : public testing::Test {
 protected:
  scenario::Outcome Played(const std::string& text) {
    return scenario::Play(
        StepOf(text), [](const Json::Value&) { return Json::Value(); }, m_records);
  }

  scenario::KpiRecords m_records;
};

TEST_F(ScenarioKpi, EachRecordIsExpectedOnceAndInTheOrderOfItsCode) {
  using Kind = scenario::Outcome::Kind;
  EXPECT_EQ(Played("expect kpi EV005 select").why, "none was handed over");
  HandOver("EV005", "WIFI_BANDSWITCH", "{select=0}");
  HandOver("EV006", "AWM", "{ntype=2}");
  HandOver("EV005", "WIFI_BANDSWITCH", "{select=1,swreason=1}");
  EXPECT_EQ(Played("expect kpi EV006 AWM ntype=2").kind, Kind::kDone);
  EXPECT_EQ(Played("expect kpi EV005 select=0").kind, Kind::kDone);
  EXPECT_EQ(Played("expect kpi EV005 WIFI_BANDSWITCH select=1 swreason=1").kind, Kind::kDone);
  EXPECT_EQ(Played("expect kpi EV005 select=1").why, "none was handed over");
  EXPECT_EQ(Played("expect no kpi").kind, Kind::kDone);
}

TEST_F(ScenarioKpi, ARecordThatIsNotAsExpectedIsShown) {
  HandOver("EV005", "WIFI_BANDSWITCH", "{select=0}");
  EXPECT_EQ(Played("expect kpi EV005 WIFI_BANDSWITCH select=1").why,
            "it was WIFI_BANDSWITCH {select=0}");
}

TEST_F(ScenarioKpi, NoRecordMeansNoneThatWasNotExpected) {
  using Kind = scenario::Outcome::Kind;
  EXPECT_EQ(Played("expect no kpi").kind, Kind::kDone);
  HandOver("EV006", "AWM", "{ntype=2}");
  EXPECT_EQ(Played("expect no kpi EV005").kind, Kind::kDone);
  EXPECT_EQ(Played("expect no kpi EV006").why, "EV006 was handed over: AWM {ntype=2}");
  EXPECT_EQ(Played("expect no kpi").why, "EV006 was handed over: AWM {ntype=2}");
  EXPECT_EQ(Played("expect kpi EV006 ntype").kind, Kind::kDone);
  EXPECT_EQ(Played("expect no kpi EV006").kind, Kind::kDone);
}

TEST(ScenarioKpiRecords, BeginWithThePlayAndGoOnInANewJournal) {
  HandOver("EV001", "WIFI_ENV", "{before=1}");
  scenario::KpiRecords records;
  EXPECT_EQ(records.Take("EV001"), std::nullopt);
  HandOver("EV001", "WIFI_ENV", "{second=1}");
  EXPECT_EQ(records.Take("EV001")->text, "WIFI_ENV {second=1}");
  std::filesystem::rename(kpi_journal::Path(), kpi_journal::Path() + ".1");
  HandOver("EV001", "E", "{}");
  EXPECT_EQ(records.Take("EV001")->text, "E {}");
}

TEST(ScenarioKpiRecords, DamageIsPassedOverAndHalfALineWaitsForItsRest) {
  scenario::KpiRecords records;
  HandOver("EV001", "WIFI_ENV", "{a=1}");
  std::ofstream journal(kpi_journal::Path(), std::ios::app);
  journal << "no JSON\n[1]\n"
          << R"({"code":"EV002","event":"WIFI_RSSI",)" << std::flush;
  EXPECT_EQ(records.Take("EV001")->text, "WIFI_ENV {a=1}");
  EXPECT_EQ(records.Peek(""), std::nullopt);
  journal << R"("description":"{b=1}"})"
          << "\n"
          << std::flush;
  EXPECT_EQ(records.Take("EV002")->text, "WIFI_RSSI {b=1}");
}

TEST(ScenarioStep, CallsAreCounted) {
  Json::Value answer;
  answer["ok"] = true;
  answer["calls"].append("one");
  EXPECT_EQ(Played("expect calls tel_init 1", answer).kind, scenario::Outcome::Kind::kDone);
  EXPECT_EQ(Played("expect calls tel_init 2", answer).why, "it was called 1 times");
}

}  // namespace

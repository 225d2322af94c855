// Holds docs/kpi-events.md to what the daemon assembles: who reads records has only that page.

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "KPICreator2017.h"
#include "VirtualTv.h"
#include "WifiOnOffInfo.h"
#include "WirelessKPILogger.h"

namespace {

/// A row of an event's table.
struct Row {
  std::string field;
  std::string value;
  std::string fallback;
};

std::string Trimmed(std::string cell) {
  std::erase(cell, '`');
  for (std::size_t bar = 0; (bar = cell.find("\\|")) != cell.npos;) {
    cell.erase(bar, 1);
  }
  const std::size_t begin = cell.find_first_not_of(' ');
  return begin == cell.npos ? "" : cell.substr(begin, cell.find_last_not_of(' ') - begin + 1);
}

std::vector<std::string> Cells(const std::string& line) {
  std::vector<std::string> cells(1);
  for (std::size_t i = 1; i < line.size(); ++i) {
    if (line[i] == '|' && line[i - 1] != '\\') {
      cells.emplace_back();
    } else {
      cells.back() += line[i];
    }
  }
  for (std::string& cell : cells) {
    cell = Trimmed(cell);
  }
  return cells;
}

/// The rows below "### HEADING".
std::vector<Row> TableOf(const std::string& heading) {
  std::ifstream page(KPI_EVENTS_PAGE);
  std::vector<Row> rows;
  bool is_here = false;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("#")) {
      is_here = line == "### " + heading;
    } else if (is_here && line.starts_with("| `")) {
      const std::vector<std::string> cells = Cells(line);
      if (cells.size() < 3) {
        ADD_FAILURE() << line;
        continue;
      }
      rows.push_back({cells[0], cells[1], cells[2]});
    }
  }
  return rows;
}

/// The keywords below "### HEADING", which ask for its event, with their numbers.
std::vector<std::pair<std::string, int>> KeywordsOf(const std::string& heading) {
  std::ifstream page(KPI_EVENTS_PAGE);
  std::vector<std::pair<std::string, int>> keywords;
  bool is_here = false;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("#")) {
      is_here = line == "### " + heading;
    } else if (const std::size_t end = line.find("`: "); is_here && line.starts_with("- `")) {
      keywords.emplace_back(line.substr(3, end - 3), std::stoi(line.substr(end + 3)));
    }
  }
  return keywords;
}

/// The fields of a description as the page tells readers to take it apart.
std::vector<std::pair<std::string, std::string>> FieldsOf(const std::string& description) {
  std::vector<std::pair<std::string, std::string>> fields;
  for (std::size_t begin = 0; begin < description.size();) {
    const std::size_t end = std::min(description.find_first_of(";,", begin), description.size());
    const std::string field = description.substr(begin, end - begin);
    const std::size_t equals = field.find('=');
    EXPECT_NE(equals, field.npos) << field;
    fields.emplace_back(field.substr(0, equals), field.substr(equals + 1));
    begin = end + 1;
  }
  return fields;
}

struct Event {
  const char* heading;
  std::string (*describe)();
};

void PrintTo(const Event& event, std::ostream* out) {
  *out << event.heading;
}

template <class Creator, auto... arguments>
std::string Describe() {
  Creator creator(arguments...);
  creator.CreateKPI();
  return creator.GetResult();
}

std::string DescribeWifiEnv() {
  const std::string text =
      CWirelessKPILogger::GetEventDescInfoAP("", 0, "unknown", 0, 0, "", Describe<CKPIWIFIENV>());
  return text.substr(1, text.size() - 2);
}

class KpiEventsPage : public testing::TestWithParam<Event> {
 protected:
  KpiEventsPage() { VirtualTv::Instance().GetInternet().SetMacAddress(CONNECTION_TYPE_ETHERNET, ""); }
};

/// On a TV without any network, so that what cannot be measured is everything.
TEST_P(KpiEventsPage, NamesTheFieldsInTheirOrderWithTheirFallbacks) {
  const std::vector<Row> rows = TableOf(GetParam().heading);
  const auto fields = FieldsOf(GetParam().describe());
  ASSERT_FALSE(rows.empty()) << "there is no such heading";
  ASSERT_EQ(rows.size(), fields.size());
  const bool has_wifi_module = std::filesystem::exists("/sys/class/net/wlan0");
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const auto& [field, value, fallback] = rows[i];
    ASSERT_EQ(field, fields[i].first);
    if (value.starts_with("always ")) {
      EXPECT_EQ(value, "always " + (fields[i].second.empty() ? "empty" : fields[i].second)) << field;
    } else if (fallback == "empty" || fallback.starts_with("NOTFOUND")) {
      EXPECT_EQ(fields[i].second, fallback == "empty" ? "" : "NOTFOUND") << field;
    } else if (fallback.find(' ') == fallback.npos && !fallback.empty() &&
               !(field == "moduleid" && has_wifi_module)) {
      EXPECT_EQ(fields[i].second, fallback) << field;
    }
  }
}

TEST(KpiEventsPageKeywords, AreThoseOfTheDaemonWithTheirNumbers) {
  CWifiOnOffInfo& info = *GetWifiOnOffInstance();
  const auto reasons = KeywordsOf("EV008 WIFI_ICON_CLICK");
  EXPECT_EQ(reasons.size(), 3U);
  for (const auto& [keyword, number] : reasons) {
    info.Execute(keyword);
    EXPECT_EQ(info.GetPopupReason(), number) << keyword;
  }
  const auto selections = KeywordsOf("EV009 WIFI_POP_UP_SELECT");
  EXPECT_EQ(selections.size(), 3U);
  for (const auto& [keyword, number] : selections) {
    info.Execute(keyword);
    EXPECT_EQ(info.GetPopupSelection(), number) << keyword;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Of, KpiEventsPage,
    testing::Values(Event{"EV001 WIFI_ENV", DescribeWifiEnv},
                    Event{"EV001 WIFI_ENV of a dongle", Describe<CKPICellularEV001>},
                    Event{"EV002 WIFI_RSSI", Describe<CKPIWIFIRSSI>},
                    Event{"EV004 ETHERNET", Describe<CKPIEthernetEV004>},
                    Event{"EV005 WIFI_BANDSWITCH", Describe<CKPIAWMEV005>},
                    Event{"EV006 AWM", Describe<CKPIAWMEV006, 1>},
                    Event{"EV008 WIRELESS_ENVIRONMENT", Describe<CKPIWirelessEnvironmentEV008>},
                    Event{"EV008 WIFI_ICON_CLICK", Describe<CKPIWirelessEV008>},
                    Event{"EV009 WIFI_POP_UP_SELECT", Describe<CKPIWirelessEV009>},
                    Event{"EV010", Describe<CKPIWirelessEV010>},
                    Event{"EV011 MARQUEE_TEST_RESULT", Describe<CKPIWirelessEV011>}),
    [](const auto& test) {
      std::string name = test.param.heading;
      std::erase_if(name, [](char c) { return c == ' ' || c == '_'; });
      return name;
    });

}  // namespace

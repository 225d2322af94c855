#include <csignal>
#include <sstream>

#include <json/reader.h>
#include <json/value.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include "KpiJournal.h"
#include "PelorusctlLive.h"

namespace fs = std::filesystem;

namespace {

constexpr char kJournal[] = "/run/kpi/journal.jsonl";
constexpr char kTime[] = "2026-11-21T07:04:20.123+00:00";

using Lines = std::vector<std::string>;

Lines LinesOf(const std::string& text) {
  Lines lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

Json::Value Parsed(const std::string& text) {
  Json::Value document;
  std::istringstream(text) >> document;
  return document;
}

/// A line of the journal, as somebody else would write it.
std::string Line(const std::string& code, const std::string& event, const std::string& description) {
  return R"({"time":")" + std::string(kTime) + R"(","service":"21_wireless","event":")" + event +
         R"(","code":")" + code + R"(","description":")" + description + "\"}\n";
}

/// What is shown of it.
std::string Shown(const std::string& code, const std::string& event, const std::string& fields) {
  return std::string(kTime) + " " + code + " " + event + " 21_wireless" + (fields.empty() ? "" : " ") +
         fields;
}

void Append(const std::string& text) {
  fs::create_directories(fs::path(kJournal).parent_path());
  std::ofstream(kJournal, std::ios::app) << text;
}

class PelorusctlKpi : public Pelorusctl {
 protected:
  PelorusctlKpi() { setenv("PELORUS_KPI_JOURNAL", kJournal, 1); }
};

}  // namespace

TEST_F(PelorusctlKpi, ListPrintsTheRecordsWithTheirFields) {
  Append(Line("EV005", "WIFI_BANDSWITCH",
              "{swreason=1;diffmac=4;rssis=-62/2427|-65/5220;appid=NONE;moduleid=0}") +
         Line("EV001", "WIFI_ENV",
              "{mac=ff-ff-ff;slist=;rssi=000,ntype=3,ip=2;ipv6=0;aptype=0,dualap=0;axap=0}"));
  const Result list = Ctl({"kpi", "list"});
  EXPECT_EQ(list.code, 0);
  EXPECT_EQ(list.err, "");
  EXPECT_EQ(LinesOf(list.out),
            (Lines{Shown("EV005", "WIFI_BANDSWITCH",
                         "swreason=1 diffmac=4 rssis=-62/2427|-65/5220 appid=NONE moduleid=0"),
                   Shown("EV001", "WIFI_ENV",
                         "mac=ff-ff-ff slist= rssi=000 ntype=3 ip=2 ipv6=0 aptype=0 dualap=0 axap=0")}));
}

TEST_F(PelorusctlKpi, ListReadsWhatTheLoggerWrites) {
  ASSERT_EQ(kpi_journal::Append(
                kJournal, kpi_journal::Line({"21_wireless", "AWM", "EV006", "{lqevent=1;ntype=2}"}, 0)),
            0);
  EXPECT_TRUE(Ctl({"kpi", "list"}).out.ends_with(" EV006 AWM 21_wireless lqevent=1 ntype=2\n"));
}

TEST_F(PelorusctlKpi, ListPicksAnEventByCodeOrName) {
  Append(Line("EV008", "WIFI_ICON_CLICK", "{a=1}") + Line("EV008", "WIRELESS_ENVIRONMENT", "{a=2}") +
         Line("EV005", "WIFI_BANDSWITCH", "{a=3}"));
  EXPECT_EQ(LinesOf(Ctl({"kpi", "list", "--event", "EV008"}).out).size(), 2U);
  EXPECT_EQ(LinesOf(Ctl({"kpi", "list", "--event", "wifi_icon_click"}).out),
            Lines{Shown("EV008", "WIFI_ICON_CLICK", "a=1")});
  EXPECT_EQ(LinesOf(Ctl({"kpi", "list", "--event", "ev005"}).out),
            Lines{Shown("EV005", "WIFI_BANDSWITCH", "a=3")});
  const Result none = Ctl({"kpi", "list", "--event", "EV009"});
  EXPECT_EQ(none.code, 1);
  EXPECT_EQ(none.out, "");
  EXPECT_TRUE(Contains(none.err, "holds no record of 'EV009'")) << none.err;
}

TEST_F(PelorusctlKpi, ListPicksTheNewest) {
  for (int i = 0; i < 5; ++i) {
    Append(Line(i % 2 == 0 ? "EV005" : "EV006", "E", "{i=" + std::to_string(i) + "}"));
  }
  EXPECT_EQ(LinesOf(Ctl({"kpi", "list", "--last", "2"}).out),
            (Lines{Shown("EV006", "E", "i=3"), Shown("EV005", "E", "i=4")}));
  EXPECT_EQ(LinesOf(Ctl({"kpi", "list", "--last", "2", "--event", "EV005"}).out),
            (Lines{Shown("EV005", "E", "i=2"), Shown("EV005", "E", "i=4")}));
  EXPECT_EQ(LinesOf(Ctl({"kpi", "list", "--last", "99"}).out).size(), 5U);
  EXPECT_EQ(Ctl({"kpi", "list", "--last", "0"}).code, 0);
}

TEST_F(PelorusctlKpi, ScriptsGetAJsonObjectALine) {
  Append(Line("EV005", "WIFI_BANDSWITCH", "{swreason=1;appid=\xED\x95\x9C}"));
  const Result list = Ctl({"kpi", "list", "--json"});
  ASSERT_EQ(LinesOf(list.out).size(), 1U);
  const Json::Value record = Parsed(list.out);
  EXPECT_EQ(record["time"], kTime);
  EXPECT_EQ(record["service"], "21_wireless");
  EXPECT_EQ(record["event"], "WIFI_BANDSWITCH");
  EXPECT_EQ(record["code"], "EV005");
  EXPECT_EQ(record["description"], "{swreason=1;appid=\xED\x95\x9C}");
  EXPECT_EQ(record["fields"]["swreason"], "1");
  EXPECT_EQ(record["fields"]["appid"], "\xED\x95\x9C");
}

TEST_F(PelorusctlKpi, OddDescriptionsAreShownWhole) {
  Append(Line("EV001", "E", "") + Line("EV001", "E", "{}") + Line("EV001", "E", "{plain}") +
         Line("EV001", "E", "{a=1,2;3;b=x=y;c}") + Line("EV001", "E", "{appid=a b;moduleid=7601\\n}") +
         Line("EV001", "E", "{a=\\u001b[31m\\u0000\\u009b;b=\xED\x95\x9C}"));
  const Result list = Ctl({"kpi", "list"});
  EXPECT_EQ(list.code, 0);
  EXPECT_EQ(LinesOf(list.out),
            (Lines{Shown("EV001", "E", ""), Shown("EV001", "E", ""), Shown("EV001", "E", "plain="),
                   Shown("EV001", "E", "a=1,2;3 b=x=y;c"),
                   Shown("EV001", "E", "appid='a b' moduleid='7601\\n'"),
                   Shown("EV001", "E", "a='\\u001b[31m\uFFFD\\u009b' b=\xED\x95\x9C")}));
}

TEST_F(PelorusctlKpi, ADamagedLineIsNamedAndSkipped) {
  const Lines damaged{
      "",
      "garbage",
      "[]",
      "{}",
      "5",
      R"({"time":"t","service":"s","event":"e","code":"c"})",
      R"({"time":"t","service":"s","event":"e","code":5,"description":"d"})",
      R"({"time":"t","service":"s","event":"e","code":"c","description":"d"} x)",
      R"({"time":"t","service":"s","event":"e","code":"c","descr)",
      std::string("\0\0\0", 3),
      "caf\xe9",
      std::string(100'000, '['),
      std::string(2 << 20, 'x'),
  };
  Append(Line("EV001", "E", "{a=1}"));
  for (const std::string& line : damaged) {
    Append(line + "\n");
  }
  Append(Line("EV001", "E", "{a=2}") + R"({"time":"torn)");
  const Result list = Ctl({"kpi", "list"});
  EXPECT_EQ(list.code, 0);
  EXPECT_EQ(LinesOf(list.out), (Lines{Shown("EV001", "E", "a=1"), Shown("EV001", "E", "a=2")}));
  const Lines complaints = LinesOf(list.err);
  ASSERT_EQ(complaints.size(), damaged.size() + 1);
  for (std::size_t i = 0; i < damaged.size(); ++i) {
    EXPECT_TRUE(complaints[i].starts_with("pelorusctl: line " + std::to_string(i + 2) + " of " +
                                          kJournal + " is damaged: "))
        << complaints[i];
  }
  EXPECT_TRUE(complaints.back().ends_with("line 16 of /run/kpi/journal.jsonl is damaged: it has no end"))
      << complaints.back();
}

TEST_F(PelorusctlKpi, AJournalThatIsNotThereIsNotReachable) {
  const Result list = Ctl({"kpi", "list"});
  EXPECT_EQ(list.code, 3);
  EXPECT_EQ(list.out, "");
  EXPECT_TRUE(Contains(list.err, "there is no KPI journal /run/kpi/journal.jsonl")) << list.err;
  EXPECT_FALSE(fs::exists("/run/kpi")) << "looking makes nothing";
}

TEST_F(PelorusctlKpi, AJournalThatCannotBeReadIsAFailure) {
  fs::create_directories(kJournal);
  for (const char* verb : {"list", "follow"}) {
    const Result result = Ctl({"kpi", verb});
    EXPECT_EQ(result.code, 1) << verb;
    EXPECT_TRUE(Contains(result.err, "cannot read /run/kpi/journal.jsonl: Is a directory"))
        << result.err;
  }
  fs::remove(kJournal);
  ASSERT_EQ(mkfifo(kJournal, 0640), 0);
  EXPECT_EQ(Ctl({"kpi", "list"}).code, 1) << "and no waiting for a writer";
  fs::remove(kJournal);
  Append("");
  const Result empty = Ctl({"kpi", "list"});
  EXPECT_EQ(empty.code, 1);
  EXPECT_TRUE(Contains(empty.err, "holds no record")) << empty.err;
}

TEST_F(PelorusctlKpi, TheOptionNamesAnotherFile) {
  Append(Line("EV001", "E", "{a=1}"));
  fs::rename(kJournal, "/run/kpi/journal.jsonl.1");
  EXPECT_EQ(LinesOf(Ctl({"kpi", "list", "--journal", "/run/kpi/journal.jsonl.1"}).out),
            Lines{Shown("EV001", "E", "a=1")});
}

TEST_F(PelorusctlKpi, WithoutASettingTheJournalIsTheDaemons) {
  unsetenv("PELORUS_KPI_JOURNAL");
  EXPECT_TRUE(Contains(Ctl({"kpi", "list"}).err, "/var/lib/pelorus/kpi/journal.jsonl"));
}

TEST_F(PelorusctlKpi, ACommandLineThatMakesNoSenseIsAUsageError) {
  for (const Arguments& arguments :
       {Arguments{"kpi"}, Arguments{"kpi", "lst"}, Arguments{"kpi", "list", "--last", "x"},
        Arguments{"kpi", "list", "--last", "-1"}, Arguments{"kpi", "list", "--event"},
        Arguments{"kpi", "list", "EV005"}, Arguments{"kpi", "list", "--count", "1"},
        Arguments{"kpi", "follow", "--count", "0"}}) {
    const Result result = Ctl(arguments);
    EXPECT_EQ(result.code, 2) << testing::PrintToString(arguments);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(Contains(result.err, "pelorusctl: ")) << result.err;
  }
}

TEST_F(PelorusctlKpi, FollowPrintsTheLastTenAndThenWhatComes) {
  for (int i = 0; i < 12; ++i) {
    Append(Line("EV001", "E", "{i=" + std::to_string(i) + "}"));
  }
  LiveProgram follow({"kpi", "follow"});
  Lines lines = follow.WaitForLines(10);
  EXPECT_EQ(lines.front(), Shown("EV001", "E", "i=2"));
  EXPECT_EQ(lines.back(), Shown("EV001", "E", "i=11"));
  Append(Line("EV001", "E", "{i=12}"));
  lines = follow.WaitForLines(11);
  EXPECT_EQ(lines.back(), Shown("EV001", "E", "i=12"));
  Append(Line("EV001", "E", "{i=13}") + Line("EV001", "E", "{i=14}"));
  lines = follow.WaitForLines(13);
  EXPECT_EQ(lines.back(), Shown("EV001", "E", "i=14"));
}

TEST_F(PelorusctlKpi, FollowPicksAnEventAndEndsAfterSoMany) {
  Append(Line("EV001", "E", "{i=1}") + Line("EV002", "E", "{i=2}"));
  LiveProgram follow({"kpi", "follow", "--event", "EV002", "--count", "2", "--json"});
  EXPECT_EQ(Parsed(follow.WaitForLines(1)[0])["fields"]["i"], "2");
  Append(Line("EV001", "E", "{i=3}") + Line("EV002", "E", "{i=4}") + Line("EV002", "E", "{i=5}"));
  EXPECT_EQ(follow.WaitForExit(), 0);
  ASSERT_EQ(follow.lines().size(), 2U);
  EXPECT_EQ(Parsed(follow.lines()[1])["fields"]["i"], "4");
}

TEST_F(PelorusctlKpi, FollowWaitsForAJournalThatIsNotThere) {
  LiveProgram follow({"kpi", "follow"}, G_SUBPROCESS_FLAGS_STDERR_MERGE);
  EXPECT_EQ(follow.WaitForLines(1), Lines{"pelorusctl: waiting for /run/kpi/journal.jsonl"});
  Append(Line("EV001", "E", "{i=1}"));
  EXPECT_EQ(follow.WaitForLines(2).back(), Shown("EV001", "E", "i=1"));
  fs::remove_all("/run/kpi");
  Append(Line("EV001", "E", "{i=2}"));
  EXPECT_EQ(follow.WaitForLines(3).back(), Shown("EV001", "E", "i=2"));
}

TEST_F(PelorusctlKpi, FollowGoesOnOverRotations) {
  Append(Line("EV001", "E", "{i=0}"));
  LiveProgram follow({"kpi", "follow"}, G_SUBPROCESS_FLAGS_STDERR_MERGE);
  follow.WaitForLines(1);
  std::size_t count = 1;
  for (int rotation = 0; rotation < 3; ++rotation) {
    // The last of the old file and the first of the new one, whichever is looked at first.
    Append(Line("EV001", "E", "{i=" + std::to_string(count++) + "}"));
    fs::rename(kJournal, std::string(kJournal) + "." + std::to_string(rotation));
    Append(Line("EV001", "E", "{i=" + std::to_string(count++) + "}"));
    follow.WaitForLines(count);
  }
  fs::resize_file(kJournal, 0);
  RunLoopFor(std::chrono::milliseconds(500));  // it must see the file short before it is longer again
  Append(Line("EV001", "E", "{i=" + std::to_string(count++) + "}"));
  const Lines lines = follow.WaitForLines(count);
  for (std::size_t i = 0; i < count; ++i) {
    EXPECT_EQ(lines[i], Shown("EV001", "E", "i=" + std::to_string(i)));
  }
}

TEST_F(PelorusctlKpi, FollowPrintsALineOnceItIsWhole) {
  Append(Line("EV001", "E", "{i=0}"));
  LiveProgram follow({"kpi", "follow"}, G_SUBPROCESS_FLAGS_STDERR_MERGE);
  follow.WaitForLines(1);
  const std::string line = Line("EV001", "E", "{i=1}");
  Append(line.substr(0, 30));
  RunLoopFor(std::chrono::milliseconds(500));
  EXPECT_EQ(follow.lines().size(), 1U);
  Append(line.substr(30));
  EXPECT_EQ(follow.WaitForLines(2).back(), Shown("EV001", "E", "i=1"));
  // A part that the writer takes back, because the disk is full, is as if it had never been.
  const auto size = fs::file_size(kJournal);
  Append("{\"time\":\"a record that no disk has room for");
  RunLoopFor(std::chrono::milliseconds(500));
  fs::resize_file(kJournal, size);
  Append(Line("EV001", "E", "{i=2}"));
  EXPECT_EQ(follow.WaitForLines(3).back(), Shown("EV001", "E", "i=2"));
}

TEST_F(PelorusctlKpi, FollowNamesADamagedLineAndGoesOn) {
  Append(Line("EV001", "E", "{i=0}"));
  LiveProgram follow({"kpi", "follow"}, G_SUBPROCESS_FLAGS_STDERR_MERGE);
  follow.WaitForLines(1);
  Append("garbage\n" + std::string(2 << 20, 'x'));
  EXPECT_EQ(follow.WaitForLines(2).back(),
            "pelorusctl: line 2 of /run/kpi/journal.jsonl is damaged: it is no JSON object");
  Append("\n" + Line("EV001", "E", "{i=1}"));
  const Lines lines = follow.WaitForLines(4);
  EXPECT_EQ(lines[2], "pelorusctl: line 3 of /run/kpi/journal.jsonl is damaged: it is too long");
  EXPECT_EQ(lines[3], Shown("EV001", "E", "i=1"));
}

TEST_F(PelorusctlKpi, FollowEndsWellWhenInterrupted) {
  Append(Line("EV001", "E", "{i=0}"));
  for (const int signal : {SIGINT, SIGTERM}) {
    LiveProgram follow({"kpi", "follow"});
    follow.WaitForLines(1);
    follow.Signal(signal);
    EXPECT_EQ(follow.WaitForExit(), 0);
  }
}

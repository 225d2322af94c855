#include "Scenario.h"

#include <chrono>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using scenario::Step;
using std::chrono::milliseconds;

namespace {

std::vector<Step> Parsed(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> errors;
  auto result = scenario::Parse("evening", stream, errors);
  EXPECT_EQ(errors, std::vector<std::string>{}) << text;
  return result.steps;
}

/// The first error, without the file's name.
std::string ErrorOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> errors;
  scenario::Parse("f", stream, errors);
  return errors.empty() ? "" : errors.front();
}

TEST(ScenarioParser, StepsHaveTheirTimesAndLinesAndKeepTheirOrder) {
  const auto steps = Parsed(
      "# a comment\n"
      "\n"
      "initially telephony start\n"
      "at 500ms cable plug   # another\n"
      "at 1.5s expect popup ethernet_attached\n"
      "at 2min close popup\n");
  ASSERT_EQ(steps.size(), 4U);
  EXPECT_TRUE(steps[0].is_initial);
  EXPECT_EQ(steps[0].line, 3);
  EXPECT_FALSE(steps[1].is_initial);
  EXPECT_EQ(steps[1].at, milliseconds(500));
  EXPECT_EQ(steps[1].text, "cable plug");
  EXPECT_EQ(steps[1].request["action"], "plug");
  EXPECT_EQ(steps[2].at, milliseconds(1500));
  EXPECT_EQ(steps[2].kind, Step::Kind::kExpectPopup);
  EXPECT_EQ(steps[2].subject, "ethernet_attached");
  EXPECT_EQ(steps[3].at, milliseconds(120'000));
  EXPECT_EQ(steps[3].kind, Step::Kind::kClosePopup);
}

TEST(ScenarioParser, LinesOfCommentGoWithTheStepAfterThem) {
  const auto steps = Parsed(
      "# The title.\n"
      "\n"
      "# It begins,\n"
      "#   and goes on.\n"
      "#\n"
      "initially telephony start # an aside\n"
      "at 1s cable plug\n"
      "# The end.\n"
      "at 2s cable unplug\n"
      "# nobody is left to hear this\n");
  ASSERT_EQ(steps.size(), 3U);
  EXPECT_EQ(steps[0].remarks,
            (std::vector<std::string>{"The title.", "It begins,", "and goes on.", ""}));
  EXPECT_EQ(steps[1].remarks, std::vector<std::string>{});
  EXPECT_EQ(steps[2].remarks, std::vector<std::string>{"The end."});
}

TEST(ScenarioParser, EveryKindOfStepIsUnderstood) {
  using Kind = Step::Kind;
  const struct {
    const char* text;
    Kind kind;
    const char* subject;
  } cases[] = {
      {"cable unplug", Kind::kTv, ""},
      {"cable state 2", Kind::kTv, ""},
      {"dongle insert", Kind::kTv, ""},
      {"telephony stop", Kind::kTv, ""},
      {"feature set a b", Kind::kTv, ""},
      {"fail tel_init -3", Kind::kTv, ""},
      {"fail tel_init -3 2", Kind::kTv, ""},
      {"heal tel_init", Kind::kTv, ""},
      {"latency cable 20ms", Kind::kTv, ""},
      {"latency scan 2s", Kind::kTv, ""},
      {"clear-calls", Kind::kTv, ""},
      {"radio add AA:BB:CC:DD:EE:01 Home", Kind::kTv, ""},
      {"radio add AA:BB:CC:DD:EE:01 'My home' hidden off frequency=5180 security=wpa3 passphrase=secret "
       "rssi=-60 bandwidth=80 mode=ax temper=silent ipv4=10.0.0.2 ipv6=fe80::1",
       Kind::kTv, ""},
      {"radio remove AA:BB:CC:DD:EE:01", Kind::kTv, ""},
      {"radio on AA:BB:CC:DD:EE:01", Kind::kTv, ""},
      {"radio off AA:BB:CC:DD:EE:01", Kind::kTv, ""},
      {"radio signal AA:BB:CC:DD:EE:01 -70", Kind::kTv, ""},
      {"radio temper AA:BB:CC:DD:EE:01 refuses", Kind::kTv, ""},
      {"wifi join AA:BB:CC:DD:EE:01", Kind::kTv, ""},
      {"wifi drop", Kind::kTv, ""},
      {"wifi see-all", Kind::kTv, ""},
      {"wifi save Home security=open passphrase=", Kind::kTv, ""},
      {"wifi forget Home", Kind::kTv, ""},
      {"wifi snr -3", Kind::kTv, ""},
      {"radio add AA:BB:CC:DD:EE:01 Inn security=open portal=http://a/?b=c", Kind::kTv, ""},
      {"radio portal AA:BB:CC:DD:EE:01 http://a/", Kind::kTv, ""},
      {"radio portal AA:BB:CC:DD:EE:01 none", Kind::kTv, ""},
      {"wifi connect AA:BB:CC:DD:EE:01", Kind::kTv, ""},
      {"wifi connect AA:BB:CC:DD:EE:01 passphrase=a=b", Kind::kTv, ""},
      {"wifi save Home frequency=5180", Kind::kTv, ""},
      {"wifi fail-next name-scan -5", Kind::kTv, ""},
      {"delay connect 40s", Kind::kTv, ""},
      {"package install org.orvik.browser", Kind::kTv, ""},
      {"package remove org.orvik.browser", Kind::kTv, ""},
      {"speaker 4", Kind::kTv, ""},
      {"stick insert", Kind::kTv, ""},
      {"stick insert 'Blue one' broken", Kind::kTv, ""},
      {"stick insert broken", Kind::kTv, ""},
      {"stick unmount Blue", Kind::kTv, ""},
      {"stick remove", Kind::kTv, ""},
      {"capture size 1048576", Kind::kTv, ""},
      {"capture end", Kind::kTv, ""},
      {"internet addresses cable ipv6=2001:db8::1", Kind::kTv, ""},
      {"internet addresses dongle ipv4= ipv6=", Kind::kTv, ""},
      {"settings-app connect 'My home'", Kind::kTv, ""},
      {"settings-app forget Home", Kind::kTv, ""},
      {"settings-app reset", Kind::kTv, ""},
      {"internet gateway off", Kind::kTv, ""},
      {"internet report HTTP -1", Kind::kTv, ""},
      {"internet hotspot 1", Kind::kTv, ""},
      {"internet lease 3600", Kind::kTv, ""},
      {"player buffering 1", Kind::kTv, ""},
      {"settings-app open", Kind::kTv, ""},
      {"settings-app confirm", Kind::kTv, ""},
      {"settings-app answer decline 2s", Kind::kTv, ""},
      {"settings-app answer none", Kind::kTv, ""},
      {"set db/x int -4", Kind::kSet, "db/x"},
      {"set db/x bool true", Kind::kSet, "db/x"},
      {"set db/x string ''", Kind::kSet, "db/x"},
      {"set db/x raw \"'torn\"", Kind::kSet, "db/x"},
      {"close popup", Kind::kClosePopup, ""},
      {"remove popup program", Kind::kRemovePopupProgram, ""},
      {"create file /home/owner/share/a", Kind::kCreateFile, "/home/owner/share/a"},
      {"expect popup k", Kind::kExpectPopup, "k"},
      {"expect no popup", Kind::kExpectNoPopup, ""},
      {"expect key db/x v", Kind::kExpectKey, "db/x"},
      {"expect no key db/x", Kind::kExpectNoKey, "db/x"},
      {"expect log \"two words\"", Kind::kExpectLog, "two words"},
      {"expect no log", Kind::kExpectNoLog, ""},
      {"expect no log t", Kind::kExpectNoLog, "t"},
      {"expect file /a", Kind::kExpectFile, "/a"},
      {"expect no file /a", Kind::kExpectNoFile, "/a"},
      {"expect softap-manager", Kind::kExpectSoftapManager, ""},
      {"expect calls tel_init 3", Kind::kExpectCalls, "tel_init"},
      {"expect kpi EV005 WIFI_BANDSWITCH select=1", Kind::kExpectKpi, "EV005"},
      {"expect no kpi EV006", Kind::kExpectNoKpi, "EV006"},
      {"expect no kpi", Kind::kExpectNoKpi, ""},
      {"expect wifi AA:BB:CC:DD:EE:01", Kind::kExpectWifi, "AA:BB:CC:DD:EE:01"},
      {"expect wifi none", Kind::kExpectWifi, ""},
      {"expect json db/x '{}'", Kind::kExpectJson, "db/x"},
      {"expect saved", Kind::kExpectSaved, ""},
      {"expect saved Home 'The office'", Kind::kExpectSaved, ""},
      {"expect top Home=Connected", Kind::kExpectTop, ""},
  };
  for (const auto& expected : cases) {
    const auto steps = Parsed(std::string("at 1s ") + expected.text);
    ASSERT_EQ(steps.size(), 1U) << expected.text;
    EXPECT_EQ(steps[0].kind, expected.kind) << expected.text;
    EXPECT_EQ(steps[0].subject, expected.subject) << expected.text;
  }
}

TEST(ScenarioParser, EachMistakeIsNamedWithItsFileAndLine) {
  const struct {
    const char* text;
    const char* error;
  } cases[] = {
      {"", "f:1: nothing happens here"},
      {"\n\ncable plug", "f:3: a step begins with \"initially\" or \"at TIME\""},
      {"at", "f:1: a step begins with \"initially\" or \"at TIME\""},
      {"at 1s", "f:1: a time without a step"},
      {"at 5 cable plug", "f:1: not a time: \"5\"; write 500ms, 1.5s, 2min or 3h"},
      {"at -1s cable plug", "f:1: not a time: \"-1s\"; write 500ms, 1.5s, 2min or 3h"},
      {"at infs cable plug", "f:1: not a time: \"infs\"; write 500ms, 1.5s, 2min or 3h"},
      {"at 2s cable plug\nat 1s cable unplug", "f:2: this is earlier than the step before it"},
      {"at 1s cable plug\ninitially telephony start",
       "f:2: what is so initially comes before the first \"at\""},
      {"initially expect no popup", "f:1: before the daemon's start nothing can be seen"},
      {"initially close popup", "f:1: before the daemon's start nothing can be seen"},
      {"at 1s dance", "f:1: unknown step \"dance\""},
      {"at 1s cable chew", "f:1: expected: cable plug | cable unplug | cable state NUMBER"},
      {"at 1s cable state two", "f:1: expected: cable plug | cable unplug | cable state NUMBER"},
      {"at 1s fail tel_init", "f:1: expected: fail FUNCTION CODE [TIMES]"},
      {"at 1s fail tel_init 1 x", "f:1: expected: fail FUNCTION CODE [TIMES]"},
      {"at 1s latency cable 20", "f:1: expected: latency KIND TIME, with TIME such as 50ms"},
      {"at 1s player buffering",
       "f:1: expected: player buffering|lowres|interference|rssi|linkspeed NUMBER"},
      {"at 1s player buffering much",
       "f:1: expected: player buffering|lowres|interference|rssi|linkspeed NUMBER"},
      {"at 1s radio add AA:BB:CC:DD:EE:01 Home rssi=strong", "f:1: expected: a number for rssi"},
      {"at 1s set db/x int", "f:1: expected: set KEY int|bool|string|raw VALUE"},
      {"at 1s set db/x int four", "f:1: \"four\" is no value of type int"},
      {"at 1s set db/x bool 1", "f:1: \"1\" is no value of type bool"},
      {"at 1s set db/x text a", "f:1: \"a\" is no value of type text"},
      {"at 1s create file /etc/passwd", "f:1: files are created under /home/owner/share/ only"},
      {"at 1s create file /home/owner/share/../x",
       "f:1: files are created under /home/owner/share/ only"},
  };
  for (const auto& expected : cases) {
    EXPECT_EQ(ErrorOf(expected.text), expected.error);
  }
  EXPECT_EQ(ErrorOf("at 1s expect a miracle").substr(0, 30), "f:1: expected: expect [no] pop");
  EXPECT_EQ(ErrorOf("at 1s expect popup").substr(0, 30), "f:1: expected: expect [no] pop");
  EXPECT_NE(ErrorOf("at 1s expect log \"open"), "");
  for (const char* command : {"radio portal AA:BB:CC:DD:EE:01",
                              "wifi connect",
                              "wifi connect AA:BB:CC:DD:EE:01 secret",
                              "wifi fail-next connect",
                              "wifi fail-next connect hard",
                              "wifi save Home frequency=high",
                              "delay connect",
                              "delay connect long",
                              "package",
                              "package paint a",
                              "package install",
                              "speaker",
                              "speaker loud",
                              "stick",
                              "stick lick",
                              "stick insert Blue torn",
                              "stick remove Blue broken",
                              "stick insert Blue Red broken",
                              "capture",
                              "capture size",
                              "capture size large",
                              "capture end now",
                              "internet addresses cable",
                              "internet addresses cable 10.0.0.1",
                              "internet addresses cable ipv4=1 ipv4=2",
                              "settings-app connect",
                              "settings-app reset all",
                              "radio",
                              "radio chew AA:BB:CC:DD:EE:01",
                              "radio add AA:BB:CC:DD:EE:01",
                              "radio add AA:BB:CC:DD:EE:01 Home colour=red",
                              "radio add AA:BB:CC:DD:EE:01 Home rssi=-1 rssi=-2",
                              "radio add AA:BB:CC:DD:EE:01 Home bssid=x",
                              "radio add AA:BB:CC:DD:EE:01 Home visible",
                              "radio remove",
                              "radio on AA:BB:CC:DD:EE:01 twice",
                              "radio signal AA:BB:CC:DD:EE:01",
                              "radio signal AA:BB:CC:DD:EE:01 strong",
                              "radio temper AA:BB:CC:DD:EE:01",
                              "wifi",
                              "wifi join",
                              "wifi drop twice",
                              "wifi save",
                              "wifi save Home rssi=-1",
                              "wifi forget",
                              "wifi snr loud",
                              "internet",
                              "internet gateway",
                              "internet gateway maybe",
                              "internet report HTTP",
                              "internet report HTTP bad",
                              "internet hotspot",
                              "internet hotspot on off",
                              "internet lease long",
                              "settings-app",
                              "settings-app chew",
                              "settings-app open wide",
                              "settings-app answer",
                              "settings-app answer confirm soon",
                              "settings-app answer confirm 1s more",
                              "expect kpi EV005",
                              "expect no kpi EV005 text",
                              "expect wifi"}) {
    EXPECT_TRUE(ErrorOf(std::string("at 1s ") + command).starts_with("f:1: expected: "))
        << command << ": " << ErrorOf(std::string("at 1s ") + command);
  }
}

TEST(ScenarioParser, OptionsOfARadioBecomeMembersOfTheRequest) {
  const Json::Value request =
      Parsed(
          "at 1s radio add AA:BB:CC:DD:EE:01 'My home' hidden off frequency=5180 security=wpa3 "
          "passphrase='a=b c' rssi=-60 ipv6=fe80::1\n")
          .at(0)
          .request;
  EXPECT_EQ(request["do"], "radio");
  EXPECT_EQ(request["action"], "add");
  EXPECT_EQ(request["bssid"], "AA:BB:CC:DD:EE:01");
  EXPECT_EQ(request["essid"], "My home");
  EXPECT_EQ(request["hidden"], true);
  EXPECT_EQ(request["on"], false);
  EXPECT_EQ(request["frequency"], 5180);
  EXPECT_EQ(request["security"], "wpa3");
  EXPECT_EQ(request["passphrase"], "a=b c");
  EXPECT_EQ(request["rssi"], -60);
  EXPECT_EQ(request["ipv6"], "fe80::1");
  EXPECT_FALSE(request.isMember("bandwidth")) << "what is not said is left to the TV";
}

TEST(ScenarioParser, APassphraseIsNotShown) {
  for (const char* text : {"at 1s radio add AA:BB:CC:DD:EE:01 Home passphrase='top secret'",
                           "at 1s wifi save Home passphrase=secret"}) {
    const Step step = Parsed(text).at(0);
    EXPECT_EQ(step.text.find("secret"), std::string::npos) << step.text;
    EXPECT_NE(step.text.find("passphrase=***"), std::string::npos) << step.text;
  }
  for (const char* text : {"at 1s radio add AA:BB:CC:DD:EE:01 Home passphrase=secret colour=red",
                           "at 1s wifi save Home passphrase=secret passphrase=secret"}) {
    EXPECT_EQ(ErrorOf(text).find("secret"), std::string::npos) << ErrorOf(text);
  }
}

TEST(ScenarioParser, AllMistakesAreToldAtOnce) {
  std::istringstream stream("at 1s dance\nat 2s cable plug\nat 3s sing\n");
  std::vector<std::string> errors;
  scenario::Parse("f", stream, errors);
  EXPECT_EQ(errors.size(), 2U);
}

}  // namespace

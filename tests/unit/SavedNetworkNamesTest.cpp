#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "JsonText.h"
#include "MainLoop.h"
#include "SavedNetworksRoom.h"
#include "TestLog.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

// The name of a network is what its owner wrote, or an attacker: any bytes but NUL.

namespace {

struct Name {
  const char* description;
  std::string name;
  std::string shown;  ///< as the settings application reads it; empty: some of it is lost
};

void PrintTo(const Name& name, std::ostream* out) {
  *out << name.description;
}

constexpr char kReplaced[] = "\xEF\xBF\xBD";  // U+FFFD

const Name kNames[] = {
    {"Quotes", R"(a"b\c'd)", R"(a"b\c'd)"},
    {"Document", R"({"COMMAND":"3"})", R"({"COMMAND":"3"})"},
    {"Format", "%s%n%d", "%s%n%d"},
    {"Control", "a\nb\tc\x01\x1f\x7f", "a\nb\tc\x01\x1f\x7f"},
    {"Space", " ", " "},
    {"Umlaut", "Caf\xC3\xA9", "Caf\xC3\xA9"},
    {"Emoji", "\xF0\x9F\x8F\xA0", "\xF0\x9F\x8F\xA0"},
    {"Latin1", "Caf\xE9", std::string("Caf") + kReplaced},
    {"LoneContinuation", "a\x80z", {}},
    {"Overlong", "a\xC0\xAFz", {}},
    {"Surrogate", "a\xED\xA0\x80z", {}},
    {"BeyondUnicode", "a\xF7\xBF\xBF\xBFz", {}},
    {"CutOff", "ab\xF0\x9F\x8F", {}},
    {"AllHigh", std::string(32, '\xFF'), {}},
    {"Longest", std::string(32, 'x'), std::string(32, 'x')},
};

bool IsAscii(const std::string& text) {
  return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

class NetworkName : public testing::TestWithParam<Name>, protected SavedNetworksRoom {
 protected:
  NetworkName() {
    for (const char* saved : {"Home", "Office", "Attic", "Garden"}) {
      wifi.Forget(saved);
    }
    wifi.AddRadio({.bssid = kStrange, .essid = GetParam().name, .frequency = 2442, .rssi = -55});
    wifi.Save({.essid = GetParam().name, .frequency = 2442});
  }
  ~NetworkName() override { SavedNetworksRoom::End(); }

  static constexpr char kStrange[] = "AA:BB:CC:DD:EE:0A";
};

TEST_P(NetworkName, IsPublishedSoThatEverybodyCanReadIt) {
  Start();
  RunLoopFor(2s);
  for (const char* key : {vconf_keys::kSavedAPList, vconf_keys::kTopSavedAP}) {
    const std::string text = json_text::ReadKey(key);
    EXPECT_TRUE(IsAscii(text)) << text;
    Json::Value document;
    ASSERT_TRUE(json_text::ReadStrictly(text, document)) << text;
    ASSERT_EQ(document["values"].size(), 1U);
    EXPECT_EQ(document["values"][0]["SIGNAL_STRENGTH"].asInt(), -55) << "found by its bytes";
    const std::string shown = document["values"][0]["SSID"].asString();
    EXPECT_TRUE(g_utf8_validate(shown.c_str(), -1, nullptr)) << shown;
    if (!GetParam().shown.empty()) {
      EXPECT_EQ(shown, GetParam().shown);
    }
  }
}

TEST_P(NetworkName, IsConnectedToWhenItCanBeWritten) {
  Start();
  RunLoopFor(2s);
  Json::Value command;
  command["COMMAND"] = "1";
  command["SSID"] = Parse(json_text::ReadKey(vconf_keys::kTopSavedAP))["values"][0]["SSID"];
  Command(json_text::Write(command));
  RunLoopFor(10s);
  const bool can_be_written = GetParam().shown == GetParam().name;
  EXPECT_EQ(wifi.ConnectedBssid(), can_be_written ? kStrange : kHome);
  EXPECT_EQ(PopupsAsked(), 0U);
}

TEST_P(NetworkName, ComesBackAfterARestartAndAConnection) {
  Start();
  RunLoopFor(2s);
  End();
  Start();
  ASSERT_TRUE(wifi.Join(kStrange));
  SavedAPPriorityHandler::GetInstance()->UpdateListOnAPConnect(ConnectedAp().Get());
  RunLoopFor(2s);
  Command(R"({"COMMAND":"2"})");
  RunLoopFor(2s);
  const Json::Value list = Parse(json_text::ReadKey(vconf_keys::kSavedAPList));
  EXPECT_EQ(list["count"].asInt(), 1) << "a name that lost bytes in the document is forgotten";
  EXPECT_EQ(list["values"][0]["SIGNAL_STRENGTH"].asInt(), -55);
}

INSTANTIATE_TEST_SUITE_P(SavedNetworks, NetworkName, testing::ValuesIn(kNames),
                         [](const auto& case_info) { return std::string(case_info.param.description); });

class NetworkNames : public testing::Test, protected SavedNetworksRoom {
 protected:
  ~NetworkNames() override { End(); }
};

TEST_F(NetworkNames, MayHoldANulInADocument) {
  Write(vconf_keys::kSavedAPList,
        R"({"count":1,"values":[{"SSID":"Home\u0000x","SIGNAL_STRENGTH":-5,"FREQUENCY":2412}]})");
  Start();
  RunLoopFor(2s);
  EXPECT_EQ(Published(vconf_keys::kTopSavedAP),
            Texts{R"({"count":1,"values":[{"SIGNAL_STRENGTH":-5,"SSID":"Home\u0000x",)"
                  R"("STATUS":"DisConnected"}]})"});
  Command(R"({"COMMAND":"1","SSID":"Home\u0000x"})");
  EXPECT_TRUE(Requests().empty()) << "no network is called that";
}

}  // namespace

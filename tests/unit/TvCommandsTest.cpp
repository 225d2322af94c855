#include "Commands.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <json/json.h>

#include "MainLoop.h"
#include "VirtualTv.h"
#include "net_connection.h"
#include "platform.h"
#include "vconf.h"
#include "vconf_keys.h"

using std::chrono::milliseconds;

namespace {

constexpr char kDone[] = R"({"ok":true})";

VirtualTv& Tv() {
  return VirtualTv::Instance();
}

std::string Ask(const std::string& request) {
  return tv_commands::Answer(Tv(), request);
}

Json::Value Parsed(const std::string& text) {
  Json::Value value;
  std::string error;
  std::istringstream stream(text);
  EXPECT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), stream, &value, &error)) << text << error;
  return value;
}

/// A request to put up a radio of which one thing is said in JSON.
std::string AddRadioWith(const std::string& member) {
  return R"({"do":"radio","action":"add","bssid":"AA:BB:CC:DD:EE:01",)" +
         std::string(member.starts_with(R"("essid")") ? "" : R"("essid":"Home",)") + member + "}";
}

class TvCommands : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(platform_start(), 0); }
  void TearDown() override { platform_stop(); }
};

TEST_F(TvCommands, PutsUpRadiosAndChangesThem) {
  EXPECT_EQ(Ask(R"({"do":"radio","action":"add","bssid":"aa:bb:cc:dd:ee:01","essid":"Home",)"
                R"("hidden":true,"on":false,"frequency":5180,"security":"wpa3",)"
                R"("passphrase":"secret","rssi":-61,"bandwidth":80,"mode":"ax",)"
                R"("temper":"silent","ipv4":"10.0.0.2","ipv6":"fe80::1"})"),
            kDone);
  const Radio* radio = Tv().GetWifi().FindRadio("AA:BB:CC:DD:EE:01");
  ASSERT_NE(radio, nullptr);
  EXPECT_EQ(radio->bssid, "AA:BB:CC:DD:EE:01") << "in capitals, whatever was typed";
  EXPECT_EQ(radio->essid, "Home");
  EXPECT_TRUE(radio->is_hidden);
  EXPECT_FALSE(radio->is_on);
  EXPECT_EQ(radio->frequency, 5180);
  EXPECT_EQ(radio->security, WIFI_SECURITY_TYPE_SAE);
  EXPECT_EQ(radio->passphrase, "secret");
  EXPECT_EQ(radio->rssi, -61);
  EXPECT_EQ(radio->bandwidth, 80);
  EXPECT_EQ(radio->mode, WIFI_MANAGER_CONNECTION_MODE_80211AX);
  EXPECT_EQ(radio->temper, Radio::Temper::kSilent);
  EXPECT_EQ(radio->ipv4, "10.0.0.2");
  EXPECT_EQ(radio->ipv6, "fe80::1");

  EXPECT_EQ(Ask(R"({"do":"radio","action":"on","bssid":"AA:BB:CC:DD:EE:01"})"), kDone);
  EXPECT_TRUE(radio->is_on);
  EXPECT_EQ(Ask(R"({"do":"radio","action":"off","bssid":"AA:BB:CC:DD:EE:01"})"), kDone);
  EXPECT_FALSE(radio->is_on);
  EXPECT_EQ(Ask(R"({"do":"radio","action":"signal","bssid":"AA:BB:CC:DD:EE:01","rssi":-80})"), kDone);
  EXPECT_EQ(radio->rssi, -80);
  EXPECT_EQ(
      Ask(R"({"do":"radio","action":"temper","bssid":"AA:BB:CC:DD:EE:01","temper":"answers-twice"})"),
      kDone);
  EXPECT_EQ(radio->temper, Radio::Temper::kAnswersTwice);
  EXPECT_EQ(Ask(R"({"do":"radio","action":"add","bssid":"AA:BB:CC:DD:EE:01","essid":"New"})"), kDone);
  ASSERT_EQ(Tv().GetWifi().Radios().size(), 1U) << "one address, one radio";
  EXPECT_EQ(Tv().GetWifi().Radios()[0].essid, "New");
  EXPECT_EQ(Tv().GetWifi().Radios()[0].temper, Radio::Temper::kAccepts);
  EXPECT_EQ(Ask(R"({"do":"radio","action":"remove","bssid":"AA:BB:CC:DD:EE:01"})"), kDone);
  EXPECT_TRUE(Tv().GetWifi().Radios().empty());
}

TEST_F(TvCommands, OperatesTheWifi) {
  Wifi& wifi = Tv().GetWifi();
  Ask(R"({"do":"radio","action":"add","bssid":"AA:BB:CC:DD:EE:01","essid":"Home"})");
  EXPECT_EQ(Ask(R"({"do":"wifi","action":"see-all"})"), kDone);
  EXPECT_EQ(wifi.Known().size(), 1U);
  EXPECT_EQ(Ask(R"({"do":"wifi","action":"join","bssid":"aa:bb:cc:dd:ee:01"})"), kDone);
  EXPECT_EQ(wifi.ConnectedBssid(), "AA:BB:CC:DD:EE:01");
  EXPECT_EQ(Ask(R"({"do":"wifi","action":"drop"})"), kDone);
  EXPECT_EQ(wifi.State(), WIFI_CONNECTION_STATE_DISCONNECTED);
  EXPECT_EQ(Ask(R"({"do":"wifi","action":"save","essid":"Pub","security":"wpa","passphrase":"secret"})"),
            kDone);
  ASSERT_NE(wifi.FindSaved("Pub", WIFI_SECURITY_TYPE_WPA_PSK), nullptr);
  EXPECT_EQ(wifi.FindSaved("Pub", WIFI_SECURITY_TYPE_WPA_PSK)->passphrase, "secret");
  EXPECT_EQ(Ask(R"({"do":"wifi","action":"forget","essid":"Pub"})"), kDone);
  EXPECT_EQ(wifi.FindSaved("Pub", WIFI_SECURITY_TYPE_WPA_PSK), nullptr);
  EXPECT_EQ(Ask(R"({"do":"wifi","action":"snr","snr":-3})"), kDone);
  EXPECT_EQ(wifi.Snr(), -3);
  for (const char* kind : {"scan", "look", "connect", "address", "disconnect", "report"}) {
    EXPECT_EQ(Ask(std::string(R"({"do":"latency","ms":77,"kind":")") + kind + "\"}"), kDone);
  }
  const Json::Value latency = Parsed(Ask(R"({"do":"status"})"))["tv"]["latency"];
  EXPECT_EQ(std::ranges::count(latency, Json::Value(77)), 6);
}

TEST_F(TvCommands, ChangesWhatIsBehindTheNetwork) {
  const Internet& internet = Tv().GetInternet();
  const auto health = [&] {
    return std::vector<bool>{internet.IsGatewayWorking(), internet.IsDnsWorking(),
                             internet.IsHttpWorking()};
  };
  EXPECT_EQ(Ask(R"({"do":"internet","action":"set","step":"gateway","works":false})"), kDone);
  EXPECT_EQ(health(), (std::vector<bool>{false, true, true}));
  EXPECT_EQ(Ask(R"({"do":"internet","action":"set","step":"dns","works":false})"), kDone);
  EXPECT_EQ(Ask(R"({"do":"internet","action":"set","step":"gateway","works":true})"), kDone);
  EXPECT_EQ(health(), (std::vector<bool>{true, false, true}));
  EXPECT_EQ(Ask(R"({"do":"internet","action":"set","step":"http","works":false})"), kDone);
  EXPECT_EQ(health(), (std::vector<bool>{true, false, false}));
  EXPECT_EQ(Ask(R"({"do":"internet","action":"hotspot","status":1})"), kDone);
  EXPECT_EQ(internet.Hotspot(), 1);
  EXPECT_EQ(Ask(R"({"do":"internet","action":"lease","seconds":60})"), kDone);
  EXPECT_EQ(internet.LeaseSeconds(), 60);
}

TEST_F(TvCommands, SendsAnyReportAboutTheInternet) {
  using Report = std::pair<int, std::string>;
  std::vector<Report> reports;
  connection_h connection = nullptr;
  connection_create(&connection);
  connection_set_network_monitor_cb(
      connection,
      [](connection_error_e result, char* state, void* list) {
        static_cast<std::vector<Report>*>(list)->emplace_back(result, state);
      },
      &reports);
  RunLoopFor(milliseconds(50));
  reports.clear();
  Ask(R"({"do":"internet","action":"report","step":"ELSEWHERE","result":-7})");
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(reports, (std::vector<Report>{{-7, "ELSEWHERE"}}));
}

TEST_F(TvCommands, PlaysThePlayerAndTheSettingsApplication) {
  const std::pair<const char*, const char*> reports[] = {
      {"buffering", vconf_keys::kStreamingBuffer}, {"lowres", vconf_keys::kStreamingLowRes},
      {"interference", vconf_keys::kNetInterfer},  {"rssi", vconf_keys::kNetRssi},
      {"linkspeed", vconf_keys::kNetLinkSpeed},
  };
  int value = 10;
  for (const auto& [report, key] : reports) {
    ++value;
    EXPECT_EQ(Ask(std::string(R"({"do":"player","report":")") + report + R"(","value":)" +
                  std::to_string(value) + "}"),
              kDone);
    int written = 0;
    EXPECT_EQ(vconf_get_int(key, &written), VCONF_OK) << report;
    EXPECT_EQ(written, value) << report;
  }

  const SettingsApp& app = Tv().GetSettingsApp();
  EXPECT_EQ(Ask(R"({"do":"settings-app","action":"open"})"), kDone);
  EXPECT_TRUE(app.IsOpen());
  EXPECT_EQ(Ask(R"({"do":"settings-app","action":"answer","answer":"decline","ms":70})"), kDone);
  EXPECT_EQ(app.CurrentAnswer(), SettingsApp::Answer::kDecline);
  EXPECT_EQ(app.DelayMs(), 70U);
  EXPECT_EQ(Ask(R"({"do":"settings-app","action":"answer","answer":"none"})"), kDone);
  EXPECT_EQ(Ask(R"({"do":"settings-app","action":"ask"})"), kDone);
  vconf_set_str(vconf_keys::kLaunchNS, "SHOWPOPUP");
  RunLoopFor(milliseconds(1));
  EXPECT_EQ(Ask(R"({"do":"settings-app","action":"press","button":"confirm"})"), kDone);
  EXPECT_FALSE(app.HasQuestion());
  EXPECT_EQ(Ask(R"({"do":"settings-app","action":"stop"})"), kDone);
  EXPECT_EQ(Ask(R"({"do":"settings-app","action":"close"})"), kDone);
  EXPECT_FALSE(app.IsOpen());
}

TEST_F(TvCommands, PutsUpAPortalAndTakesItAway) {
  Wifi& wifi = Tv().GetWifi();
  Ask(AddRadioWith(R"("portal":"http://portal/?room=1&tv")"));
  const Radio* const radio = wifi.FindRadio("AA:BB:CC:DD:EE:01");
  ASSERT_NE(radio, nullptr);
  EXPECT_EQ(radio->portal_url, "http://portal/?room=1&tv");
  EXPECT_EQ(Parsed(Ask(R"({"do":"status"})"))["tv"]["radios"][0]["portal"], "http://portal/?room=1&tv");
  EXPECT_EQ(Ask(R"({"do":"radio","action":"portal","bssid":"AA:BB:CC:DD:EE:01","portal":""})"), kDone);
  EXPECT_EQ(radio->portal_url, "");
}

TEST_F(TvCommands, ConnectsAsSomebodyInTheSettingsDoes) {
  Wifi& wifi = Tv().GetWifi();
  Ask(AddRadioWith(R"("passphrase":"secret")"));
  wifi.SeeAll();
  EXPECT_EQ(Ask(R"({"do":"wifi","action":"connect","bssid":"AA:BB:CC:DD:EE:01"})"), kDone);
  RunLoopFor(milliseconds(500));
  EXPECT_EQ(wifi.State(), WIFI_CONNECTION_STATE_ASSOCIATION) << "it takes its time";
  RunLoopFor(milliseconds(1000));
  EXPECT_EQ(wifi.ConnectedBssid(), "AA:BB:CC:DD:EE:01");
  ASSERT_NE(wifi.FindSaved("Home", WIFI_SECURITY_TYPE_WPA2_PSK), nullptr);
  EXPECT_EQ(wifi.FindSaved("Home", WIFI_SECURITY_TYPE_WPA2_PSK)->passphrase, "secret");
  EXPECT_EQ(Parsed(Ask(R"({"do":"wifi","action":"connect","bssid":"AA:BB:CC:DD:EE:01"})"))["error"],
            "the TV is connected to it already");
  wifi.Drop();
  wifi.Forget("Home");
  EXPECT_EQ(Ask(R"({"do":"wifi","action":"connect","bssid":"AA:BB:CC:DD:EE:01","passphrase":"x"})"),
            kDone);
  RunLoopFor(milliseconds(2000));
  EXPECT_EQ(wifi.State(), WIFI_CONNECTION_STATE_DISCONNECTED) << "the passphrase is wrong";
  EXPECT_TRUE(wifi.Saved().empty());

  Ask(AddRadioWith(R"("security":"open")"));
  Ask(R"({"do":"wifi","action":"connect","bssid":"AA:BB:CC:DD:EE:01"})");
  RunLoopFor(milliseconds(2000));
  ASSERT_NE(wifi.FindSaved("Home", WIFI_SECURITY_TYPE_NONE), nullptr) << "an open network is saved, too";
  EXPECT_EQ(wifi.FindSaved("Home", WIFI_SECURITY_TYPE_NONE)->frequency, 2437);
}

TEST_F(TvCommands, OrdersFailuresAndDelaysOfTheNextAnswer) {
  Wifi& wifi = Tv().GetWifi();
  int code = -1;
  for (const auto& [word, request] :
       {std::pair("scan", WifiRequest::kScan), std::pair("channel-scan", WifiRequest::kChannelScan),
        std::pair("name-scan", WifiRequest::kNameScan), std::pair("connect", WifiRequest::kConnect),
        std::pair("disconnect", WifiRequest::kDisconnect), std::pair("portal", WifiRequest::kPortal)}) {
    --code;
    EXPECT_EQ(Ask(std::string(R"({"do":"wifi","action":"fail-next","request":")") + word +
                  R"(","code":)" + std::to_string(code) + "}"),
              kDone);
    EXPECT_EQ(Parsed(Ask(R"({"do":"status"})"))["tv"]["wifi"]["failing-next"][word], code);
    EXPECT_EQ(wifi.Failures().Take(request), code);
    EXPECT_FALSE(Parsed(Ask(R"({"do":"status"})"))["tv"]["wifi"]["failing-next"].isMember(word))
        << "it has failed";
  }

  EXPECT_EQ(Ask(R"({"do":"delay","kind":"connect","ms":5000})"), kDone);
  Ask(AddRadioWith(R"("passphrase":"secret")"));
  for (const char* expected : {"", "AA:BB:CC:DD:EE:01"}) {
    wifi.SeeAll();
    Ask(R"({"do":"wifi","action":"connect","bssid":"AA:BB:CC:DD:EE:01"})");
    RunLoopFor(milliseconds(2000));
    EXPECT_EQ(wifi.ConnectedBssid(), expected) << "the first alone is late";
    RunLoopFor(milliseconds(5000));
    EXPECT_EQ(wifi.ConnectedBssid(), "AA:BB:CC:DD:EE:01");
    wifi.Drop();
  }
}

TEST_F(TvCommands, InstallsPackagesChoosesSpeakersAndSetsAddresses) {
  EXPECT_EQ(Ask(R"({"do":"package","action":"install","id":"org.orvik.browser"})"), kDone);
  EXPECT_EQ(Parsed(Ask(R"({"do":"status"})"))["tv"]["packages"][0], "org.orvik.browser");
  EXPECT_EQ(Ask(R"({"do":"package","action":"remove","id":"org.orvik.browser"})"), kDone);
  EXPECT_TRUE(Tv().GetPackages().List().empty());
  EXPECT_EQ(Ask(R"({"do":"speaker","selection":4})"), kDone);
  EXPECT_EQ(Tv().SpeakerSelection(), 4);
  EXPECT_EQ(Parsed(Ask(R"({"do":"status"})"))["tv"]["speaker"], 4);

  const Internet& internet = Tv().GetInternet();
  const std::string wired = internet.WiredAddresses().ipv4;
  EXPECT_EQ(Ask(R"({"do":"internet","action":"addresses","network":"cable","ipv6":"2001:db8::1"})"),
            kDone);
  EXPECT_EQ(internet.WiredAddresses().ipv6, "2001:db8::1");
  EXPECT_EQ(internet.WiredAddresses().ipv4, wired) << "nobody spoke of it";
  EXPECT_EQ(
      Ask(R"({"do":"internet","action":"addresses","network":"dongle","ipv4":"","ipv6":"fe80::9"})"),
      kDone);
  EXPECT_EQ(internet.CellularAddresses().ipv4, "");
  EXPECT_EQ(internet.CellularAddresses().ipv6, "fe80::9");
  const Json::Value addresses = Parsed(Ask(R"({"do":"status"})"))["tv"]["internet"]["addresses"];
  EXPECT_EQ(addresses["cable"]["ipv6"], "2001:db8::1");
  EXPECT_EQ(addresses["dongle"]["ipv6"], "fe80::9");
}

TEST_F(TvCommands, SavedNetworksHaveAFrequency) {
  EXPECT_EQ(Ask(R"({"do":"wifi","action":"save","essid":"Pub","frequency":5180})"), kDone);
  EXPECT_EQ(Tv().GetWifi().Saved().at(0).frequency, 5180);
  EXPECT_EQ(Parsed(Ask(R"({"do":"status"})"))["tv"]["wifi"]["saved"][0]["frequency"], 5180);
}

TEST_F(TvCommands, TheSettingsApplicationWritesItsCommandsOnSavedNetworks) {
  const auto command = [] {
    char* const text = vconf_get_str(vconf_keys::kCommand);
    std::string owned = text == nullptr ? "" : text;
    std::free(text);
    return owned;
  };
  Tv().GetWifi().Save({.essid = "Office"});
  Tv().GetSettingsApp().Open();
  EXPECT_EQ(Ask(R"({"do":"settings-app","action":"connect","essid":"My \"home\""})"), kDone);
  EXPECT_EQ(command(), R"({"COMMAND":"1","SSID":"My \"home\""})");
  EXPECT_EQ(Ask(R"({"do":"settings-app","action":"forget","essid":"Office"})"), kDone);
  EXPECT_EQ(command(), R"({"COMMAND":"2"})");
  EXPECT_TRUE(Tv().GetWifi().Saved().empty());
  EXPECT_EQ(Ask(R"({"do":"settings-app","action":"reset"})"), kDone);
  EXPECT_EQ(command(), R"({"COMMAND":"3"})");
}

TEST_F(TvCommands, StatusTellsTheWholeModel) {
  Tv().PlugCable();
  Tv().StartTelephony();
  Tv().InsertDongle();
  Tv().SetFeature("product.b2b_option_support", "true");
  Tv().Fail("connection_create", -1, 3);
  Tv().GetWifi().AddRadio({.bssid = "AA:BB:CC:DD:EE:01", .essid = "Home", .passphrase = "top secret"});
  Tv().GetWifi().Join("AA:BB:CC:DD:EE:01");
  Tv().GetSettingsApp().Open();
  Tv().GetInternet().SetHttp(false);
  const Json::Value tv = Parsed(Ask(R"({"do":"status"})"))["tv"];
  EXPECT_EQ(tv["cable"], "plugged");
  EXPECT_EQ(tv["dongle"], "inserted");
  EXPECT_EQ(tv["telephony"], "running");
  EXPECT_EQ(tv["latency"]["cable"], 10);
  EXPECT_EQ(tv["features"]["com.velanor/featureconf/product.b2b_option_support"], "true");
  EXPECT_EQ(tv["failing"]["connection_create"]["code"], -1);
  EXPECT_EQ(tv["failing"]["connection_create"]["times"], 3);
  ASSERT_EQ(tv["radios"].size(), 1U);
  const Json::Value& radio = tv["radios"][0];
  EXPECT_EQ(radio["bssid"], "AA:BB:CC:DD:EE:01");
  EXPECT_EQ(radio["essid"], "Home");
  EXPECT_EQ(radio["hidden"], false);
  EXPECT_EQ(radio["on"], true);
  EXPECT_EQ(radio["frequency"], 2437);
  EXPECT_EQ(radio["security"], "wpa2");
  EXPECT_EQ(radio["rssi"], -50);
  EXPECT_EQ(radio["bandwidth"], 20);
  EXPECT_EQ(radio["mode"], "n");
  EXPECT_EQ(radio["temper"], "accepts");
  EXPECT_EQ(radio["ipv4"], "192.168.0.20");
  EXPECT_EQ(tv["wifi"]["state"], "connected");
  EXPECT_EQ(tv["wifi"]["bssid"], "AA:BB:CC:DD:EE:01");
  EXPECT_EQ(tv["wifi"]["saved"][0]["essid"], "Home");
  EXPECT_EQ(tv["wifi"]["saved"][0]["security"], "wpa2");
  EXPECT_EQ(tv["internet"]["carrier"], "cable");
  EXPECT_EQ(tv["internet"]["gateway"], true);
  EXPECT_EQ(tv["internet"]["http"], false);
  EXPECT_EQ(tv["settings-app"]["open"], true);
  EXPECT_EQ(tv["settings-app"]["answer"], "none");
  EXPECT_EQ(tv["settings-app"]["page-changed"], false);
  EXPECT_EQ(Ask(R"({"do":"status"})").find("secret"), std::string::npos) << "a passphrase is shown";
}

TEST_F(TvCommands, WhatCannotBeDoneIsRefusedAndChangesNothing) {
  const std::string too_deep(2000, '[');
  for (const std::string& request : {
           std::string(""),
           std::string("plug"),
           std::string("{"),
           std::string("[1,2]"),
           std::string("7"),
           std::string("null"),
           std::string("\xff\xfe\x00\x01", 4),
           too_deep,
           std::string(R"({"do":"cable","action":"plug"} trailing)"),
           std::string(R"({"do":7})"),
           std::string(R"({"do":"dance"})"),
           std::string(R"({"do":"cable"})"),
           std::string(R"({"do":"cable","action":"chew"})"),
           std::string(R"({"do":"cable","action":["plug"]})"),
           std::string(R"({"do":"cable","action":"state","state":"2"})"),
           std::string(R"({"do":"cable","action":"state","state":99999999999})"),
           std::string(R"({"do":"dongle","action":"plug"})"),
           std::string(R"({"do":"telephony","action":"restart"})"),
           std::string(R"({"do":"feature","action":"get","name":"a","value":"b"})"),
           std::string(R"({"do":"feature","action":"set","name":"","value":"1"})"),
           std::string(R"({"do":"feature","action":"set","name":"a]b","value":"1"})"),
           std::string(R"({"do":"feature","action":"set","name":"a\nb","value":"1"})"),
           std::string(R"({"do":"feature","action":"set","name":"/a","value":"1"})"),
           std::string(R"({"do":"feature","action":"set","name":"a/","value":"1"})"),
           std::string(R"({"do":"feature","action":"set","name":"a","value":"1\n2"})"),
           std::string(R"({"do":"feature","action":"set","name":"a","value":1})"),
           std::string(R"({"do":"fail","function":"conection_create","code":-1})"),
           std::string(R"({"do":"fail","function":"connection_create"})"),
           std::string(R"({"do":"fail","function":"connection_create","code":-1,"times":0})"),
           std::string(R"({"do":"fail","function":"connection_create","code":-1,"times":-2})"),
           std::string(R"({"do":"stop-failing","function":"nothing"})"),
           std::string(R"({"do":"latency","kind":"smell","ms":1})"),
           std::string(R"({"do":"latency","kind":"cable","ms":-1})"),
           std::string(R"({"do":"latency","kind":"cable","ms":1e9})"),
           std::string(R"({"do":"radio"})"),
           std::string(R"({"do":"radio","action":"chew","bssid":"AA:BB:CC:DD:EE:01"})"),
           std::string(R"({"do":"radio","action":"add","essid":"Home"})"),
           std::string(R"({"do":"radio","action":"add","bssid":"AA:BB:CC:DD:EE:01"})"),
           std::string(R"({"do":"radio","action":"add","bssid":"AA:BB:CC:DD:EE","essid":"Home"})"),
           std::string(R"({"do":"radio","action":"add","bssid":"AA-BB-CC-DD-EE-01","essid":"Home"})"),
           std::string(R"({"do":"radio","action":"add","bssid":"AA:BB:CC:DD:EE:0G","essid":"Home"})"),
           std::string(R"({"do":"radio","action":"add","bssid":"AA:BB:CC:DD:EE:01","essid":""})"),
           AddRadioWith(R"("essid":"123456789012345678901234567890123")"),
           AddRadioWith(R"("hidden":1)"),
           AddRadioWith(R"("on":"yes")"),
           AddRadioWith(R"("frequency":99)"),
           AddRadioWith(R"("frequency":"5180")"),
           AddRadioWith(R"("security":"strong")"),
           AddRadioWith(R"("passphrase":7)"),
           AddRadioWith("\"passphrase\":\"" + std::string(65, 'x') + "\""),
           AddRadioWith(R"("rssi":0)"),
           AddRadioWith(R"("rssi":-121)"),
           AddRadioWith(R"("bandwidth":-1)"),
           AddRadioWith(R"("mode":"z")"),
           AddRadioWith(R"("temper":"sulks")"),
           AddRadioWith(R"("ipv4":"fe80::1")"),
           AddRadioWith(R"("ipv4":"300.1.1.1")"),
           AddRadioWith(R"("ipv6":"10.0.0.1")"),
           std::string(R"({"do":"radio","action":"remove","bssid":"AA:BB:CC:DD:EE:01"})"),
           std::string(R"({"do":"radio","action":"on","bssid":"AA:BB:CC:DD:EE:01"})"),
           std::string(R"({"do":"radio","action":"signal","bssid":"AA:BB:CC:DD:EE:01","rssi":-50})"),
           std::string(R"({"do":"wifi","action":"sing"})"),
           std::string(R"({"do":"wifi","action":"join","bssid":"AA:BB:CC:DD:EE:01"})"),
           std::string(R"({"do":"wifi","action":"join","bssid":"home"})"),
           std::string(R"({"do":"wifi","action":"save","essid":"Home","security":"x"})"),
           std::string(R"({"do":"wifi","action":"forget","essid":"Home"})"),
           std::string(R"({"do":"wifi","action":"snr","snr":500})"),
           std::string(R"({"do":"internet","action":"mend"})"),
           std::string(R"({"do":"internet","action":"set","step":"gateway"})"),
           std::string(R"({"do":"internet","action":"set","step":"phy","works":false})"),
           std::string(R"({"do":"internet","action":"report","step":"HTTP"})"),
           std::string(R"({"do":"internet","action":"lease","seconds":-1})"),
           std::string(R"({"do":"internet","action":"hotspot"})"),
           std::string(R"({"do":"internet","action":"addresses","network":"wifi","ipv4":"10.0.0.1"})"),
           std::string(R"({"do":"internet","action":"addresses","network":"cable","ipv6":"10.0.0.1"})"),
           AddRadioWith(R"("portal":7)"),
           AddRadioWith("\"portal\":\"" + std::string(2049, 'x') + "\""),
           std::string(R"({"do":"radio","action":"portal","bssid":"AA:BB:CC:DD:EE:01","portal":""})"),
           std::string(R"({"do":"wifi","action":"connect","bssid":"AA:BB:CC:DD:EE:01"})"),
           std::string(R"({"do":"wifi","action":"fail-next","request":"dance","code":-1})"),
           std::string(R"({"do":"wifi","action":"fail-next","request":"scan"})"),
           std::string(R"({"do":"wifi","action":"save","essid":"Home","frequency":99})"),
           std::string(R"({"do":"delay","kind":"smell","ms":1})"),
           std::string(R"({"do":"delay","kind":"connect","ms":-1})"),
           std::string(R"({"do":"package","action":"paint","id":"a"})"),
           std::string(R"({"do":"package","action":"install","id":""})"),
           std::string(R"({"do":"package","action":"install","id":"a b"})"),
           std::string(R"({"do":"package","action":"remove","id":"a"})"),
           std::string(R"({"do":"speaker","selection":"loud"})"),
           std::string(R"({"do":"settings-app","action":"connect","essid":"Home"})"),
           std::string(R"({"do":"settings-app","action":"forget","essid":"Home"})"),
           std::string(R"({"do":"settings-app","action":"reset"})"),
           std::string(R"({"do":"player","report":"boredom","value":1})"),
           std::string(R"({"do":"player","report":"buffering","value":"1"})"),
           std::string(R"({"do":"settings-app","action":"dance"})"),
           std::string(R"({"do":"settings-app","action":"ask"})"),
           std::string(R"({"do":"settings-app","action":"stop"})"),
           std::string(R"({"do":"settings-app","action":"press","button":"confirm"})"),
           std::string(R"({"do":"settings-app","action":"press","button":"reset"})"),
           std::string(R"({"do":"settings-app","action":"answer","answer":"maybe"})"),
           std::string(R"({"do":"settings-app","action":"answer","answer":"confirm","ms":-1})"),
       }) {
    const Json::Value answer = Parsed(Ask(request));
    EXPECT_EQ(answer["ok"], false) << request;
    EXPECT_FALSE(answer["error"].asString().empty()) << request;
  }
  EXPECT_FALSE(Tv().GetCable().IsAttached());
  EXPECT_TRUE(Tv().Features().empty());
  EXPECT_TRUE(Tv().Failures().empty());
  EXPECT_TRUE(Tv().GetWifi().Radios().empty());
  EXPECT_TRUE(Tv().GetWifi().Saved().empty());
  EXPECT_EQ(Tv().GetWifi().State(), WIFI_CONNECTION_STATE_DISCONNECTED);
  EXPECT_TRUE(Tv().GetPackages().List().empty());
  EXPECT_EQ(Tv().SpeakerSelection(), 0);
  EXPECT_TRUE(Tv().GetInternet().IsGatewayWorking());
  EXPECT_EQ(Tv().GetSettingsApp().CurrentAnswer(), SettingsApp::Answer::kNone);
}

TEST_F(TvCommands, ARefusalNeverRepeatsAPassphrase) {
  for (const std::string& request :
       {AddRadioWith(R"("passphrase":"top secret","temper":"sulks")"),
        AddRadioWith("\"passphrase\":\"top secret" + std::string(65, 'x') + "\""),
        std::string(R"({"do":"wifi","action":"save","essid":"","passphrase":"top secret"})"),
        std::string(R"({"do":"wifi","action":"save","passphrase":"top secret",})")}) {
    const std::string answer = Ask(request);
    EXPECT_EQ(Parsed(answer)["ok"], false) << answer;
    EXPECT_EQ(answer.find("secret"), std::string::npos) << answer;
  }
}

}  // namespace

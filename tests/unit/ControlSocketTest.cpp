#include "ControlSocket.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <json/json.h>
#include <malloc.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "MainLoop.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "net_connection.h"
#include "platform.h"
#include "vconf.h"
#include "vconf_keys.h"

using std::chrono::milliseconds;

namespace {

constexpr char kPath[] = "/run/pelorus/tv.sock";

/// Somebody at the other end, who neither blocks nor runs the loop by himself.
class Client {
 public:
  explicit Client(const char* path = kPath) : m_fd(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path);
    m_is_connected = connect(m_fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  }
  ~Client() { Vanish(); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  [[nodiscard]] bool IsConnected() const { return m_is_connected; }

  /// @return how many bytes were taken
  std::size_t Send(std::string_view text) const {
    const ssize_t sent = send(m_fd, text.data(), text.size(), MSG_NOSIGNAL);
    return sent < 0 ? 0 : static_cast<std::size_t>(sent);
  }

  void SendAll(std::string_view text) {
    RunLoopUntil([&] {
      text.remove_prefix(Send(text));
      return text.empty() || HasEnded();
    });
  }

  std::string Receive() {
    RunLoopUntil([this] { return TakeIn() || m_received.find('\n') != std::string::npos; });
    const std::size_t end = m_received.find('\n');
    std::string line = m_received.substr(0, end);
    m_received.erase(0, end == std::string::npos ? end : end + 1);
    return line;
  }

  std::string Ask(const std::string& request) {
    SendAll(request + "\n");
    return Receive();
  }

  /// Takes in what is there. @return whether the other end has closed
  bool HasEnded() { return TakeIn(); }

  void Vanish() {
    if (m_fd >= 0) {
      close(m_fd);
      m_fd = -1;
    }
  }

 private:
  bool TakeIn() {
    char chunk[65536];
    for (;;) {
      const ssize_t length = recv(m_fd, chunk, sizeof chunk, 0);
      if (length <= 0) {
        return length == 0 || errno != EAGAIN;
      }
      m_received.append(chunk, static_cast<std::size_t>(length));
    }
  }

  int m_fd;
  bool m_is_connected = false;
  std::string m_received;
};

VirtualTv& Tv() {
  return VirtualTv::Instance();
}

Json::Value Parsed(const std::string& text) {
  Json::Value value;
  std::string error;
  Json::CharReaderBuilder builder;
  std::istringstream stream(text);
  EXPECT_TRUE(Json::parseFromStream(builder, stream, &value, &error)) << text << "\n" << error;
  return value;
}

/// A request to put up a radio of which one thing is said in JSON.
std::string AddRadioWith(const std::string& member) {
  return R"({"do":"radio","action":"add","bssid":"AA:BB:CC:DD:EE:01",)" +
         std::string(member.starts_with(R"("essid")") ? "" : R"("essid":"Home",)") + member + "}";
}

class ControlSocketTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(platform_start(), 0); }
  void TearDown() override { platform_stop(); }
};

TEST_F(ControlSocketTest, CarriesOutEachCommand) {
  Client client;
  const char* const kDone = R"({"ok":true})";
  EXPECT_EQ(client.Ask(R"({"do":"cable","action":"plug"})"), kDone);
  EXPECT_TRUE(Tv().GetCable().IsAttached());
  EXPECT_EQ(client.Ask(R"({"do":"cable","action":"unplug"})"), kDone);
  EXPECT_FALSE(Tv().GetCable().IsAttached());
  EXPECT_EQ(client.Ask(R"({"do":"dongle","action":"insert"})"), kDone);
  EXPECT_TRUE(Tv().GetTelephony().HasDongle());
  EXPECT_EQ(client.Ask(R"({"do":"dongle","action":"remove"})"), kDone);
  EXPECT_FALSE(Tv().GetTelephony().HasDongle());
  EXPECT_EQ(client.Ask(R"({"do":"telephony","action":"start"})"), kDone);
  EXPECT_TRUE(Tv().GetTelephony().IsRunning());
  EXPECT_EQ(client.Ask(R"({"do":"telephony","action":"stop"})"), kDone);
  EXPECT_FALSE(Tv().GetTelephony().IsRunning());
  EXPECT_EQ(client.Ask(R"({"do":"latency","kind":"cable","ms":70})"), kDone);
  EXPECT_EQ(Tv().LatencyMs(VirtualTv::EventKind::kCable), 70U);
  EXPECT_EQ(client.Ask(R"({"do":"latency","kind":"dongle","ms":80})"), kDone);
  EXPECT_EQ(Tv().LatencyMs(VirtualTv::EventKind::kDongle), 80U);
  EXPECT_EQ(client.Ask(R"({"do":"fail","function":"tel_init","code":-3,"times":2})"), kDone);
  EXPECT_EQ(Tv().Failures().at("tel_init").times, 2);
  EXPECT_EQ(client.Ask(R"({"do":"fail","function":"tel_init","code":-3})"), kDone);
  EXPECT_EQ(Tv().Failures().at("tel_init").times, VirtualTv::kForGood);
  EXPECT_EQ(client.Ask(R"({"do":"stop-failing","function":"tel_init"})"), kDone);
  EXPECT_TRUE(Tv().Failures().empty());
  EXPECT_EQ(
      client.Ask(R"({"do":"feature","action":"set","name":"network.network_support","value":"2"})"),
      kDone);
  EXPECT_EQ(Tv().Features().at("com.velanor/featureconf/network.network_support"), "2");
}

TEST_F(ControlSocketTest, PutsUpRadiosAndChangesThem) {
  Client client;
  const char* const kDone = R"({"ok":true})";
  EXPECT_EQ(client.Ask(R"({"do":"radio","action":"add","bssid":"aa:bb:cc:dd:ee:01","essid":"Home",)"
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

  EXPECT_EQ(client.Ask(R"({"do":"radio","action":"on","bssid":"AA:BB:CC:DD:EE:01"})"), kDone);
  EXPECT_TRUE(radio->is_on);
  EXPECT_EQ(client.Ask(R"({"do":"radio","action":"off","bssid":"AA:BB:CC:DD:EE:01"})"), kDone);
  EXPECT_FALSE(radio->is_on);
  EXPECT_EQ(client.Ask(R"({"do":"radio","action":"signal","bssid":"AA:BB:CC:DD:EE:01","rssi":-80})"),
            kDone);
  EXPECT_EQ(radio->rssi, -80);
  EXPECT_EQ(
      client.Ask(
          R"({"do":"radio","action":"temper","bssid":"AA:BB:CC:DD:EE:01","temper":"answers-twice"})"),
      kDone);
  EXPECT_EQ(radio->temper, Radio::Temper::kAnswersTwice);
  EXPECT_EQ(client.Ask(R"({"do":"radio","action":"add","bssid":"AA:BB:CC:DD:EE:01","essid":"New"})"),
            kDone);
  ASSERT_EQ(Tv().GetWifi().Radios().size(), 1U) << "one address, one radio";
  EXPECT_EQ(Tv().GetWifi().Radios()[0].essid, "New");
  EXPECT_EQ(Tv().GetWifi().Radios()[0].temper, Radio::Temper::kAccepts);
  EXPECT_EQ(client.Ask(R"({"do":"radio","action":"remove","bssid":"AA:BB:CC:DD:EE:01"})"), kDone);
  EXPECT_TRUE(Tv().GetWifi().Radios().empty());
}

TEST_F(ControlSocketTest, OperatesTheWifi) {
  Wifi& wifi = Tv().GetWifi();
  Client client;
  const char* const kDone = R"({"ok":true})";
  client.Ask(R"({"do":"radio","action":"add","bssid":"AA:BB:CC:DD:EE:01","essid":"Home"})");
  EXPECT_EQ(client.Ask(R"({"do":"wifi","action":"see-all"})"), kDone);
  EXPECT_EQ(wifi.Known().size(), 1U);
  EXPECT_EQ(client.Ask(R"({"do":"wifi","action":"join","bssid":"aa:bb:cc:dd:ee:01"})"), kDone);
  EXPECT_EQ(wifi.ConnectedBssid(), "AA:BB:CC:DD:EE:01");
  EXPECT_EQ(client.Ask(R"({"do":"wifi","action":"drop"})"), kDone);
  EXPECT_EQ(wifi.State(), WIFI_CONNECTION_STATE_DISCONNECTED);
  EXPECT_EQ(client.Ask(
                R"({"do":"wifi","action":"save","essid":"Pub","security":"wpa","passphrase":"secret"})"),
            kDone);
  ASSERT_NE(wifi.FindSaved("Pub", WIFI_SECURITY_TYPE_WPA_PSK), nullptr);
  EXPECT_EQ(wifi.FindSaved("Pub", WIFI_SECURITY_TYPE_WPA_PSK)->passphrase, "secret");
  EXPECT_EQ(client.Ask(R"({"do":"wifi","action":"forget","essid":"Pub"})"), kDone);
  EXPECT_EQ(wifi.FindSaved("Pub", WIFI_SECURITY_TYPE_WPA_PSK), nullptr);
  EXPECT_EQ(client.Ask(R"({"do":"wifi","action":"snr","snr":-3})"), kDone);
  EXPECT_EQ(wifi.Snr(), -3);
  for (const char* kind : {"scan", "look", "connect", "address", "disconnect", "report"}) {
    EXPECT_EQ(client.Ask(std::string(R"({"do":"latency","ms":77,"kind":")") + kind + "\"}"), kDone);
  }
  const Json::Value latency = Parsed(client.Ask(R"({"do":"status"})"))["tv"]["latency"];
  EXPECT_EQ(std::ranges::count(latency, Json::Value(77)), 6);
}

TEST_F(ControlSocketTest, ChangesWhatIsBehindTheNetwork) {
  const Internet& internet = Tv().GetInternet();
  Client client;
  const char* const kDone = R"({"ok":true})";
  const auto health = [&] {
    return std::vector<bool>{internet.IsGatewayWorking(), internet.IsDnsWorking(),
                             internet.IsHttpWorking()};
  };
  EXPECT_EQ(client.Ask(R"({"do":"internet","action":"set","step":"gateway","works":false})"), kDone);
  EXPECT_EQ(health(), (std::vector<bool>{false, true, true}));
  EXPECT_EQ(client.Ask(R"({"do":"internet","action":"set","step":"dns","works":false})"), kDone);
  EXPECT_EQ(client.Ask(R"({"do":"internet","action":"set","step":"gateway","works":true})"), kDone);
  EXPECT_EQ(health(), (std::vector<bool>{true, false, true}));
  EXPECT_EQ(client.Ask(R"({"do":"internet","action":"set","step":"http","works":false})"), kDone);
  EXPECT_EQ(health(), (std::vector<bool>{true, false, false}));
  EXPECT_EQ(client.Ask(R"({"do":"internet","action":"hotspot","status":1})"), kDone);
  EXPECT_EQ(internet.Hotspot(), 1);
  EXPECT_EQ(client.Ask(R"({"do":"internet","action":"lease","seconds":60})"), kDone);
  EXPECT_EQ(internet.LeaseSeconds(), 60);
}

TEST_F(ControlSocketTest, SendsAnyReportAboutTheInternet) {
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
  Client client;
  client.Ask(R"({"do":"internet","action":"report","step":"ELSEWHERE","result":-7})");
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(reports, (std::vector<Report>{{-7, "ELSEWHERE"}}));
}

TEST_F(ControlSocketTest, PlaysThePlayerAndTheSettingsApplication) {
  Client client;
  const char* const kDone = R"({"ok":true})";
  const std::pair<const char*, const char*> reports[] = {
      {"buffering", vconf_keys::kStreamingBuffer}, {"lowres", vconf_keys::kStreamingLowRes},
      {"interference", vconf_keys::kNetInterfer},  {"rssi", vconf_keys::kNetRssi},
      {"linkspeed", vconf_keys::kNetLinkSpeed},
  };
  int value = 10;
  for (const auto& [report, key] : reports) {
    ++value;
    EXPECT_EQ(client.Ask(std::string(R"({"do":"player","report":")") + report + R"(","value":)" +
                         std::to_string(value) + "}"),
              kDone);
    int written = 0;
    EXPECT_EQ(vconf_get_int(key, &written), VCONF_OK) << report;
    EXPECT_EQ(written, value) << report;
  }

  const SettingsApp& app = Tv().GetSettingsApp();
  EXPECT_EQ(client.Ask(R"({"do":"settings-app","action":"open"})"), kDone);
  EXPECT_TRUE(app.IsOpen());
  EXPECT_EQ(client.Ask(R"({"do":"settings-app","action":"answer","answer":"decline","ms":70})"), kDone);
  EXPECT_EQ(app.CurrentAnswer(), SettingsApp::Answer::kDecline);
  EXPECT_EQ(app.DelayMs(), 70U);
  EXPECT_EQ(client.Ask(R"({"do":"settings-app","action":"answer","answer":"none"})"), kDone);
  EXPECT_EQ(client.Ask(R"({"do":"settings-app","action":"ask"})"), kDone);
  vconf_set_str(vconf_keys::kLaunchNS, "SHOWPOPUP");
  RunLoopFor(milliseconds(1));
  EXPECT_EQ(client.Ask(R"({"do":"settings-app","action":"press","button":"confirm"})"), kDone);
  EXPECT_FALSE(app.HasQuestion());
  EXPECT_EQ(client.Ask(R"({"do":"settings-app","action":"stop"})"), kDone);
  EXPECT_EQ(client.Ask(R"({"do":"settings-app","action":"close"})"), kDone);
  EXPECT_FALSE(app.IsOpen());
}

void RecordState(connection_ethernet_cable_state_e state, void* states) {
  static_cast<std::vector<int>*>(states)->push_back(state);
}

TEST_F(ControlSocketTest, SendsACableStateThatNoCableHas) {
  std::vector<int> states;
  connection_h connection = nullptr;
  connection_create(&connection);
  connection_set_ethernet_cable_state_chaged_cb(connection, RecordState, &states);
  Client client;
  client.Ask(R"({"do":"cable","action":"state","state":2})");
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(states, std::vector<int>{2});
}

TEST_F(ControlSocketTest, StatusTellsTheWholeModel) {
  Tv().PlugCable();
  Tv().StartTelephony();
  Tv().InsertDongle();
  Tv().SetFeature("product.b2b_option_support", "true");
  Tv().Fail("connection_create", -1, 3);
  Tv().GetWifi().AddRadio({.bssid = "AA:BB:CC:DD:EE:01", .essid = "Home", .passphrase = "top secret"});
  Tv().GetWifi().Join("AA:BB:CC:DD:EE:01");
  Tv().GetSettingsApp().Open();
  Tv().GetInternet().SetHttp(false);
  Client client;
  const Json::Value tv = Parsed(client.Ask(R"({"do":"status"})"))["tv"];
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
  EXPECT_EQ(client.Ask(R"({"do":"status"})").find("secret"), std::string::npos)
      << "a passphrase is shown";
}

TEST_F(ControlSocketTest, CallsAreListedWholeByFunctionAndCleared) {
  Tv().ClearCalls();
  tel_init("first");
  connection_h connection = nullptr;
  connection_create(&connection);
  Client client;
  const Json::Value all = Parsed(client.Ask(R"({"do":"calls"})"))["calls"];
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0]["function"], "tel_init");
  EXPECT_EQ(all[0]["arguments"][0], "first");
  EXPECT_EQ(Parsed(client.Ask(R"({"do":"calls","function":"connection_create"})"))["calls"].size(), 1U);
  client.Ask(R"({"do":"clear-calls"})");
  EXPECT_TRUE(Tv().Calls().empty());
}

TEST_F(ControlSocketTest, WhatCannotBeDoneIsRefusedAndChangesNothing) {
  Client client;
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
    const Json::Value answer = Parsed(client.Ask(request));
    EXPECT_EQ(answer["ok"], false) << request;
    EXPECT_FALSE(answer["error"].asString().empty()) << request;
  }
  EXPECT_FALSE(Tv().GetCable().IsAttached());
  EXPECT_TRUE(Tv().Features().empty());
  EXPECT_TRUE(Tv().Failures().empty());
  EXPECT_TRUE(Tv().GetWifi().Radios().empty());
  EXPECT_TRUE(Tv().GetWifi().Saved().empty());
  EXPECT_EQ(Tv().GetWifi().State(), WIFI_CONNECTION_STATE_DISCONNECTED);
  EXPECT_TRUE(Tv().GetInternet().IsGatewayWorking());
  EXPECT_EQ(Tv().GetSettingsApp().CurrentAnswer(), SettingsApp::Answer::kNone);
}

TEST_F(ControlSocketTest, ARefusalNeverRepeatsAPassphrase) {
  Client client;
  for (const std::string& request :
       {AddRadioWith(R"("passphrase":"top secret","temper":"sulks")"),
        AddRadioWith("\"passphrase\":\"top secret" + std::string(65, 'x') + "\""),
        std::string(R"({"do":"wifi","action":"save","essid":"","passphrase":"top secret"})"),
        std::string(R"({"do":"wifi","action":"save","passphrase":"top secret",})")}) {
    const std::string answer = client.Ask(request);
    EXPECT_EQ(Parsed(answer)["ok"], false) << answer;
    EXPECT_EQ(answer.find("secret"), std::string::npos) << answer;
  }
}

TEST_F(ControlSocketTest, ALineOfTheGreatestLengthIsAnsweredAndALongerOneDropsTheClient) {
  const std::string request = R"({"do":"cable","action":"plug"})";
  Client good;
  const std::string padded = request + std::string(ControlSocket::kLongestLine - request.size(), ' ');
  EXPECT_EQ(Parsed(good.Ask(padded))["ok"], true);

  for (const std::string& ending : {std::string("\n"), std::string(100'000, 'x')}) {
    Client bad;
    bad.SendAll(padded + " " + ending);
    EXPECT_EQ(Parsed(bad.Receive())["error"], "the line is too long");
    RunLoopUntil([&] { return bad.HasEnded(); });
  }
  EXPECT_EQ(Parsed(good.Ask(request))["ok"], true);
}

TEST_F(ControlSocketTest, ManyRequestsInOnePieceAndOneRequestInManyPieces) {
  Client client;
  client.SendAll("{\"do\":\"cable\",\"action\":\"plug\"}\n{\"do\":\"nonsense\"}\n{\"do\":\"status\"}\n");
  EXPECT_EQ(Parsed(client.Receive())["ok"], true);
  EXPECT_EQ(Parsed(client.Receive())["ok"], false);
  EXPECT_EQ(Parsed(client.Receive())["tv"]["cable"], "plugged");
  for (const char c : std::string("{\"do\":\"cable\",\"action\":\"unplug\"}\n")) {
    client.Send({&c, 1});
    RunLoopOnce();
  }
  EXPECT_EQ(Parsed(client.Receive())["ok"], true);
  EXPECT_FALSE(Tv().GetCable().IsAttached());
}

TEST_F(ControlSocketTest, SeveralClientsAreServedAtATime) {
  Client first;
  Client second;
  first.Send(R"({"do":"cable",)");
  EXPECT_EQ(Parsed(second.Ask(R"({"do":"dongle","action":"insert"})"))["ok"], true);
  EXPECT_EQ(Parsed(first.Ask(R"("action":"plug"})"))["ok"], true);
  EXPECT_TRUE(Tv().GetCable().IsAttached());
}

TEST_F(ControlSocketTest, MoreClientsThanThereIsRoomForAreTurnedAway) {
  std::vector<std::unique_ptr<Client>> clients;
  for (std::size_t i = 0; i < ControlSocket::kMostClients; ++i) {
    clients.push_back(std::make_unique<Client>());
    ASSERT_EQ(Parsed(clients.back()->Ask(R"({"do":"status"})"))["ok"], true);
  }
  Client one_more;
  RunLoopUntil([&] { return one_more.HasEnded(); });
  clients.front()->Vanish();
  RunLoopOnce();
  Client next;
  EXPECT_EQ(Parsed(next.Ask(R"({"do":"status"})"))["ok"], true);
}

TEST_F(ControlSocketTest, ClientsThatVanishLeaveTheOthersAlone) {
  Client stays;
  Client in_the_middle;
  in_the_middle.Send(R"({"do":"cable","action":"plug"})");  // no end of line
  RunLoopOnce();
  in_the_middle.Vanish();
  Client without_waiting;
  without_waiting.Send("{\"do\":\"calls\"}\n{\"do\":\"calls\"}\n");
  without_waiting.Vanish();
  EXPECT_EQ(Parsed(stays.Ask(R"({"do":"status"})"))["tv"]["cable"], "unplugged");
}

/// On the heap; under a sanitizer, which keeps a heap of its own, always 0.
std::size_t MemoryInUse() {
  const auto info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

TEST_F(ControlSocketTest, AClientThatDoesNotListenIsHeldBackAndHoldsUpNobody) {
  Tv().ClearCalls();
  for (int i = 0; i < 2000; ++i) {
    tel_init("a subscriber whose name makes the list of calls a long one to send");
  }
  Client deaf;
  std::string requests;
  for (int i = 0; i < 100; ++i) {
    requests += "{\"do\":\"calls\"}\n";
  }
  constexpr std::size_t kFarMoreThanAnyBuffer = std::size_t{64} * 1024 * 1024;
  constexpr std::size_t kSomeAnswers = std::size_t{8} * 1024 * 1024;
  const std::size_t memory_before = MemoryInUse();
  std::size_t taken = 0;
  for (int idle_rounds = 0; idle_rounds < 50 && taken < kFarMoreThanAnyBuffer;) {
    const std::size_t sent = deaf.Send(requests);
    taken += sent;
    idle_rounds = sent == 0 ? idle_rounds + 1 : 0;
    RunLoopOnce();
  }
  EXPECT_LT(taken, kFarMoreThanAnyBuffer) << "its requests are taken in without end";
  EXPECT_LT(MemoryInUse(), memory_before + kSomeAnswers) << "its answers pile up";
  Client other;
  EXPECT_EQ(Parsed(other.Ask(R"({"do":"cable","action":"plug"})"))["ok"], true);
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(Parsed(deaf.Receive())["calls"].size(), 2000U);
  }
}

TEST_F(ControlSocketTest, OnlyItsOwnerMayComeIn) {
  struct stat found {};
  ASSERT_EQ(stat(kPath, &found), 0);
  EXPECT_EQ(found.st_mode & 0777, 0600U);
}

TEST_F(ControlSocketTest, StopDropsTheClientsAndTakesTheSocketAway) {
  Client client;
  EXPECT_EQ(Parsed(client.Ask(R"({"do":"status"})"))["ok"], true);
  platform_stop();
  EXPECT_TRUE(client.HasEnded());
  EXPECT_FALSE(std::filesystem::exists(kPath));
}

TEST(ControlSocketPath, StaleSocketIsReplaced) {
  std::filesystem::create_directories("/run/pelorus");
  const int left_behind = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::snprintf(address.sun_path, sizeof address.sun_path, "%s", kPath);
  ASSERT_EQ(bind(left_behind, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  close(left_behind);
  ASSERT_TRUE(std::filesystem::exists(kPath));
  ASSERT_EQ(platform_start(), 0);
  Client client;
  EXPECT_EQ(Parsed(client.Ask(R"({"do":"status"})"))["ok"], true);
  platform_stop();
}

TEST(ControlSocketPath, AnotherLivingTvIsLeftAlone) {
  ASSERT_EQ(platform_start(), 0);
  std::string error;
  EXPECT_EQ(ControlSocket::Open(Tv(), kPath, error), nullptr);
  EXPECT_NE(error.find("another TV answers there"), std::string::npos) << error;
  Client client;
  EXPECT_EQ(Parsed(client.Ask(R"({"do":"status"})"))["ok"], true);
  platform_stop();
}

TEST(ControlSocketPath, AFileThatIsNoSocketIsLeftAloneAndTheTvRunsWithoutADoor) {
  std::filesystem::create_directories("/run/pelorus");
  std::ofstream(kPath) << "precious";
  EXPECT_LT(platform_start(), 0);
  EXPECT_TRUE(
      test_log::Has("this TV cannot be driven from outside: /run/pelorus/tv.sock is there and is "
                    "no socket"));
  std::string content;
  std::ifstream(kPath) >> content;
  EXPECT_EQ(content, "precious");
  platform_stop();
  EXPECT_TRUE(std::filesystem::exists(kPath));
}

TEST(ControlSocketPath, IsTakenFromTheEnvironment) {
  setenv(ControlSocket::kPathVariable, "/run/elsewhere/deep/tv", 1);
  ASSERT_EQ(platform_start(), 0);
  EXPECT_TRUE(Client("/run/elsewhere/deep/tv").IsConnected());
  platform_stop();
}

TEST(ControlSocketPath, OneThatIsTooLongIsRefused) {
  setenv(ControlSocket::kPathVariable, ("/run/" + std::string(200, 'x')).c_str(), 1);
  EXPECT_LT(platform_start(), 0);
  EXPECT_TRUE(
      test_log::Has("this TV cannot be driven from outside: a socket's path has 1 to 106 bytes"));
}

}  // namespace

#include <chrono>

#include <sys/stat.h>

#include "MainLoop.h"
#include "PelorusctlTvFixture.h"

namespace {

TEST_F(PelorusctlTv, WithoutATvEndsWithThree) {
  for (const Arguments& arguments :
       {Arguments{"tv", "status"}, Arguments{"tv", "cable", "plug"}, Arguments{"tv", "calls"}}) {
    const Result result = Ctl(arguments);
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(Contains(result.err, "no TV answers at /run/pelorus/tv.sock")) << result.err;
  }
  EXPECT_EQ(Play("at 1s cable plug\n").code, 3);
}

TEST_F(PelorusctlTv, TheSocketIsTakenFromTheEnvironment) {
  setenv("PELORUS_TV_SOCKET", "/run/nobody", 1);
  EXPECT_TRUE(Contains(Ctl({"tv", "status"}).err, "/run/nobody"));
}

TEST_F(PelorusctlTv, ASocketThatIsFoundAnswers) {
  for (int i = 0; i < 10; ++i) {
    SwitchOn();
    EXPECT_EQ(Ctl({"tv", "status"}).code, 0);
    SwitchOff();
    EXPECT_EQ(Ctl({"tv", "status"}).code, 3) << "what a killed TV leaves behind answers";
    std::filesystem::remove(kSocket);
  }
}

TEST_F(PelorusctlTv, EachCommandReachesTheTv) {
  SwitchOn();
  for (const Arguments& arguments :
       {Arguments{"tv", "cable", "plug"}, Arguments{"tv", "dongle", "insert"},
        Arguments{"tv", "telephony", "start"}, Arguments{"tv", "latency", "cable", "70ms"},
        Arguments{"tv", "feature", "set", "network.network_support", "3"},
        Arguments{"tv", "fail", "connection_create", "-1", "--times", "2"},
        Arguments{"tv", "fail", "tel_init", "-3"}}) {
    const Result result = Ctl(arguments);
    EXPECT_EQ(result.code, 0) << arguments[1] << ": " << result.err;
    EXPECT_EQ(result.out + result.err, "") << arguments[1];
  }
  const Result status = Ctl({"tv", "status"});
  EXPECT_EQ(status.out,
            "cable         plugged\n"
            "dongle        inserted\n"
            "telephony     running\n"
            "wifi          disconnected\n"
            "internet      through cable, gateway on, dns on, http on, hotspot 0, lease 86400 s\n"
            "addresses     cable 192.168.0.10\n"
            "addresses     dongle 10.64.12.5\n"
            "settings-app  closed, questions stay\n"
            "capture       not running, files of 4096 bytes\n"
            "speaker       0\n"
            "latency       address 300 ms\n"
            "latency       cable 70 ms\n"
            "latency       channel-scan 100 ms\n"
            "latency       connect 700 ms\n"
            "latency       disconnect 100 ms\n"
            "latency       dongle 10 ms\n"
            "latency       look 100 ms\n"
            "latency       portal 300 ms\n"
            "latency       profile 200 ms\n"
            "latency       report 10 ms\n"
            "latency       scan 2000 ms\n"
            "latency       stick 10 ms\n"
            "latency       wifi-state 10 ms\n"
            "feature       com.velanor/featureconf/network.network_support = 3\n"
            "failing       connection_create with -1, 2 more times\n"
            "failing       tel_init with -3, for good\n");
  EXPECT_TRUE(Contains(Ctl({"tv", "status", "--json"}).out, "\"cable\" : \"plugged\""));

  for (const Arguments& arguments :
       {Arguments{"tv", "cable", "unplug"}, Arguments{"tv", "dongle", "remove"},
        Arguments{"tv", "telephony", "stop"}, Arguments{"tv", "heal", "tel_init"},
        Arguments{"tv", "heal", "connection_create"}}) {
    EXPECT_EQ(Ctl(arguments).code, 0) << arguments[1];
  }
  EXPECT_TRUE(Contains(Ctl({"tv", "status"}).out,
                       "cable         unplugged\ndongle        removed\ntelephony     stopped\n"));
  EXPECT_FALSE(Contains(Ctl({"tv", "status"}).out, "failing"));
}

TEST_F(PelorusctlTv, RadiosWifiInternetPlayerAndSettingsApplicationAreReached) {
  SwitchOn();
  for (const Arguments& arguments :
       {Arguments{"tv", "radio", "add", "AA:BB:CC:DD:EE:01", "My home", "passphrase=top secret"},
        Arguments{"tv", "radio", "add", "aa:bb:cc:dd:ee:02", "My home", "passphrase=top secret",
                  "frequency=5180", "bandwidth=80", "mode=ac", "rssi=-63", "hidden"},
        Arguments{"tv", "radio", "add", "AA:BB:CC:DD:EE:09", "Gone", "security=open"},
        Arguments{"tv", "radio", "remove", "AA:BB:CC:DD:EE:09"},
        Arguments{"tv", "radio", "off", "AA:BB:CC:DD:EE:02"},
        Arguments{"tv", "radio", "signal", "AA:BB:CC:DD:EE:02", "-71"},
        Arguments{"tv", "radio", "temper", "AA:BB:CC:DD:EE:02", "refuses"},
        Arguments{"tv", "radio", "portal", "AA:BB:CC:DD:EE:02", "http://portal/"},
        Arguments{"tv", "wifi", "see-all"},
        Arguments{"tv", "wifi", "join", "AA:BB:CC:DD:EE:01"},
        Arguments{"tv", "wifi", "save", "Pub", "security=open", "frequency=2412"},
        Arguments{"tv", "wifi", "fail-next", "portal", "-5"},
        Arguments{"tv", "delay", "portal", "1s"},
        Arguments{"tv", "package", "install", "org.orvik.browser"},
        Arguments{"tv", "package", "install", "gone"},
        Arguments{"tv", "package", "remove", "gone"},
        Arguments{"tv", "stick", "insert"},
        Arguments{"tv", "stick", "insert", "Blue one", "broken"},
        Arguments{"tv", "stick", "insert", "gone"},
        Arguments{"tv", "stick", "unmount"},
        Arguments{"tv", "stick", "remove", "gone"},
        Arguments{"tv", "capture", "size", "1048577"},
        Arguments{"tv", "speaker", "4"},
        Arguments{"tv", "internet", "addresses", "dongle", "ipv4=", "ipv6="},
        Arguments{"tv", "wifi", "save", "Inn", "passphrase=top secret"},
        Arguments{"tv", "wifi", "forget", "Inn"},
        Arguments{"tv", "wifi", "snr", "-3"},
        Arguments{"tv", "internet", "dns", "off"},
        Arguments{"tv", "internet", "lease", "60"},
        Arguments{"tv", "internet", "report", "HTTP", "-1"},
        Arguments{"tv", "player", "interference", "-7"},
        Arguments{"tv", "settings-app", "open"},
        Arguments{"tv", "settings-app", "answer", "decline", "2s"}}) {
    const Result result = Ctl(arguments);
    EXPECT_EQ(result.code, 0) << arguments[1] << " " << arguments[2] << ": " << result.err;
    EXPECT_EQ(result.out + result.err, "") << arguments[1] << " " << arguments[2];
  }
  const std::string status = Ctl({"tv", "status"}).out;
  EXPECT_TRUE(Contains(
      status,
      "wifi          connected to AA:BB:CC:DD:EE:01\n"
      "saved         \"My home\" wpa2, 2437 MHz\n"
      "saved         \"Pub\" open, 2412 MHz\n"
      "radio         AA:BB:CC:DD:EE:01 \"My home\" wpa2, 2437 MHz, 20 MHz wide, 802.11n, -50 dBm, "
      "accepts\n"
      "radio         AA:BB:CC:DD:EE:02 \"My home\" wpa2, 5180 MHz, 80 MHz wide, 802.11ac, -71 dBm, "
      "refuses, hidden, off, portal http://portal/\n"
      "internet      through wifi, gateway on, dns off, http on, hotspot 0, lease 60 s\n"
      "addresses     cable 192.168.0.10\n"
      "addresses     dongle none\n"
      "settings-app  open, questions: decline after 2000 ms\n"
      "package       org.orvik.browser\n"
      "stick         \"Stick\", not mounted\n"
      "stick         \"Blue one\", not mounted, broken\n"
      "capture       not running, files of 1048577 bytes\n"
      "speaker       4\n"))
      << status;
  EXPECT_TRUE(Contains(status, "failing-next  portal with -5\n")) << status;
  EXPECT_FALSE(Contains(status + Ctl({"tv", "status", "--json"}).out, "secret"));
  EXPECT_EQ(Ctl({"get", "memory/sp-kpi/net_interfer"}).out, "-7\n");
}

TEST_F(PelorusctlTv, SavedNetworksAreConnectedToForgottenAndResetByTheDaemon) {
  SwitchOn();
  Ctl({"tv", "radio", "add", "AA:BB:CC:DD:EE:01", "Home", "passphrase=top secret"});
  Ctl({"tv", "radio", "add", "AA:BB:CC:DD:EE:02", "Cellar", "security=open", "frequency=5180"});
  Ctl({"tv", "latency", "connect", "10ms"});
  for (const char* bssid : {"AA:BB:CC:DD:EE:01", "AA:BB:CC:DD:EE:02"}) {
    EXPECT_EQ(Ctl({"tv", "wifi", "connect", bssid}).code, 0);
    RunLoopUntil([&] {
      return Contains(Ctl({"tv", "status"}).out, std::string("connected to ") + bssid);
    });
  }
  RunLoopUntil([] { return Contains(Ctl({"status"}).out, "access point      \"Cellar\""); });
  EXPECT_TRUE(Contains(Ctl({"status"}).out, "band              5 GHz ")) << Ctl({"status"}).out;

  const Result connected = Ctl({"saved", "connect", "Home"});
  EXPECT_EQ(connected.out, "connected to \"Home\"\n") << connected.err;
  EXPECT_TRUE(Contains(Ctl({"tv", "status"}).out, "connected to AA:BB:CC:DD:EE:01"));
  Ctl({"tv", "radio", "off", "AA:BB:CC:DD:EE:02"});
  const Result refused = Ctl({"saved", "connect", "Cellar"});
  EXPECT_EQ(refused.err, "pelorusctl: could not connect to \"Cellar\"\n");
  EXPECT_EQ(refused.code, 1);

  EXPECT_TRUE(Contains(Ctl({"saved", "forget", "Cellar", "--wait", "1"}).err, "still saved in the TV"));
  EXPECT_EQ(Ctl({"tv", "wifi", "forget", "Cellar"}).code, 0);
  EXPECT_EQ(Ctl({"saved", "forget", "Cellar"}).code, 0);
  EXPECT_FALSE(Contains(Ctl({"saved", "list"}).out, "Cellar"));
  EXPECT_TRUE(Contains(Ctl({"saved", "list"}).out, "\"Home\""));
  EXPECT_EQ(Ctl({"saved", "reset"}).code, 0);
  EXPECT_EQ(Ctl({"saved", "list"}).out, "no saved networks\n");
}

TEST_F(PelorusctlTv, CallsAreShownAllOrOfOneFunction) {
  SwitchOn();
  EXPECT_TRUE(
      Contains(Ctl({"tv", "calls"}).out, "vconf_set_int(db/menu/network/networkapp_status, 0)\n"));
  EXPECT_EQ(Ctl({"tv", "calls", "connection_set_ethernet_cable_state_chaged_cb"}).out,
            "connection_set_ethernet_cable_state_chaged_cb()\n");
  EXPECT_EQ(Ctl({"tv", "calls", "nothing_of_the_kind"}).code, 1);
}

TEST_F(PelorusctlTv, WhatTheTvRefusesEndsWithOneAndWhatIsNoCommandWithTwo) {
  SwitchOn();
  const Result refused = Ctl({"tv", "fail", "conection_create", "-1"});
  EXPECT_EQ(refused.code, 1);
  EXPECT_EQ(refused.err, "pelorusctl: the TV refuses: no platform function \"conection_create\"\n");
  EXPECT_EQ(Ctl({"tv", "wifi", "join", "AA:BB:CC:DD:EE:01"}).err,
            "pelorusctl: the TV refuses: there is no radio AA:BB:CC:DD:EE:01 on the air\n");
  EXPECT_EQ(Ctl({"tv", "radio", "temper", "AA:BB:CC:DD:EE:01", "sulks"}).code, 1);
  for (const Arguments& arguments :
       {Arguments{"tv"}, Arguments{"tv", "dance"}, Arguments{"tv", "cable"},
        Arguments{"tv", "cable", "chew"}, Arguments{"tv", "cable", "plug", "twice"},
        Arguments{"tv", "fail", "tel_init"}, Arguments{"tv", "fail", "tel_init", "x"},
        Arguments{"tv", "fail", "tel_init", "-3", "--times", "x"},
        Arguments{"tv", "feature", "set", "a"}, Arguments{"tv", "play"},
        Arguments{"tv", "play", "/run/x", "--speed", "0"}, Arguments{"tv", "radio"},
        Arguments{"tv", "radio", "add", "AA:BB:CC:DD:EE:01"},
        Arguments{"tv", "radio", "add", "AA:BB:CC:DD:EE:01", "Home", "rssi=strong"},
        Arguments{"tv", "radio", "signal", "AA:BB:CC:DD:EE:01"}, Arguments{"tv", "wifi", "sing"},
        Arguments{"tv", "internet", "gateway", "maybe"}, Arguments{"tv", "player", "buffering"},
        Arguments{"tv", "settings-app", "answer", "confirm", "soon"}}) {
    const Result result = Ctl(arguments);
    EXPECT_EQ(result.code, 2) << arguments.back();
    EXPECT_NE(result.err, "") << arguments.back();
  }
}

TEST_F(PelorusctlTv, ACablePluggedFromOutsideShowsAPopup) {
  SwitchOn();
  EXPECT_EQ(Ctl({"tv", "cable", "plug"}).code, 0);
  popups::WaitForStarted(1);
  EXPECT_EQ(popups::Keywords(), Arguments{"ethernet_attached"});
}

TEST_F(PelorusctlTv, APlayTellsEachStepWithItsTimeAndChecksWhatItCan) {
  SwitchOn();
  const Result result = Play(
      "initially set memory/wizard/wizard_mode string done\n"
      "# Somebody plugs in the cable,\n"
      "# and looks at the screen.\n"
      "at 1s cable plug\n"
      "at 20s expect popup ethernet_attached\n"
      "at 20s expect key db/menu/network/networkapp_status 0\n"
      "at 20s expect calls tel_init 0\n"
      "at 20s expect log text\n"
      "at 20s close popup\n"
      "at 20s create file /home/owner/share/x\n");
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out,
            "  before  set memory/wizard/wizard_mode string done\n"
            "\nSomebody plugs in the cable,\nand looks at the screen.\n"
            "    1.0s  cable plug\n"
            "   20.0s  expect popup ethernet_attached  (look at the screen)\n"
            "   20.0s  expect key db/menu/network/networkapp_status 0  (it is so)\n"
            "   20.0s  expect calls tel_init 0  (it is so)\n"
            "   20.0s  expect log text  (look at the log)\n"
            "   20.0s  close popup  (skipped: it is yours to close)\n"
            "   20.0s  create file /home/owner/share/x  (skipped: only a test does this)\n");
  EXPECT_FALSE(std::filesystem::exists("/home/owner/share/x"));
  EXPECT_EQ(popups::Keywords(), Arguments{"ethernet_attached"});
}

TEST_F(PelorusctlTv, APlayChecksTheWifiAndTheRecordsSinceItsBeginning) {
  SwitchOn();
  Ctl({"tv", "wifi", "drop"});
  WriteFile("/var/lib/pelorus/kpi/journal.jsonl",
            R"({"code":"EV006","event":"AWM","description":"{from=before}"})"
            "\n");
  const Result result = Play(
      "initially radio add AA:BB:CC:DD:EE:01 Home passphrase=secret\n"
      "at 1s wifi join AA:BB:CC:DD:EE:01\n"
      "at 2s expect wifi AA:BB:CC:DD:EE:01\n"
      "at 2s expect no kpi\n"
      "at 2s expect wifi none\n"
      "at 2s expect kpi EV006 AWM\n");
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out,
            "  before  radio add AA:BB:CC:DD:EE:01 Home passphrase=***\n"
            "    1.0s  wifi join AA:BB:CC:DD:EE:01\n"
            "    2.0s  expect wifi AA:BB:CC:DD:EE:01  (it is so)\n"
            "    2.0s  expect no kpi  (it is so)\n"
            "    2.0s  expect wifi none  NO: it is connected to AA:BB:CC:DD:EE:01\n"
            "    2.0s  expect kpi EV006 AWM  NO: none was handed over\n");
}

TEST_F(PelorusctlTv, APlayThatDoesNotGoAsWrittenEndsWithOne) {
  SwitchOn();
  const Result result = Play(
      "at 1s expect key db/menu/network/networkapp_status 1\n"
      "at 2s fail nothing -1\n"
      "at 3s cable plug\n");
  EXPECT_EQ(result.code, 1);
  EXPECT_TRUE(Contains(result.out, "NO: it is \"0\"\n")) << result.out;
  EXPECT_TRUE(Contains(result.out, "NO: no platform function \"nothing\"\n")) << result.out;
  EXPECT_TRUE(Contains(result.out, "cable plug\n")) << result.out;
  EXPECT_TRUE(Contains(result.err, "2 steps of /run/evening did not go as written")) << result.err;
}

TEST_F(PelorusctlTv, AFaultyScenarioIsNotPlayed) {
  SwitchOn();
  const Result result = Play("at 1s cable plug\nat 2s dance\n");
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "pelorusctl: /run/evening:2: unknown step \"dance\"\n");
  EXPECT_TRUE(Contains(Ctl({"tv", "status"}).out, "cable         unplugged"));
  EXPECT_EQ(Ctl({"tv", "play", "/run/nothing"}).code, 1);
}

}  // namespace

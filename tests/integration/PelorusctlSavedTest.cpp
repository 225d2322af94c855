#include <string>
#include <vector>

#include "MainLoop.h"
#include "PelorusctlFixture.h"
#include "PelorusctlLive.h"
#include "SettingsFile.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

constexpr char kList[] =
    R"({"count":3,"values":[{"FREQUENCY":5180,"SIGNAL_STRENGTH":-52,"SSID":"My home"},)"
    R"({"FREQUENCY":2437,"SIGNAL_STRENGTH":100,"SSID":"Office"},)"
    R"({"FREQUENCY":0,"SIGNAL_STRENGTH":100,"SSID":"Inn"}]})";

std::string Top(const std::string& home, const std::string& office) {
  return R"({"count":2,"values":[{"SIGNAL_STRENGTH":-52,"SSID":"My home","STATUS":")" + home +
         R"("},{"SIGNAL_STRENGTH":100,"SSID":"Office","STATUS":")" + office + R"("}]})";
}

void Publish(const char* key, const std::string& document) {
  ASSERT_EQ(vconf_set_str(key, document.c_str()), VCONF_OK);
}

std::string Read(const char* key) {
  char* const text = vconf_get_str(key);
  std::string owned = text == nullptr ? "" : text;
  std::free(text);
  return owned;
}

/// pelorusctl where a daemon has published its lists; the test plays the daemon.
class PelorusctlSaved : public Pelorusctl {
 protected:
  PelorusctlSaved() {
    Publish(vconf_keys::kSavedAPList, kList);
    Publish(vconf_keys::kTopSavedAP, Top("Connected", "DisConnected"));
  }

  /// Runs the program, and answers its command as a daemon does.
  /// @param answers  what is written to `key`, one after the other
  static Result Answered(const Arguments& arguments, const char* key,
                         const std::vector<std::string>& answers) {
    LiveProgram program(arguments, G_SUBPROCESS_FLAGS_STDERR_MERGE);
    RunLoopUntil([] { return !Read(vconf_keys::kCommand).empty(); });
    for (const std::string& answer : answers) {
      Publish(key, answer);
      RunLoopFor(std::chrono::milliseconds(100));  // read each before the next is there
    }
    Result result;
    result.code = program.WaitForExit();
    for (const std::string& line : program.lines()) {
      result.out += line + "\n";
    }
    return result;
  }
};

TEST_F(PelorusctlSaved, ListShowsOrderSignalBandAndStatus) {
  const Result result = Ctl({"saved", "list"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out,
            "ORDER  SSID       SIGNAL        BAND                STATUS\n"
            "    1  \"My home\"  -52 dBm       5 GHz, 5180 MHz     Connected\n"
            "    2  \"Office\"   not measured  2.4 GHz, 2437 MHz   DisConnected\n"
            "    3  \"Inn\"      not measured  -                   -\n");
  EXPECT_EQ(
      Ctl({"saved", "list", "--json"}).out,
      R"([{"band":"5 GHz","frequency":5180,"signal":-52,"ssid":"My home","status":"Connected"},)"
      R"({"band":"2.4 GHz","frequency":2437,"signal":null,"ssid":"Office","status":"DisConnected"},)"
      R"({"band":null,"frequency":null,"signal":null,"ssid":"Inn","status":null}])"
      "\n");
}

TEST_F(PelorusctlSaved, AnEmptyListIsShownAndOneThatIsNoneIsAFailure) {
  Publish(vconf_keys::kSavedAPList, R"({"count":0})");
  EXPECT_EQ(Ctl({"saved", "list"}).out, "no saved networks\n");
  EXPECT_EQ(Ctl({"saved", "list", "--json"}).out, "[]\n");
  for (const char* damaged : {"", "torn", "[]", "7", R"({"count":1})", R"({"count":2,"values":[{}]})",
                              R"({"count":1,"values":[{"SSID":7}]})"}) {
    Publish(vconf_keys::kSavedAPList, damaged);
    const Result result = Ctl({"saved", "list"});
    EXPECT_EQ(result.code, 1) << damaged;
    EXPECT_EQ(result.out, "") << damaged;
    EXPECT_TRUE(Contains(result.err, "SavedAPList")) << damaged << result.err;
  }
  std::filesystem::remove(FileOf(vconf_keys::kSavedAPList));
  EXPECT_EQ(Ctl({"saved", "list"}).code, 1);
  EXPECT_EQ(Ctl({"--settings", "/nonexistent", "saved", "list"}).code, 3);
}

TEST_F(PelorusctlSaved, ConnectWritesTheCommandAndTellsHowItWent) {
  const Result result = Answered({"saved", "connect", "Office"}, vconf_keys::kTopSavedAP,
                                 {Top("Connected", "Connecting"), Top("DisConnected", "Connected")});
  EXPECT_EQ(Read(vconf_keys::kCommand), R"({"COMMAND":"1","SSID":"Office"})");
  EXPECT_EQ(result.out, "connected to \"Office\"\n");
  EXPECT_EQ(result.code, 0);
}

TEST_F(PelorusctlSaved, AConnectionThatFailsEndsWithOne) {
  const Result result = Answered({"saved", "connect", "Office"}, vconf_keys::kTopSavedAP,
                                 {Top("Connected", "DisConnected"), Top("Connected", "Connecting"),
                                  Top("Connected", "DisConnected")});
  EXPECT_EQ(result.out, "pelorusctl: could not connect to \"Office\"\n")
      << "what was published before the attempt is no outcome";
  EXPECT_EQ(result.code, 1);
}

TEST_F(PelorusctlSaved, NobodyWaitsForEver) {
  const Result silent = Ctl({"saved", "connect", "Office", "--wait", "1"});
  EXPECT_EQ(silent.code, 1);
  EXPECT_TRUE(Contains(silent.err, "no connection to \"Office\" within 1 seconds; nobody answered"))
      << silent.err;
  vconf_set_str(vconf_keys::kCommand, "");
  const Result under_way = Answered({"saved", "connect", "Office", "--wait", "1"},
                                    vconf_keys::kTopSavedAP, {Top("Connected", "Connecting")});
  EXPECT_EQ(under_way.code, 1);
  EXPECT_TRUE(Contains(under_way.out, "the daemon still tries")) << under_way.out;
  vconf_set_str(vconf_keys::kCommand, "");
  const Result off_the_tile = Answered({"saved", "connect", "Inn", "--wait", "1"},
                                       vconf_keys::kTopSavedAP, {Top("Connected", "DisConnected")});
  EXPECT_EQ(off_the_tile.code, 1);
  EXPECT_TRUE(Contains(off_the_tile.out, "only for the networks on the tile")) << off_the_tile.out;
  EXPECT_EQ(Ctl({"saved", "connect", "Inn", "--wait", "0"}).code, 0);
  EXPECT_EQ(Read(vconf_keys::kCommand), R"({"COMMAND":"1","SSID":"Inn"})");
}

TEST_F(PelorusctlSaved, ANetworkThatIsNotSavedIsNotAskedForUnlessForced) {
  const Result result = Ctl({"saved", "connect", "Garden"});
  EXPECT_EQ(result.code, 1);
  EXPECT_TRUE(Contains(result.err, "\"Garden\" is not among the saved networks")) << result.err;
  EXPECT_EQ(Read(vconf_keys::kCommand), "");
  EXPECT_EQ(Ctl({"saved", "connect", "Garden", "--force", "--wait", "0"}).code, 0);
  EXPECT_EQ(Read(vconf_keys::kCommand), R"({"COMMAND":"1","SSID":"Garden"})");
}

TEST_F(PelorusctlSaved, ForgetTellsTheDaemonAndNamesWhatIsStillSaved) {
  EXPECT_EQ(Ctl({"saved", "forget"}).code, 0);
  EXPECT_EQ(Read(vconf_keys::kCommand), R"({"COMMAND":"2"})");
  vconf_set_str(vconf_keys::kCommand, "");
  const Result gone = Answered(
      {"saved", "forget", "Office", "Inn"}, vconf_keys::kSavedAPList,
      {kList, R"({"count":1,"values":[{"FREQUENCY":5180,"SIGNAL_STRENGTH":1,"SSID":"My home"}]})"});
  EXPECT_EQ(gone.code, 0) << gone.out;
  EXPECT_EQ(gone.out, "");
  vconf_set_str(vconf_keys::kCommand, "");
  Publish(vconf_keys::kSavedAPList, kList);
  const Result saved = Answered({"saved", "forget", "Office", "Garden", "--wait", "1"},
                                vconf_keys::kSavedAPList, {kList});
  EXPECT_EQ(saved.code, 1);
  EXPECT_TRUE(Contains(saved.out, "still saved in the TV: \"Office\";")) << saved.out;
  EXPECT_EQ(Ctl({"saved", "forget", "Office", "--wait", "1"}).err,
            "pelorusctl: nobody answered. Is the daemon running?\n");
}

TEST_F(PelorusctlSaved, ResetWaitsForTheEmptyList) {
  const Result result =
      Answered({"saved", "reset"}, vconf_keys::kSavedAPList, {kList, R"({"count":0})"});
  EXPECT_EQ(Read(vconf_keys::kCommand), R"({"COMMAND":"3"})");
  EXPECT_EQ(result.code, 0) << result.out;
  Publish(vconf_keys::kSavedAPList, kList);
  EXPECT_EQ(Ctl({"saved", "reset", "--wait", "1"}).code, 1);
}

TEST_F(PelorusctlSaved, WhatIsNoCommandEndsWithTwo) {
  for (const Arguments& arguments :
       {Arguments{"saved"}, Arguments{"saved", "paint"}, Arguments{"saved", "connect"},
        Arguments{"saved", "connect", ""}, Arguments{"saved", "connect", std::string(33, 'x')},
        Arguments{"saved", "connect", "caf\xe9"}, Arguments{"saved", "connect", "a", "b"},
        Arguments{"saved", "connect", "Office", "--wait", "-1"},
        Arguments{"saved", "connect", "Office", "--wait", "soon"}, Arguments{"saved", "forget", ""},
        Arguments{"saved", "reset", "all"}, Arguments{"status", "now"}}) {
    EXPECT_EQ(Ctl(arguments).code, 2) << arguments.back();
  }
  EXPECT_EQ(Read(vconf_keys::kCommand), "");
}

TEST_F(PelorusctlSaved, StatusIsOnePage) {
  vconf_set_str(vconf_keys::kNetworkType, "Wireless");
  vconf_set_str(vconf_keys::kInternetStatus, "ONLINE");
  vconf_set_str(vconf_keys::kApName, "Office");  // the TV has come home since
  vconf_set_str(vconf_keys::kConnectedApBssid, "AA:BB:CC:DD:EE:05");
  vconf_set_str(vconf_keys::kAuto5GhzSwitchSettings, "0");
  vconf_set_str(vconf_keys::kLaunchNS, "SHOWPOPUP");
  vconf_set_int(vconf_keys::kNetworkAppStatus, 1);
  vconf_set_int(vconf_keys::kDisclaimerAgree, 1);
  vconf_set_int(vconf_keys::kTcpDumpRunningStatus, 0);
  const Result result = Ctl({"status"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(
      result.out,
      "network           'Wireless'\n"
      "internet          'ONLINE'\n"
      "access point      \"My home\"                       connected, says the tile\n"
      "band              5 GHz                           5180 MHz, from the list of saved networks\n"
      "BSSID             'AA:BB:CC:DD:EE:05'             of the connection that was measured last\n"
      "ap_name           'Office'                        name at the start, or of the last new network\n"
      "saved networks    3\n"
      "  on the tile     \"My home\"                       Connected, -52 dBm\n"
      "  on the tile     \"Office\"                        DisConnected, not measured\n"
      "5 GHz by itself   '0'                             only when the viewer asks\n"
      "5 GHz exchange    'SHOWPOPUP'                     the daemon asks whether to stay on 5 GHz\n"
      "settings screen   1                               open\n"
      "consent           1                               yes: records are handed over\n"
      "capture           0                               not running\n"
      "wizard            not set\n");
  EXPECT_EQ(Ctl({"status", "--json"}).out,
            R"({"access_point":"My home","ap_name":"Office","auto_switch":"0","band":"5 GHz",)"
            R"("bssid":"AA:BB:CC:DD:EE:05","capture":0,"consent":1,"frequency":5180,)"
            R"("internet":"ONLINE","network_type":"Wireless",)"
            R"("saved_networks":3,"settings_screen":1,"switch_exchange":"SHOWPOPUP",)"
            R"("top":[{"signal":-52,"ssid":"My home","status":"Connected"},)"
            R"({"signal":null,"ssid":"Office","status":"DisConnected"}],"wizard":null})"
            "\n");
}

TEST_F(PelorusctlSaved, StatusOfATvThatHasToldNothingIsAPageToo) {
  std::filesystem::remove_all(kStore);
  std::filesystem::create_directories(kStore);
  const Result result = Ctl({"status"});
  EXPECT_EQ(result.code, 0);
  EXPECT_TRUE(Contains(result.out, "network           not set\n")) << result.out;
  EXPECT_TRUE(Contains(result.out, "access point      not known")) << result.out;
  EXPECT_TRUE(Contains(result.out, "band              not known")) << result.out;
  EXPECT_TRUE(Contains(result.out, "saved networks    not known")) << result.out;
  EXPECT_TRUE(Contains(Ctl({"status", "--json"}).out, R"("top":null)"));
  WriteFile(FileOf(vconf_keys::kDisclaimerAgree), "'yes'\n");
  WriteFile(FileOf(vconf_keys::kInternetStatus), "torn");
  EXPECT_TRUE(Contains(Ctl({"status"}).out, "consent           'yes' (wrong type: string)\n"));
  EXPECT_TRUE(Contains(Ctl({"status"}).out, "internet          (damaged)\n"));
  EXPECT_EQ(Ctl({"--settings", "/nonexistent", "status"}).code, 3);
}

}  // namespace

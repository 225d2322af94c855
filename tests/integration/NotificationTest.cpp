#include <chrono>
#include <filesystem>
#include <sstream>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include "MainLoop.h"
#include "NotificationProgram.h"

namespace fs = std::filesystem;

using std::chrono::milliseconds;

namespace {

struct Expectation {
  const char* keyword;
  const char* title;
};

constexpr Expectation kKeywords[] = {
    {"ethernet_attached", "Network cable connected"},
    {"ethernet_detached", "Network cable disconnected"},
    {"dongle_attached", "Mobile network dongle connected"},
    {"dongle_detached", "Mobile network dongle removed"},
    {"captiveap", "Sign in to the network"},
    {"quillhotspot", "No network connection"},
    {"vesta_networksettings", "Network settings"},
    {"cannot_connect", "Cannot connect to the network"},
    {"ShowWifiSpeakerPopup", "Wi-Fi speaker in use"},
    {"StartTCPDump", "Packet capture started"},
    {"StopTCPDump", "Packet capture stopped"},
    {"TCPDumpAlreadyRunning", "Packet capture already running"},
    {"TCPDumpFailToStart", "Packet capture could not be started"},
    {"TCPDumpFailToStop", "Packet capture could not be stopped"},
};

TEST_F(Notification, ShowsAMessageForEveryKeyword) {
  for (const Expectation& expected : kKeywords) {
    Program program({expected.keyword});
    program.WaitFor("\n");
    EXPECT_EQ(program.Output().find(std::string("Pelorus: ") + expected.title + " - "), 0U)
        << expected.keyword << " shows: " << program.Output();
  }
}

TEST_F(Notification, LeavesFiveSecondsAfterItsMessage) {
  Program program({"ethernet_detached"});
  EXPECT_EQ(program.WaitForEnd(), 0);
  EXPECT_GE(program.SecondsLived(), 5.0);
  EXPECT_LT(program.SecondsLived(), 10.0) << "on a machine at work";
  EXPECT_EQ(program.Count("\n"), 1U) << program.Output();
}

TEST_F(Notification, UnknownKeywordIsLoggedAndEndsWithAnError) {
  for (const char* keyword :
       {"ethernet", "Ethernet_attached", "ethernet_attached ", "starttcpdump", ""}) {
    Program program({keyword});
    EXPECT_EQ(program.WaitForEnd(), 2) << keyword;
    EXPECT_TRUE(program.Shows("E/PELORUS_NOTIFICATION: ")) << program.Output();
    EXPECT_TRUE(program.Shows("unknown keyword: ")) << program.Output();
    EXPECT_FALSE(program.Shows("Pelorus: ")) << program.Output();
  }
}

TEST_F(Notification, NoArgumentAtAllEndsWithAnError) {
  Program program(Strings{});
  EXPECT_EQ(program.WaitForEnd(), 2);
}

TEST_F(Notification, ControlCharactersOfAnUnknownKeywordStayOutOfTheLog) {
  Program program({"\033[2Jgone"});
  EXPECT_EQ(program.WaitForEnd(), 2);
  EXPECT_TRUE(program.Shows("%1B[2Jgone"));
  EXPECT_FALSE(program.Shows("\033"));
}

TEST_F(Notification, ForwardedKeywordsAreShownAndKeepItUp) {
  Program program({kByHand, "--seconds", "1", "ethernet_detached"});
  program.WaitFor("Network cable disconnected");
  RunLoopFor(milliseconds(700));
  Forward("ethernet_attached");
  program.WaitFor("Network cable connected");
  RunLoopFor(milliseconds(700));
  Forward("ethernet_attached");
  RunLoopUntil([&] { return program.Count("Network cable connected") == 2; });
  EXPECT_EQ(program.WaitForEnd(), 0);
  EXPECT_GE(program.SecondsLived(), 2.4);
}

TEST_F(Notification, KeywordForwardedBeforeItListensIsShown) {
  Program program({"ethernet_detached"});
  kill(program.Pid(), SIGSTOP);
  Forward("ethernet_attached");
  kill(program.Pid(), SIGCONT);
  program.WaitFor("Network cable connected");
  EXPECT_LT(program.Output().find("Network cable disconnected"),
            program.Output().find("Network cable connected"));
}

TEST_F(Notification, KeywordOfAnEarlierPopupIsNotShownAgain) {
  Forward("dongle_detached");
  RunLoopFor(milliseconds(50));
  Program program({kByHand, "--seconds", "1", "dongle_attached"});
  EXPECT_EQ(program.WaitForEnd(), 0);
  EXPECT_EQ(program.Count("\n"), 1U) << program.Output();
}

TEST_F(Notification, WhatIsNoKeywordOnTheKeyIsLoggedAndNotShown) {
  Program program({kByHand, "--seconds", "1", "dongle_attached"});
  program.WaitFor("dongle connected");
  Forward("POPUP_KPI:\033]0;title\a");
  program.WaitFor("left to others: POPUP_KPI:%1B]0;title%07");
  Forward("captiveap");
  program.WaitFor("Sign in to the network");
  EXPECT_EQ(program.WaitForEnd(), 0);
  EXPECT_EQ(program.Count("Pelorus: "), 2U) << program.Output();
}

TEST_F(Notification, WithoutASettingsStoreTheMessageIsShown) {
  WriteFile("/run/pelorus/settings", "in the way");
  Program program({kByHand, "--seconds", "1", "cannot_connect"});
  EXPECT_EQ(program.WaitForEnd(), 0);
  EXPECT_TRUE(program.Shows("Pelorus: Cannot connect to the network")) << program.Output();
  EXPECT_TRUE(program.Shows("W/PELORUS_NOTIFICATION: ")) << program.Output();
}

TEST_F(Notification, AddressOfThePortalIsShown) {
  Program program({"captiveap", "http://portal.example/login?a=1&b=%20#한국"});
  program.WaitFor("\n");
  EXPECT_TRUE(program.Shows(" Sign-in page: http://portal.example/login?a=1&b=%20#한국\n"))
      << program.Output();
}

TEST_F(Notification, AddressOfThePortalCannotDriveTheTerminal) {
  Program program({"captiveap",
                   "http://x/\033[2J\r\n\b\x7f\xc2\x9b"
                   "31m\xe2\x80\xae"
                   "\xe2\x80\xa8\xff y"});
  program.WaitFor("\n");
  EXPECT_TRUE(program.Shows("http://x/%1B[2J%0D%0A%08%7F%C2%9B31m%E2%80%AE%E2%80%A8%FF%20y\n"))
      << program.Output();
  EXPECT_EQ(program.Count("\n"), 1U);
}

TEST_F(Notification, OverlongAddressIsCut) {
  Program program({"captiveap", "http://x/" + std::string(100'000, 'a')});
  program.WaitFor("\n");
  EXPECT_TRUE(program.Shows("aaaa…\n"));
  EXPECT_LT(program.Output().size(), 2048U);
}

TEST_F(Notification, TerminalGetsTheMessageOnOwnLines) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  ASSERT_EQ(grantpt(terminal) + unlockpt(terminal), 0);
  const int line = open(ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
  Program program({"StartTCPDump"}, line);
  fcntl(terminal, F_SETFL, O_NONBLOCK);
  std::string text;
  RunLoopUntil([&] {
    char buffer[512];
    const ssize_t length = read(terminal, buffer, sizeof buffer);
    text.append(buffer, length > 0 ? static_cast<std::size_t>(length) : 0);
    return text.ends_with("recorded.\r\n");
  });
  EXPECT_NE(text.find("[Pelorus] Packet capture started\033[0m\r\n  Network traffic"), std::string::npos)
      << text;
  close(line);
  close(terminal);
}

TEST_F(Notification, PipeThatNobodyReadsDoesNotHoldIt) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
  while (write(ends[1], "x", 1) == 1) {
  }
  // The flag belongs to the open file, which the program shares: it must find a pipe that blocks.
  fcntl(ends[1], F_SETFL, 0);
  Program program({kByHand, "--seconds", "1", "StopTCPDump"}, ends[1]);
  EXPECT_EQ(program.WaitForEnd(), 0);
  close(ends[0]);
  close(ends[1]);
}

TEST_F(Notification, PipeWithoutAReaderDoesNotEndIt) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  close(ends[0]);
  Program program({kByHand, "--seconds", "1", "StopTCPDump"}, ends[1]);
  EXPECT_EQ(program.WaitForEnd(), 0);
  close(ends[1]);
}

TEST_F(Notification, WithoutStandardDescriptorsItStillLeaves) {
  Program program({kByHand, "--seconds", "1", "StopTCPDump"}, -1);
  EXPECT_EQ(program.WaitForEnd(), 0);
}

class KoreanNotification : public Notification {
 protected:
  static constexpr char kTitle[] = "Pelorus: 네트워크 케이블 연결 끊김 - ";
};

TEST_F(KoreanNotification, LanguageComesFromTheSystemsFile) {
  WriteFile("/etc/default/locale", "# language\nLANG=\"ko_KR.UTF-8\"\n");
  Program program({"ethernet_detached"});
  program.WaitFor("\n");
  EXPECT_EQ(program.Output().find(kTitle), 0U) << program.Output();
}

TEST_F(KoreanNotification, LanguageComesFromTheSecondFileWhenTheFirstNamesNone) {
  WriteFile("/etc/default/locale", "# generated\n");
  WriteFile("/etc/locale.conf", "LANG=ko_KR.UTF-8\n");
  Program program({"ethernet_detached"});
  program.WaitFor("\n");
  EXPECT_EQ(program.Output().find(kTitle), 0U) << program.Output();
}

TEST_F(KoreanNotification, EnvironmentWinsOverTheFile) {
  WriteFile("/etc/default/locale", "LANG=ko_KR.UTF-8\n");
  Program english({"ethernet_detached"}, {"LC_ALL=C"});
  english.WaitFor("\n");
  EXPECT_TRUE(english.Shows("Network cable disconnected")) << english.Output();
  WriteFile("/etc/default/locale", "LANG=en_US.UTF-8\n");
  Program korean({"ethernet_detached"}, {"LANGUAGE=ko:en"});
  korean.WaitFor("\n");
  EXPECT_TRUE(korean.Shows(kTitle)) << korean.Output();
}

TEST_F(KoreanNotification, BuildTreeHasItsOwnCatalogues) {
  fs::remove_all("/usr/apps/org.orvik.Pelorus/share");
  Program program({"ethernet_detached"}, {"LANG=ko_KR.UTF-8"}, NOTIFICATION_PROGRAM);
  program.WaitFor("\n");
  EXPECT_EQ(program.Output().find(kTitle), 0U) << program.Output();
}

TEST_F(KoreanNotification, LanguageWithoutACatalogueIsEnglish) {
  WriteFile("/etc/default/locale", "LANG=xx_XX.UTF-8\n");
  Program program({"ethernet_detached"});
  program.WaitFor("\n");
  EXPECT_TRUE(program.Shows("Network cable disconnected")) << program.Output();
}

TEST_F(KoreanNotification, EveryMessageIsTranslated) {
  Program program({kByHand, "--list"}, {"LANG=ko_KR.UTF-8"});
  EXPECT_EQ(program.WaitForEnd(), 0);
  EXPECT_EQ(program.Count("\n"), std::size(kKeywords));
  std::istringstream lines(program.Output());
  std::size_t number = 0;
  for (std::string line; std::getline(lines, line) && number < std::size(kKeywords); ++number) {
    const Expectation& expected = kKeywords[number];
    ASSERT_TRUE(line.starts_with(std::string(expected.keyword) + " ")) << line;
    const std::string text = line.substr(std::string_view(expected.keyword).size());
    EXPECT_EQ(text.find(expected.title), std::string::npos) << line;
    const std::size_t body = text.find(" - ");
    ASSERT_NE(body, std::string::npos) << line;
    // Hangul syllables begin with a byte from 0xEA to 0xED in UTF-8.
    EXPECT_NE(text.substr(0, body).find_first_of("\xea\xeb\xec\xed"), std::string::npos) << line;
    EXPECT_NE(text.substr(body).find_first_of("\xea\xeb\xec\xed"), std::string::npos) << line;
  }
}

class NotificationByHand : public Notification {};

TEST_F(NotificationByHand, ListNamesEveryKeyword) {
  Program program({"/somewhere/pelorus_notification", "--list"});
  EXPECT_EQ(program.WaitForEnd(), 0);
  EXPECT_EQ(program.Count("\n"), std::size(kKeywords));
  for (const Expectation& expected : kKeywords) {
    EXPECT_TRUE(program.Shows(std::string("\n") + expected.keyword + " ") ||
                program.Output().starts_with(std::string(expected.keyword) + " "))
        << expected.keyword;
    EXPECT_TRUE(program.Shows(std::string(" ") + expected.title + " - ")) << expected.title;
  }
}

TEST_F(NotificationByHand, HelpAndVersionEndAtOnce) {
  Program help({kByHand, "--help"});
  EXPECT_EQ(help.WaitForEnd(), 0);
  EXPECT_TRUE(help.Shows("--list")) << help.Output();
  Program version({kByHand, "--version"});
  EXPECT_EQ(version.WaitForEnd(), 0);
  EXPECT_EQ(version.Output().find("pelorus_notification "), 0U) << version.Output();
}

TEST_F(NotificationByHand, WrongUseEndsWithAnError) {
  for (const Strings& arguments :
       {Strings{kByHand}, Strings{kByHand, "--bogus"}, Strings{kByHand, "nothing_such"},
        Strings{kByHand, "--seconds", "0", "captiveap"}, Strings{kByHand, "--seconds", "x", "captiveap"},
        Strings{kByHand, "captiveap", "data", "more"}}) {
    Program program(arguments);
    EXPECT_EQ(program.WaitForEnd(), 2) << arguments.back();
    EXPECT_FALSE(program.Output().empty()) << arguments.back();
  }
}

TEST_F(NotificationByHand, DataFollowsTheKeyword) {
  Program program({kByHand, "captiveap", "http://portal.example/"});
  program.WaitFor("\n");
  EXPECT_TRUE(program.Shows("http://portal.example/\n")) << program.Output();
}

}  // namespace

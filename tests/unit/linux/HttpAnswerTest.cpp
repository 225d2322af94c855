#include "HttpAnswer.h"

#include <gtest/gtest.h>

namespace {

constexpr char kAsked[] = "http://probe.test/nm?a=1";

HttpVerdict VerdictOn(std::string_view bytes, std::string_view expected, bool is_whole = true) {
  const auto answer = ParseHttpAnswer(bytes);
  return answer ? Judge(*answer, expected, is_whole) : HttpVerdict::kFails;
}

std::string PageOf(const std::string& location) {
  const auto bytes = "HTTP/1.1 302 Found\r\nLocation: " + location + "\r\n\r\n";
  const auto answer = ParseHttpAnswer(bytes);
  return answer ? PortalPage(*answer, kAsked) : "(no answer)";
}

}  // namespace

TEST(HttpAnswer, HasItsHeadRead) {
  const auto answer = ParseHttpAnswer(
      "HTTP/1.1 302 Moved\r\ncontent-length:  5 \r\nLOCATION:\thttp://a.test/b \r\nX: y\r\n\r\nhello");
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->status, 302);
  EXPECT_EQ(answer->location, "http://a.test/b");
  EXPECT_EQ(answer->length, 5U);
  EXPECT_EQ(answer->body, "hello");
}

TEST(HttpAnswer, IsWaitedForUntilItsHeadIsWhole) {
  constexpr std::string_view kWhole = "HTTP/1.0 200 OK\nServer: s\n\n";
  for (std::size_t length = 0; length < kWhole.size(); ++length) {
    EXPECT_FALSE(ParseHttpAnswer(kWhole.substr(0, length))) << length;
    EXPECT_FALSE(IsHopeless(kWhole.substr(0, length))) << length;
  }
  EXPECT_TRUE(ParseHttpAnswer(kWhole));
}

TEST(HttpAnswer, IsNoneWhenAnotherProtocolSpeaks) {
  for (const char* bytes :
       {"SSH-2.0-OpenSSH\r\n\r\n", "HTTP/1.1\r\n\r\n", "HTTP/1.1 abc OK\r\n\r\n",
        "HTTP/1.1 20 OK\r\n\r\n", "HTTP/1.1 2000 OK\r\n\r\n", "\r\n\r\n", "\x15\x03"}) {
    EXPECT_FALSE(ParseHttpAnswer(bytes)) << bytes;
    EXPECT_TRUE(IsHopeless(bytes)) << bytes;
  }
}

TEST(HttpAnswer, WorksWhenItIsTheExpectedOne) {
  EXPECT_EQ(VerdictOn("HTTP/1.1 200 OK\r\n\r\nonline\n", "online"), HttpVerdict::kWorks);
  EXPECT_EQ(VerdictOn("HTTP/1.1 204 No Content\r\n\r\n", "online"), HttpVerdict::kWorks);
  EXPECT_EQ(VerdictOn("HTTP/1.1 204 No Content\r\n\r\n", "", false), HttpVerdict::kWorks);
  EXPECT_EQ(VerdictOn("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n", "", false), HttpVerdict::kWorks);
}

TEST(HttpAnswer, OfSomebodyElseIsAPortal) {
  EXPECT_EQ(VerdictOn("HTTP/1.1 200 OK\r\n\r\n<html>", "online"), HttpVerdict::kPortal);
  EXPECT_EQ(VerdictOn("HTTP/1.1 200 OK\r\n\r\n<html>", ""), HttpVerdict::kPortal);
  EXPECT_EQ(VerdictOn("HTTP/1.1 200 OK\r\n\r\nonl", "online"), HttpVerdict::kPortal);
  for (const char* status : {"301", "302", "303", "307", "308", "511"}) {
    EXPECT_EQ(VerdictOn("HTTP/1.1 " + std::string(status) + " x\r\n\r\n", "online"),
              HttpVerdict::kPortal);
  }
}

TEST(HttpAnswer, OfAServerInTroubleIsAFailure) {
  for (const char* status : {"100", "400", "404", "407", "500", "502", "503", "504", "999"}) {
    EXPECT_EQ(VerdictOn("HTTP/1.1 " + std::string(status) + " x\r\n\r\nonline", "online"),
              HttpVerdict::kFails);
  }
}

TEST(HttpAnswer, NeedsMoreOfAPageThatMayBecomeTheExpectedOne) {
  EXPECT_EQ(VerdictOn("HTTP/1.1 200 OK\r\n\r\nonl", "online", false), HttpVerdict::kNeedsMore);
  EXPECT_EQ(VerdictOn("HTTP/1.1 200 OK\r\n\r\n", "", false), HttpVerdict::kNeedsMore);
  EXPECT_EQ(VerdictOn("HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\nonl", "online", false),
            HttpVerdict::kPortal);
  EXPECT_EQ(VerdictOn("HTTP/1.1 200 OK\r\n\r\nofl", "online", false), HttpVerdict::kPortal);
}

TEST(HttpAnswer, LeadsToThePortalsPage) {
  EXPECT_EQ(PageOf("http://192.168.0.1/welcome?room=12&back=%2F"),
            "http://192.168.0.1/welcome?room=12&back=%2F");
  EXPECT_EQ(PageOf("https://Login.test/"), "https://Login.test/");
  EXPECT_EQ(PageOf("/login?x=%20"), "http://probe.test/login?x=%20");
  EXPECT_EQ(PageOf("//login.test/a"), "http://login.test/a");
}

TEST(HttpAnswer, LeadsNowhereThatABrowserShouldNotGo) {
  for (const char* location : {"", "javascript:alert(1)", "file:///etc/passwd", "http://a.test/\x1b[2J",
                               "http://a.test/ b", "ftp://a.test/"}) {
    EXPECT_EQ(PageOf(location), "") << location;
  }
  EXPECT_EQ(PageOf("http://a.test/" + std::string(4000, 'a')), "");
}

#include "SettingsApp.h"

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "VirtualTv.h"
#include "platform.h"
#include "vconf.h"
#include "vconf_keys.h"

using std::chrono::milliseconds;
using Answer = SettingsApp::Answer;

namespace {

std::string Channel() {
  const std::unique_ptr<char, decltype(&std::free)> value(vconf_get_str(vconf_keys::kLaunchNS),
                                                          std::free);
  return value == nullptr ? "nothing" : value.get();
}

int Status() {
  int status = -1;
  vconf_get_int(vconf_keys::kNetworkAppStatus, &status);
  return status;
}

/// What the program under the TV writes; the application hears of it.
void Write(const char* value) {
  vconf_set_str(vconf_keys::kLaunchNS, value);
  RunLoopFor(milliseconds(1));
}

class SettingsAppTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(platform_start(), 0); }
  void TearDown() override { platform_stop(); }

  SettingsApp& m_app = VirtualTv::Instance().GetSettingsApp();
};

TEST_F(SettingsAppTest, OpenAndCloseSaySoInTheirKey) {
  m_app.Open();
  EXPECT_EQ(Status(), 1);
  m_app.Close();
  EXPECT_EQ(Status(), 0);
}

TEST_F(SettingsAppTest, AsksAndStopsOnlyWhenItIsOpen) {
  EXPECT_FALSE(m_app.Ask());
  EXPECT_FALSE(m_app.Stop());
  EXPECT_EQ(Channel(), "nothing");
  m_app.Open();
  EXPECT_TRUE(m_app.Ask());
  EXPECT_EQ(Channel(), "START5GHZCONNECTION");
  EXPECT_TRUE(m_app.Stop());
  EXPECT_EQ(Channel(), "STOP5GHZCONNECTION");
}

TEST_F(SettingsAppTest, AQuestionStaysUntilAButtonIsPressed) {
  m_app.Open();
  EXPECT_FALSE(m_app.Press(Answer::kConfirm)) << "there is no question yet";
  Write("SHOWPOPUP");
  RunLoopFor(std::chrono::hours(1));
  EXPECT_TRUE(m_app.HasQuestion());
  EXPECT_EQ(Channel(), "SHOWPOPUP");
  EXPECT_FALSE(m_app.Press(Answer::kNone));
  EXPECT_TRUE(m_app.Press(Answer::kConfirm));
  EXPECT_EQ(Channel(), "CONNECTPRESSED");
  EXPECT_FALSE(m_app.Press(Answer::kDecline)) << "one question, one answer";
}

TEST_F(SettingsAppTest, AnswersByItselfAfterItsDelay) {
  m_app.Open();
  m_app.SetAnswer(Answer::kDecline, 3000);
  Write("SHOWPOPUP");
  RunLoopFor(milliseconds(2900));
  EXPECT_EQ(Channel(), "SHOWPOPUP");
  RunLoopFor(milliseconds(200));
  EXPECT_EQ(Channel(), "CANCELPRESSED");
  EXPECT_FALSE(m_app.HasQuestion());

  m_app.SetAnswer(Answer::kConfirm);
  Write("SHOWPOPUP");
  RunLoopFor(milliseconds(SettingsApp::kDefaultDelayMs + 10));
  EXPECT_EQ(Channel(), "CONNECTPRESSED");
}

TEST_F(SettingsAppTest, AnAnswerThatIsSetLaterIsForTheNextQuestion) {
  m_app.Open();
  m_app.SetAnswer(Answer::kDecline, 1000);
  Write("SHOWPOPUP");
  m_app.SetAnswer(Answer::kConfirm, 1);
  RunLoopFor(milliseconds(1100));
  EXPECT_EQ(Channel(), "CANCELPRESSED");
}

TEST_F(SettingsAppTest, TheQuestionGoesWithThePage) {
  m_app.Open();
  m_app.SetAnswer(Answer::kConfirm, 1000);
  for (const auto leave : {+[](SettingsApp& app) { app.Stop(); }, +[](SettingsApp& app) { app.Close(); },
                           +[](SettingsApp&) { Write("PAGECHANGED"); }}) {
    m_app.Open();
    Write("SHOWPOPUP");
    EXPECT_TRUE(m_app.HasQuestion());
    leave(m_app);
    EXPECT_FALSE(m_app.HasQuestion());
    const std::string said = Channel();
    RunLoopFor(milliseconds(2000));
    EXPECT_EQ(Channel(), said) << "it was answered all the same";
  }
}

TEST_F(SettingsAppTest, AClosedApplicationShowsNothing) {
  m_app.SetAnswer(Answer::kConfirm, 1);
  Write("SHOWPOPUP");
  Write("PAGECHANGED");
  Write("SHOWPOPUP");
  RunLoopFor(milliseconds(100));
  EXPECT_FALSE(m_app.HasQuestion());
  EXPECT_FALSE(m_app.HasPageChanged());
  EXPECT_EQ(Channel(), "SHOWPOPUP");
}

TEST_F(SettingsAppTest, KeepsInMindThatTheRequestCameToNothingUntilTheNextOne) {
  m_app.Open();
  m_app.Ask();
  RunLoopFor(milliseconds(1));
  EXPECT_FALSE(m_app.HasPageChanged());
  Write("PAGECHANGED");
  EXPECT_TRUE(m_app.HasPageChanged());
  m_app.Ask();
  EXPECT_FALSE(m_app.HasPageChanged());
}

TEST_F(SettingsAppTest, IsAnotherProgramOfTheTv) {
  VirtualTv::Instance().ClearCalls();
  VirtualTv::Instance().Fail("vconf_set_str", -1);
  VirtualTv::Instance().Fail("vconf_get_str", -1);
  m_app.Open();
  m_app.Ask();
  RunLoopFor(milliseconds(10));
  EXPECT_TRUE(VirtualTv::Instance().Calls().empty());
  VirtualTv::Instance().StopFailing("vconf_get_str");
  EXPECT_EQ(Channel(), "START5GHZCONNECTION");
}

TEST_F(SettingsAppTest, HearsAndSaysNothingAfterThePlatformsEnd) {
  m_app.Open();
  m_app.SetAnswer(Answer::kConfirm, 1000);
  Write("SHOWPOPUP");
  platform_stop();
  RunLoopFor(milliseconds(2000));
  EXPECT_EQ(Channel(), "SHOWPOPUP");
  Write("SHOWPOPUP");
  EXPECT_FALSE(m_app.HasQuestion());
}

}  // namespace

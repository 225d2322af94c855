#include "NetworkUIPopup.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "NW_Common.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "vconf_keys.h"

namespace {

class NetworkUIPopup : public testing::Test {
 protected:
  void Show() {
    m_popup->Show("", [this](int answer) { m_answers.push_back(answer); });
    RunLoopOnce();
  }
  static void Say(const char* word) {
    vconf_set_str(vconf_keys::kLaunchNS, word);
    RunLoopOnce();
  }

  std::unique_ptr<CNetworkUIPopup> m_popup = std::make_unique<CNetworkUIPopup>();
  std::vector<int> m_answers;
};

using Answers = std::vector<int>;

TEST_F(NetworkUIPopup, AsksThroughTheSettings) {
  Show();
  const HeapString word(vconf_get_str(vconf_keys::kLaunchNS));
  EXPECT_STREQ(word.get(), "SHOWPOPUP");
  EXPECT_TRUE(m_answers.empty()) << "its own word is no answer";
}

TEST_F(NetworkUIPopup, HearsThatTheUserConfirmed) {
  Show();
  Say("CONNECTPRESSED");
  EXPECT_EQ(m_answers, Answers{1});
  EXPECT_TRUE(test_log::Has("5ghz vconf change =>CONNECTPRESSED"));
}

TEST_F(NetworkUIPopup, HearsThatTheUserDeclined) {
  Show();
  Say("CANCELPRESSED");
  EXPECT_EQ(m_answers, Answers{0});
}

TEST_F(NetworkUIPopup, TakesLeavingForDecliningWhileNoButtonWasPressed) {
  Show();
  Say("STOP5GHZCONNECTION");
  Say("STOP5GHZCONNECTION");
  EXPECT_EQ(m_answers, (Answers{0, 0})) << "leaving is no button";
}

TEST_F(NetworkUIPopup, TakesLeavingForNothingAfterAButton) {
  for (const char* button : {"CONNECTPRESSED", "CANCELPRESSED"}) {
    Show();
    Say(button);
    m_answers.clear();
    Say("STOP5GHZCONNECTION");
    EXPECT_TRUE(m_answers.empty()) << button;
    m_popup->Close();
  }
}

TEST_F(NetworkUIPopup, HearsButtonsAgainAfterAButton) {
  Show();
  Say("CANCELPRESSED");
  Say("CONNECTPRESSED");
  EXPECT_EQ(m_answers, (Answers{0, 1}));
}

TEST_F(NetworkUIPopup, LeavesOtherWordsAlone) {
  Show();
  for (const char* word : {"connectpressed", "CONNECTPRESSED ", "", "START5GHZCONNECTION", "PAGECHANGED",
                           "SHOWPOPUP", "LaunchNS"}) {
    Say(word);
  }
  vconf_set_int(vconf_keys::kLaunchNS, 1);
  RunLoopOnce();
  EXPECT_TRUE(m_answers.empty());
}

TEST_F(NetworkUIPopup, HearsNothingOnceClosed) {
  Show();
  m_popup->Close();
  Say("CONNECTPRESSED");
  EXPECT_TRUE(m_answers.empty());
}

TEST_F(NetworkUIPopup, HearsNothingBeforeItIsShown) {
  Say("CONNECTPRESSED");
  EXPECT_TRUE(test_log::Messages().empty());
}

TEST_F(NetworkUIPopup, SkipsACallbackThatIsEmpty) {
  m_popup->Show("", nullptr);
  Say("CONNECTPRESSED");
  EXPECT_FALSE(test_log::Has("exception bad_function_call"));
  EXPECT_TRUE(test_log::Has("5ghz vconf change =>CONNECTPRESSED"));
}

TEST_F(NetworkUIPopup, TellsTheLastCallbackOnly) {
  bool is_first_called = false;
  m_popup->Show("", [&is_first_called](int) { is_first_called = true; });
  m_popup->Close();
  Show();
  Say("CONNECTPRESSED");
  EXPECT_FALSE(is_first_called);
  EXPECT_EQ(m_answers, Answers{1});
}

TEST_F(NetworkUIPopup, MayBeEndedByItsOwnAnswer) {
  // What the callback holds must outlive the popup that it ends.
  const std::string text(100, 'x');
  std::string seen;
  m_popup->Show("", [this, text, &seen](int) {
    m_popup.reset();
    seen = text;
  });
  Say("CONNECTPRESSED");
  EXPECT_EQ(m_popup, nullptr);
  EXPECT_EQ(seen, text);
  test_log::Clear();
  Say("CONNECTPRESSED");
  EXPECT_TRUE(test_log::Messages().empty());
}

TEST_F(NetworkUIPopup, IsNotCalledAfterItsEndByAWatchThatCouldNotBeEnded) {
  Show();
  VirtualTv::Instance().Fail("vconf_ignore_key_changed", VCONF_ERROR, 1);
  m_popup.reset();
  test_log::Clear();
  Say("CONNECTPRESSED");
  EXPECT_TRUE(test_log::Messages().empty());
  EXPECT_TRUE(m_answers.empty());
}

TEST_F(NetworkUIPopup, MayShowTheNextFromItsOwnAnswer) {
  m_popup->Show("", [this](int) {
    m_popup = std::make_unique<CNetworkUIPopup>();
    m_popup->Show("", [this](int answer) { m_answers.push_back(answer); });
  });
  Say("CANCELPRESSED");
  Say("CONNECTPRESSED");
  EXPECT_EQ(m_answers, Answers{1});
}

}  // namespace

#include "WifiContract.h"

namespace {

/// The way back to an access point that is held.
class WifiReturn : public WifiContract {
 protected:
  void SetUp() override {
    WifiContract::SetUp();
    m_room->PutOnAir(m_low);
    ASSERT_EQ(ConnectAndWait(To(m_low, kSecret)), WIFI_ERROR_NONE);
    m_ap = ConnectedAp();
  }
  void Leave() {
    Answers answers;
    ASSERT_EQ(wifi_disconnect(m_ap, Record, &answers), WIFI_ERROR_NONE);
    WaitFor(answers, {WIFI_ERROR_NONE});
  }
  int Return() {
    Answers answers;
    EXPECT_EQ(wifi_connect(m_ap, Record, &answers), WIFI_ERROR_NONE);
    EXPECT_EQ(answers, Answers{});
    RunLoopUntil([&] { return !answers.empty(); }, m_room->LongestRequest());
    Settle();
    EXPECT_EQ(answers.size(), 1U);
    return answers.front();
  }
  wifi_ap_h m_ap = nullptr;
};

}  // namespace

// Null arguments and an ended handle are refused, and nothing is called back.
// Fails: a backend that reads what it has freed.
TEST_F(WifiReturn, NeedsAnAccessPointAndACallback) {
  Answers answers;
  EXPECT_EQ(wifi_connect(nullptr, Record, &answers), WIFI_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(wifi_connect(m_ap, nullptr, &answers), WIFI_ERROR_INVALID_PARAMETER);
  ASSERT_EQ(wifi_ap_destroy(m_ap), WIFI_ERROR_NONE);
  EXPECT_EQ(wifi_connect(m_ap, Record, &answers), WIFI_ERROR_INVALID_PARAMETER);
  Settle();
  EXPECT_EQ(answers, Answers{});
  EXPECT_TRUE(IsConnected());
}

// An access point that was left is joined with what is saved of it, and the handle is enough for that.
// Fails: a backend that forgets the passphrase when it is told to disconnect.
TEST_F(WifiReturn, LeadsBackWithWhatIsSaved) {
  Leave();
  EXPECT_EQ(Return(), WIFI_ERROR_NONE);
  EXPECT_EQ(ConnectedBssid(), m_low.bssid);
}

// Who is there already is told so.
// Fails: a backend that leaves the access point in order to join it.
TEST_F(WifiReturn, SaysThatTheTvIsThereAlready) {
  EXPECT_EQ(Return(), WIFI_ERROR_ALREADY_EXISTS);
  EXPECT_TRUE(IsConnected());
}

// An access point that turns the TV away, or has gone, is a failure that is told.
// Fails: a backend that waits for it without end.
TEST_F(WifiReturn, SaysWhenTheAccessPointIsClosedOrGone) {
  Leave();
  m_room->SetAnswer(m_low.bssid, WifiRoom::Answer::kRefuses);
  EXPECT_EQ(Return(), WIFI_ERROR_REFUSED);
  m_room->TakeOffAir(m_low.bssid);
  const int gone = Return();
  EXPECT_TRUE(gone == WIFI_ERROR_NO_REPLY || gone == WIFI_ERROR_NOT_FOUND) << gone;
}

// A passphrase that has become wrong is told as such.
// Fails: a backend that answers with its general error, so that it is tried again and again.
TEST_F(WifiReturn, SaysThatThePassphraseIsWrong) {
  Leave();
  WifiRoom::AirRadio changed = m_low;
  changed.passphrase = "fifteen geese";
  m_room->PutOnAir(changed);
  EXPECT_EQ(Return(), WIFI_ERROR_INVALID_KEY);
  EXPECT_EQ(State(), WIFI_CONNECTION_STATE_DISCONNECTED);
}

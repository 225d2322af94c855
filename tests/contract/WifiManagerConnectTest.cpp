#include "WifiManagerContract.h"

namespace {

class WifiManagerConnectTest : public WifiManagerContract {
 protected:
  /// The Den's router, in reach and saved, and a cafe.
  void SetUp() override {
    WifiManagerContract::SetUp();
    m_room->PutOnAir(m_low);
    m_room->PutOnAir(m_high);
    m_room->PutOnAir(m_cafe);
    m_room->Save(m_low);
    Scan();
    m_den = Clone("Den");
    m_cafe_ap = Clone("Cafe");
  }
  void TearDown() override {
    EXPECT_EQ(wifi_manager_ap_destroy(m_den), WIFI_MANAGER_ERROR_NONE);
    EXPECT_EQ(wifi_manager_ap_destroy(m_cafe_ap), WIFI_MANAGER_ERROR_NONE);
    WifiManagerContract::TearDown();
  }
  void SetAnswerOfTheDen(WifiRoom::Answer answer) {
    m_room->SetAnswer(m_low.bssid, answer);
    m_room->SetAnswer(m_high.bssid, answer);
  }

  wifi_manager_ap_h m_den = nullptr;
  wifi_manager_ap_h m_cafe_ap = nullptr;
};
using WifiManagerConnect = WifiManagerConnectTest;

}  // namespace

// The saved passphrase opens the network, and the radio that is received best carries it.
// Fails: a backend that wants the passphrase from the caller.
TEST_F(WifiManagerConnect, TakesTheStrongestRadioAndTheSavedPassphrase) {
  ASSERT_EQ(ConnectToApAndWait(m_den), WIFI_MANAGER_ERROR_NONE);
  EXPECT_EQ(ConnectedBssid(), m_low.bssid);
}

// An open network needs nothing, saved or not; the present connection is left.
// Fails: a backend that connects to what is saved only.
TEST_F(WifiManagerConnect, LeavesThePresentNetwork) {
  ASSERT_EQ(ConnectToApAndWait(m_den), WIFI_MANAGER_ERROR_NONE);
  ASSERT_EQ(ConnectToApAndWait(m_cafe_ap), WIFI_MANAGER_ERROR_NONE);
  EXPECT_EQ(ConnectedBssid(), m_cafe.bssid);
}

// Being there already is an answer, by whatever radio, and the connection stands.
// Fails: a backend that leaves the network to join it again, or answers by the call itself.
TEST_F(WifiManagerConnect, AnswersThatTheTvIsThereAlready) {
  ASSERT_EQ(ConnectAndWait(To(m_high)), WIFI_ERROR_NONE);
  EXPECT_EQ(ConnectToApAndWait(m_den), WIFI_MANAGER_ERROR_ALREADY_EXISTS);
  EXPECT_EQ(ConnectedBssid(), m_high.bssid);
}

// Each reason for a failure has its name, and the TV is connected to nothing then.
// Fails: a backend that names every failure alike.
TEST_F(WifiManagerConnect, TellsWhyItFailed) {
  struct Case {
    WifiRoom::Answer answer;
    int result;
  };
  for (const Case& one : {Case{WifiRoom::Answer::kNoAddress, WIFI_MANAGER_ERROR_DHCP_FAILED},
                          Case{WifiRoom::Answer::kRefuses, WIFI_MANAGER_ERROR_OPERATION_FAILED}}) {
    SetAnswerOfTheDen(one.answer);
    EXPECT_EQ(ConnectToApAndWait(m_den), one.result);
    EXPECT_EQ(State(), WIFI_CONNECTION_STATE_DISCONNECTED);
  }
  SetAnswerOfTheDen(WifiRoom::Answer::kLetsIn);
  EXPECT_EQ(ConnectToApAndWait(m_den), WIFI_MANAGER_ERROR_NONE);
}

// A passphrase that does not open the network, and none at all, are told from other failures.
// Fails: a backend whose service waits for somebody to type one.
TEST_F(WifiManagerConnect, NeedsTheRightPassphrase) {
  WifiRoom::AirRadio stranger = m_cafe;
  stranger.bssid = "02:00:00:00:40:00";
  stranger.essid = "Next door";
  stranger.security = WIFI_SECURITY_TYPE_WPA2_PSK;
  stranger.passphrase = "sixteen swans";
  m_room->PutOnAir(stranger);
  ScanChannels({stranger.frequency});
  wifi_manager_ap_h ap = Clone("Next door");
  EXPECT_EQ(ConnectToApAndWait(ap), WIFI_MANAGER_ERROR_INVALID_KEY);
  WifiRoom::AirRadio changed = stranger;
  changed.passphrase = "seventeen swans";
  m_room->Save(changed);
  EXPECT_EQ(ConnectToApAndWait(ap), WIFI_MANAGER_ERROR_INVALID_KEY);
  m_room->Save(stranger);
  EXPECT_EQ(ConnectToApAndWait(ap), WIFI_MANAGER_ERROR_NONE);
  EXPECT_EQ(wifi_manager_ap_destroy(ap), WIFI_MANAGER_ERROR_NONE);
}

// An access point that has gone off the air since it was found does not answer.
// Fails: a backend that has no answer while its service looks for the network.
TEST_F(WifiManagerConnect, TellsThatTheAccessPointHasGone) {
  m_room->TakeOffAir(m_cafe.bssid);
  EXPECT_EQ(ConnectToApAndWait(m_cafe_ap), WIFI_MANAGER_ERROR_NO_REPLY);
  ScanChannels({m_cafe.frequency});
  EXPECT_EQ(Found(), (Names{"Den"}));
  EXPECT_EQ(ConnectToApAndWait(m_cafe_ap), WIFI_MANAGER_ERROR_NO_REPLY);
  EXPECT_EQ(State(), WIFI_CONNECTION_STATE_DISCONNECTED);
}

// A later request ends an earlier one, through whichever interface each was made.
// Fails: a backend that keeps a queue for each interface.
TEST_F(WifiManagerConnect, ALaterRequestTakesThePlaceOfAnEarlierOne) {
  SetAnswerOfTheDen(WifiRoom::Answer::kNone);
  Answers answers;
  ASSERT_EQ(ConnectToAp(m_den, answers), WIFI_MANAGER_ERROR_NONE);
  RunLoopUntil([] { return State() == WIFI_CONNECTION_STATE_ASSOCIATION; }, m_room->LongestRequest());
  ASSERT_EQ(ConnectToAp(m_cafe_ap, answers), WIFI_MANAGER_ERROR_NONE);
  ASSERT_EQ(Connect(To(m_low), answers), WIFI_ERROR_NONE);
  ASSERT_EQ(ConnectToAp(m_cafe_ap, answers), WIFI_MANAGER_ERROR_NONE);
  EXPECT_EQ(answers, Answers{});
  WaitFor(answers, {WIFI_MANAGER_ERROR_OPERATION_ABORTED, WIFI_MANAGER_ERROR_OPERATION_ABORTED,
                    WIFI_ERROR_OPERATION_ABORTED, WIFI_MANAGER_ERROR_NONE});
  EXPECT_EQ(ConnectedBssid(), m_cafe.bssid);
}

// A request to leave ends one to connect.
// Fails: a backend that disconnects and then connects after all.
TEST_F(WifiManagerConnect, ARequestToDisconnectTakesItsPlace) {
  ASSERT_EQ(ConnectToApAndWait(m_cafe_ap), WIFI_MANAGER_ERROR_NONE);
  Answers answers;
  ASSERT_EQ(ConnectToAp(m_den, answers), WIFI_MANAGER_ERROR_NONE);
  ASSERT_EQ(wifi_disconnect(m_cafe_ap, Record, &answers), WIFI_ERROR_NONE);
  WaitFor(answers, {WIFI_MANAGER_ERROR_OPERATION_ABORTED, WIFI_ERROR_NONE});
  Settle();
  EXPECT_EQ(State(), WIFI_CONNECTION_STATE_DISCONNECTED);
}

#include <chrono>
#include <stdexcept>
#include <string>

#include "WifiContract.h"

using namespace std::chrono_literals;

namespace {

using WifiConnection = WifiContract;

/// How long a platform leaves the TV alone after a failure.
constexpr auto kPeace = 10s;

}  // namespace

// Without a connection there is nothing to take, to read or to leave, and nothing is written.
// Fails: a backend that hands out the last network as if it were still there.
TEST_F(WifiConnection, WithoutOneThereIsNothingToAsk) {
  m_room->PutOnAir(m_cafe);
  Scan();
  wifi_ap_h ap = nullptr;
  int snr = 77;
  EXPECT_EQ(State(), WIFI_CONNECTION_STATE_DISCONNECTED);
  EXPECT_EQ(wifi_get_connected_ap(&ap), WIFI_ERROR_NO_CONNECTION);
  EXPECT_EQ(ap, nullptr);
  EXPECT_EQ(wifi_get_snr(&snr), WIFI_ERROR_NO_CONNECTION);
  EXPECT_EQ(snr, 77);
  Answers answers;
  AskFoundAps([&](wifi_ap_h found) {
    char* address = nullptr;
    EXPECT_EQ(wifi_ap_get_ip_address(found, CONNECTION_ADDRESS_FAMILY_IPV4, &address),
              WIFI_ERROR_OPERATION_FAILED);
    EXPECT_EQ(address, nullptr);
    EXPECT_EQ(wifi_disconnect(found, Record, &answers), WIFI_ERROR_NO_CONNECTION);
    return 0;
  });
  Settle();
  EXPECT_EQ(answers, Answers{});
}

// A connection leads to the radio that was named and no other, and says so once, when there is an
// address.
// Fails: a backend that names the network only and takes the stronger radio, or reports the association.
TEST_F(WifiConnection, LeadsToTheRadioThatWasNamed) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_high);
  std::vector<std::string> addresses;
  const auto look = [](wifi_error_e result, void* list) {
    EXPECT_EQ(result, WIFI_ERROR_NONE);
    wifi_ap_h ap = ConnectedAp();
    char* address = nullptr;
    EXPECT_EQ(wifi_ap_get_ip_address(ap, CONNECTION_ADDRESS_FAMILY_IPV4, &address), WIFI_ERROR_NONE);
    static_cast<std::vector<std::string>*>(list)->emplace_back(address == nullptr ? "" : address);
    std::free(address);
    EXPECT_EQ(wifi_ap_destroy(ap), WIFI_ERROR_NONE);
  };
  const wifi_target_s target = To(m_high, kSecret);
  ASSERT_EQ(wifi_connect_target(&target, look, &addresses), WIFI_ERROR_NONE);
  EXPECT_TRUE(addresses.empty());
  RunLoopUntil([&] { return !addresses.empty(); }, m_room->LongestRequest());
  Settle();
  ASSERT_EQ(addresses.size(), 1U);
  EXPECT_NE(addresses.front(), "");
  EXPECT_TRUE(IsConnected());
  EXPECT_EQ(ConnectedBssid(), m_high.bssid);
  int snr = 777;
  EXPECT_EQ(wifi_get_snr(&snr), WIFI_ERROR_NONE);
  EXPECT_NE(snr, 777);
}

// The target is the caller's own, and may be gone when the call has returned.
// Fails: a backend that keeps its pointers until the radio was found.
TEST_F(WifiConnection, KeepsNothingOfTheCallersTarget) {
  m_room->PutOnAir(m_low);
  Answers answers;
  {
    std::string name = m_low.essid;
    std::string bssid = m_low.bssid;
    std::string passphrase = kSecret;
    ASSERT_EQ(Connect({name.data(), bssid.data(), 2437, WIFI_SECURITY_TYPE_WPA2_PSK, passphrase.data()},
                      answers),
              WIFI_ERROR_NONE);
    name.assign(name.size(), 'x');
    bssid.assign(bssid.size(), 'x');
    passphrase.assign(passphrase.size(), 'x');
  }
  WaitFor(answers, {WIFI_ERROR_NONE});
}

// Without a radio and a frequency, any radio of the network does.
// Fails: a backend that cannot connect to what it has not scanned before.
TEST_F(WifiConnection, TakesAnyRadioWhenNoneIsNamed) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_cafe);
  EXPECT_EQ(ConnectAndWait({"Den", nullptr, 0, WIFI_SECURITY_TYPE_WPA2_PSK, kSecret}), WIFI_ERROR_NONE);
  EXPECT_EQ(ConnectedBssid(), m_low.bssid);
}

// A hidden network can be joined by its name, and has its name then.
// Fails: a backend that waits for a name which never is on the air.
TEST_F(WifiConnection, JoinsAHiddenNetwork) {
  WifiRoom::AirRadio hidden = m_low;
  hidden.is_hidden = true;
  m_room->PutOnAir(hidden);
  ASSERT_EQ(ConnectAndWait({"Den", nullptr, 0, WIFI_SECURITY_TYPE_WPA2_PSK, kSecret}), WIFI_ERROR_NONE);
  wifi_ap_h ap = ConnectedAp();
  EXPECT_EQ(NameOf(ap), "Den");
  EXPECT_EQ(wifi_ap_destroy(ap), WIFI_ERROR_NONE);
}

// Being there already is answered by the call itself, and the connection stays.
// Fails: a backend that leaves the network to join it again.
TEST_F(WifiConnection, IsRefusedWhereTheTvIsAlready) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_high);
  ASSERT_EQ(ConnectAndWait(To(m_low, kSecret)), WIFI_ERROR_NONE);
  Answers answers;
  EXPECT_EQ(Connect(To(m_low), answers), WIFI_ERROR_ALREADY_EXISTS);
  EXPECT_EQ(Connect({"Den", nullptr, 0, WIFI_SECURITY_TYPE_WPA2_PSK, nullptr}, answers),
            WIFI_ERROR_ALREADY_EXISTS);
  Settle();
  EXPECT_EQ(answers, Answers{});
  EXPECT_EQ(ConnectedBssid(), m_low.bssid);
}

// Asking for the place where the TV is takes back a request to leave it.
// Fails: a backend that says the TV is there, and then leads it elsewhere after all.
TEST_F(WifiConnection, IsHeldByARequestForWhereTheTvIs) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_high);
  ASSERT_EQ(ConnectAndWait(To(m_low, kSecret)), WIFI_ERROR_NONE);
  Answers answers;
  ASSERT_EQ(Connect(To(m_high), answers), WIFI_ERROR_NONE);
  EXPECT_EQ(Connect(To(m_low), answers), WIFI_ERROR_ALREADY_EXISTS);
  EXPECT_EQ(answers, Answers{});
  WaitFor(answers, {WIFI_ERROR_OPERATION_ABORTED});
  RunLoopFor(1s);
  EXPECT_EQ(answers, Answers{WIFI_ERROR_OPERATION_ABORTED});
  EXPECT_EQ(ConnectedBssid(), m_low.bssid);
}

// The other radio of the same network is another place, and the saved passphrase opens it.
// Fails: a backend that takes the name for the place and answers that it is there already.
TEST_F(WifiConnection, MovesToTheOtherRadioOfItsNetwork) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_high);
  ASSERT_EQ(ConnectAndWait(To(m_low, kSecret)), WIFI_ERROR_NONE);
  ASSERT_EQ(ConnectAndWait(To(m_high)), WIFI_ERROR_NONE);
  EXPECT_EQ(ConnectedBssid(), m_high.bssid);
}

// When the named radio is not on the air, the present connection stands the whole time.
// Fails: a backend that leaves first and looks afterwards.
TEST_F(WifiConnection, StandsWhenTheTargetIsGone) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_high);
  ASSERT_EQ(ConnectAndWait(To(m_low, kSecret)), WIFI_ERROR_NONE);
  Scan();
  m_room->TakeOffAir(m_high.bssid);
  Answers answers;
  ASSERT_EQ(Connect(To(m_high), answers), WIFI_ERROR_NONE);
  bool was_left = false;
  RunLoopUntil(
      [&] {
        was_left = was_left || ConnectedBssid() != m_low.bssid;
        return !answers.empty();
      },
      m_room->LongestRequest());
  EXPECT_EQ(answers, Answers{WIFI_ERROR_NOT_FOUND});
  EXPECT_FALSE(was_left);
  EXPECT_TRUE(IsConnected());
}

// A refusal is answered as such and soon; the TV is then connected to nothing, and can go back.
// Fails: a backend that waits for its own limit of time, or names every failure alike.
TEST_F(WifiConnection, TellsARefusalSoon) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_high);
  ASSERT_EQ(ConnectAndWait(To(m_low, kSecret)), WIFI_ERROR_NONE);
  m_room->SetAnswer(m_high.bssid, WifiRoom::Answer::kRefuses);
  EXPECT_EQ(ConnectAndWait(To(m_high)), WIFI_ERROR_REFUSED);
  EXPECT_EQ(State(), WIFI_CONNECTION_STATE_DISCONNECTED);
  EXPECT_EQ(ConnectedBssid(), "");
  EXPECT_EQ(ConnectAndWait(To(m_low)), WIFI_ERROR_NONE);
}

// A wrong passphrase, and none where none is saved, are told from other failures, and nothing is saved.
// Fails: a backend that saves the network before it knows that the passphrase opens it.
TEST_F(WifiConnection, NeedsTheRightPassphrase) {
  m_room->PutOnAir(m_low);
  EXPECT_EQ(ConnectAndWait(To(m_low, "fifteen geese")), WIFI_ERROR_INVALID_KEY);
  EXPECT_EQ(ConnectAndWait(To(m_low)), WIFI_ERROR_INVALID_KEY);
  EXPECT_EQ(State(), WIFI_CONNECTION_STATE_DISCONNECTED);
  EXPECT_EQ(SavedCount(), 0);
}

// A network that was joined with a passphrase is saved, and is joined without one after that.
// Fails: a backend that keeps the passphrase for this connection only.
TEST_F(WifiConnection, SavesTheNetworkThatItsPassphraseOpened) {
  m_room->PutOnAir(m_low);
  ASSERT_EQ(ConnectAndWait(To(m_low, kSecret)), WIFI_ERROR_NONE);
  EXPECT_EQ(SavedCount(), 1);
  wifi_ap_h ap = ConnectedAp();
  bool favorite = false;
  EXPECT_EQ(wifi_ap_is_favorite(ap, &favorite), WIFI_ERROR_NONE);
  EXPECT_TRUE(favorite);
  Answers answers;
  ASSERT_EQ(wifi_disconnect(ap, Record, &answers), WIFI_ERROR_NONE);
  EXPECT_EQ(wifi_ap_destroy(ap), WIFI_ERROR_NONE);
  WaitFor(answers, {WIFI_ERROR_NONE});
  EXPECT_EQ(State(), WIFI_CONNECTION_STATE_DISCONNECTED);
  EXPECT_EQ(SavedCount(), 1);
  EXPECT_EQ(ConnectAndWait(To(m_low)), WIFI_ERROR_NONE);
}

// An access point that gives no address is told from one that refuses.
// Fails: a backend that calls the association a success.
TEST_F(WifiConnection, NeedsAnAddress) {
  m_room->PutOnAir(m_cafe);
  m_room->SetAnswer(m_cafe.bssid, WifiRoom::Answer::kNoAddress);
  EXPECT_EQ(ConnectAndWait(To(m_cafe)), WIFI_ERROR_DHCP_FAILED);
  EXPECT_EQ(State(), WIFI_CONNECTION_STATE_DISCONNECTED);
}

// A later request ends an earlier one, which hears of that before anything comes of the later one.
// Fails: a backend that queues requests behind an access point which never answers.
TEST_F(WifiConnection, ALaterRequestTakesThePlaceOfAnEarlierOne) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_high);
  m_room->SetAnswer(m_high.bssid, WifiRoom::Answer::kNone);
  Answers answers;
  ASSERT_EQ(Connect(To(m_high, kSecret), answers), WIFI_ERROR_NONE);
  RunLoopUntil([] { return State() == WIFI_CONNECTION_STATE_ASSOCIATION; }, m_room->LongestRequest());
  ASSERT_EQ(Connect(To(m_low, kSecret), answers), WIFI_ERROR_NONE);
  ASSERT_EQ(Connect(To(m_high, kSecret), answers), WIFI_ERROR_NONE);
  ASSERT_EQ(Connect(To(m_low, kSecret), answers), WIFI_ERROR_NONE);
  EXPECT_EQ(answers, Answers{});
  WaitFor(answers, {WIFI_ERROR_OPERATION_ABORTED, WIFI_ERROR_OPERATION_ABORTED,
                    WIFI_ERROR_OPERATION_ABORTED, WIFI_ERROR_NONE});
  EXPECT_EQ(ConnectedBssid(), m_low.bssid);
}

// A request to disconnect ends one to connect that has not left the present network yet.
// Fails: a backend that disconnects and then connects after all.
TEST_F(WifiConnection, ARequestToDisconnectTakesThePlaceOfOneToConnect) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_high);
  ASSERT_EQ(ConnectAndWait(To(m_low, kSecret)), WIFI_ERROR_NONE);
  wifi_ap_h ap = ConnectedAp();
  Answers answers;
  ASSERT_EQ(Connect(To(m_high), answers), WIFI_ERROR_NONE);
  ASSERT_EQ(wifi_disconnect(ap, Record, &answers), WIFI_ERROR_NONE);
  EXPECT_EQ(wifi_ap_destroy(ap), WIFI_ERROR_NONE);
  WaitFor(answers, {WIFI_ERROR_OPERATION_ABORTED, WIFI_ERROR_NONE});
  Settle();
  EXPECT_EQ(State(), WIFI_CONNECTION_STATE_DISCONNECTED);
}

// A callback may ask for the next connection, as one who goes back after a refusal.
// Fails: a backend that tidies up after the callback, and the new request with it.
TEST_F(WifiConnection, MayBeginInTheCallbackOfAnother) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_cafe);
  m_room->SetAnswer(m_low.bssid, WifiRoom::Answer::kRefuses);
  struct Way {
    wifi_target_s back;
    Answers answers;
  } way{To(m_cafe), {}};
  const auto go_back = [](wifi_error_e result, void* data) {
    auto* const self = static_cast<Way*>(data);
    self->answers.push_back(result);
    EXPECT_EQ(Connect(self->back, self->answers), WIFI_ERROR_NONE);
  };
  const wifi_target_s target = To(m_low, kSecret);
  ASSERT_EQ(wifi_connect_target(&target, go_back, &way), WIFI_ERROR_NONE);
  WaitFor(way.answers, {WIFI_ERROR_REFUSED, WIFI_ERROR_NONE});
  EXPECT_EQ(ConnectedBssid(), m_cafe.bssid);
}

// After a failure the TV is left alone, so that who asked can choose where to go.
// Fails: a backend whose services connect by themselves to what is saved.
TEST_F(WifiConnection, DoesNotComeByItselfAfterAFailure) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_high);
  ASSERT_EQ(ConnectAndWait(To(m_low, kSecret)), WIFI_ERROR_NONE);
  m_room->SetAnswer(m_high.bssid, WifiRoom::Answer::kRefuses);
  ASSERT_EQ(ConnectAndWait(To(m_high)), WIFI_ERROR_REFUSED);
  const auto end = std::chrono::steady_clock::now() + kPeace;
  while (std::chrono::steady_clock::now() < end) {
    RunLoopFor(100ms);
    ASSERT_EQ(State(), WIFI_CONNECTION_STATE_DISCONNECTED);
  }
}

// A connection is lost with its radio, by itself.
// Fails: a backend that only knows what it was asked to do.
TEST_F(WifiConnection, IsLostWithItsRadio) {
  m_room->PutOnAir(m_cafe);
  ASSERT_EQ(ConnectAndWait(To(m_cafe)), WIFI_ERROR_NONE);
  m_room->TakeOffAir(m_cafe.bssid);
  RunLoopUntil([] { return State() == WIFI_CONNECTION_STATE_DISCONNECTED; });
  EXPECT_EQ(ConnectedBssid(), "");
}

// An exception that leaves a callback costs that call only.
// Fails: a backend that lets it pass through the main loop, which is written in C.
TEST_F(WifiConnection, SurvivesAnExceptionInACallback) {
  m_room->PutOnAir(m_cafe);
  const auto fail = [](wifi_error_e, void* was_called) {
    *static_cast<bool*>(was_called) = true;
    throw std::runtime_error("a malformed document");
  };
  bool was_called = false;
  ASSERT_EQ(wifi_scan(fail, &was_called), WIFI_ERROR_NONE);
  RunLoopUntil([&] { return was_called; }, m_room->LongestRequest());
  was_called = false;
  const wifi_target_s target = To(m_cafe);
  ASSERT_EQ(wifi_connect_target(&target, fail, &was_called), WIFI_ERROR_NONE);
  RunLoopUntil([&] { return was_called; }, m_room->LongestRequest());
  EXPECT_EQ(ConnectedBssid(), m_cafe.bssid);
  Scan();
}

// After the platform stopped, nothing is answered.
// Fails: a backend that stops its services and forgets what is already queued.
TEST_F(WifiConnection, IsNotAnsweredAfterTheStop) {
  m_room->PutOnAir(m_cafe);
  Answers answers;
  ASSERT_EQ(wifi_scan(Record, &answers), WIFI_ERROR_NONE);
  ASSERT_EQ(Connect(To(m_cafe), answers), WIFI_ERROR_NONE);
  platform_stop();
  RunLoopFor(m_room->LongestRequest());
  EXPECT_EQ(answers, Answers{});
}

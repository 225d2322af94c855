#include <stdexcept>
#include <utility>

#include "WifiManagerContract.h"

namespace {

struct Change {
  int state;
  std::string bssid;
  bool operator==(const Change&) const = default;
};
[[maybe_unused]] void PrintTo(const Change& change, std::ostream* out) {
  *out << change.state << " of " << change.bssid;
}
using Changes = std::vector<Change>;

constexpr int kLeft = WIFI_CONNECTION_STATE_DISCONNECTED;
constexpr int kAssociation = WIFI_CONNECTION_STATE_ASSOCIATION;
constexpr int kConfiguration = WIFI_CONNECTION_STATE_CONFIGURATION;
constexpr int kConnected = WIFI_CONNECTION_STATE_CONNECTED;

class WifiStateTest : public WifiManagerContract {
 protected:
  void SetUp() override {
    WifiManagerContract::SetUp();
    m_room->PutOnAir(m_low);
    m_room->PutOnAir(m_high);
    m_room->PutOnAir(m_cafe);
    m_room->Save(m_low);
  }
  static void Note(wifi_connection_state_e state, wifi_ap_h ap, void* changes) {
    static_cast<Changes*>(changes)->push_back({state, BssidOf(ap)});
  }
  void Listen() { ASSERT_EQ(wifi_set_connection_state_changed_cb(Note, &m_changes), WIFI_ERROR_NONE); }
  void Expect(const Changes& changes) {
    RunLoopUntil([&] { return m_changes.size() >= changes.size(); }, m_room->LongestRequest());
    Settle();
    EXPECT_EQ(std::exchange(m_changes, {}), changes);
  }
  static Changes WayTo(const WifiRoom::AirRadio& radio) {
    return {{kAssociation, radio.bssid}, {kConfiguration, radio.bssid}, {kConnected, radio.bssid}};
  }

  Changes m_changes;
};
using WifiState = WifiStateTest;

}  // namespace

// A missing callback is refused; taking none away is none.
// Fails: a backend that calls what it was given without looking.
TEST_F(WifiState, NoCallbackIsRefused) {
  EXPECT_EQ(wifi_set_connection_state_changed_cb(nullptr, nullptr), WIFI_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(wifi_unset_connection_state_changed_cb(), WIFI_ERROR_NONE);
}

// A connection is told step by step, with its access point, and so is that it was left.
// Fails: a backend that tells of the end of the way only.
TEST_F(WifiState, TellsEachStepOfAConnection) {
  Listen();
  ASSERT_EQ(ConnectAndWait(To(m_cafe)), WIFI_ERROR_NONE);
  Expect(WayTo(m_cafe));
  wifi_ap_h ap = ConnectedAp();
  Answers answers;
  ASSERT_EQ(wifi_disconnect(ap, Record, &answers), WIFI_ERROR_NONE);
  EXPECT_EQ(wifi_ap_destroy(ap), WIFI_ERROR_NONE);
  Expect({{kLeft, m_cafe.bssid}});
}

// One who connects through the Wi-Fi manager interface is told of no less.
// Fails: a backend that only tells of what was asked through this interface.
TEST_F(WifiState, TellsOfConnectionsThroughTheManagerToo) {
  Scan();
  Listen();
  wifi_manager_ap_h ap = Clone("Den");
  ASSERT_EQ(ConnectToApAndWait(ap), WIFI_MANAGER_ERROR_NONE);
  EXPECT_EQ(wifi_manager_ap_destroy(ap), WIFI_MANAGER_ERROR_NONE);
  Expect(WayTo(m_low));
}

// The access point of a change says what it is: connected with an address, or left and without.
// Fails: a backend that hands over what its last scan saw.
TEST_F(WifiState, TheAccessPointSaysWhatItIs) {
  struct Says {
    std::vector<std::pair<std::string, bool>> list;
  } said;
  const auto ask = [](wifi_connection_state_e, wifi_ap_h ap, void* data) {
    char* address = nullptr;
    const int result = wifi_ap_get_ip_address(ap, CONNECTION_ADDRESS_FAMILY_IPV4, &address);
    static_cast<Says*>(data)->list.emplace_back(WifiContract::NameOf(ap), result == WIFI_ERROR_NONE);
    std::free(address);
  };
  ASSERT_EQ(wifi_set_connection_state_changed_cb(ask, &said), WIFI_ERROR_NONE);
  ASSERT_EQ(ConnectAndWait(To(m_cafe)), WIFI_ERROR_NONE);
  Settle();
  m_room->TakeOffAir(m_cafe.bssid);
  RunLoopUntil([&] { return said.list.size() == 4; });
  EXPECT_EQ(said.list, (std::vector<std::pair<std::string, bool>>{
                           {"Cafe", false}, {"Cafe", false}, {"Cafe", true}, {"Cafe", false}}));
}

// A connection that is lost with its radio is told by itself.
// Fails: a backend that only tells of what it was asked to do.
TEST_F(WifiState, TellsThatTheConnectionWasLost) {
  ASSERT_EQ(ConnectAndWait(To(m_cafe)), WIFI_ERROR_NONE);
  Settle();
  Listen();
  m_room->TakeOffAir(m_cafe.bssid);
  Expect({{kLeft, m_cafe.bssid}});
}

// A move to another radio leaves the one and comes to the other.
// Fails: a backend that tells of networks, which are the same.
TEST_F(WifiState, TellsOfBothRadiosOfAMove) {
  ASSERT_EQ(ConnectAndWait(To(m_low)), WIFI_ERROR_NONE);
  Settle();
  Listen();
  ASSERT_EQ(ConnectAndWait(To(m_high)), WIFI_ERROR_NONE);
  Changes changes = WayTo(m_high);
  changes.insert(changes.begin(), {kLeft, m_low.bssid});
  Expect(changes);
}

// A way that ends early ends with leaving the access point that it led to.
// Fails: a backend that falls silent after a failure.
TEST_F(WifiState, TellsThatAConnectionFailed) {
  Listen();
  m_room->SetAnswer(m_low.bssid, WifiRoom::Answer::kRefuses);
  ASSERT_EQ(ConnectAndWait(To(m_low)), WIFI_ERROR_REFUSED);
  Expect({{kAssociation, m_low.bssid}, {kLeft, m_low.bssid}});
  m_room->SetAnswer(m_low.bssid, WifiRoom::Answer::kNoAddress);
  ASSERT_EQ(ConnectAndWait(To(m_low)), WIFI_ERROR_DHCP_FAILED);
  Expect({{kAssociation, m_low.bssid}, {kConfiguration, m_low.bssid}, {kLeft, m_low.bssid}});
}

// What was so when the callback was set is no change, and neither is a request that changed nothing.
// Fails: a backend that tells the state to whoever asks to hear of changes.
TEST_F(WifiState, TellsNothingThatDidNotChange) {
  ASSERT_EQ(ConnectAndWait(To(m_low)), WIFI_ERROR_NONE);
  Settle();
  Listen();
  Scan();
  Answers answers;
  EXPECT_EQ(Connect(To(m_low), answers), WIFI_ERROR_ALREADY_EXISTS);
  m_room->TakeOffAir(m_high.bssid);
  EXPECT_EQ(ConnectAndWait(To(m_high)), WIFI_ERROR_NOT_FOUND);
  Expect({});
}

// A second callback takes the place of the first, and none is called once it is unset.
// Fails: a backend that collects them.
TEST_F(WifiState, HasOneCallback) {
  Changes first;
  ASSERT_EQ(wifi_set_connection_state_changed_cb(Note, &first), WIFI_ERROR_NONE);
  Listen();
  ASSERT_EQ(ConnectAndWait(To(m_cafe)), WIFI_ERROR_NONE);
  Expect(WayTo(m_cafe));
  EXPECT_EQ(first, Changes{});
  m_room->TakeOffAir(m_cafe.bssid);
  EXPECT_EQ(wifi_unset_connection_state_changed_cb(), WIFI_ERROR_NONE);
  Expect({});
}

// A callback may unset itself or set another in its place.
// Fails: a backend that goes on with a callback that is gone.
TEST_F(WifiState, ACallbackMayChangeTheCallback) {
  struct Self {
    int calls = 0;
    Changes changes = {};
  } self;
  const auto hand_over = [](wifi_connection_state_e, wifi_ap_h, void* data) {
    auto* const first = static_cast<Self*>(data);
    ++first->calls;
    EXPECT_EQ(wifi_unset_connection_state_changed_cb(), WIFI_ERROR_NONE);
    EXPECT_EQ(wifi_set_connection_state_changed_cb(Note, &first->changes), WIFI_ERROR_NONE);
  };
  ASSERT_EQ(wifi_set_connection_state_changed_cb(hand_over, &self), WIFI_ERROR_NONE);
  ASSERT_EQ(ConnectAndWait(To(m_cafe)), WIFI_ERROR_NONE);
  Settle();
  m_room->TakeOffAir(m_cafe.bssid);
  RunLoopUntil([&] { return !self.changes.empty() && self.changes.back().state == kLeft; });
  EXPECT_EQ(self.calls, 1);
  EXPECT_EQ(self.changes.back(), (Change{kLeft, m_cafe.bssid}));
}

// An exception that leaves the callback costs that call only.
// Fails: a backend that lets it pass through the main loop, which is written in C.
TEST_F(WifiState, SurvivesAnExceptionInTheCallback) {
  const auto fail = [](wifi_connection_state_e, wifi_ap_h, void* calls) {
    ++*static_cast<int*>(calls);
    throw std::runtime_error("a malformed document");
  };
  int calls = 0;
  ASSERT_EQ(wifi_set_connection_state_changed_cb(fail, &calls), WIFI_ERROR_NONE);
  ASSERT_EQ(ConnectAndWait(To(m_cafe)), WIFI_ERROR_NONE);
  RunLoopUntil([&] { return calls == 3; });
  EXPECT_EQ(calls, 3);
}

// After the platform stopped, nothing is told.
// Fails: a backend that forgets what is already queued.
TEST_F(WifiState, IsNotToldAfterTheStop) {
  Listen();
  Answers answers;
  ASSERT_EQ(Connect(To(m_cafe), answers), WIFI_ERROR_NONE);
  RunLoopUntil([] { return State() == WIFI_CONNECTION_STATE_ASSOCIATION; }, m_room->LongestRequest());
  platform_stop();
  m_changes.clear();
  Expect({});
}

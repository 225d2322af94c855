// Joining a network anew after its certificates have changed.

#include "EAPReconnect.h"

#include <cstddef>
#include <memory>
#include <new>

#include "EapRoom.h"

using namespace std::chrono_literals;

namespace {

bool g_has_no_memory = false;

}  // namespace

// The one allocation of the daemon that may fail.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return g_has_no_memory ? nullptr : ::operator new(size);
}

namespace {

constexpr char kConnect[] = "wifi_connect";
constexpr char kClose[] = "connection_close_profile";
constexpr char kOpen[] = "connection_open_profile";
using Statuses = std::vector<int>;

class EapReconnect : public EapRoom {
 protected:
  bool Begin() {
    return m_reconnect->Reconnect([this](int status) { m_statuses.push_back(status); });
  }
  /// Begins it and waits until all is quiet.
  void Run() {
    ASSERT_TRUE(Begin());
    Settle();
  }

  Statuses m_statuses;
  std::unique_ptr<CEAPReconnect> m_reconnect = std::make_unique<CEAPReconnect>();
};

TEST_F(EapReconnect, LeavesTheAccessPointAndJoinsItTwoSecondsLater) {
  ASSERT_TRUE(Begin());
  EXPECT_TRUE(test_log::Has("Network Type vconf is Wireless"));
  EXPECT_TRUE(test_log::Has("{EAP}disconnecting ssid => Office 0"));
  RunLoopFor(150ms);
  EXPECT_TRUE(test_log::Has("{EAP} disconnected 0"));
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_DISCONNECTED);
  RunLoopFor(1900ms);
  EXPECT_EQ(Calls(kConnect), 0U);
  RunLoopFor(100ms);
  EXPECT_EQ(Calls(kConnect), 1U);
  EXPECT_TRUE(test_log::Has("Reconnecting .."));
  EXPECT_TRUE(test_log::Has("wifi_connect return value 0"));
  EXPECT_EQ(m_statuses, Statuses{});
  Settle();
  EXPECT_EQ(m_wifi.ConnectedBssid(), kOffice);
  EXPECT_TRUE(test_log::Has("wifi_connect callback 0"));
  EXPECT_TRUE(test_log::Has("Notify status 1"));
  EXPECT_EQ(m_statuses, Statuses{1});
  EXPECT_EQ(Calls(kConnect), 1U);
}

TEST_F(EapReconnect, WithAWrongKeyIsNotTriedAgain) {
  m_wifi.FindRadio(kOffice)->passphrase = "other than before";
  Run();
  EXPECT_TRUE(test_log::Has("wifi_connect callback -29687033"));
  EXPECT_EQ(m_statuses, Statuses{0});
  EXPECT_EQ(Calls(kConnect), 1U);
}

TEST_F(EapReconnect, OfWhatIsConnectedAlreadyHasSucceeded) {
  ASSERT_TRUE(Begin());
  RunLoopFor(1s);
  ASSERT_TRUE(m_wifi.Join(kOffice));
  Settle();
  EXPECT_TRUE(test_log::Has("wifi_connect callback -29687037"));
  EXPECT_EQ(m_statuses, Statuses{1});
}

TEST_F(EapReconnect, AlsoComesBackWhenTheAccessPointCouldNotBeLeft) {
  m_wifi.FailNext(WifiRequest::kDisconnect, WIFI_ERROR_OPERATION_FAILED);
  Run();
  EXPECT_TRUE(test_log::Has("{EAP} disconnected -29687039"));
  EXPECT_EQ(Calls(kConnect), 1U);
  EXPECT_EQ(m_statuses, Statuses{1}) << "it is connected still";
}

TEST_F(EapReconnect, IsTriedThreeTimesTwoSecondsApart) {
  m_wifi.FindRadio(kOffice)->temper = Radio::Temper::kRefuses;
  ASSERT_TRUE(Begin());
  RunLoopFor(100ms + 2000ms + 10ms);
  EXPECT_EQ(Calls(kConnect), 1U);
  RunLoopFor(700ms + 1900ms);
  EXPECT_EQ(Calls(kConnect), 1U);
  RunLoopFor(200ms);
  EXPECT_EQ(Calls(kConnect), 2U);
  EXPECT_EQ(m_statuses, Statuses{});
  Settle();
  EXPECT_EQ(Calls(kConnect), 3U);
  EXPECT_EQ(test_log::Count("wifi_connect callback -29687031"), 3U);
  EXPECT_EQ(m_statuses, Statuses{0});
}

TEST_F(EapReconnect, SucceedsAtTheLastTry) {
  m_tv.Fail(kConnect, WIFI_ERROR_OPERATION_FAILED, 2);
  Run();
  EXPECT_EQ(Calls(kConnect), 3U);
  EXPECT_EQ(test_log::Count("wifi_connect return value -29687039"), 2U);
  EXPECT_EQ(m_statuses, Statuses{1});
}

TEST_F(EapReconnect, CountsARefusedCallAsATry) {
  m_tv.Fail(kConnect, WIFI_ERROR_OPERATION_FAILED, 3);
  Run();
  EXPECT_EQ(Calls(kConnect), 3U);
  EXPECT_EQ(m_statuses, Statuses{0});
}

TEST_F(EapReconnect, CountsCallsAndAnswersTogether) {
  m_tv.Fail(kConnect, WIFI_ERROR_OPERATION_FAILED, 1);
  m_wifi.FindRadio(kOffice)->temper = Radio::Temper::kRefuses;
  Run();
  EXPECT_EQ(Calls(kConnect), 3U);
  EXPECT_EQ(m_statuses, Statuses{0});
}

TEST_F(EapReconnect, CountsAnewTheNextTime) {
  m_tv.Fail(kConnect, WIFI_ERROR_OPERATION_FAILED, 3);
  Run();
  ASSERT_TRUE(m_wifi.Join(kOffice));
  m_tv.Fail(kConnect, WIFI_ERROR_OPERATION_FAILED, 2);
  Run();
  EXPECT_EQ(m_statuses, (Statuses{0, 1}));
  EXPECT_EQ(Calls("wifi_ap_destroy"), 1U) << "the first access point's handle";
}

TEST_F(EapReconnect, WaitsForAnAnswerHoweverLate) {
  m_wifi.FindRadio(kOffice)->temper = Radio::Temper::kSilent;
  Run();
  RunLoopFor(24h);
  EXPECT_EQ(Calls(kConnect), 1U);
  EXPECT_EQ(m_statuses, Statuses{});
}

TEST_F(EapReconnect, TellsEachAnswerOfAPlatformThatAnswersTwice) {
  m_wifi.FindRadio(kOffice)->temper = Radio::Temper::kAnswersTwice;
  Run();
  EXPECT_EQ(test_log::Count("wifi_connect callback 0"), 2U);
  EXPECT_FALSE(m_statuses.empty());
  EXPECT_EQ(Statuses(m_statuses.size(), 1), m_statuses);
}

TEST_F(EapReconnect, NeedsANetworkType) {
  m_tv.Fail("vconf_get_str", VCONF_ERROR, 1);
  EXPECT_FALSE(Begin());
  EXPECT_TRUE(test_log::Has("Network Type vconf is NULL"));
  Settle();
  EXPECT_EQ(Calls("wifi_disconnect"), 0U);
  EXPECT_EQ(m_statuses, Statuses{});
}

TEST_F(EapReconnect, NeedsAnAccessPoint) {
  m_wifi.Drop();
  EXPECT_FALSE(Begin());
  EXPECT_TRUE(test_log::Has("{EAP} wifi_get_connected_ap -29687038"));
  EXPECT_TRUE(test_log::Has("Cannot disconnect ap"));
}

TEST_F(EapReconnect, LeavesAnAccessPointWithoutCertificatesAlone) {
  ASSERT_TRUE(m_wifi.Join(kGuests));
  EXPECT_FALSE(Begin());
  EXPECT_TRUE(test_log::Has("not a eap type ap Guests"));
  EXPECT_TRUE(test_log::Has("Cannot disconnect ap"));
  EXPECT_EQ(Calls("wifi_ap_destroy"), 1U);
  EXPECT_EQ(Calls("wifi_disconnect"), 0U);
  Settle();
  EXPECT_EQ(m_wifi.ConnectedBssid(), kGuests);
}

TEST_F(EapReconnect, BeginsNothingWhenThePlatformRefusesToLeave) {
  m_tv.Fail("wifi_disconnect", WIFI_ERROR_OPERATION_FAILED, 1);
  EXPECT_FALSE(Begin());
  EXPECT_TRUE(test_log::Has("{EAP}wifi_disconnect failed => -29687039"));
  EXPECT_EQ(Calls("wifi_ap_destroy"), 1U);
  Settle();
  EXPECT_EQ(Calls(kConnect), 0U);
  EXPECT_EQ(m_statuses, Statuses{});
}

TEST_F(EapReconnect, OfAnotherKindOfNetworkIsBegunAndNeverEnds) {
  for (const char* type : {"Cellular", "wireless", "Wired ", ""}) {
    SetNetworkType(type);
    EXPECT_TRUE(Begin()) << type;
  }
  Settle();
  EXPECT_EQ(Calls("wifi_disconnect") + Calls(kClose), 0U);
  EXPECT_EQ(m_statuses, Statuses{});
}

TEST_F(EapReconnect, TellsTheStatusFromAnIdleCallbackAndOnlyTheLast) {
  SetNetworkType("Cellular");
  ASSERT_TRUE(Begin());
  m_reconnect->update(0);
  EXPECT_TRUE(test_log::Has("val==0"));
  m_reconnect->NotifyExitStatus(1);
  EXPECT_EQ(m_statuses, Statuses{});
  RunLoopOnce();
  EXPECT_EQ(m_statuses, Statuses{1});
}

TEST_F(EapReconnect, TellsNobodyWhenNobodyAsked) {
  m_reconnect->NotifyExitStatus(1);
  RunLoopOnce();
  EXPECT_EQ(m_statuses, Statuses{});
}

TEST_F(EapReconnect, MayBeEndedByItsOwnStatus) {
  const auto witness = std::make_shared<int>(7);
  int seen = 0;
  ASSERT_TRUE(m_reconnect->Reconnect([this, witness, &seen](int) {
    m_reconnect.reset();
    seen = *witness;
  }));
  Settle();
  EXPECT_EQ(m_reconnect, nullptr);
  EXPECT_EQ(seen, 7);
}

TEST_F(EapReconnect, MayEndWithAnyOfItsRequestsUnderWay) {
  for (const auto when : {0ms, 50ms, 150ms, 2050ms, 2105ms, 2500ms, 3000ms, 3195ms, 3205ms}) {
    ASSERT_TRUE(m_wifi.Join(kOffice));
    m_statuses.clear();
    m_reconnect = std::make_unique<CEAPReconnect>();
    ASSERT_TRUE(Begin());
    RunLoopFor(when);
    const Statuses told = m_statuses;
    m_reconnect.reset();
    Settle();
    EXPECT_EQ(m_statuses, told) << when.count();
  }
}

TEST_F(EapReconnect, IsNotToldOfTheRequestsOfAnotherInItsPlace) {
  alignas(CEAPReconnect) std::byte place[sizeof(CEAPReconnect)];
  auto* first = new (place) CEAPReconnect;
  ASSERT_TRUE(first->Reconnect([](int) {}));
  std::destroy_at(first);
  auto* second = new (place) CEAPReconnect;
  Settle();
  EXPECT_TRUE(test_log::Has("{EAP} disconnected 0"));
  EXPECT_EQ(Calls(kConnect), 0U);
  std::destroy_at(second);
}

TEST_F(EapReconnect, OfTheCableClosesAndOpensIt) {
  PlugIn();
  m_tv.InsertDongle();
  m_tv.StartTelephony();
  ASSERT_TRUE(Begin());
  EXPECT_TRUE(test_log::Has("GetUpdatedEthernetProfileHandle: [0]"));
  EXPECT_TRUE(test_log::Has("profile_type == CONNECTION_PROFILE_TYPE_ETHERNET"));
  RunLoopFor(210ms);
  EXPECT_TRUE(test_log::Has("Connection close Succeeded "));
  EXPECT_FALSE(m_tv.GetCable().IsInNetwork());
  EXPECT_EQ(Calls(kOpen), 1U);
  Settle();
  EXPECT_TRUE(test_log::Has("Connection open Succeeded "));
  EXPECT_TRUE(m_tv.GetCable().IsInNetwork());
  EXPECT_TRUE(test_log::Has("val==1"));
  EXPECT_EQ(m_statuses, Statuses{1});
  EXPECT_EQ(Calls("wifi_disconnect"), 0U);
}

TEST_F(EapReconnect, OfACableThatIsNotThereNeverEnds) {
  SetNetworkType("Wired");
  Run();
  EXPECT_TRUE(test_log::Has("Profile Type Not Ethernet: "));
  EXPECT_TRUE(test_log::Has("END"));
  RunLoopFor(24h);
  EXPECT_EQ(Calls(kClose), 0U);
  EXPECT_EQ(m_statuses, Statuses{});
}

TEST_F(EapReconnect, OfACableThatThePlatformWillNotCloseNeverEnds) {
  PlugIn();
  m_tv.Fail(kClose, CONNECTION_ERROR_OPERATION_FAILED, 1);
  Run();
  EXPECT_TRUE(test_log::Has("Connection close Failed!! "));
  EXPECT_EQ(m_statuses, Statuses{});
}

TEST_F(EapReconnect, OpensTheCableAlsoWhenClosingItFailedLater) {
  PlugIn();
  m_tv.GetWiredProfile().FailNext(CONNECTION_ERROR_OPERATION_FAILED);
  Run();
  EXPECT_TRUE(test_log::Has("Connection close Failed, err : "));
  EXPECT_EQ(Calls(kOpen), 1U);
  EXPECT_EQ(m_statuses, Statuses{1});
}

TEST_F(EapReconnect, OfACableThatWillNotOpenHasRunAllTheSame) {
  PlugIn();
  m_tv.Fail(kOpen, CONNECTION_ERROR_OPERATION_FAILED, 1);
  Run();
  EXPECT_TRUE(test_log::Has("Connection open Failed"));
  EXPECT_EQ(m_statuses, Statuses{1});
  EXPECT_FALSE(m_tv.GetCable().IsInNetwork());
}

TEST_F(EapReconnect, OfACableThatFailsToOpenLaterHasRunAllTheSame) {
  PlugIn();
  ASSERT_TRUE(Begin());
  RunLoopFor(210ms);
  m_tv.GetWiredProfile().FailNext(CONNECTION_ERROR_OPERATION_FAILED);
  Settle();
  EXPECT_TRUE(test_log::Has("Connection open Failed, err :"));
  EXPECT_EQ(m_statuses, Statuses{1});
}

TEST_F(EapReconnect, OfACableThatIsPulledMeanwhileHasRunAllTheSame) {
  PlugIn();
  ASSERT_TRUE(Begin());
  RunLoopFor(100ms);
  m_tv.UnplugCable();
  Settle();
  EXPECT_TRUE(test_log::Has("Connection close Failed, err : "));
  EXPECT_EQ(m_statuses, Statuses{1});
}

TEST_F(EapReconnect, OfACableWithoutNetworksToWalkNeverEnds) {
  PlugIn();
  m_tv.Fail("connection_get_profile_iterator", CONNECTION_ERROR_OPERATION_FAILED, 1);
  Run();
  EXPECT_TRUE(test_log::Has("Fail to get profile iterator [-1]"));
  EXPECT_TRUE(test_log::Has("Profile Type Not Ethernet: "));
  EXPECT_EQ(m_statuses, Statuses{});
}

TEST_F(EapReconnect, OpensWhatItClosedWhenTheNetworksCannotBeWalkedAgain) {
  PlugIn();
  ASSERT_TRUE(Begin());
  m_tv.Fail("connection_get_profile_iterator", CONNECTION_ERROR_OPERATION_FAILED);
  Settle();
  EXPECT_TRUE(test_log::Has("Connection open Succeeded "));
  EXPECT_EQ(m_statuses, Statuses{1});
}

TEST_F(EapReconnect, OfACableWhoseProfileCannotBeReadNeverEnds) {
  PlugIn();
  m_tv.Fail("connection_profile_iterator_next", CONNECTION_ERROR_OPERATION_FAILED, 1);
  Run();
  EXPECT_TRUE(test_log::Has("Fail to get profile handle"));
  m_tv.Fail("connection_profile_get_type", CONNECTION_ERROR_OPERATION_FAILED, 1);
  Run();
  EXPECT_TRUE(test_log::Has("Fail to get profile type"));
  EXPECT_EQ(Calls(kClose), 0U);
  EXPECT_EQ(m_statuses, Statuses{});
}

TEST_F(EapReconnect, WithoutAConnectionHandleDoesNothingOnTheCable) {
  PlugIn();
  m_tv.Fail("connection_create", CONNECTION_ERROR_OPERATION_FAILED, 1);
  m_reconnect = std::make_unique<CEAPReconnect>();
  test_log::Clear();
  EXPECT_TRUE(Begin());
  EXPECT_EQ(test_log::Messages(), (std::vector<std::string>{"Network Type vconf is Wired", "START"}));
  Settle();
  EXPECT_EQ(m_statuses, Statuses{});
}

TEST_F(EapReconnect, WithoutMemoryForTheCableSaysSoAndWorksOnWifi) {
  g_has_no_memory = true;
  m_reconnect = std::make_unique<CEAPReconnect>();
  g_has_no_memory = false;
  SetNetworkType("Wired");
  EXPECT_TRUE(Begin());
  EXPECT_TRUE(test_log::Has("Null Pointer"));
  SetNetworkType("Wireless");
  Run();
  EXPECT_EQ(m_statuses, Statuses{1});
}

TEST_F(EapReconnect, MayEndWithTheCableClosing) {
  for (const auto when : {0ms, 100ms, 205ms, 300ms, 405ms}) {
    PlugIn();
    m_statuses.clear();
    m_reconnect = std::make_unique<CEAPReconnect>();
    ASSERT_TRUE(Begin());
    RunLoopFor(when);
    const Statuses told = m_statuses;
    m_reconnect.reset();
    Settle();
    EXPECT_EQ(m_statuses, told) << when.count();
  }
}

TEST_F(EapReconnect, MayEndWithTheCableClosingOnAPlatformThatKeepsItsHandles) {
  m_tv.Fail("connection_destroy", CONNECTION_ERROR_OPERATION_FAILED);
  PlugIn();
  ASSERT_TRUE(Begin());
  m_reconnect.reset();
  Settle();
  EXPECT_TRUE(test_log::Has("Connection close Succeeded "));
  EXPECT_EQ(Calls(kOpen), 0U);

  m_reconnect = std::make_unique<CEAPReconnect>();
  ASSERT_TRUE(Begin());
  RunLoopFor(250ms);
  m_reconnect.reset();
  Settle();
  EXPECT_TRUE(test_log::Has("pThis NUll, err :"));
  EXPECT_EQ(m_statuses, Statuses{});
}

TEST_F(EapReconnect, GivesBackWhatItTook) {
  Run();
  PlugIn();
  Run();
  m_reconnect.reset();
  EXPECT_EQ(Calls("connection_create"), Calls("connection_destroy"));
  EXPECT_EQ(m_wifi.Handles().Count(), 0U);
}

class Observer : public CEAPObserver {
 public:
  void update(int status) override { statuses.push_back(status); }
  Statuses statuses;
};

TEST_F(EapReconnect, OfACableHasRunWhenThereIsNothingToOpenAnyMore) {
  ASSERT_TRUE(m_wifi.Forget("Office"));
  Observer observer;
  WiredEAPReconnect wired(&observer);
  WiredEAPReconnect::connection_closed_callback(CONNECTION_ERROR_NONE, &wired);
  EXPECT_EQ(observer.statuses, Statuses{1});
  EXPECT_EQ(Calls(kOpen), 0U);
}

TEST_F(EapReconnect, OfACableTriesWhateverNetworkIsLeft) {
  Observer observer;
  WiredEAPReconnect wired(&observer);
  WiredEAPReconnect::connection_closed_callback(CONNECTION_ERROR_NONE, &wired);
  EXPECT_EQ(Calls(kOpen), 1U);
  EXPECT_TRUE(test_log::Has("Connection open Failed"));
  EXPECT_EQ(observer.statuses, Statuses{1});
}

/// What comes of a whole reconnection when a platform function fails from its beginning on.
struct Failure {
  const char* function;
  bool begins;
  Statuses once;
  Statuses for_good;
};

void PrintTo(const Failure& failure, std::ostream* out) {
  *out << failure.function;
}

class EapFailure : public EapReconnect, public testing::WithParamInterface<Failure> {
 protected:
  void Expect(int times, const Statuses& expected) {
    m_tv.Fail(GetParam().function, -99, times);
    m_reconnect = std::make_unique<CEAPReconnect>();
    EXPECT_EQ(Begin(), GetParam().begins);
    Settle();
    EXPECT_EQ(m_statuses, expected);
    m_reconnect.reset();
    Settle();
    m_tv.StopFailing(GetParam().function);
  }
};

class EapWifiFailure : public EapFailure {};

TEST_P(EapWifiFailure, OnceEndsAsWritten) {
  Expect(1, GetParam().once);
}

TEST_P(EapWifiFailure, ForGoodEndsAsWritten) {
  Expect(VirtualTv::kForGood, GetParam().for_good);
}

INSTANTIATE_TEST_SUITE_P(Of, EapWifiFailure,
                         testing::Values(Failure{"wifi_initialize", true, {1}, {1}},
                                         Failure{"vconf_get_str", false, {}, {}},
                                         Failure{"wifi_get_connected_ap", false, {}, {}},
                                         Failure{"wifi_ap_get_essid", true, {1}, {1}},
                                         Failure{"wifi_ap_get_security_type", false, {}, {}},
                                         Failure{"wifi_disconnect", false, {}, {}},
                                         Failure{kConnect, true, {1}, {0}},
                                         Failure{"wifi_ap_destroy", true, {1}, {1}},
                                         Failure{"connection_create", true, {1}, {1}},
                                         Failure{"connection_destroy", true, {1}, {1}}),
                         [](const auto& test) { return std::string(test.param.function); });

class EapCableFailure : public EapFailure {
 protected:
  void SetUp() override { PlugIn(); }
};

TEST_P(EapCableFailure, OnceEndsAsWritten) {
  Expect(1, GetParam().once);
}

TEST_P(EapCableFailure, ForGoodEndsAsWritten) {
  Expect(VirtualTv::kForGood, GetParam().for_good);
}

INSTANTIATE_TEST_SUITE_P(Of, EapCableFailure,
                         testing::Values(Failure{"wifi_initialize", true, {1}, {1}},
                                         Failure{"vconf_get_str", false, {}, {}},
                                         Failure{"connection_create", true, {}, {}},
                                         Failure{"connection_get_profile_iterator", true, {}, {}},
                                         Failure{"connection_profile_iterator_next", true, {}, {}},
                                         Failure{"connection_profile_get_type", true, {}, {}},
                                         Failure{kClose, true, {}, {}}, Failure{kOpen, true, {1}, {1}},
                                         Failure{"connection_destroy", true, {1}, {1}}),
                         [](const auto& test) { return std::string(test.param.function); });

}  // namespace

#include <functional>
#include <optional>
#include <utility>

#include "VirtualWifiFixture.h"
#include "package_manager.h"
#include "sound_manager.h"

namespace {

using Changes = std::vector<std::pair<int, std::string>>;

constexpr int kLeft = WIFI_CONNECTION_STATE_DISCONNECTED;
constexpr int kAssociation = WIFI_CONNECTION_STATE_ASSOCIATION;
constexpr int kConfiguration = WIFI_CONNECTION_STATE_CONFIGURATION;
constexpr int kConnected = WIFI_CONNECTION_STATE_CONNECTED;

class VirtualWifiState : public VirtualWifiFixture {
 protected:
  VirtualWifiState() { Listen(); }
  void Listen() { EXPECT_EQ(wifi_set_connection_state_changed_cb(Note, &m_changes), WIFI_ERROR_NONE); }
  static void Note(wifi_connection_state_e state, wifi_ap_h ap, void* changes) {
    static_cast<Changes*>(changes)->emplace_back(state, TextOf(wifi_ap_get_bssid, ap));
  }
  Changes TakeChanges() {
    RunLoopFor(milliseconds(5000));
    return std::exchange(m_changes, {});
  }
  static Changes WayTo(const char* bssid) {
    return {{kAssociation, bssid}, {kConfiguration, bssid}, {kConnected, bssid}};
  }

  Changes m_changes;
};

TEST_F(VirtualWifiState, IsToldAfterItsLatency) {
  m_wifi.Join(kLow);
  m_wifi.Drop();
  RunLoopFor(milliseconds(9));
  EXPECT_EQ(m_changes, Changes{});
  RunLoopFor(milliseconds(2));
  EXPECT_EQ(TakeChanges(), (Changes{{kLeft, kLow}}));
  m_tv.SetLatency(EventKind::kWifiState, 1000);
  m_wifi.Join(kLow);
  m_wifi.Drop();
  RunLoopFor(milliseconds(999));
  EXPECT_EQ(m_changes, Changes{});
  EXPECT_EQ(TakeChanges(), (Changes{{kLeft, kLow}}));
}

TEST_F(VirtualWifiState, JoinAtOnceIsNotTold) {
  m_wifi.Join(kLow);
  m_wifi.Join(kHigh);
  EXPECT_EQ(TakeChanges(), Changes{});
  EXPECT_EQ(m_wifi.ConnectedBssid(), kHigh);
}

TEST_F(VirtualWifiState, OwnerConnectsStepByStepAndTheNetworkIsSaved) {
  m_wifi.AddRadio({.bssid = kOther, .essid = "Attic", .is_hidden = true, .passphrase = "moths"});
  ASSERT_TRUE(m_wifi.Connect(kOther));
  EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_DISCONNECTED);
  EXPECT_EQ(TakeChanges(), WayTo(kOther));
  EXPECT_EQ(m_wifi.FindSaved("Attic", WIFI_SECURITY_TYPE_WPA2_PSK)->passphrase, "moths");
  ASSERT_TRUE(m_wifi.Connect(kLow));
  Changes move = WayTo(kLow);
  move.insert(move.begin(), {kLeft, kOther});
  EXPECT_EQ(TakeChanges(), move);
  EXPECT_FALSE(m_wifi.Connect(kLow));  // is there
  EXPECT_FALSE(m_wifi.Connect("02:00:00:00:99:99"));
  m_wifi.SetOn(kOther, false);
  EXPECT_FALSE(m_wifi.Connect(kOther));
  EXPECT_EQ(TakeChanges(), Changes{});
}

TEST_F(VirtualWifiState, OwnerTakesThePlaceOfTheProgramsRequest) {
  ASSERT_EQ(Connect(To(kLow)), WIFI_ERROR_NONE);
  ASSERT_TRUE(m_wifi.Connect(kHigh));
  EXPECT_EQ(TakeChanges(), WayTo(kHigh));
  EXPECT_EQ(m_answers, Answers{WIFI_ERROR_OPERATION_ABORTED});
}

TEST_F(VirtualWifiState, RequestThatLosesItsPlaceLeavesItsRadio) {
  ASSERT_EQ(Connect(To(kLow)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(2200));
  ASSERT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_ASSOCIATION);
  ASSERT_EQ(Connect(To(kHigh, 5180)), WIFI_ERROR_NONE);
  Changes changes = WayTo(kHigh);
  changes.insert(changes.begin(), {{kAssociation, kLow}, {kLeft, kLow}});
  EXPECT_EQ(TakeChanges(), changes);
}

TEST_F(VirtualWifiState, EveryLossIsToldOnce) {
  const std::vector<std::function<void()>> losses{
      [&] { m_wifi.Drop(); },
      [&] { m_wifi.SetOn(kLow, false); },
      [&] { m_wifi.RemoveRadio(kLow); },
      [&] { m_wifi.AddRadio({.bssid = kLow, .essid = "Other"}); },
      [&] { m_wifi.AddRadio({.bssid = kLow, .essid = "Den", .passphrase = kSecret, .is_on = false}); },
  };
  for (const auto& lose : losses) {
    m_wifi.AddRadio({.bssid = kLow, .essid = "Den", .passphrase = kSecret});
    m_wifi.Join(kLow);
    lose();
    m_wifi.Drop();
    EXPECT_EQ(TakeChanges(), (Changes{{kLeft, kLow}}));
  }
}

TEST_F(VirtualWifiState, ForcedFailureIsToldAsAnyOther) {
  m_wifi.FailNext(WifiRequest::kConnect, WIFI_ERROR_NO_REPLY);
  ASSERT_EQ(Connect(To(kLow)), WIFI_ERROR_NONE);
  EXPECT_EQ(TakeChanges(), (Changes{{kAssociation, kLow}, {kLeft, kLow}}));
  EXPECT_EQ(m_answers, Answers{WIFI_ERROR_NO_REPLY});
}

TEST_F(VirtualWifiState, CallbackHearsNothingOfWhatWasBeforeIt) {
  m_wifi.Join(kLow);
  m_wifi.Drop();
  ASSERT_EQ(wifi_unset_connection_state_changed_cb(), WIFI_ERROR_NONE);
  Listen();
  EXPECT_EQ(TakeChanges(), Changes{});
}

TEST_F(VirtualWifiState, CallbackThatReplacesAnotherHearsWhatIsUnderWay) {
  m_wifi.Join(kLow);
  m_wifi.Drop();
  Changes changes;
  ASSERT_EQ(wifi_set_connection_state_changed_cb(Note, &changes), WIFI_ERROR_NONE);
  EXPECT_EQ(TakeChanges(), Changes{});
  EXPECT_EQ(changes, (Changes{{kLeft, kLow}}));
}

TEST_F(VirtualWifiState, HandleOfAChangeEndsWithTheCall) {
  ASSERT_TRUE(m_wifi.Connect(kLow));
  TakeChanges();
  EXPECT_EQ(m_wifi.Handles().Count(), 0U);
}

struct Verdict {
  int result;
  bool is_captive;
  std::optional<std::string> url;
  bool operator==(const Verdict&) const = default;
};

class VirtualPortal : public VirtualWifiFixture {
 protected:
  void Ask() {
    const auto note = [](wifi_manager_error_e result, bool is_captive, char* url, void* self) {
      static_cast<VirtualPortal*>(self)->m_verdicts.push_back(
          {result, is_captive, url == nullptr ? std::nullopt : std::optional<std::string>(url)});
    };
    ASSERT_EQ(wifi_ap_is_captive_portal_network(note, this), WIFI_MANAGER_ERROR_NONE);
  }
  std::vector<Verdict> m_verdicts;
};

TEST_F(VirtualPortal, SaysWhatTheRadioSaysThatIsConnectedWhenTheTimeIsUp) {
  m_wifi.FindRadio(kHigh)->portal_url = "http://hotel/";
  m_wifi.Join(kLow);
  Ask();
  RunLoopFor(milliseconds(299));
  EXPECT_TRUE(m_verdicts.empty());
  m_wifi.Join(kHigh);
  RunLoopFor(milliseconds(2));
  EXPECT_EQ(m_verdicts, (std::vector<Verdict>{{WIFI_MANAGER_ERROR_NONE, true, "http://hotel/"}}));
}

TEST_F(VirtualPortal, SaysThatTheConnectionWasLost) {
  m_wifi.Join(kLow);
  Ask();
  m_wifi.Drop();
  RunLoopFor(milliseconds(301));
  EXPECT_EQ(m_verdicts, (std::vector<Verdict>{{WIFI_MANAGER_ERROR_NO_CONNECTION, false, std::nullopt}}));
}

TEST_F(VirtualPortal, CanBeToldToFailOrToBeLateOnce) {
  m_wifi.Join(kHigh);
  m_wifi.FindRadio(kHigh)->portal_url = "http://hotel/";
  m_wifi.FailNext(WifiRequest::kPortal, WIFI_MANAGER_ERROR_OPERATION_FAILED);
  m_tv.DelayNext(EventKind::kPortal, 10'000);
  Ask();
  RunLoopFor(milliseconds(10'299));
  EXPECT_TRUE(m_verdicts.empty());
  RunLoopFor(milliseconds(2));
  Ask();
  RunLoopFor(milliseconds(301));
  EXPECT_EQ(m_verdicts, (std::vector<Verdict>{{WIFI_MANAGER_ERROR_OPERATION_FAILED, false, std::nullopt},
                                              {WIFI_MANAGER_ERROR_NONE, true, "http://hotel/"}}));
}

TEST(VirtualPackages, AreThoseThatWereInstalled) {
  VirtualTv& tv = VirtualTv::Instance();
  Packages& packages = tv.GetPackages();
  package_info_h info = nullptr;
  EXPECT_TRUE(packages.List().empty());
  EXPECT_EQ(package_manager_get_package_info("org.orvik.browser", &info),
            PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
  packages.Install("org.orvik.browser");
  packages.Install("org.orvik.browser");
  tv.Fail("package_manager_get_package_info", PACKAGE_MANAGER_ERROR_IO_ERROR, 1);
  EXPECT_EQ(package_manager_get_package_info("org.orvik.browser", &info),
            PACKAGE_MANAGER_ERROR_IO_ERROR);
  EXPECT_EQ(info, nullptr);
  ASSERT_EQ(package_manager_get_package_info("org.orvik.browser", &info), PACKAGE_MANAGER_ERROR_NONE);
  EXPECT_TRUE(packages.Remove("org.orvik.browser"));
  EXPECT_FALSE(packages.Remove("org.orvik.browser"));
  tv.Fail("package_info_destroy", -77, 1);
  EXPECT_EQ(package_info_destroy(info), -77);
  EXPECT_EQ(package_info_destroy(info), PACKAGE_MANAGER_ERROR_NONE);
  EXPECT_EQ(package_info_destroy(info), PACKAGE_MANAGER_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(packages.GetHandles().Count(), 0U);
}

TEST(VirtualSound, GoesWhereItWasSent) {
  VirtualTv& tv = VirtualTv::Instance();
  int selection = -1;
  EXPECT_EQ(sound_manager_get_speaker_selection(&selection), SOUND_MANAGER_ERROR_NONE);
  EXPECT_EQ(selection, 0);
  tv.SetSpeakerSelection(SOUND_MANAGER_SPEAKER_NETWORK);
  tv.Fail("sound_manager_get_speaker_selection", SOUND_MANAGER_ERROR_INTERNAL, 1);
  EXPECT_EQ(sound_manager_get_speaker_selection(&selection), SOUND_MANAGER_ERROR_INTERNAL);
  EXPECT_EQ(selection, 0);
  EXPECT_EQ(sound_manager_get_speaker_selection(&selection), SOUND_MANAGER_ERROR_NONE);
  EXPECT_EQ(selection, SOUND_MANAGER_SPEAKER_NETWORK);
}

}  // namespace

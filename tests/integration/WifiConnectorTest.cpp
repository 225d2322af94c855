#include "WifiConnector.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "BusRoom.h"
#include "MainLoop.h"
#include "NetworkService.h"
#include "ProfileUpdates.h"
#include "SettingsFile.h"
#include "Supplicant.h"
#include "WifiStub.h"
#include "platform.h"

using namespace std::chrono_literals;

namespace {

using Results = std::vector<int>;

constexpr auto kMoment = 300ms;
const WifiStub::Radio kLow{
    .bssid = "02:00:00:00:10:00", .ssid = "Den", .security = "wpa2", .passphrase = "fourteen geese"};
const WifiStub::Radio kHigh{.bssid = "02:00:00:00:10:04",
                            .ssid = "Den",
                            .frequency = 5180,
                            .signal = -70,
                            .security = "wpa2",
                            .passphrase = "fourteen geese"};

void Count(int* changes) {
  ++*changes;
}

NMDevice* Device() {
  return NM_DEVICE(NetworkService::Instance().WifiDevice());
}

class WifiConnectorTest : public testing::Test {
 protected:
  void SetUp() override {
    m_bus.StartBus();
    m_stub.StartBoth();
    m_stub.PutOnAir(kLow);
    m_stub.PutOnAir(kHigh);
  }
  void TearDown() override { platform_stop(); }

  static void Start() {
    ASSERT_EQ(platform_start(), 0);
    RunLoopUntil([] { return Device() != nullptr && Supplicant::Instance().IsReady(); });
  }
  /// A request whose radio's security stands for the kind of its secret.
  static int Connect(const WifiStub::Radio& radio, Results& results) {
    const auto security = radio.security == "eap" ? WIFI_SECURITY_TYPE_EAP : WIFI_SECURITY_TYPE_WPA2_PSK;
    return WifiConnector::Instance().Connect(
        {.name = radio.ssid, .bssid = radio.bssid, .frequency = radio.frequency, .security = security},
        [&results](int result) { results.push_back(result); });
  }
  static int ConnectAndWait(const WifiStub::Radio& radio) {
    Results results;
    EXPECT_EQ(Connect(radio, results), WIFI_ERROR_NONE);
    RunLoopUntil([&] { return !results.empty(); });
    EXPECT_EQ(results.size(), 1u);
    return results.empty() ? 1 : results.front();
  }

  /// The only Wi-Fi profile; null when there is not one.
  static NMRemoteConnection* TheProfile(NMClient* client = NetworkService::Instance().Client()) {
    NMRemoteConnection* found = nullptr;
    const GPtrArray* const profiles = nm_client_get_connections(client);
    for (guint i = 0; i < profiles->len; ++i) {
      auto* const profile = NM_REMOTE_CONNECTION(g_ptr_array_index(profiles, i));
      if (nm_connection_get_setting_wireless(NM_CONNECTION(profile)) != nullptr) {
        EXPECT_EQ(found, nullptr);
        found = profile;
      }
    }
    return found;
  }
  /// On disk as somebody saved it, with nothing of ours.
  static bool IsAsSaved() {
    NMRemoteConnection* const profile = TheProfile();
    NMConnection* const content = NM_CONNECTION(profile);
    NMSettingWireless* const wireless = nm_connection_get_setting_wireless(content);
    return nm_remote_connection_get_flags(profile) == NM_SETTINGS_CONNECTION_FLAG_NONE &&
           nm_setting_wireless_get_bssid(wireless) == nullptr && !wifi_profile::IsPinned(content);
  }
  /// Whether the passphrase is still in it.
  static bool HasPassphrase() {
    std::optional<bool> has;
    profile_updates::ReadSecrets(TheProfile(), [&](wifi_profile::Profile full) {
      has = full != nullptr && wifi_profile::PassphraseOf(full.get()) == kLow.passphrase;
    });
    RunLoopUntil([&] { return has.has_value(); });
    return has.value_or(false);
  }
  static bool IsMarked() {
    return std::filesystem::exists(settings::MemoryRoot() + "/wifi-autoconnect-is-held");
  }

  static inline bool m_is_to_go_back = false;
  BusRoom m_bus;
  WifiStub m_stub;
};
using AWifiConnection = WifiConnectorTest;

}  // namespace

TEST_F(AWifiConnection, LeavesItsProfileAsItWasSaved) {
  m_stub.Save(kLow, "autoconnect");
  Start();
  for (const WifiStub::Radio& radio : {kHigh, kLow}) {
    ASSERT_EQ(ConnectAndWait(radio), WIFI_ERROR_NONE);
    EXPECT_EQ(m_stub.ConnectedBssid(), radio.bssid);
    RunLoopUntil(IsAsSaved);
    EXPECT_TRUE(HasPassphrase());
    EXPECT_TRUE(nm_device_get_autoconnect(Device()));
    EXPECT_FALSE(IsMarked());
  }
}

TEST_F(AWifiConnection, ThatWasRefusedLeavesItsProfileAsItWasSavedAndTheTvInPeaceForAWhile) {
  m_stub.Save(kLow, "autoconnect");
  Start();
  ASSERT_EQ(ConnectAndWait(kLow), WIFI_ERROR_NONE);
  m_stub.SetAnswer(kHigh.bssid, "full");
  ASSERT_EQ(ConnectAndWait(kHigh), WIFI_ERROR_REFUSED);
  EXPECT_EQ(m_stub.ConnectedBssid(), "");
  EXPECT_TRUE(IsMarked());
  RunLoopUntil(IsAsSaved);
  EXPECT_TRUE(HasPassphrase());
  RunLoopFor(10s);
  EXPECT_EQ(m_stub.ConnectedBssid(), "");
  RunLoopUntil([&] { return m_stub.ConnectedBssid() == kLow.bssid; });  // life goes on
  EXPECT_FALSE(IsMarked());
}

TEST_F(AWifiConnection, EndsItsMoveWhenSomebodyLeadsTheTvElsewhere) {
  m_stub.Save(kLow);
  Start();
  ASSERT_EQ(ConnectAndWait(kLow), WIFI_ERROR_NONE);
  m_stub.SetAnswer(kHigh.bssid, "silent");
  Results results;
  ASSERT_EQ(Connect(kHigh, results), WIFI_ERROR_NONE);
  RunLoopFor(kMoment);
  ASSERT_EQ(results, Results{});
  nm_client_activate_connection_async(NetworkService::Instance().Client(), NM_CONNECTION(TheProfile()),
                                      Device(), nullptr, nullptr, nullptr, nullptr);
  RunLoopUntil([&] { return !results.empty(); });
  EXPECT_EQ(results, Results{WIFI_ERROR_OPERATION_FAILED});
}

TEST_F(AWifiConnection, MovesToAnotherRadioOfItsNetworkWithoutLeavingTheNetwork) {
  m_stub.Save(kLow);
  Start();
  ASSERT_EQ(ConnectAndWait(kLow), WIFI_ERROR_NONE);
  NMActiveConnection* const before = nm_device_get_active_connection(Device());
  int changes = 0;
  const gulong signal =
      g_signal_connect_swapped(Device(), "notify::" NM_DEVICE_STATE, G_CALLBACK(Count), &changes);
  for (const WifiStub::Radio& radio : {kHigh, kLow, kHigh}) {
    EXPECT_EQ(ConnectAndWait(radio), WIFI_ERROR_NONE);
    EXPECT_EQ(m_stub.ConnectedBssid(), radio.bssid);
  }
  g_signal_handler_disconnect(Device(), signal);
  EXPECT_EQ(changes, 0);
  EXPECT_EQ(nm_device_get_active_connection(Device()), before);
  EXPECT_TRUE(IsAsSaved());
  m_stub.Ask("scan");
  RunLoopFor(1s);
  EXPECT_EQ(m_stub.ConnectedBssid(), kHigh.bssid);  // stays, though the other is stronger
}

TEST_F(AWifiConnection, ThatHasMovedGivesWayToWhoeverHearsOfIt) {
  m_stub.Save(kLow);
  ASSERT_EQ(wifi_initialize(), WIFI_ERROR_NONE);
  Start();
  ASSERT_EQ(ConnectAndWait(kLow), WIFI_ERROR_NONE);
  Results back;
  const auto go_back = [](wifi_connection_state_e state, wifi_ap_h, void* results) {
    auto& back = *static_cast<Results*>(results);
    if (state == WIFI_CONNECTION_STATE_CONNECTED && m_is_to_go_back) {
      m_is_to_go_back = false;
      EXPECT_EQ(Connect(kLow, back), WIFI_ERROR_NONE);
    }
  };
  m_is_to_go_back = true;
  ASSERT_EQ(wifi_set_connection_state_changed_cb(go_back, &back), WIFI_ERROR_NONE);
  EXPECT_EQ(ConnectAndWait(kHigh), WIFI_ERROR_OPERATION_ABORTED);
  RunLoopUntil([&] { return !back.empty(); });
  wifi_unset_connection_state_changed_cb();
  EXPECT_EQ(back, Results{WIFI_ERROR_NONE});
  EXPECT_EQ(m_stub.ConnectedBssid(), kLow.bssid);
}

TEST_F(AWifiConnection, ConnectsAnewWhereTheSupplicantDoesNotMove) {
  m_stub.Save(kLow);
  Start();
  ASSERT_EQ(ConnectAndWait(kLow), WIFI_ERROR_NONE);
  for (const char* call : {"Get", "Set", "Roam"}) {
    for (const char* how : {"error ", "nonsense ", "never "}) {
      m_stub.Answer(WifiStub::kSupplicant, std::string(how) + call);
      const auto& radio = m_stub.ConnectedBssid() == kLow.bssid ? kHigh : kLow;
      EXPECT_EQ(ConnectAndWait(radio), WIFI_ERROR_NONE) << how << call;
      EXPECT_EQ(m_stub.ConnectedBssid(), radio.bssid) << how << call;
    }
  }
}

TEST_F(AWifiConnection, ThatFindsNobodyWhereItMovesToIsLeft) {
  m_stub.Save(kLow);
  Start();
  ASSERT_EQ(ConnectAndWait(kLow), WIFI_ERROR_NONE);
  m_stub.SetAnswer(kHigh.bssid, "silent");
  EXPECT_EQ(ConnectAndWait(kHigh), WIFI_ERROR_NO_REPLY);
  EXPECT_EQ(m_stub.ConnectedBssid(), "");
  EXPECT_EQ(ConnectAndWait(kLow), WIFI_ERROR_NONE);
}

TEST_F(AWifiConnection, ThatGivesWayToAnotherLeavesItsProfileAsItWasSaved) {
  m_stub.Save(kLow);
  m_stub.SetAnswer(kHigh.bssid, "silent");
  Start();
  Results results;
  ASSERT_EQ(Connect(kHigh, results), WIFI_ERROR_NONE);
  RunLoopUntil([] { return nm_device_get_state(Device()) == NM_DEVICE_STATE_CONFIG; });
  EXPECT_TRUE(wifi_profile::IsPinned(NM_CONNECTION(TheProfile())));
  EXPECT_EQ(ConnectAndWait(kLow), WIFI_ERROR_NONE);
  EXPECT_EQ(results, Results{WIFI_ERROR_OPERATION_ABORTED});
  RunLoopUntil(IsAsSaved);
}

TEST_F(AWifiConnection, OfAKilledProcessIsPutRightByTheNext) {
  m_stub.Save(kLow, "autoconnect");
  g_autoptr(GError) error = nullptr;
  g_autoptr(NMClient) other = nm_client_new(nullptr, &error);
  ASSERT_NE(other, nullptr) << error->message;
  NMRemoteConnection* const profile = TheProfile(other);
  ASSERT_NE(profile, nullptr);
  bool is_pinned = false;
  profile_updates::ReadSecrets(profile, [&](wifi_profile::Profile full) {
    profile_updates::Pin(profile, profile_updates::OriginalOf(profile, full.get()), kHigh.bssid,
                         [&](bool is_done) { is_pinned = is_done; });
  });
  RunLoopUntil([&] { return is_pinned; });
  NMDevice* const device = nm_client_get_device_by_iface(other, WifiStub::kInterface);
  nm_client_dbus_set_property(other, nm_object_get_path(NM_OBJECT(device)), NM_DBUS_INTERFACE_DEVICE,
                              "Autoconnect", g_variant_new_boolean(FALSE), -1, nullptr, nullptr,
                              nullptr);
  RunLoopUntil([&] { return nm_device_get_autoconnect(device) == FALSE; });
  std::filesystem::create_directories(settings::MemoryRoot());
  ASSERT_TRUE(g_file_set_contents((settings::MemoryRoot() + "/wifi-autoconnect-is-held").c_str(), "", 0,
                                  nullptr));
  Start();
  RunLoopUntil(IsAsSaved);
  EXPECT_TRUE(HasPassphrase());
  RunLoopUntil([&] { return nm_device_get_autoconnect(device) != FALSE; });
  EXPECT_FALSE(IsMarked());
}

// Somebody else who keeps the interface from connecting by itself has a reason.
TEST_F(AWifiConnection, LeavesToOthersWhatTheyHold) {
  Start();
  nm_client_dbus_set_property(NetworkService::Instance().Client(),
                              nm_object_get_path(NM_OBJECT(Device())), NM_DBUS_INTERFACE_DEVICE,
                              "Autoconnect", g_variant_new_boolean(FALSE), -1, nullptr, nullptr,
                              nullptr);
  RunLoopUntil([] { return nm_device_get_autoconnect(Device()) == FALSE; });
  platform_stop();
  Start();
  RunLoopFor(kMoment);
  EXPECT_FALSE(nm_device_get_autoconnect(Device()));
}

// The service would go on for half a minute, and name every cause alike.
TEST_F(AWifiConnection, With8021XEndsWhenTheSupplicantSaysSo) {
  WifiStub::Radio office = kLow;
  office.bssid = "02:00:00:00:30:00";
  office.ssid = "Office";
  office.security = "eap";
  m_stub.PutOnAir(office);
  m_stub.Save(office);
  Start();
  m_stub.SetAnswer(office.bssid, "refuses-eap");
  EXPECT_EQ(ConnectAndWait(office), WIFI_ERROR_INVALID_KEY);
  m_stub.SetAnswer(office.bssid, "unknown-ca");
  EXPECT_EQ(ConnectAndWait(office), WIFI_ERROR_OPERATION_FAILED);
  m_stub.SetAnswer(office.bssid, "lets-in");
  EXPECT_EQ(ConnectAndWait(office), WIFI_ERROR_NONE);
}

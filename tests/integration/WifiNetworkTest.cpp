#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <NetworkManager.h>
#include <gtest/gtest.h>

#include "BusRoom.h"
#include "InternetRoom.h"
#include "MainLoop.h"
#include "Network.h"
#include "NetworkService.h"
#include "WifiStub.h"
#include "net_connection.h"
#include "platform.h"
#include "wifi_manager.h"

using namespace std::chrono_literals;

namespace {

struct Verdict {
  int result;
  bool is_captive;
  std::optional<std::string> page;
  bool operator==(const Verdict&) const = default;
};
using Verdicts = std::vector<Verdict>;

/// What is asked of the access point that NetworkManager has connected the machine to, with real servers
/// behind it.
class WifiNetwork : public testing::Test {
 protected:
  void SetUp() override {
    network::EnterNamespace();
    network::AddCable("wlan0", "air");
    m_internet.emplace();
    m_bus.StartBus();
    m_stub.emplace();
    m_stub->PutOnAir({.bssid = kCafe, .ssid = "Cafe"});
    m_stub->Save({.bssid = kCafe, .ssid = "Cafe"}, "autoconnect");
    ASSERT_EQ(platform_start(), 0);
    ASSERT_EQ(connection_create(&m_connection), CONNECTION_ERROR_NONE);
  }
  void TearDown() override { platform_stop(); }

  static bool IsConnected() {
    NMDeviceWifi* const device = NetworkService::Instance().WifiDevice();
    return device != nullptr && nm_device_get_state(NM_DEVICE(device)) == NM_DEVICE_STATE_ACTIVATED;
  }
  void Connect() {
    m_stub->StartBoth();
    RunLoopUntil(IsConnected);
  }
  static void Note(wifi_manager_error_e result, bool is_captive, char* page, void* verdicts) {
    static_cast<Verdicts*>(verdicts)->push_back(
        {result, is_captive, page == nullptr ? std::nullopt : std::optional<std::string>(page)});
  }
  Verdict Ask() {
    m_verdicts.clear();
    EXPECT_EQ(wifi_ap_is_captive_portal_network(Note, &m_verdicts), WIFI_MANAGER_ERROR_NONE);
    EXPECT_EQ(m_verdicts, Verdicts{});
    RunLoopUntil([this] { return !m_verdicts.empty(); }, 20s);
    RunLoopFor(200ms);
    EXPECT_EQ(m_verdicts.size(), 1U);
    return m_verdicts.empty() ? Verdict{} : m_verdicts.front();
  }
  /// @return -1 for none
  int Hotspot() {
    int status = -1;
    const int result = connection_check_hotspot(m_connection, &status);
    EXPECT_EQ(result, status < 0 ? CONNECTION_ERROR_NO_CONNECTION : CONNECTION_ERROR_NONE);
    return status;
  }

  static constexpr char kCafe[] = "02:00:00:00:20:00";
  std::optional<InternetRoom> m_internet;
  BusRoom m_bus;
  std::optional<WifiStub> m_stub;
  connection_h m_connection = nullptr;
  Verdicts m_verdicts;
};

}  // namespace

TEST_F(WifiNetwork, WithoutAConnectionThereIsNothingToAsk) {
  EXPECT_EQ(wifi_ap_is_captive_portal_network(nullptr, nullptr), WIFI_MANAGER_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(wifi_ap_is_captive_portal_network(Note, &m_verdicts), WIFI_MANAGER_ERROR_NO_CONNECTION);
  EXPECT_EQ(Hotspot(), -1);
}

TEST_F(WifiNetwork, APortalIsToldWithItsPage) {
  Connect();
  EXPECT_EQ(Ask(), (Verdict{WIFI_MANAGER_ERROR_NONE, false, std::nullopt}));
  m_internet->SetHttp("302 http://192.0.2.1/welcome?room=12&back=%2F");
  EXPECT_EQ(Ask(),
            (Verdict{WIFI_MANAGER_ERROR_NONE, true, "http://192.0.2.1/welcome?room=12&back=%2F"}));
  m_internet->SetHttp("511");
  EXPECT_EQ(Ask(), (Verdict{WIFI_MANAGER_ERROR_NONE, true, std::nullopt}));
  m_internet->SetHttp("other");
  EXPECT_EQ(Ask(), (Verdict{WIFI_MANAGER_ERROR_NONE, true, std::nullopt}));
}

TEST_F(WifiNetwork, AServerInTroubleIsNoPortal) {
  Connect();
  m_internet->SetHttp("500");
  EXPECT_EQ(Ask(), (Verdict{WIFI_MANAGER_ERROR_OPERATION_FAILED, false, std::nullopt}));
  m_internet->SetDns("nxdomain");
  EXPECT_EQ(Ask(), (Verdict{WIFI_MANAGER_ERROR_OPERATION_FAILED, false, std::nullopt}));
}

TEST_F(WifiNetwork, AConnectionThatIsLostOnTheWayIsToldAtOnce) {
  Connect();
  m_internet->SetHttp("hang");
  ASSERT_EQ(wifi_ap_is_captive_portal_network(Note, &m_verdicts), WIFI_MANAGER_ERROR_NONE);
  RunLoopFor(500ms);
  EXPECT_EQ(m_verdicts, Verdicts{});
  m_stub->TakeOffAir(kCafe);
  RunLoopUntil([this] { return !m_verdicts.empty(); });
  EXPECT_EQ(m_verdicts, (Verdicts{{WIFI_MANAGER_ERROR_NO_CONNECTION, false, std::nullopt}}));
}

TEST_F(WifiNetwork, NothingIsToldAfterTheStop) {
  Connect();
  ASSERT_EQ(wifi_ap_is_captive_portal_network(Note, &m_verdicts), WIFI_MANAGER_ERROR_NONE);
  platform_stop();
  RunLoopFor(1s);
  EXPECT_EQ(m_verdicts, Verdicts{});
}

TEST_F(WifiNetwork, WhereTheProbeIsSwitchedOffNoPortalIsLookedFor) {
  InternetRoom::Configure("[InternetProbe]\nEnabled=false\n");
  Connect();
  EXPECT_EQ(wifi_ap_is_captive_portal_network(Note, &m_verdicts), WIFI_MANAGER_ERROR_NOT_SUPPORTED);
}

TEST_F(WifiNetwork, ATelephoneSaysThatItIsOne) {
  Connect();
  EXPECT_EQ(Hotspot(), 0);
  const auto meter = [this](NMMetered metered) {
    auto* const device = NM_DEVICE(NetworkService::Instance().WifiDevice());
    m_stub->Ask(std::string("property nm ") + nm_object_get_path(NM_OBJECT(device)) +
                " org.freedesktop.NetworkManager.Device Metered uint32 " + std::to_string(metered));
    RunLoopUntil([&] { return nm_device_get_metered(device) == metered; });
  };
  meter(NM_METERED_GUESS_YES);
  EXPECT_EQ(Hotspot(), 1);
  meter(NM_METERED_YES);
  EXPECT_EQ(Hotspot(), 0) << "the user has said so, and not the access point";
}

#include "WifiRoom.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "BusRoom.h"
#include "InternetRoom.h"
#include "MainLoop.h"
#include "Network.h"
#include "NetworkService.h"
#include "Supplicant.h"
#include "WifiStub.h"

using namespace std::chrono_literals;

namespace {

const char* NameOf(WifiRoom::Answer answer) {
  switch (answer) {
    case WifiRoom::Answer::kLetsIn:
      return "lets-in";
    case WifiRoom::Answer::kRefuses:
      return "refuses";
    case WifiRoom::Answer::kNone:
      return "silent";
    case WifiRoom::Answer::kNoAddress:
      return "no-address";
  }
  std::abort();
}

WifiStub::Radio StubRadio(const WifiRoom::AirRadio& radio) {
  return {.bssid = radio.bssid,
          .ssid = radio.essid,
          .frequency = radio.frequency,
          .signal = radio.is_far ? -70 : -40,
          .security = radio.security == WIFI_SECURITY_TYPE_NONE ? "none" : "wpa2",
          .passphrase = radio.passphrase,
          .is_hidden = radio.is_hidden};
}

bool IsProfileOf(NMConnection* profile, std::string_view essid) {
  NMSettingWireless* const wireless = nm_connection_get_setting_wireless(profile);
  GBytes* const ssid = wireless == nullptr ? nullptr : nm_setting_wireless_get_ssid(wireless);
  if (ssid == nullptr) {
    return false;
  }
  gsize size = 0;
  const auto* const bytes = static_cast<const char*>(g_bytes_get_data(ssid, &size));
  return std::string_view(bytes, size) == essid;
}

class LinuxWifiRoom : public WifiRoom {
 public:
  LinuxWifiRoom() {
    network::EnterNamespace();
    network::AddCable(WifiStub::kInterface, "air");
    m_internet.emplace();
    m_bus.StartBus();
    m_services.emplace();
    m_services->StartBoth();
  }
  void PutOnAir(const AirRadio& radio) override { m_services->PutOnAir(StubRadio(radio)); }
  void TakeOffAir(const std::string& bssid) override {
    if (m_services->ConnectedBssid() == bssid) {
      m_internet->SetHttp("hang");  // nothing comes through the air any more
    }
    m_services->TakeOffAir(bssid);
  }
  void SetAnswer(const std::string& bssid, Answer answer) override {
    m_services->SetAnswer(bssid, NameOf(answer));
  }
  /// Whatever radio leads there.
  void SetPortal(const std::string& /*bssid*/, const std::string& url) override {
    m_internet->SetHttp(url.empty() ? "fine" : "302 " + url);
  }
  /// Returns when a platform that runs knows of it.
  void Save(const AirRadio& radio) override {
    m_services->Save(StubRadio(radio));
    if (NMClient* const client = NetworkService::Instance().Client(); client != nullptr) {
      RunLoopUntil([&] {
        const GPtrArray* const profiles = nm_client_get_connections(client);
        return std::any_of(profiles->pdata, profiles->pdata + profiles->len, [&](gpointer profile) {
          return IsProfileOf(NM_CONNECTION(profile), radio.essid);
        });
      });
    }
  }
  [[nodiscard]] bool IsReady() const override {
    return NetworkService::Instance().WifiDevice() != nullptr && Supplicant::Instance().IsReady();
  }
  [[nodiscard]] std::chrono::milliseconds LongestRequest() const override { return 3000ms; }
  [[nodiscard]] std::chrono::milliseconds Settling() const override { return 300ms; }

 private:
  std::optional<InternetRoom> m_internet;
  BusRoom m_bus;
  std::optional<WifiStub> m_services;
};

}  // namespace

std::unique_ptr<WifiRoom> WifiRoom::Enter() {
  return std::make_unique<LinuxWifiRoom>();
}

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

#include <sys/socket.h>

#include "InternetRoom.h"
#include "MainLoop.h"
#include "ModemRoom.h"
#include "Network.h"
#include "NetworkService.h"
#include "Room.h"
#include "WifiStub.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

constexpr char kCable[] = "eth0";
constexpr char kDataDirectory[] = "/run/data";

fs::path DesktopFile(const std::string& id) {
  return fs::path(kDataDirectory) / "applications" / (id + ".desktop");
}

class LinuxRoom : public Room {
 public:
  LinuxRoom() {
    setenv("XDG_DATA_HOME", "/run/nobody", 1);
    setenv("XDG_DATA_DIRS", kDataDirectory, 1);
    network::EnterNamespace();
    network::AddCable(kCable, "far");
    network::SetUp("far", false);
    m_internet.emplace();
    m_modems.StartBus();
  }
  void PlugCable() override {
    network::SetUp("far", true);
    if (m_networks) {
      m_networks->PlugCable(true);
    }
  }
  void UnplugCable() override {
    network::SetUp("far", false);
    if (m_networks) {
      m_networks->PlugCable(false);
    }
  }
  WiredNetwork JoinWiredNetwork() override {
    PlugCable();
    if (m_networks) {
      return {network::HardwareAddress(kCable), "192.0.2.10", ""};
    }
    network::AddAddress(kCable, "192.0.2.10/24");
    network::AddAddress(kCable, "2001:db8::10/64");
    SetRouter(true);
    return {network::HardwareAddress(kCable), "192.0.2.10", "2001:db8::10"};
  }
  void SetRouter(bool is_there) override {
    if (is_there) {
      network::AddDefaultRoute(kCable, AF_INET, 100, InternetRoom::kRouter);
    } else {
      network::RemoveDefaultRoute(kCable, AF_INET, 100, InternetRoom::kRouter);
    }
  }
  void StartNetworkService() override {
    m_networks.emplace();
    m_networks->SaveWired("Wall", "autoconnect");
    m_networks->PlugCable(false);
    m_networks->Start(WifiStub::kNetworkManager);
    RunLoopUntil([] {
      NMClient* const client = NetworkService::Instance().Client();
      return client != nullptr && nm_client_get_connections(client)->len > 0;
    });
  }
  void StartTelephony() override { m_modems.StartService(); }
  void StopTelephony() override { m_modems.StopService(); }
  void InsertDongle() override { m_modems.InsertDongle(); }
  void RemoveDongle() override { m_modems.RemoveDongle(); }
  void InstallApplication(const std::string& id) override {
    fs::create_directories(DesktopFile(id).parent_path());
    std::ofstream(DesktopFile(id)) << "[Desktop Entry]\nType=Application\nName=Viewer\nExec=/bin/true\n";
  }
  void RemoveApplication(const std::string& id) override { fs::remove(DesktopFile(id)); }
  [[nodiscard]] std::chrono::milliseconds Settling() const override { return 300ms; }

 private:
  std::optional<InternetRoom> m_internet;  // behind the socket in the wall
  ModemRoom m_modems;
  std::optional<WifiStub> m_networks;  // while NetworkManager is there
};

}  // namespace

std::unique_ptr<Room> Room::Enter() {
  return std::make_unique<LinuxRoom>();
}

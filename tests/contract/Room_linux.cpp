#include <sys/socket.h>

#include "ModemRoom.h"
#include "Network.h"
#include "Room.h"

using namespace std::chrono_literals;

namespace {

class LinuxRoom : public Room {
 public:
  LinuxRoom() {
    network::EnterNamespace();
    network::AddCable("wall", "far");
    network::SetUp("far", false);
    m_modems.StartBus();
  }
  void PlugCable() override { network::SetUp("far", true); }
  void UnplugCable() override { network::SetUp("far", false); }
  WiredNetwork JoinWiredNetwork() override {
    PlugCable();
    network::AddAddress("wall", "192.0.2.10/24");
    network::AddAddress("wall", "2001:db8::10/64");
    SetRouter(true);
    return {network::HardwareAddress("wall"), "192.0.2.10", "2001:db8::10"};
  }
  void SetRouter(bool is_there) override {
    if (is_there) {
      network::AddDefaultRoute("wall", AF_INET, 100);
    } else {
      network::RemoveDefaultRoute("wall", AF_INET, 100);
    }
  }
  void StartTelephony() override { m_modems.StartService(); }
  void StopTelephony() override { m_modems.StopService(); }
  void InsertDongle() override { m_modems.InsertDongle(); }
  void RemoveDongle() override { m_modems.RemoveDongle(); }
  [[nodiscard]] std::chrono::milliseconds Settling() const override { return 300ms; }

 private:
  ModemRoom m_modems;
};

}  // namespace

std::unique_ptr<Room> Room::Enter() {
  return std::make_unique<LinuxRoom>();
}

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

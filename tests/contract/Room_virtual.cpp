#include "Room.h"
#include "VirtualTv.h"

using namespace std::chrono_literals;

namespace {

class VirtualRoom : public Room {
 public:
  void PlugCable() override { VirtualTv::Instance().PlugCable(); }
  void UnplugCable() override { VirtualTv::Instance().UnplugCable(); }
  void StartTelephony() override { VirtualTv::Instance().StartTelephony(); }
  void StopTelephony() override { VirtualTv::Instance().StopTelephony(); }
  void InsertDongle() override { VirtualTv::Instance().InsertDongle(); }
  void RemoveDongle() override { VirtualTv::Instance().RemoveDongle(); }
  [[nodiscard]] std::chrono::milliseconds Settling() const override { return 100ms; }
};

}  // namespace

std::unique_ptr<Room> Room::Enter() {
  return std::make_unique<VirtualRoom>();
}

#include "Room.h"
#include "VirtualTv.h"

using namespace std::chrono_literals;

namespace {

class VirtualRoom : public Room {
 public:
  void PlugCable() override { VirtualTv::Instance().PlugCable(); }
  void UnplugCable() override { VirtualTv::Instance().UnplugCable(); }
  WiredNetwork JoinWiredNetwork() override {
    Internet& internet = VirtualTv::Instance().GetInternet();
    const Internet::Addresses addresses{"192.0.2.10", "2001:db8::10"};
    internet.SetWiredAddresses(addresses);
    PlugCable();
    return {internet.MacAddress(CONNECTION_TYPE_ETHERNET), addresses.ipv4, addresses.ipv6};
  }
  void SetRouter(bool is_there) override { VirtualTv::Instance().GetInternet().SetGateway(is_there); }
  void StartNetworkService() override {}
  void StartTelephony() override { VirtualTv::Instance().StartTelephony(); }
  void StopTelephony() override { VirtualTv::Instance().StopTelephony(); }
  void InsertDongle() override { VirtualTv::Instance().InsertDongle(); }
  void RemoveDongle() override { VirtualTv::Instance().RemoveDongle(); }
  void InstallApplication(const std::string& id) override {
    VirtualTv::Instance().GetPackages().Install(id);
  }
  void RemoveApplication(const std::string& id) override {
    VirtualTv::Instance().GetPackages().Remove(id);
  }
  [[nodiscard]] std::chrono::milliseconds Settling() const override { return 100ms; }
};

}  // namespace

std::unique_ptr<Room> Room::Enter() {
  return std::make_unique<VirtualRoom>();
}

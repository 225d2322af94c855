#include "UsbRoom.h"

#include "VirtualTv.h"

using namespace std::chrono_literals;

namespace {

class VirtualUsbRoom : public UsbRoom {
 public:
  void Insert(const Stick& stick) override {
    m_sockets.Insert({.product = stick.product,
                      .directory = "/run/sticks/" + stick.product,
                      .is_broken = stick.is_broken});
  }
  void Remove(const std::string& product) override { m_sockets.Remove(product); }
  [[nodiscard]] std::chrono::milliseconds Settling() const override { return 100ms; }

 private:
  UsbSockets& m_sockets = VirtualTv::Instance().GetUsbSockets();
};

}  // namespace

std::unique_ptr<UsbRoom> UsbRoom::Enter() {
  return std::make_unique<VirtualUsbRoom>();
}

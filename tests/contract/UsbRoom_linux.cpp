#include "UsbRoom.h"

#include "BusRoom.h"
#include "DiskStub.h"

using namespace std::chrono_literals;

namespace {

class LinuxUsbRoom : public UsbRoom {
 public:
  LinuxUsbRoom() {
    m_bus.StartBus();
    m_disks.Start();
  }
  void Insert(const Stick& stick) override {
    m_disks.Insert(stick.product + " model=" + stick.product +
                   (stick.is_broken ? " unmountable=1" : ""));
  }
  void Remove(const std::string& product) override { m_disks.Remove(product); }
  [[nodiscard]] std::chrono::milliseconds Settling() const override { return 300ms; }

 private:
  BusRoom m_bus;
  DiskStub m_disks;
};

}  // namespace

std::unique_ptr<UsbRoom> UsbRoom::Enter() {
  return std::make_unique<LinuxUsbRoom>();
}

#include "CaptureRoom.h"

#include "CaptureFiles.h"
#include "Network.h"

namespace {

constexpr char kAddress[] = "192.0.2.10";

class LinuxCaptureRoom : public CaptureRoom {
 public:
  LinuxCaptureRoom() {
    network::EnterNamespace();
    capture::AddCableInUse("wall", "far", kAddress);
  }
  void MakeTraffic() override { capture::Sender(kAddress).Send(10); }
};

}  // namespace

std::unique_ptr<CaptureRoom> CaptureRoom::Enter() {
  return std::make_unique<LinuxCaptureRoom>();
}

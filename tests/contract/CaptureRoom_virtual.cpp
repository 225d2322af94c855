#include "CaptureRoom.h"

namespace {

class VirtualCaptureRoom : public CaptureRoom {
 public:
  void MakeTraffic() override {}  // this TV is never without it
};

}  // namespace

std::unique_ptr<CaptureRoom> CaptureRoom::Enter() {
  return std::make_unique<VirtualCaptureRoom>();
}

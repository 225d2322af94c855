#pragma once

#include <memory>

/// The networks of a backend's TV whose packets are captured. A porter whose platform captures packets
/// writes one for their own backend; the tests know nothing else of it. One a process. When it is built
/// no capture runs, and the platform is not started.
class CaptureRoom {
 public:
  static std::unique_ptr<CaptureRoom> Enter();
  virtual ~CaptureRoom() = default;

  /// Lets a few packets travel, and returns when they have.
  virtual void MakeTraffic() = 0;
};

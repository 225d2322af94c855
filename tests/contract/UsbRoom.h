#pragma once

#include <chrono>
#include <memory>
#include <string>

/// The USB sockets of a backend's TV, and the hands that put sticks into them. A porter whose platform
/// has USB writes one for their own backend; the tests know nothing else of it. One a process. When it
/// is built there is no stick, and the platform is not started.
class UsbRoom {
 public:
  static std::unique_ptr<UsbRoom> Enter();
  virtual ~UsbRoom() = default;

  struct Stick {
    std::string product;     ///< tells it from the others
    bool is_broken = false;  ///< cannot be mounted
  };
  /// Its file system is not mounted.
  virtual void Insert(const Stick& stick) = 0;
  virtual void Remove(const std::string& product) = 0;

  /// How long a test waits to see that nothing more comes of what a hand did.
  [[nodiscard]] virtual std::chrono::milliseconds Settling() const = 0;
};

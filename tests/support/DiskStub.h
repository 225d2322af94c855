#pragma once

#include <optional>
#include <string>

#include "Program.h"

/// A stand-in for UDisks2, on the bus of a BusRoom that has been started.
class DiskStub {
 public:
  /// Returns when it has its name on the bus.
  void Start();
  /// As a crash does: what was plugged in is forgotten.
  void Stop();

  /// Return when the change is on the bus.
  /// @param stick  its name, and how it is (see stub_udisks.c): "sdb model=Blade partitions=2"
  void Insert(const std::string& stick);
  void Remove(const std::string& name);

  /// @param how  "normally", "never", "error", "nonsense", "death" or "late"; with " Mount" behind it,
  /// to nobody
  ///             but who wants something mounted
  void Answer(const std::string& how);

  /// How often something was to be mounted.
  [[nodiscard]] int Mounts();

 private:
  std::optional<Program> m_service;
};

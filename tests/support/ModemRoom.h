#pragma once

#include <optional>

#include "BusRoom.h"
#include "Program.h"

/// A system bus, and on it a stand-in for ModemManager.
class ModemRoom : public BusRoom {
 public:
  /// Returns when it has its name on the bus.
  void StartService();
  void StopService();

  /// Return when the change is on the bus.
  void InsertDongle();
  void RemoveDongle();

 private:
  std::optional<Program> m_service;
};

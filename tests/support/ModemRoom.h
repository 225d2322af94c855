#pragma once

#include <optional>
#include <string>

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

  /// @param how  to whoever asks for its modems: "normally", "never", "error", "nonsense", "death" or
  ///             "late"
  void StartServiceThat(const std::string& how);
  void Answer(const std::string& how);

 private:
  std::optional<Program> m_service;
};

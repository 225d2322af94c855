#pragma once

#include <optional>

#include "Program.h"

/// A D-Bus system bus of the test's own, and on it a stand-in for ModemManager. Sets
/// DBUS_SYSTEM_BUS_ADDRESS for this process and its children.
class ModemRoom {
 public:
  static constexpr char kSocket[] = "/run/dbus/system_bus_socket";
  /// Made when the bus was asked to start ModemManager on demand.
  static constexpr char kActivationMark[] = "/run/modem-manager-was-activated";

  ModemRoom();

  void StartBus();
  /// Ends it as a crash does: its socket file stays behind.
  void CrashBus();

  /// Returns when it has its name on the bus.
  void StartService();
  void StopService();

  /// Return when the change is on the bus.
  void InsertDongle();
  void RemoveDongle();

 private:
  std::optional<Program> m_bus;
  std::optional<Program> m_service;
};

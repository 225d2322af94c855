#pragma once

#include <optional>
#include <string>

#include "Program.h"

/// A D-Bus system bus of the test's own. Sets DBUS_SYSTEM_BUS_ADDRESS for this process and its children.
class BusRoom {
 public:
  static constexpr char kSocket[] = "/run/dbus/system_bus_socket";

  BusRoom();

  void StartBus();
  /// Ends it as a crash does: its socket file stays behind.
  void CrashBus();

  /// The bus knows how to start these services: a file is made, so that a test can see whether anybody
  /// asks for one, and the start fails.
  [[nodiscard]] static std::string ActivationMark(const std::string& service);
  static constexpr char kModems[] = "org.freedesktop.ModemManager1";
  static constexpr char kDisks[] = "org.freedesktop.UDisks2";

 private:
  std::optional<Program> m_bus;
};

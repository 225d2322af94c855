#pragma once

#include <gio/gio.h>

#include "SystemBus.h"

/// Stands for the power manager of a TV: keeps "memory/menu/network/notify_pelorus" at what
/// systemd-logind tells of the machine's sleep, "instant_off" before it and "instant_on" after. Without
/// logind the key is for others to write. Main-loop thread only; one object for the life of the process,
/// because answers of the bus may still come when it is stopped.
class SleepWatch {
 public:
  static SleepWatch& Instance();

  void Start();
  void Stop();

 private:
  SleepWatch() = default;
  void OnBus(GDBusConnection* connection);
  static void OnSleep(GDBusConnection* connection, const char* sender, const char* object,
                      const char* interface, const char* signal, GVariant* arguments, gpointer self);

  SystemBus m_bus;
  GDBusConnection* m_connection = nullptr;  // with a reference, while there is a bus
  guint m_subscription = 0;
};

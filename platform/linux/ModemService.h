#pragma once

#include <functional>
#include <set>
#include <string>

#include <gio/gio.h>

#include "SystemBus.h"

/// ModemManager on the system bus, as the telephony service of a TV. It is never started from here: when
/// it runs, it is used. What it says is taken in plain D-Bus and as it comes: all that is wanted is
/// whether there is a modem, and the client library ends the process when an answer is of another type
/// than it should be. Publishes "memory/telephony/telephony_ready". Main-loop thread only; one object
/// for the life of the process, because answers of the bus may still come when it is stopped.
class ModemService {
 public:
  /// @param is_inserted  at least one modem is there
  using Handler = std::function<void(bool is_inserted)>;

  static ModemService& Instance();

  /// @param on_dongle  called when a dongle was inserted or removed
  void Start(Handler on_dongle);
  void Stop();

  /// Whether the service answers; while it does not, nothing is known about the dongle.
  [[nodiscard]] bool IsReady() const { return m_is_ready; }
  [[nodiscard]] bool IsDongleInserted() const { return m_is_inserted; }

 private:
  ModemService() = default;
  void OnBus(GDBusConnection* connection);
  static void OnAppeared(GDBusConnection* connection, const char* name, const char* owner,
                         gpointer self);
  static void OnVanished(GDBusConnection* connection, const char* name, gpointer self);
  void ReadAll();
  static void OnAll(GObject* source, GAsyncResult* result, gpointer self);
  static void OnChange(GDBusConnection* connection, const char* sender, const char* object,
                       const char* interface, const char* signal, GVariant* arguments, gpointer self);
  void Drop();
  void Tell();

  Handler m_on_dongle;
  SystemBus m_bus;
  guint m_name_watch = 0;
  GDBusConnection* m_connection = nullptr;  // while the service is there; the bus's
  guint m_subscription = 0;
  GCancellable* m_reading = nullptr;  // while all is read
  bool m_is_changed = false;          // and something changed meanwhile
  bool m_is_ready = false;
  std::set<std::string> m_modems;  // their paths
  bool m_is_inserted = false;      // as last told; stands while the service is away
};

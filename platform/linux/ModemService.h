#pragma once

#include <functional>
#include <string>

#include <libmm-glib.h>

#include "SystemBus.h"

/// ModemManager on the system bus, as the telephony service of a TV. It is never started from here: when
/// it runs, it is used. Publishes "memory/telephony/telephony_ready". Main-loop thread only; one object
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
  [[nodiscard]] bool IsReady() const { return m_manager != nullptr; }
  [[nodiscard]] bool IsDongleInserted() const { return m_is_inserted; }

 private:
  ModemService() = default;
  void OnBus(GDBusConnection* connection);
  static void OnAppeared(GDBusConnection* connection, const char* name, const char* owner,
                         gpointer self);
  static void OnVanished(GDBusConnection* connection, const char* name, gpointer self);
  static void OnManager(GObject* source, GAsyncResult* result, gpointer self);
  static void OnObjectsChanged(ModemService* self);
  void Drop();
  void LookForModems();

  Handler m_on_dongle;
  SystemBus m_bus;
  guint m_name_watch = 0;
  GCancellable* m_attempt = nullptr;  // while the manager object is made
  MMManager* m_manager = nullptr;
  bool m_is_inserted = false;  // as last told; stands while the service is away
};

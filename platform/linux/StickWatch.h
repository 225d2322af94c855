#pragma once

#include <functional>
#include <vector>

#include <gio/gio.h>

#include "SystemBus.h"
#include "UsbSticks.h"

/// Tells of sticks that are plugged in and pulled out. A service that goes tells nothing of the sticks;
/// what it finds different when it is back is told then. Main-loop thread only; one object for the life
/// of the process, because answers of the bus may still come when it is stopped.
class StickWatch {
 public:
  using Handler = std::function<void(const UsbSticks::Stick& stick, bool is_connected)>;

  static StickWatch& Instance();

  /// @param handler  may stop the watch
  void Start(Handler handler);
  void Stop();
  /// From now on: the sticks that are there are known. Waits for the service as long as a question does.
  void Begin();

 private:
  StickWatch() = default;
  void OnBus(GDBusConnection* connection);
  static void OnAppeared(GDBusConnection* connection, const char* name, const char* owner,
                         gpointer self);
  static void OnVanished(GDBusConnection* connection, const char* name, gpointer self);
  void ReadAll();
  static void OnAll(GObject* source, GAsyncResult* result, gpointer self);
  static void OnChange(GDBusConnection* connection, const char* sender, const char* object,
                       const char* interface, const char* signal, GVariant* arguments, gpointer self);
  void Tell();

  Handler m_handler;
  SystemBus m_bus;
  GDBusConnection* m_connection = nullptr;  // while the service is there; the bus's
  guint m_name_watch = 0;
  guint m_subscription = 0;
  GCancellable* m_reading = nullptr;  // while all is read
  bool m_is_changed = false;          // and something changed meanwhile
  unsigned m_beginnings = 0;
  UsbSticks m_sticks;
  std::vector<UsbSticks::Stick> m_told;
};

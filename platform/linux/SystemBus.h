#pragma once

#include <functional>
#include <memory>
#include <string>

#include <gio/gio.h>

#include "PathWatch.h"

/// The connection to the D-Bus system bus, for as long as there is a bus: it is taken up when the bus
/// appears, given up when the bus goes, and taken up again. It costs nothing while there is none.
/// Main-loop thread only; built once for the life of the process, between Start() and Stop() at work.
class SystemBus {
 public:
  /// @param connection  borrowed; null when the bus has gone
  using Handler = std::function<void(GDBusConnection* connection)>;

  void Start(Handler handler);
  void Stop();

 private:
  void Wait();
  void Connect();
  static void OnConnected(GObject* source, GAsyncResult* result, gpointer self);
  void Use(GDBusConnection* connection);
  static void OnClosed(GDBusConnection* connection, gboolean is_remote, GError* error, gpointer self);
  void Drop();

  Handler m_handler;
  std::string m_address;
  std::string m_path;  // of the bus's socket; empty when it is not a file
  std::unique_ptr<PathWatch> m_watch;
  GDBusConnection* m_connection = nullptr;
  GCancellable* m_attempt = nullptr;  // while connecting
  bool m_is_changed = false;          // the socket changed while connecting
};

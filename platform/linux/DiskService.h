#pragma once

#include <chrono>
#include <optional>
#include <string>

#include <gio/gio.h>

#include "UsbSticks.h"

/// UDisks2 on the system bus, asked for sticks. Every question is asked anew, and waits for its answer
/// for a few seconds at most while the main loop stands still; a service that is not there says so at
/// once, one that the bus can start is started. The connection is made with the first question.
/// Main-loop thread only; one object for the life of the process.
class DiskService {
 public:
  static constexpr char kName[] = "org.freedesktop.UDisks2";
  static constexpr char kRoot[] = "/org/freedesktop/UDisks2";
  static constexpr char kObjectManager[] = "org.freedesktop.DBus.ObjectManager";
  static constexpr char kObjects[] = "(a{oa{sa{sv}}})";  ///< what GetManagedObjects answers

  static DiskService& Instance();
  DiskService(const DiskService&) = delete;
  DiskService& operator=(const DiskService&) = delete;

  /// @return nullopt when the service cannot be asked; logged
  std::optional<std::vector<UsbSticks::Stick>> Sticks();

  /// Where the stick's first file system is that is mounted, or can be.
  /// @return absolute, without a slash at the end; empty when there is none
  std::string MountPath(const UsbSticks::Stick& wanted);

 private:
  DiskService();
  GDBusConnection* Connection();
  static void OnConnected(GObject* source, GAsyncResult* result, gpointer self);
  GVariant* Call(const char* object, const char* interface, const char* method, GVariant* arguments,
                 const char* answer, std::chrono::milliseconds limit);
  std::string Mount(const UsbSticks::FileSystem& file_system, std::chrono::milliseconds limit);

  GMainContext* m_context;  // so that to connect runs nothing of the main loop
  GDBusConnection* m_connection = nullptr;
  bool m_is_connecting = false;
};

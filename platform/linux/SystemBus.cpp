#include "SystemBus.h"

#include <unistd.h>

#include "PlatformLog.h"

namespace {

/// @return the file in an address of the form unix:path=FILE, else an empty string
std::string SocketOf(const std::string& address) {
  constexpr std::string_view kPrefix = "unix:path=";
  if (!address.starts_with(kPrefix)) {
    return "";
  }
  const std::string path = address.substr(kPrefix.size(), address.find_first_of(",;") - kPrefix.size());
  g_autofree char* unescaped = g_uri_unescape_string(path.c_str(), nullptr);
  return unescaped == nullptr ? "" : unescaped;
}

}  // namespace

void SystemBus::Start(Handler handler) {
  m_handler = std::move(handler);
  g_autofree char* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
  m_address = address == nullptr ? "" : address;
  m_path = SocketOf(m_address);
  Wait();
}

void SystemBus::Stop() {
  m_handler = nullptr;
  m_watch.reset();
  if (m_attempt != nullptr) {
    g_cancellable_cancel(m_attempt);
    g_clear_object(&m_attempt);
  }
  Drop();
}

/// Watches first and tries then, so that a bus that comes in between is not missed.
void SystemBus::Wait() {
  if (!m_path.empty()) {
    m_watch = std::make_unique<PathWatch>(m_path, [this] { Connect(); });
  }
  Connect();
}

void SystemBus::Connect() {
  if (m_attempt != nullptr) {
    m_is_changed = true;
    return;
  }
  if (m_address.empty() || (!m_path.empty() && access(m_path.c_str(), F_OK) != 0)) {
    return;
  }
  m_is_changed = false;
  m_attempt = g_cancellable_new();
  // A connection of this backend's own: the process-wide one ends the process when the bus goes.
  constexpr auto kFlags = static_cast<GDBusConnectionFlags>(
      G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  g_dbus_connection_new_for_address(m_address.c_str(), kFlags, nullptr, m_attempt, OnConnected, this);
}

void SystemBus::OnConnected(GObject* /*source*/, GAsyncResult* result, gpointer self) {
  g_autoptr(GError) error = nullptr;
  GDBusConnection* connection = g_dbus_connection_new_for_address_finish(result, &error);
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) {
    return;  // stopped
  }
  auto* bus = static_cast<SystemBus*>(self);
  g_clear_object(&bus->m_attempt);
  if (connection != nullptr) {
    bus->Use(connection);
    return;
  }
  PLATFORM_LOG(DLOG_INFO, "no system bus yet: %s", error->message);
  if (bus->m_is_changed) {
    bus->Connect();
  }
}

void SystemBus::Use(GDBusConnection* connection) {
  m_watch.reset();
  m_connection = connection;
  g_signal_connect(connection, "closed", G_CALLBACK(OnClosed), this);
  if (g_dbus_connection_is_closed(connection)) {
    OnClosed(connection, TRUE, nullptr, this);
    return;
  }
  m_handler(connection);
}

void SystemBus::OnClosed(GDBusConnection* /*connection*/, gboolean /*is_remote*/, GError* /*error*/,
                         gpointer self) {
  auto* bus = static_cast<SystemBus*>(self);
  if (bus->m_connection == nullptr) {
    return;
  }
  PLATFORM_LOG(DLOG_INFO, "the system bus has gone");
  bus->Drop();
  bus->m_handler(nullptr);
  bus->Wait();
}

void SystemBus::Drop() {
  if (m_connection != nullptr) {
    g_signal_handlers_disconnect_by_data(m_connection, this);
    g_clear_object(&m_connection);
  }
}

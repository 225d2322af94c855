#include "DiskService.h"

#include "PlatformLog.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr std::chrono::milliseconds kConnectLimit = 1s;
/// Time enough for the bus to start the service.
constexpr std::chrono::milliseconds kAnswerLimit = 3s;
/// All partitions of a stick together: one that was not taken out properly is looked through first.
constexpr std::chrono::milliseconds kMountLimit = 5s;

gboolean SetExpired(gpointer is_expired) {
  *static_cast<bool*>(is_expired) = true;
  return G_SOURCE_REMOVE;
}

std::string MountedAt(const UsbSticks::Stick& stick) {
  for (const UsbSticks::FileSystem& file_system : stick.file_systems) {
    if (!file_system.mount_points.empty()) {
      return file_system.mount_points.front();
    }
  }
  return "";
}

}  // namespace

DiskService& DiskService::Instance() {
  static auto* const service = new DiskService;
  return *service;
}

DiskService::DiskService() : m_context(g_main_context_new()) {}

std::optional<std::vector<UsbSticks::Stick>> DiskService::Sticks() {
  g_autoptr(GVariant) answer =
      Call(kRoot, kObjectManager, "GetManagedObjects", nullptr, kObjects, kAnswerLimit);
  if (answer == nullptr) {
    return std::nullopt;
  }
  g_autoptr(GVariant) objects = g_variant_get_child_value(answer, 0);
  return UsbSticks(objects).All();
}

std::string DiskService::MountPath(const UsbSticks::Stick& wanted) {
  const auto sticks = Sticks();
  const UsbSticks::Stick* const stick = sticks ? FindStick(*sticks, wanted) : nullptr;
  if (stick == nullptr) {
    return "";
  }
  std::string path = MountedAt(*stick);
  const Clock::time_point end = Clock::now() + kMountLimit;
  for (const UsbSticks::FileSystem& file_system : stick->file_systems) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    path = path.empty() && left > left.zero() ? Mount(file_system, left) : path;
  }
  if (path.empty()) {  // the desktop may have been faster
    const auto later = Sticks();
    const UsbSticks::Stick* const present = later ? FindStick(*later, wanted) : nullptr;
    path = present != nullptr ? MountedAt(*present) : "";
  }
  return path;
}

std::string DiskService::Mount(const UsbSticks::FileSystem& file_system,
                               std::chrono::milliseconds limit) {
  GVariantBuilder options;
  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  g_variant_builder_add(&options, "{sv}", "auth.no_user_interaction", g_variant_new_boolean(TRUE));
  g_autoptr(GVariant) answer = Call(file_system.object.c_str(), "org.freedesktop.UDisks2.Filesystem",
                                    "Mount", g_variant_new("(a{sv})", &options), "(s)", limit);
  if (answer == nullptr) {
    return "";
  }
  const char* mounted = nullptr;
  g_variant_get(answer, "(&s)", &mounted);
  std::string path = mounted;
  path.erase(path.find_last_not_of('/') + 1);
  return path.starts_with('/') ? path : "";
}

/// @return borrowed; null when there is no bus
GDBusConnection* DiskService::Connection() {
  while (g_main_context_iteration(m_context, FALSE)) {
  }
  if (m_connection != nullptr && g_dbus_connection_is_closed(m_connection)) {
    g_clear_object(&m_connection);
  }
  if (m_connection != nullptr) {
    return m_connection;
  }
  g_main_context_push_thread_default(m_context);
  if (!m_is_connecting) {
    g_autofree char* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
    // A connection of this backend's own: the process-wide one ends the process when the bus goes.
    constexpr auto kFlags = static_cast<GDBusConnectionFlags>(
        G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    m_is_connecting = address != nullptr;
    if (m_is_connecting) {
      g_dbus_connection_new_for_address(address, kFlags, nullptr, nullptr, OnConnected, this);
    }
  }
  bool is_expired = false;
  GSource* const limit = g_timeout_source_new(kConnectLimit.count());
  g_source_set_callback(limit, SetExpired, &is_expired, nullptr);
  g_source_attach(limit, m_context);
  while (m_is_connecting && !is_expired) {
    g_main_context_iteration(m_context, TRUE);
  }
  g_source_destroy(limit);
  g_source_unref(limit);
  g_main_context_pop_thread_default(m_context);
  return m_connection;
}

/// Also of an attempt that took longer than its limit: a later question finds the connection made.
void DiskService::OnConnected(GObject* /*source*/, GAsyncResult* result, gpointer self) {
  auto* service = static_cast<DiskService*>(self);
  g_autoptr(GError) error = nullptr;
  service->m_connection = g_dbus_connection_new_for_address_finish(result, &error);
  service->m_is_connecting = false;
  if (service->m_connection == nullptr) {
    PLATFORM_LOG(DLOG_INFO, "no system bus: %s", error->message);
  }
}

/// @param arguments  floating, or null
/// @param answer     the type that it must have
/// @return a reference of the caller's; null on failure, which is logged
GVariant* DiskService::Call(const char* object, const char* interface, const char* method,
                            GVariant* arguments, const char* answer, std::chrono::milliseconds limit) {
  g_autoptr(GVariant) owned = arguments != nullptr ? g_variant_ref_sink(arguments) : nullptr;
  GDBusConnection* const connection = Connection();
  if (connection == nullptr) {
    return nullptr;
  }
  g_autoptr(GError) error = nullptr;
  GVariant* const result = g_dbus_connection_call_sync(
      connection, kName, object, interface, method, owned, G_VARIANT_TYPE(answer),
      G_DBUS_CALL_FLAGS_NONE, static_cast<int>(limit.count()), nullptr, &error);
  if (result == nullptr) {
    PLATFORM_LOG(DLOG_INFO, "%s of UDisks2 fails: %s", method, error->message);
  }
  return result;
}

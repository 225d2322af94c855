#include "ModemService.h"

#include "PlatformLog.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

constexpr char kName[] = "org.freedesktop.ModemManager1";
constexpr char kRoot[] = "/org/freedesktop/ModemManager1";
constexpr char kModem[] = "org.freedesktop.ModemManager1.Modem";
constexpr char kObjectManager[] = "org.freedesktop.DBus.ObjectManager";

void PublishReady(bool is_ready) {
  int stored = -1;
  if (vconf_get_bool(vconf_keys::kTelephonyReady, &stored) != VCONF_OK || (stored != 0) != is_ready) {
    vconf_set_bool(vconf_keys::kTelephonyReady, is_ready ? 1 : 0);
  }
}

/// @param interfaces  a{sa{sv}}
bool HasModem(GVariant* interfaces) {
  g_autoptr(GVariant) modem = g_variant_lookup_value(interfaces, kModem, nullptr);
  return modem != nullptr;
}

/// @param objects  a{oa{sa{sv}}}
std::set<std::string> ModemsAmong(GVariant* objects) {
  std::set<std::string> modems;
  GVariantIter iterator;
  g_variant_iter_init(&iterator, objects);
  const char* object = nullptr;
  GVariant* interfaces = nullptr;
  while (g_variant_iter_loop(&iterator, "{&o@a{sa{sv}}}", &object, &interfaces)) {
    if (HasModem(interfaces)) {
      modems.insert(object);
    }
  }
  return modems;
}

}  // namespace

ModemService& ModemService::Instance() {
  static auto* const service = new ModemService;
  return *service;
}

void ModemService::Start(Handler on_dongle) {
  m_on_dongle = std::move(on_dongle);
  PublishReady(false);  // also over what a daemon that was killed left behind
  m_bus.Start([this](GDBusConnection* connection) { OnBus(connection); });
}

void ModemService::Stop() {
  if (m_on_dongle == nullptr) {
    return;
  }
  m_on_dongle = nullptr;
  OnBus(nullptr);
  m_bus.Stop();
}

void ModemService::OnBus(GDBusConnection* connection) {
  if (m_name_watch != 0) {
    g_bus_unwatch_name(m_name_watch);
    m_name_watch = 0;
  }
  if (connection != nullptr) {
    m_name_watch = g_bus_watch_name_on_connection(connection, kName, G_BUS_NAME_WATCHER_FLAGS_NONE,
                                                  OnAppeared, OnVanished, this, nullptr);
  } else {
    Drop();
  }
}

void ModemService::OnAppeared(GDBusConnection* connection, const char* /*name*/, const char* owner,
                              gpointer self) {
  auto* service = static_cast<ModemService*>(self);
  service->Drop();
  service->m_connection = G_DBUS_CONNECTION(g_object_ref(connection));
  service->m_subscription =
      g_dbus_connection_signal_subscribe(connection, owner, kObjectManager, nullptr, kRoot, nullptr,
                                         G_DBUS_SIGNAL_FLAGS_NONE, OnChange, self, nullptr);
  service->ReadAll();
}

void ModemService::OnVanished(GDBusConnection* /*connection*/, const char* /*name*/, gpointer self) {
  static_cast<ModemService*>(self)->Drop();
}

void ModemService::ReadAll() {
  m_is_changed = false;
  m_reading = g_cancellable_new();
  g_dbus_connection_call(m_connection, kName, kRoot, kObjectManager, "GetManagedObjects", nullptr,
                         G_VARIANT_TYPE("(a{oa{sa{sv}}})"), G_DBUS_CALL_FLAGS_NO_AUTO_START, -1,
                         m_reading, OnAll, this);
}

void ModemService::OnAll(GObject* source, GAsyncResult* result, gpointer self) {
  g_autoptr(GError) error = nullptr;
  g_autoptr(GVariant) answer = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error);
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) {
    return;
  }
  auto* service = static_cast<ModemService*>(self);
  g_clear_object(&service->m_reading);
  if (service->m_is_changed) {
    service->ReadAll();
    return;
  }
  if (answer == nullptr) {
    PLATFORM_LOG(DLOG_WARN, "ModemManager does not answer: %s", error->message);
    return;
  }
  g_autoptr(GVariant) objects = g_variant_get_child_value(answer, 0);
  service->m_modems = ModemsAmong(objects);
  service->m_is_ready = true;
  service->Tell();
  PublishReady(true);
}

/// A service that did not answer is asked anew when it has something to say.
void ModemService::OnChange(GDBusConnection* /*connection*/, const char* /*sender*/,
                            const char* /*object*/, const char* /*interface*/, const char* signal,
                            GVariant* arguments, gpointer self) {
  auto* service = static_cast<ModemService*>(self);
  if (service->m_reading != nullptr) {
    service->m_is_changed = true;
    return;
  }
  if (!service->m_is_ready) {
    service->ReadAll();
    return;
  }
  const char* object = nullptr;
  const std::string name(signal);
  if (name == "InterfacesAdded" &&
      g_variant_is_of_type(arguments, G_VARIANT_TYPE("(oa{sa{sv}})")) != FALSE) {
    g_autoptr(GVariant) interfaces = nullptr;
    g_variant_get(arguments, "(&o@a{sa{sv}})", &object, &interfaces);
    if (HasModem(interfaces)) {
      service->m_modems.insert(object);
    }
  } else if (name == "InterfacesRemoved" &&
             g_variant_is_of_type(arguments, G_VARIANT_TYPE("(oas)")) != FALSE) {
    g_autofree const char** interfaces = nullptr;
    g_variant_get(arguments, "(&o^a&s)", &object, &interfaces);
    if (g_strv_contains(interfaces, kModem)) {
      service->m_modems.erase(object);
    }
  }
  service->Tell();
}

/// A service that is gone says nothing about the dongle, so this tells nobody that it was removed.
void ModemService::Drop() {
  if (m_reading != nullptr) {
    g_cancellable_cancel(m_reading);
    g_clear_object(&m_reading);
  }
  if (m_connection != nullptr) {
    g_dbus_connection_signal_unsubscribe(m_connection, m_subscription);
    g_clear_object(&m_connection);
  }
  m_modems.clear();
  m_is_ready = false;
  PublishReady(false);
}

void ModemService::Tell() {
  const bool is_inserted = !m_modems.empty();
  if (is_inserted != m_is_inserted) {
    m_is_inserted = is_inserted;
    m_on_dongle(is_inserted);
  }
}

#include "ModemService.h"

#include "PlatformLog.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

constexpr char kName[] = "org.freedesktop.ModemManager1";

void PublishReady(bool is_ready) {
  int stored = -1;
  if (vconf_get_bool(vconf_keys::kTelephonyReady, &stored) != VCONF_OK || (stored != 0) != is_ready) {
    vconf_set_bool(vconf_keys::kTelephonyReady, is_ready ? 1 : 0);
  }
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

void ModemService::OnAppeared(GDBusConnection* connection, const char* /*name*/, const char* /*owner*/,
                              gpointer self) {
  auto* service = static_cast<ModemService*>(self);
  service->Drop();
  service->m_attempt = g_cancellable_new();
  mm_manager_new(connection, G_DBUS_OBJECT_MANAGER_CLIENT_FLAGS_DO_NOT_AUTO_START, service->m_attempt,
                 OnManager, self);
}

void ModemService::OnVanished(GDBusConnection* /*connection*/, const char* /*name*/, gpointer self) {
  static_cast<ModemService*>(self)->Drop();
}

void ModemService::OnManager(GObject* /*source*/, GAsyncResult* result, gpointer self) {
  g_autoptr(GError) error = nullptr;
  g_autoptr(MMManager) manager = mm_manager_new_finish(result, &error);
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) {
    return;
  }
  auto* service = static_cast<ModemService*>(self);
  g_clear_object(&service->m_attempt);
  if (manager == nullptr) {
    PLATFORM_LOG(DLOG_WARN, "ModemManager does not answer: %s", error->message);
    return;
  }
  service->m_manager = g_steal_pointer(&manager);
  for (const char* signal : {"object-added", "object-removed", "interface-added", "interface-removed"}) {
    g_signal_connect_swapped(service->m_manager, signal, G_CALLBACK(OnObjectsChanged), self);
  }
  service->LookForModems();
  PublishReady(true);
}

void ModemService::OnObjectsChanged(ModemService* self) {
  self->LookForModems();
}

/// A service that is gone says nothing about the dongle, so this tells nobody that it was removed.
void ModemService::Drop() {
  if (m_attempt != nullptr) {
    g_cancellable_cancel(m_attempt);
    g_clear_object(&m_attempt);
  }
  if (m_manager != nullptr) {
    g_signal_handlers_disconnect_by_data(m_manager, this);
    g_clear_object(&m_manager);
  }
  PublishReady(false);
}

void ModemService::LookForModems() {
  g_autofree char* owner =
      g_dbus_object_manager_client_get_name_owner(G_DBUS_OBJECT_MANAGER_CLIENT(m_manager));
  if (owner == nullptr) {
    return;  // its objects go because the service went
  }
  bool is_inserted = false;
  GList* objects = g_dbus_object_manager_get_objects(G_DBUS_OBJECT_MANAGER(m_manager));
  for (const GList* object = objects; object != nullptr; object = object->next) {
    is_inserted = is_inserted || mm_object_peek_modem(MM_OBJECT(object->data)) != nullptr;
  }
  g_list_free_full(objects, g_object_unref);
  if (is_inserted != m_is_inserted) {
    m_is_inserted = is_inserted;
    m_on_dongle(is_inserted);
  }
}

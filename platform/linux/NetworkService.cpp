#include "NetworkService.h"

#include "PlatformLog.h"

namespace {

bool IsUsable(gpointer device) {
  return NM_IS_DEVICE_WIFI(device) && nm_device_get_managed(NM_DEVICE(device)) != FALSE;
}

}  // namespace

NetworkService& NetworkService::Instance() {
  static auto* const service = new NetworkService;
  return *service;
}

void NetworkService::Start() {
  m_is_beginning = true;
  m_bus.Start([this](GDBusConnection* connection) { OnBus(connection); });
}

void NetworkService::Stop() {
  m_is_beginning = false;
  m_bus.Stop();
  Drop();
  g_clear_handle_id(&m_tell, g_source_remove);
}

NMClient* NetworkService::Client() const {
  const bool is_read = m_client != nullptr && m_attempt == nullptr;
  return is_read && nm_client_get_nm_running(m_client) != FALSE ? m_client : nullptr;
}

void NetworkService::RemoveListener(const void* owner) {
  m_listeners.RemoveIf([owner](const Listener& listener) { return listener.owner == owner; });
}

void NetworkService::OnBus(GDBusConnection* connection) {
  Drop();
  if (connection != nullptr) {
    MakeClient(connection);
  } else {
    OnChanged(this);
  }
}

/// It completes with NetworkManager's objects when that runs, and without any when it does not.
void NetworkService::MakeClient(GDBusConnection* connection) {
  m_attempt = g_cancellable_new();
  // What this process may do is found out by doing it: the list costs an exchange at each change of it.
  g_async_initable_new_async(NM_TYPE_CLIENT, G_PRIORITY_DEFAULT, m_attempt, OnClient, this,
                             NM_CLIENT_DBUS_CONNECTION, connection, NM_CLIENT_INSTANCE_FLAGS,
                             guint{NM_CLIENT_INSTANCE_FLAGS_NO_AUTO_FETCH_PERMISSIONS}, nullptr);
}

void NetworkService::OnClient(GObject* source, GAsyncResult* result, gpointer self) {
  g_autoptr(GError) error = nullptr;
  GObject* client = g_async_initable_new_finish(G_ASYNC_INITABLE(source), result, &error);
  if (client == nullptr && g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) {
    return;
  }
  auto* service = static_cast<NetworkService*>(self);
  g_clear_object(&service->m_attempt);
  service->m_is_beginning = false;
  if (client == nullptr) {
    PLATFORM_LOG(DLOG_WARN, "no client of NetworkManager: %s", error->message);
    return;
  }
  service->m_client = NM_CLIENT(client);
  for (const char* change :
       {NM_CLIENT_DEVICE_REMOVED, NM_CLIENT_CONNECTION_ADDED, NM_CLIENT_CONNECTION_REMOVED}) {
    g_signal_connect_swapped(client, change, G_CALLBACK(OnChanged), self);
  }
  g_signal_connect_swapped(client, "notify::" NM_CLIENT_NM_RUNNING, G_CALLBACK(OnRunning), self);
  g_signal_connect(client, NM_CLIENT_DEVICE_ADDED, G_CALLBACK(OnDeviceAdded), self);
  const GPtrArray* devices = nm_client_get_devices(service->m_client);
  for (guint i = 0; i < devices->len; ++i) {
    service->WatchDevice(NM_DEVICE(g_ptr_array_index(devices, i)));
  }
  OnChanged(service);
}

/// A client that finds NetworkManager back says so before it has read the profiles, which are not gone
/// meanwhile. It has asked for them by then, so that they are there when a later question is answered.
void NetworkService::OnRunning(NetworkService* self) {
  self->EndAttempt();
  if (nm_client_get_nm_running(self->m_client) != FALSE) {
    self->m_attempt = g_cancellable_new();
    nm_client_dbus_call(self->m_client, NM_DBUS_PATH_SETTINGS, NM_DBUS_INTERFACE_SETTINGS,
                        "ListConnections", nullptr, G_VARIANT_TYPE("(ao)"), -1, self->m_attempt, OnRead,
                        self);
  }
  OnChanged(self);
}

void NetworkService::OnRead(GObject* client, GAsyncResult* result, gpointer self) {
  g_autoptr(GError) error = nullptr;
  g_autoptr(GVariant) profiles = nm_client_dbus_call_finish(NM_CLIENT(client), result, &error);
  if (profiles == nullptr && g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) {
    return;
  }
  auto* service = static_cast<NetworkService*>(self);
  g_clear_object(&service->m_attempt);
  OnChanged(service);
}

void NetworkService::OnDeviceAdded(NMClient* /*client*/, NMDevice* device, gpointer self) {
  auto* service = static_cast<NetworkService*>(self);
  service->WatchDevice(device);
  OnChanged(service);
}

void NetworkService::WatchDevice(NMDevice* device) {
  if (NM_IS_DEVICE_WIFI(device)) {
    for (const char* change : {"notify::" NM_DEVICE_MANAGED, "notify::" NM_DEVICE_INTERFACE}) {
      g_signal_connect_swapped(device, change, G_CALLBACK(OnChanged), this);
    }
  }
}

void NetworkService::OnChanged(NetworkService* self) {
  self->ChooseWifi();
  if (self->m_tell == 0) {
    self->m_tell = g_idle_add_full(G_PRIORITY_DEFAULT, Tell, self, nullptr);
  }
}

void NetworkService::ChooseWifi() {
  NMClient* const client = Client();
  const GPtrArray* devices = client == nullptr ? nullptr : nm_client_get_devices(client);
  NMDeviceWifi* chosen = nullptr;
  for (guint i = 0; devices != nullptr && i < devices->len; ++i) {
    gpointer device = g_ptr_array_index(devices, i);
    if (IsUsable(device) && (chosen == nullptr || device == m_wifi)) {
      chosen = NM_DEVICE_WIFI(device);
    }
  }
  g_set_object(&m_wifi, chosen);
}

gboolean NetworkService::Tell(gpointer self) {
  auto* service = static_cast<NetworkService*>(self);
  service->m_tell = 0;
  service->m_listeners.ForEach([](const Listener& listener) { listener.handler(); });
  return G_SOURCE_REMOVE;
}

void NetworkService::EndAttempt() {
  if (m_attempt != nullptr) {
    g_cancellable_cancel(m_attempt);
    g_clear_object(&m_attempt);
  }
}

void NetworkService::Drop() {
  EndAttempt();
  g_clear_object(&m_wifi);
  if (m_client != nullptr) {
    Unwatch();
    g_clear_object(&m_client);
  }
}

void NetworkService::Unwatch() {
  const GPtrArray* devices = nm_client_get_devices(m_client);
  for (guint i = 0; i < devices->len; ++i) {
    g_signal_handlers_disconnect_by_data(g_ptr_array_index(devices, i), this);
  }
  g_signal_handlers_disconnect_by_data(m_client, this);
}

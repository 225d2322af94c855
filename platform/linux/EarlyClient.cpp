#include "EarlyClient.h"

#include <gio/gio.h>

namespace {

constexpr guint kLongestMilliseconds = 2000;

/// Everything about it happens in a main context of its own.
class Attempt {
 public:
  Attempt();
  ~Attempt();
  Attempt(const Attempt&) = delete;
  Attempt& operator=(const Attempt&) = delete;

  /// @return null when there was none in time
  NMClient* Wait();

 private:
  static void OnConnected(GObject* source, GAsyncResult* result, gpointer self);
  static void OnClient(GObject* source, GAsyncResult* result, gpointer self);
  static gboolean OnTimeout(gpointer self);
  static void OnQuiet(gpointer self, GObject* watcher);

  GMainContext* m_context = g_main_context_new();
  GSource* m_limit = g_timeout_source_new(kLongestMilliseconds);
  GCancellable* m_cancellable = g_cancellable_new();
  NMClient* m_client = nullptr;
  bool m_is_over = false;
  bool m_is_quiet = false;
};

Attempt::Attempt() {
  g_main_context_push_thread_default(m_context);
  g_source_set_callback(m_limit, OnTimeout, this, nullptr);
  g_source_attach(m_limit, m_context);
}

/// A client that ends calls off what it had asked for, and is done when its context has seen that.
Attempt::~Attempt() {
  if (m_client != nullptr) {
    g_object_weak_ref(nm_client_get_context_busy_watcher(m_client), OnQuiet, this);
    g_clear_object(&m_client);
    while (!m_is_quiet) {
      g_main_context_iteration(m_context, TRUE);
    }
  }
  g_source_destroy(m_limit);
  g_source_unref(m_limit);
  g_object_unref(m_cancellable);
  g_main_context_pop_thread_default(m_context);
  g_main_context_unref(m_context);
}

NMClient* Attempt::Wait() {
  g_autofree char* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
  if (address == nullptr) {
    return nullptr;
  }
  constexpr auto kFlags = static_cast<GDBusConnectionFlags>(
      G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  g_dbus_connection_new_for_address(address, kFlags, nullptr, m_cancellable, OnConnected, this);
  while (!m_is_over) {
    g_main_context_iteration(m_context, TRUE);
  }
  return m_client;
}

void Attempt::OnConnected(GObject* /*source*/, GAsyncResult* result, gpointer self) {
  auto* const attempt = static_cast<Attempt*>(self);
  g_autoptr(GDBusConnection) connection = g_dbus_connection_new_for_address_finish(result, nullptr);
  if (connection == nullptr) {
    attempt->m_is_over = true;
    return;
  }
  g_async_initable_new_async(NM_TYPE_CLIENT, G_PRIORITY_DEFAULT, attempt->m_cancellable, OnClient, self,
                             NM_CLIENT_DBUS_CONNECTION, connection, NM_CLIENT_INSTANCE_FLAGS,
                             guint{NM_CLIENT_INSTANCE_FLAGS_NO_AUTO_FETCH_PERMISSIONS}, nullptr);
}

void Attempt::OnClient(GObject* source, GAsyncResult* result, gpointer self) {
  auto* const attempt = static_cast<Attempt*>(self);
  GObject* const client = g_async_initable_new_finish(G_ASYNC_INITABLE(source), result, nullptr);
  attempt->m_client = client == nullptr ? nullptr : NM_CLIENT(client);
  attempt->m_is_over = true;
}

gboolean Attempt::OnTimeout(gpointer self) {
  g_cancellable_cancel(static_cast<Attempt*>(self)->m_cancellable);
  return G_SOURCE_REMOVE;
}

void Attempt::OnQuiet(gpointer self, GObject* /*watcher*/) {
  static_cast<Attempt*>(self)->m_is_quiet = true;
}

}  // namespace

bool LookEarly(const std::function<void(NMClient*)>& look) {
  Attempt attempt;
  NMClient* const client = attempt.Wait();
  if (client == nullptr || nm_client_get_nm_running(client) == FALSE) {
    return false;
  }
  look(client);
  return true;
}

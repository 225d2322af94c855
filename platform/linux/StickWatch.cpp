#include "StickWatch.h"

#include <utility>

#include "DiskService.h"
#include "PlatformLog.h"

StickWatch& StickWatch::Instance() {
  static auto* const watch = new StickWatch;
  return *watch;
}

void StickWatch::Start(Handler handler) {
  if (m_handler != nullptr) {
    return;
  }
  m_handler = std::move(handler);
  Begin();
  m_bus.Start([this](GDBusConnection* connection) { OnBus(connection); });
}

void StickWatch::Stop() {
  if (m_handler == nullptr) {
    return;
  }
  m_handler = nullptr;
  OnBus(nullptr);
  m_bus.Stop();
  m_told.clear();
}

void StickWatch::Begin() {
  if (m_handler == nullptr) {
    return;
  }
  ++m_beginnings;
  m_told = DiskService::Instance().Sticks().value_or(std::vector<UsbSticks::Stick>());
  if (m_connection != nullptr) {
    ReadAll();  // what is on its way here is older
  }
}

void StickWatch::OnBus(GDBusConnection* connection) {
  if (m_name_watch != 0) {
    g_bus_unwatch_name(m_name_watch);
    m_name_watch = 0;
  }
  if (connection != nullptr) {
    m_name_watch =
        g_bus_watch_name_on_connection(connection, DiskService::kName, G_BUS_NAME_WATCHER_FLAGS_NONE,
                                       OnAppeared, OnVanished, this, nullptr);
  } else {
    OnVanished(nullptr, nullptr, this);
  }
}

void StickWatch::OnAppeared(GDBusConnection* connection, const char* /*name*/, const char* owner,
                            gpointer self) {
  auto* watch = static_cast<StickWatch*>(self);
  OnVanished(connection, nullptr, self);
  watch->m_connection = G_DBUS_CONNECTION(g_object_ref(connection));
  watch->m_subscription = g_dbus_connection_signal_subscribe(
      connection, owner, DiskService::kObjectManager, nullptr, DiskService::kRoot, nullptr,
      G_DBUS_SIGNAL_FLAGS_NONE, OnChange, self, nullptr);
  watch->ReadAll();
}

void StickWatch::OnVanished(GDBusConnection* /*connection*/, const char* /*name*/, gpointer self) {
  auto* watch = static_cast<StickWatch*>(self);
  if (watch->m_reading != nullptr) {
    g_cancellable_cancel(watch->m_reading);
    g_clear_object(&watch->m_reading);
  }
  if (watch->m_connection != nullptr) {
    g_dbus_connection_signal_unsubscribe(watch->m_connection, watch->m_subscription);
    g_clear_object(&watch->m_connection);
  }
}

void StickWatch::ReadAll() {
  if (m_reading != nullptr) {
    m_is_changed = true;
    return;
  }
  m_is_changed = false;
  m_reading = g_cancellable_new();
  g_dbus_connection_call(m_connection, DiskService::kName, DiskService::kRoot,
                         DiskService::kObjectManager, "GetManagedObjects", nullptr,
                         G_VARIANT_TYPE(DiskService::kObjects), G_DBUS_CALL_FLAGS_NO_AUTO_START, -1,
                         m_reading, OnAll, this);
}

void StickWatch::OnAll(GObject* source, GAsyncResult* result, gpointer self) {
  g_autoptr(GError) error = nullptr;
  g_autoptr(GVariant) answer = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error);
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) {
    return;
  }
  auto* watch = static_cast<StickWatch*>(self);
  g_clear_object(&watch->m_reading);
  if (watch->m_is_changed) {
    watch->ReadAll();
    return;
  }
  if (answer == nullptr) {
    PLATFORM_LOG(DLOG_WARN, "UDisks2 does not answer: %s", error->message);
    return;
  }
  g_autoptr(GVariant) objects = g_variant_get_child_value(answer, 0);
  watch->m_sticks = UsbSticks(objects);
  watch->Tell();
}

void StickWatch::OnChange(GDBusConnection* /*connection*/, const char* /*sender*/,
                          const char* /*object*/, const char* /*interface*/, const char* signal,
                          GVariant* arguments, gpointer self) {
  auto* watch = static_cast<StickWatch*>(self);
  if (watch->m_reading != nullptr) {
    watch->m_is_changed = true;
    return;
  }
  const char* object = nullptr;
  g_autoptr(GVariant) interfaces = nullptr;
  const std::string name(signal);
  if (name == "InterfacesAdded" &&
      g_variant_is_of_type(arguments, G_VARIANT_TYPE("(oa{sa{sv}})")) != FALSE) {
    g_variant_get(arguments, "(&o@a{sa{sv}})", &object, &interfaces);
    watch->m_sticks.Add(object, interfaces);
  } else if (name == "InterfacesRemoved" &&
             g_variant_is_of_type(arguments, G_VARIANT_TYPE("(oas)")) != FALSE) {
    g_variant_get(arguments, "(&o@as)", &object, &interfaces);
    watch->m_sticks.Remove(object, interfaces);
  }
  watch->Tell();
}

/// One by one, because a handler may stop the watch or begin it anew.
void StickWatch::Tell() {
  const std::vector<UsbSticks::Stick> present = m_sticks.All();
  const std::vector<UsbSticks::Stick> told = std::exchange(m_told, present);
  const auto tell_those_of = [this, beginning = m_beginnings](const auto& sticks, const auto& others,
                                                              bool is_connected) {
    for (const UsbSticks::Stick& stick : sticks) {
      const Handler handler = m_handler;
      if (handler != nullptr && m_beginnings == beginning && FindStick(others, stick) == nullptr) {
        handler(stick, is_connected);
      }
    }
  };
  tell_those_of(told, present, false);
  tell_those_of(present, told, true);
}

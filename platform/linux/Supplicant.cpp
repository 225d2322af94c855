#include "Supplicant.h"

#include <memory>
#include <string_view>
#include <utility>

#include "PlatformLog.h"

namespace {

constexpr char kService[] = "fi.w1.wpa_supplicant1";
constexpr char kServicePath[] = "/fi/w1/wpa_supplicant1";
constexpr char kInterface[] = "fi.w1.wpa_supplicant1.Interface";
constexpr char kNetwork[] = "fi.w1.wpa_supplicant1.Network";
constexpr char kProperties[] = "org.freedesktop.DBus.Properties";

/// Who waits for the answer to a call.
struct Pending {
  Supplicant::Reply reply;
};

void Answer(Pending* pending, GVariant* reply, const GError* error) {
  const std::unique_ptr<Pending> owned(pending);
  if (owned->reply) {
    owned->reply(reply, error);
  }
}

void OnReply(GObject* source, GAsyncResult* result, gpointer pending) {
  g_autoptr(GError) error = nullptr;
  g_autoptr(GVariant) reply = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error);
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) {
    delete static_cast<Pending*>(pending);  // stopped
    return;
  }
  Answer(static_cast<Pending*>(pending), reply, error);
}

/// Answers a call that could not be made, as late as one that was.
void OnNoObject(GObject* /*source*/, GAsyncResult* result, gpointer pending) {
  g_autoptr(GError) error = nullptr;
  g_task_propagate_boolean(G_TASK(result), &error);
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) {
    delete static_cast<Pending*>(pending);
    return;
  }
  Answer(static_cast<Pending*>(pending), nullptr, error);
}

}  // namespace

Supplicant& Supplicant::Instance() {
  static auto* const supplicant = new Supplicant;
  return *supplicant;
}

void Supplicant::Start() {
  if (m_calls != nullptr) {
    return;
  }
  m_calls = g_cancellable_new();
  m_bus.Start([this](GDBusConnection* connection) { OnBus(connection); });
}

void Supplicant::Stop() {
  if (m_calls == nullptr) {
    return;
  }
  g_cancellable_cancel(m_calls);
  g_clear_object(&m_calls);
  m_listeners = {};
  OnBus(nullptr);
  m_bus.Stop();
  m_interface.clear();
}

void Supplicant::RemoveListener(const void* owner) {
  m_listeners.RemoveIf([owner](const Listener& listener) { return listener.owner == owner; });
}

void Supplicant::OnBus(GDBusConnection* connection) {
  if (m_name_watch != 0) {
    g_bus_unwatch_name(m_name_watch);
    m_name_watch = 0;
  }
  m_is_running = false;
  Drop();
  Unsubscribe(m_service_signals);
  g_set_object(&m_connection, connection);
  if (connection == nullptr) {
    return;
  }
  m_service_signals =
      g_dbus_connection_signal_subscribe(connection, kService, kService, nullptr, kServicePath, nullptr,
                                         G_DBUS_SIGNAL_FLAGS_NONE, OnService, this, nullptr);
  m_name_watch = g_bus_watch_name_on_connection(connection, kService, G_BUS_NAME_WATCHER_FLAGS_NONE,
                                                OnAppeared, OnVanished, this, nullptr);
}

void Supplicant::OnAppeared(GDBusConnection* /*connection*/, const char* /*name*/, const char* /*owner*/,
                            gpointer self) {
  auto* supplicant = static_cast<Supplicant*>(self);
  supplicant->Drop();
  supplicant->m_is_running = true;
  supplicant->LookForInterface();
}

void Supplicant::OnVanished(GDBusConnection* /*connection*/, const char* /*name*/, gpointer self) {
  auto* supplicant = static_cast<Supplicant*>(self);
  supplicant->m_is_running = false;
  supplicant->Drop();
}

void Supplicant::UseInterface(const std::string& name) {
  if (name == m_interface) {
    return;
  }
  Drop();
  m_interface = name;
  LookForInterface();
}

/// Where the service does not know the interface yet, its InterfaceAdded tells of it.
void Supplicant::LookForInterface() {
  if (!m_is_running || m_interface.empty()) {
    return;
  }
  const auto adopt = [](GObject* source, GAsyncResult* result, gpointer name) {
    const std::unique_ptr<std::string> asked(static_cast<std::string*>(name));
    g_autoptr(GVariant) reply =
        g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr);
    if (reply == nullptr) {
      return;  // not known to it, or stopped
    }
    Supplicant& supplicant = Instance();
    const char* path = nullptr;
    g_variant_get(reply, "(&o)", &path);
    if (supplicant.m_is_running && supplicant.m_path.empty() && *asked == supplicant.m_interface) {
      supplicant.Adopt(path);
    }
  };
  g_dbus_connection_call(m_connection, kService, kServicePath, kService, "GetInterface",
                         g_variant_new("(s)", m_interface.c_str()), G_VARIANT_TYPE("(o)"),
                         G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, m_calls, adopt,
                         new std::string(m_interface));
}

void Supplicant::OnService(GDBusConnection* /*connection*/, const char* /*sender*/, const char* /*path*/,
                           const char* /*interface*/, const char* signal, GVariant* parameters,
                           gpointer self) {
  auto* supplicant = static_cast<Supplicant*>(self);
  const char* path = nullptr;
  if (g_str_equal(signal, "InterfaceAdded") &&
      g_variant_is_of_type(parameters, G_VARIANT_TYPE("(oa{sv})"))) {
    g_autoptr(GVariant) properties = nullptr;
    g_variant_get(parameters, "(&o@a{sv})", &path, &properties);
    supplicant->OnInterfaceAdded(path, properties);
  } else if (g_str_equal(signal, "InterfaceRemoved") &&
             g_variant_is_of_type(parameters, G_VARIANT_TYPE("(o)"))) {
    g_variant_get(parameters, "(&o)", &path);
    if (supplicant->m_path == path) {
      supplicant->Drop();
    }
  }
}

void Supplicant::OnInterfaceAdded(const char* path, GVariant* properties) {
  const char* name = nullptr;
  if (m_path.empty() && g_variant_lookup(properties, "Ifname", "&s", &name) && m_interface == name) {
    Adopt(path);
  }
}

void Supplicant::Adopt(const char* path) {
  m_path = path;
  m_interface_signals =
      g_dbus_connection_signal_subscribe(m_connection, kService, kInterface, nullptr, path, nullptr,
                                         G_DBUS_SIGNAL_FLAGS_NONE, OnInterface, this, nullptr);
  m_property_signals = g_dbus_connection_signal_subscribe(
      m_connection, kService, kProperties, "PropertiesChanged", path, kInterface,
      G_DBUS_SIGNAL_FLAGS_NONE, OnInterface, this, nullptr);
  PLATFORM_LOG(DLOG_INFO, "the supplicant serves %s", m_interface.c_str());
  TellPresence();
}

void Supplicant::Drop() {
  Unsubscribe(m_interface_signals);
  Unsubscribe(m_property_signals);
  if (!m_path.empty()) {
    m_path.clear();
    TellPresence();
  }
}

void Supplicant::Unsubscribe(guint& subscription) {
  if (subscription != 0) {
    g_dbus_connection_signal_unsubscribe(m_connection, std::exchange(subscription, 0));
  }
}

void Supplicant::TellPresence() const {
  m_listeners.ForEach([](const Listener& listener) {
    if (listener.on_presence) {
      listener.on_presence();
    }
  });
}

void Supplicant::OnInterface(GDBusConnection* /*connection*/, const char* /*sender*/,
                             const char* /*path*/, const char* interface, const char* signal,
                             GVariant* parameters, gpointer self) {
  auto* supplicant = static_cast<Supplicant*>(self);
  if (g_str_equal(interface, kProperties)) {
    supplicant->OnPropertiesChanged(parameters);
  } else if (g_str_equal(signal, "ScanDone") &&
             g_variant_is_of_type(parameters, G_VARIANT_TYPE("(b)"))) {
    gboolean is_success = FALSE;
    g_variant_get(parameters, "(b)", &is_success);
    supplicant->m_listeners.ForEach([is_success](const Listener& listener) {
      if (listener.on_scan_done) {
        listener.on_scan_done(is_success != FALSE);
      }
    });
  } else if (g_str_equal(signal, "EAP") && g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ss)"))) {
    const char* status = nullptr;
    const char* parameter = nullptr;
    g_variant_get(parameters, "(&s&s)", &status, &parameter);
    supplicant->m_listeners.ForEach([status, parameter](const Listener& listener) {
      if (listener.on_eap) {
        listener.on_eap(status, parameter);
      }
    });
  }
}

void Supplicant::OnPropertiesChanged(GVariant* parameters) {
  if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(sa{sv}as)"))) {
    return;
  }
  g_autoptr(GVariant) changed = g_variant_get_child_value(parameters, 1);
  GVariantIter iterator;
  g_variant_iter_init(&iterator, changed);
  const char* name = nullptr;
  GVariant* value = nullptr;
  while (g_variant_iter_loop(&iterator, "{&sv}", &name, &value)) {
    m_listeners.ForEach([name, value](const Listener& listener) {
      if (listener.on_property) {
        listener.on_property(name, value);
      }
    });
  }
}

void Supplicant::Call(const char* method, GVariant* arguments, Reply reply) {
  CallObject(m_path.c_str(), kInterface, method, arguments, std::move(reply));
}

void Supplicant::CallObject(const char* path, const char* interface, const char* method,
                            GVariant* arguments, Reply reply) {
  auto* pending = new Pending{std::move(reply)};
  if (!IsReady()) {
    if (arguments != nullptr) {
      g_variant_unref(g_variant_ref_sink(arguments));
    }
    g_autoptr(GTask) task = g_task_new(nullptr, m_calls, OnNoObject, pending);
    g_task_return_new_error(task, G_IO_ERROR, G_IO_ERROR_NOT_FOUND, "there is no such object");
    return;
  }
  g_dbus_connection_call(m_connection, kService, path, interface, method, arguments, nullptr,
                         G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, m_calls, OnReply, pending);
}

/// One that was not told to stay would come back with the next scan where it prefers the radio that it
/// left, or was told to stay with that one.
void Supplicant::MoveTo(const std::string& bssid,
                        std::function<void(bool has_begun, const char* why_not)> reply) {
  const auto then = [reply](const char* expected, std::function<void(GVariant * answer)> next) -> Reply {
    return [reply, expected, next = std::move(next)](GVariant* answer, const GError* error) {
      if (answer == nullptr) {
        reply(false, error->message);
      } else if (!g_variant_is_of_type(answer, G_VARIANT_TYPE(expected))) {
        reply(false, "its answer makes no sense");
      } else {
        next(answer);
      }
    };
  };
  const auto roam = [this, bssid, reply, then](GVariant* /*answer*/) {
    Call("Roam", g_variant_new("(s)", bssid.c_str()),
         then("()", [reply](GVariant*) { reply(true, ""); }));
  };
  const auto stay = [this, bssid, then, roam](GVariant* answer) {
    g_autoptr(GVariant) network = nullptr;
    g_variant_get(answer, "(v)", &network);
    const bool is_path = g_variant_is_of_type(network, G_VARIANT_TYPE_OBJECT_PATH);
    GVariantDict properties;
    g_variant_dict_init(&properties, nullptr);
    g_variant_dict_insert(&properties, "bssid", "s", bssid.c_str());
    CallObject(is_path ? g_variant_get_string(network, nullptr) : "/", kProperties, "Set",
               g_variant_new("(ssv)", kNetwork, "Properties", g_variant_dict_end(&properties)),
               then("()", roam));
  };
  CallObject(m_path.c_str(), kProperties, "Get", g_variant_new("(ss)", kInterface, "CurrentNetwork"),
             then("(v)", stay));
}

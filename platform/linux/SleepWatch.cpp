#include "SleepWatch.h"

#include "PlatformLog.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

constexpr char kService[] = "org.freedesktop.login1";
constexpr char kObject[] = "/org/freedesktop/login1";
constexpr char kInterface[] = "org.freedesktop.login1.Manager";

}  // namespace

SleepWatch& SleepWatch::Instance() {
  static auto* const watch = new SleepWatch;
  return *watch;
}

void SleepWatch::Start() {
  m_bus.Start([this](GDBusConnection* connection) { OnBus(connection); });
}

void SleepWatch::Stop() {
  OnBus(nullptr);
  m_bus.Stop();
}

void SleepWatch::OnBus(GDBusConnection* connection) {
  if (m_connection != nullptr) {
    g_dbus_connection_signal_unsubscribe(m_connection, m_subscription);
    g_clear_object(&m_connection);
  }
  if (connection != nullptr) {
    m_connection = G_DBUS_CONNECTION(g_object_ref(connection));
    m_subscription =
        g_dbus_connection_signal_subscribe(connection, kService, kInterface, "PrepareForSleep", kObject,
                                           nullptr, G_DBUS_SIGNAL_FLAGS_NONE, OnSleep, this, nullptr);
  }
}

void SleepWatch::OnSleep(GDBusConnection* /*connection*/, const char* /*sender*/, const char* /*object*/,
                         const char* /*interface*/, const char* /*signal*/, GVariant* arguments,
                         gpointer /*self*/) {
  if (g_variant_is_of_type(arguments, G_VARIANT_TYPE("(b)")) == FALSE) {
    return;
  }
  gboolean is_falling_asleep = FALSE;
  g_variant_get(arguments, "(b)", &is_falling_asleep);
  PLATFORM_LOG(DLOG_INFO, "the machine %s", is_falling_asleep != FALSE ? "goes to sleep" : "wakes up");
  vconf_set_str(vconf_keys::kNotifyPelorus, is_falling_asleep != FALSE ? "instant_off" : "instant_on");
}

#include "AutoconnectHold.h"

#include <unistd.h>

#include "NetworkService.h"
#include "PlatformLog.h"
#include "SettingsFile.h"

namespace {

std::string MarkFile() {
  return settings::MemoryRoot() + "/wifi-autoconnect-is-held";
}

void SetMark(bool is_set) {
  if (!is_set) {
    unlink(MarkFile().c_str());
    return;
  }
  g_autoptr(GError) error = nullptr;
  if (g_file_set_contents(MarkFile().c_str(), "", 0, &error) == FALSE) {
    PLATFORM_LOG(DLOG_WARN, "a crash would leave Wi-Fi on its own: %s", error->message);
  }
}

void OnSet(GObject* source, GAsyncResult* result, gpointer /*data*/) {
  g_autoptr(GError) error = nullptr;
  if (nm_client_dbus_set_property_finish(NM_CLIENT(source), result, &error) == FALSE) {
    PLATFORM_LOG(DLOG_WARN, "whether Wi-Fi connects by itself cannot be set: %s", error->message);
  }
}

void SetAutoconnect(NMDevice* device, bool is_allowed) {
  NMClient* const client = NetworkService::Instance().Client();
  if (device == nullptr || client == nullptr) {
    return;  // who is not there connects nothing, and has forgotten it when it comes back
  }
  nm_client_dbus_set_property(client, nm_object_get_path(NM_OBJECT(device)), NM_DBUS_INTERFACE_DEVICE,
                              "Autoconnect", g_variant_new_boolean(is_allowed ? TRUE : FALSE), -1,
                              nullptr, OnSet, nullptr);
}

}  // namespace

void AutoconnectHold::Hold(NMDevice* device) {
  Forget();
  if (!m_is_held) {
    m_is_held = true;
    SetMark(true);
  }
  SetAutoconnect(device, false);
}

void AutoconnectHold::Release(NMDevice* device) {
  Forget();
  if (m_is_held) {
    m_is_held = false;
    SetAutoconnect(device, true);
    SetMark(false);
  }
}

void AutoconnectHold::ReleaseLater() {
  Forget();
  if (m_is_held) {
    m_timer = g_timeout_add_seconds(kPeaceSeconds, OnPeaceIsOver, this);
  }
}

gboolean AutoconnectHold::OnPeaceIsOver(gpointer self) {
  auto* hold = static_cast<AutoconnectHold*>(self);
  hold->m_timer = 0;
  hold->Release(NM_DEVICE(NetworkService::Instance().WifiDevice()));
  return G_SOURCE_REMOVE;
}

void AutoconnectHold::ReleaseOfOthers(NMDevice* device) {
  if (!m_is_held && device != nullptr && access(MarkFile().c_str(), F_OK) == 0) {
    m_is_held = true;
    Release(device);
  }
}

void AutoconnectHold::Forget() {
  g_clear_handle_id(&m_timer, g_source_remove);
}

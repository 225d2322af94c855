#include "EAPReconnect.h"

#include <new>
#include <utility>

#include "Log.h"
#include "NW_Common.h"
#include "StaticObjects.h"
#include "TimerHelper.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

constexpr int kRetryDelayMs = 2000;
constexpr int kMostAttempts = 3;
constexpr int kReconnected = 1;
constexpr int kFailed = 0;

}  // namespace

CEAPReconnect::CEAPReconnect() {
  wifi_initialize();
  m_wired.reset(new (std::nothrow) WiredEAPReconnect(this));
}

CEAPReconnect::~CEAPReconnect() {
  _Destroy();
}

bool CEAPReconnect::Reconnect(std::function<void(int)> callback) {
  m_exitStatus = kFailed;
  const HeapString type(vconf_get_str(vconf_keys::kNetworkType));
  if (type == nullptr) {
    NW_LOG("Network Type vconf is NULL");
    return false;
  }
  NW_LOG("Network Type vconf is %s", type.get());
  if (type.get() == NetworkTypeWired) {
    if (m_wired == nullptr) {
      NW_LOG("Null Pointer");
    } else {
      m_wired->ReconnectWired();
    }
  } else if (type.get() == NetworkTypeWireless && !_DisconnectAP()) {
    NW_LOG("Cannot disconnect ap");
    return false;
  }
  m_callback = std::move(callback);
  return true;
}

void CEAPReconnect::update(int status) {
  NW_LOG("val==%d", status);
  NotifyExitStatus(status);
}

void CEAPReconnect::NotifyExitStatus(int status) {
  NW_LOG("Notify status %d", status);
  remove_timer(&m_notifySource);
  m_exitStatus = status;
  m_notifySource = g_idle_add(
      [](gpointer data) -> gboolean {
        auto* const self = static_cast<CEAPReconnect*>(data);
        self->m_notifySource = 0;
        // A copy, because the callback may end this object, and its own member with it.
        if (const auto tell = self->m_callback) {
          tell(self->m_exitStatus);
        }
        return G_SOURCE_REMOVE;
      },
      this);
}

bool CEAPReconnect::_DisconnectAP() {
  _ReleaseAP();
  const int no_ap = wifi_get_connected_ap(&m_ap);
  if (no_ap != WIFI_ERROR_NONE) {
    NW_LOG("{EAP} wifi_get_connected_ap %d", no_ap);
    return false;
  }
  const HeapString essid = ReadText(wifi_ap_get_essid, m_ap);
  const char* const shown = essid == nullptr ? "" : essid.get();
  wifi_security_type_e security = WIFI_SECURITY_TYPE_NONE;
  wifi_ap_get_security_type(m_ap, &security);
  if (security != WIFI_SECURITY_TYPE_EAP) {
    NW_LOG("not a eap type ap %s", shown);
    _ReleaseAP();
    return false;
  }
  m_attempt = 1;
  const int result = wifi_disconnect(m_ap, _Disconnectedcb, m_entry.AsUserData());
  if (result != WIFI_ERROR_NONE) {
    NW_LOG("{EAP}wifi_disconnect failed => %d", result);
    _ReleaseAP();
    return false;
  }
  NW_LOG("{EAP}disconnecting ssid => %s %d", shown, result);
  return true;
}

void CEAPReconnect::_Disconnectedcb(wifi_error_e error, void* number) {
  NW_LOG("{EAP} disconnected %d", error);
  // Whatever the error: an access point that was not left is joined already, and says so.
  if (auto* const self = LiveObjects<CEAPReconnect>::Find(number)) {
    self->_ConnectAgain(kRetryDelayMs);
  }
}

void CEAPReconnect::_ConnectAgain(int delayMs) {
  NW_LOG("START");
  remove_timer(&m_reconnectSource);
  m_reconnectSource = delayMs == 0 ? g_idle_add(_WaitForReconnect, this)
                                   : g_timeout_add(static_cast<guint>(delayMs), _WaitForReconnect, this);
}

gboolean CEAPReconnect::_WaitForReconnect(void* self) {
  auto* const reconnect = static_cast<CEAPReconnect*>(self);
  reconnect->m_reconnectSource = 0;
  NW_LOG("Reconnecting ..");
  const int result = wifi_connect(reconnect->m_ap, _ConnectedCb, reconnect->m_entry.AsUserData());
  NW_LOG("wifi_connect return value %d", result);
  if (result != WIFI_ERROR_NONE) {
    reconnect->_HandleUnknownError();
  }
  return G_SOURCE_REMOVE;
}

void CEAPReconnect::_ConnectedCb(wifi_error_e error, void* number) {
  NW_LOG("wifi_connect callback %d", error);
  auto* const self = LiveObjects<CEAPReconnect>::Find(number);
  if (self == nullptr) {
    return;
  }
  if (error == WIFI_ERROR_NONE || error == WIFI_ERROR_ALREADY_EXISTS) {
    self->NotifyExitStatus(kReconnected);
  } else if (error == WIFI_ERROR_INVALID_KEY) {
    self->NotifyExitStatus(kFailed);  // a wrong key will not heal
  } else if (self->m_attempt++ < kMostAttempts) {
    self->_ConnectAgain(kRetryDelayMs);
  } else {
    self->NotifyExitStatus(kFailed);
  }
}

void CEAPReconnect::_HandleUnknownError() {
  if (m_attempt++ >= kMostAttempts) {
    NotifyExitStatus(kFailed);
  } else {
    _ConnectAgain(kRetryDelayMs);
  }
}

void CEAPReconnect::_ReleaseAP() {
  if (m_ap != nullptr) {
    wifi_ap_destroy(m_ap);
    m_ap = nullptr;
  }
}

void CEAPReconnect::_Destroy() {
  m_callback = nullptr;
  remove_timer(&m_reconnectSource);
  remove_timer(&m_notifySource);
  m_wired.reset();
  _ReleaseAP();
}

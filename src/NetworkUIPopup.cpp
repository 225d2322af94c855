#include "NetworkUIPopup.h"

#include <string_view>
#include <utility>

#include "Log.h"
#include "NW_Common.h"
#include "vconf_keys.h"

namespace {

/// The one that is heard. A watch that the platform does not end calls for a popup that is gone.
CNetworkUIPopup* g_shown = nullptr;

}  // namespace

CNetworkUIPopup::~CNetworkUIPopup() {
  NW_LOG("START");
  StopListening();
}

void CNetworkUIPopup::Show(std::string /*text*/, std::function<void(int)> callback) {
  NW_LOG("START");
  m_isShown = true;
  g_shown = this;
  vconf_set_str(vconf_keys::kLaunchNS, "SHOWPOPUP");
  vconf_notify_key_changed(vconf_keys::kLaunchNS, vconf_on_button_clicked, this);
  m_callback = std::move(callback);
}

void CNetworkUIPopup::Close() {
  NW_LOG("START");
  StopListening();
}

void CNetworkUIPopup::StopListening() {
  vconf_ignore_key_changed(vconf_keys::kLaunchNS, vconf_on_button_clicked);
  if (g_shown == this) {
    g_shown = nullptr;
  }
}

void CNetworkUIPopup::vconf_on_button_clicked(keynode_t* /*node*/, void* popup) {
  auto* self = static_cast<CNetworkUIPopup*>(popup);
  if (self != g_shown) {
    return;
  }
  const HeapString value(vconf_get_str(vconf_keys::kLaunchNS));
  if (value == nullptr) {
    return;
  }
  NW_LOG("5ghz vconf change =>%s", value.get());
  // Copied: the answer ends the popup, and with it the callback that is still being executed.
  const std::function<void(int)> callback = self->m_callback;
  const std::string_view word = value.get();
  int answer = 0;
  if (word == "CONNECTPRESSED") {
    answer = 1;
    self->m_isShown = false;
  } else if (word == "CANCELPRESSED") {
    self->m_isShown = false;
  } else if (word != "STOP5GHZCONNECTION" || !self->m_isShown) {
    return;
  }
  if (callback != nullptr) {
    callback(answer);
  }
}

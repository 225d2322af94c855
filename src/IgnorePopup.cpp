#include "IgnorePopup.h"

#include <string_view>

#include <glib.h>

#include "Log.h"
#include "NW_Common.h"
#include "StaticObjects.h"
#include "system_info.h"
#include "vconf.h"

namespace {

constexpr unsigned kTickSeconds = 10;
constexpr unsigned kStartWindowSeconds = 30;
constexpr unsigned kInstantOnWindowSeconds = 40;
constexpr int kWiredSupportBit = 1 << 0;

struct {
  guint timer_id;  // 0 when none runs
  bool is_instantoff;
  unsigned iTimerCount;  // seconds since the window was (re)started
  unsigned nwpopuptimeout;
} __IgnoreObj;

bool IsInit = false;

gboolean __IgnoreAttachedEventTimer(gpointer /*user_data*/) {
  __IgnoreObj.iTimerCount += kTickSeconds;
  if (__IgnoreObj.iTimerCount < __IgnoreObj.nwpopuptimeout) {
    return G_SOURCE_CONTINUE;
  }
  NW_LOG("Ignore attached >>Timer is Expired ");
  StopIgnoreTimer();
  return G_SOURCE_REMOVE;
}

void __tvInstantOffON(keynode_t* /*node*/, void* /*user_data*/) {
  const HeapString value(vconf_get_str(VCONF_INSTANT_OFF_ON.c_str()));
  NW_LOG("instant off vconf result =>%s", value.get());
  if (value == nullptr) {
    return;
  }
  const std::string_view state = value.get();
  if (state == "instant_on") {
    __IgnoreObj.is_instantoff = false;
    __Start_PopupIgnore_Timer(kInstantOnWindowSeconds);
    WakeupOnInstantON();
  } else if (state == "instant_off") {
    __IgnoreObj.is_instantoff = true;
  }
}

/// A model that does not say is taken to have a wired network.
bool IsWiredSupported() {
  int support = 0;
  if (system_info_get_custom_int(FEATURE_NETWORK_SUPPORT, &support) != SYSTEM_INFO_ERROR_NONE) {
    NW_LOG(" Error: Fail to get com.velanor/featureconf/network.network_support value");
    return true;
  }
  if ((support & kWiredSupportBit) == 0) {
    NW_LOG("Wired plugged in, but wired network is not supported");
    return false;
  }
  NW_LOG("Wired is Supported");
  return true;
}

}  // namespace

void RegisterIgnorePopup() {
  NW_LOG("START");
  if (IsInit) {
    NW_LOG("[IsIgnoreCondition Already initialized]");
    return;
  }
  IsInit = true;
  __IgnoreObj.is_instantoff = false;
  vconf_notify_key_changed(VCONF_INSTANT_OFF_ON.c_str(), __tvInstantOffON, nullptr);
  __Start_PopupIgnore_Timer(kStartWindowSeconds);
  NW_LOG("END");
}

void UnRegisterIgnorePopup() {
  if (!IsInit) {
    return;
  }
  vconf_ignore_key_changed(VCONF_INSTANT_OFF_ON.c_str(), __tvInstantOffON);
  IsInit = false;
  __IgnoreObj.is_instantoff = false;
  StopIgnoreTimer();
}

void __Start_PopupIgnore_Timer(int timeoutSeconds) {
  NW_LOG("[Start Ignore Timer] >>>");
  StopIgnoreTimer();
  __IgnoreObj.iTimerCount = 0;
  __IgnoreObj.nwpopuptimeout = static_cast<unsigned>(timeoutSeconds);
  __IgnoreObj.timer_id = g_timeout_add_seconds(kTickSeconds, __IgnoreAttachedEventTimer, nullptr);
  if (__IgnoreObj.timer_id == 0) {
    NW_LOG("Failed to create timer");
  }
}

void StopIgnoreTimer() {
  if (__IgnoreObj.timer_id != 0) {
    g_source_remove(__IgnoreObj.timer_id);
    __IgnoreObj.timer_id = 0;
  }
}

// Instant-off and the open window are said in the log and suppress nothing: the user who pulls a cable
// right after switching on must still be told.
bool IsIgnoreCondition(int type) {
  bool ignore = false;
  if (type == eNetworkTypeWired && !IsWiredSupported()) {
    ignore = true;
  } else if (__IgnoreObj.is_instantoff) {
    NW_LOG("is_instantoff True");
  } else {
    const unsigned reference = type == eNetworkTypeWired ? kStartWindowSeconds : kInstantOnWindowSeconds;
    if (__IgnoreObj.timer_id != 0 && __IgnoreObj.iTimerCount < reference) {
      NW_LOG("__IgnoreObj.iTimerCount < _nwpopuptimeout ::%u=%u", __IgnoreObj.iTimerCount, reference);
    }
  }
  NW_LOG("IsIgnoreCondition => %s]", ignore ? "true" : "false");
  return ignore;
}

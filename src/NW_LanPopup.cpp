#include "NW_LanPopup.h"

#include <algorithm>
#include <string_view>

#include "IgnorePopup.h"
#include "Log.h"
#include "NW_Common.h"
#include "NotiProxy.h"
#include "net_connection.h"
#include "system_info.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

constexpr std::string_view kSetupSteps[] = {"PNP_SETUP", "INITIAL_SETUP", "MARQUEE_SETUP",
                                            "HOTPLUG_SETUP", "TERMS_SETUP"};

connection_h sLanPopupObj = nullptr;

bool IsSetupRunning() {
  const HeapString step(vconf_get_str(vconf_keys::kWizardMode));
  NW_LOG("memory/wizard/wizard_mode == %s", step.get());
  return step != nullptr && std::ranges::find(kSetupSteps, step.get()) != std::end(kSetupSteps);
}

bool IsPopupSupported() {
  bool supported = true;
  if (system_info_get_custom_bool(FEATURE_NETWORK_POPUP_SUPPORTED, &supported) !=
      SYSTEM_INFO_ERROR_NONE) {
    NW_LOG("SYSTEM_INFO_KEY_LFD_NETWORK_POPUP_SUPPORT returns error");
    return true;
  }
  return supported;
}

void ethernet_state_changed_cb(connection_ethernet_cable_state_e state, void* /*user_data*/) {
  NW_LOG("START");
  if (IsSetupRunning()) {
    NW_LOG("During PNP. Skip to launch Banner.");
    return;
  }
  const bool is_known =
      state == CONNECTION_ETHERNET_CABLE_ATTACHED || state == CONNECTION_ETHERNET_CABLE_DETACHED;
  if (IsIgnoreCondition(eNetworkTypeWired)) {
    StopIgnoreTimer();
    NW_LOG("Event received >> deleted Timer");
    if (is_known) {
      NW_LOG("Ignoring event : %d", state);
      return;
    }
  }
  if (!IsPopupSupported()) {
    NW_LOG("Dont show popup when SYSTEM_INFO_KEY_LFD_NETWORK_POPUP_SUPPORT is false");
    return;
  }
  if (state == CONNECTION_ETHERNET_CABLE_ATTACHED) {
    GetNotiInstance()->ShowLanCablePopup(true);
  } else if (state == CONNECTION_ETHERNET_CABLE_DETACHED) {
    NW_LOG("GOT DETTACHED Event ");
    GetNotiInstance()->ShowLanCablePopup(false);
  }
}

connection_h GetConnectionHandler() {
  NW_LOG("START");
  if (sLanPopupObj == nullptr) {
    connection_create(&sLanPopupObj);
  }
  return sLanPopupObj;
}

}  // namespace

int registerEvent() {
  NW_LOG("START");
  sLanPopupObj = nullptr;
  if (GetConnectionHandler() != nullptr) {
    connection_set_ethernet_cable_state_chaged_cb(sLanPopupObj, ethernet_state_changed_cb, nullptr);
    RegisterIgnorePopup();
  }
  NW_LOG("END");
  return 0;
}

int deregisterEvent() {
  NW_LOG("Terminating >>");
  if (sLanPopupObj != nullptr) {
    connection_destroy(sLanPopupObj);
    sLanPopupObj = nullptr;
  }
  UnRegisterIgnorePopup();
  NW_LOG("Done deregistration>>");
  return 0;
}

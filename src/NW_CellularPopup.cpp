#include "NW_CellularPopup.h"

#include "IgnorePopup.h"
#include "Log.h"
#include "NW_Common.h"
#include "NotiProxy.h"
#include "tapi.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

constexpr int kDongleRemoved = 0;
constexpr int kDongleInserted = 1;

TapiHandle* sCellularPopupObj = nullptr;

void showCellularBanner(int status) {
  if (status == kDongleInserted) {
    GetNotiInstance()->ShowCellularDonglePopup(true);
  } else if (status == kDongleRemoved) {
    GetNotiInstance()->ShowCellularDonglePopup(false);
  }
}

void OnDongleEvents(TapiHandle* /*handle*/, const char* /*evt*/, void* data, void* /*user_data*/) {
  NW_LOG("START");
  if (IsIgnoreCondition(eNetworkTypeCellular)) {
    NW_LOG("[Ignoring cellular dongle  event]>>>> ");
  } else {
    showCellularBanner(*static_cast<const int*>(data));
  }
  NW_LOG("END");
}

TapiHandle* GetTAPIHandler() {
  NW_LOG("START");
  if (sCellularPopupObj == nullptr) {
    sCellularPopupObj = tel_init(nullptr);
  }
  return sCellularPopupObj;
}

/// Subscribes, and reports the dongle as it is now: also that there is none.
void checkCellularEvents(keynode_t* /*node*/, void* /*user_data*/) {
  NW_LOG("START");
  int status = kDongleRemoved;
  TapiHandle* handle = GetTAPIHandler();
  if (handle == nullptr) {
    NW_LOG("TapiHandle Failed");
    NW_LOG("END");
    return;
  }
  if (tel_get_property_int(handle, TAPI_PROP_MODEM_DONGLE_STATUS, &status) != TAPI_API_SUCCESS) {
    NW_LOG("tel_get_property_int Failed");
    NW_LOG("END");
    return;
  }
  NW_LOG("telephony-daemon is running now,register Modem State Change Events");
  const int result =
      tel_register_noti_event(handle, TAPI_PROP_MODEM_DONGLE_STATUS, OnDongleEvents, nullptr);
  if (result == TAPI_API_SUCCESS) {
    NW_LOG("tel_register_noti_event for TAPI_PROP_MODEM_DONGLE_STATUS , return : %d", result);
  } else {
    NW_LOG("== failed to get Tapi handler,Tapi async functionality may not work ==");
  }
  if (status == kDongleInserted) {
    NW_LOG("Dongle Inserted");
    if (IsIgnoreCondition(eNetworkTypeCellular)) {
      NW_LOG("Ignoring Dongle Attached event 1st time");
      return;
    }
    NW_LOG("Cellular timer >> Invalid data");
  } else {
    NW_LOG("Dongle Removed");
  }
  showCellularBanner(status);
  NW_LOG("END");
}

}  // namespace

void registerCellularEvents() {
  NW_LOG("START");
  RegisterIgnorePopup();
  int is_ready = 0;
  vconf_get_bool(vconf_keys::kTelephonyReady, &is_ready);
  if (is_ready == 1) {
    NW_LOG("telephony-daemon is running, register timer");
    checkCellularEvents(nullptr, nullptr);
  } else {
    NW_LOG("telephony-daemon is not running, Register vconf notify key changed.");
    if (vconf_notify_key_changed(vconf_keys::kTelephonyReady, checkCellularEvents, nullptr) ==
        VCONF_OK) {
      NW_LOG("Success to register vconf notification callback");
    } else {
      NW_LOG("Failed to register vconf notification callback");
    }
  }
  NW_LOG("END");
}

void deregisterCellularEvent() {
  NW_LOG("Cellular >> Terminating >>");
  if (sCellularPopupObj != nullptr) {
    tel_deinit(sCellularPopupObj);
    sCellularPopupObj = nullptr;
  }
  UnRegisterIgnorePopup();
  NW_LOG("Cellular >> Done deregistration>>");
}

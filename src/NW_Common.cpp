#include "NW_Common.h"

#include <cstdio>
#include <string_view>

#include <ftw.h>
#include <glib.h>

#include "CFileSystem.h"
#include "Log.h"
#include "NetworkWirelessLog.h"
#include "NotiProxy.h"
#include "StaticObjects.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

constexpr char kCertificateParentDirectory[] = "/home/owner/share/";
constexpr int kWalkDescriptors = 64;

void vconf_on_change_ns_luanch(keynode_t* /*node*/, void* /*user_data*/) {
  const HeapString value(vconf_get_str(vconf_keys::kLaunchNS));
  if (value == nullptr) {
    return;
  }
  NW_LOG(" Vconf [%s]", value.get());
  if (std::string_view(value.get()) == "LaunchNS") {
    NW_LOG("start : going to launch NETWORK_SETUP, will not work , move it in a new process");
    GetNotiInstance()->LaunchVestaNetworkSetting();
  }
}

int unlink_cb(const char* path, const struct stat* /*status*/, int /*type*/, struct FTW* /*position*/) {
  return remove(path);
}

void power_state_changed_cb(keynode_t* /*node*/, void* /*user_data*/) {
  NW_LOG("SetwellDaemon::power_off_clb");

  // Before the key is looked at: the certificates go on any change of it, also one to 0.
  const bool client_removed = RemoveCertificateDir(CLIENT_CERT_PATH.c_str());
  const bool root_removed = RemoveCertificateDir(ROOT_CERT_PATH.c_str());
  if (client_removed || root_removed) {
    // Or the power-off that follows brings them back.
    CFileSystem::SyncDir(kCertificateParentDirectory);
  }

  int reset = -1;
  if (vconf_get_int(vconf_keys::kFactoryReset, &reset) != VCONF_OK) {
    NW_LOG_SYSTEM("db/was/factory_reset Read Failed");
    return;
  }
  if (reset > 0) {
    NW_LOG("POWER_OFF_REASON_FACTORY_RESET OR MENU RESET");
    vconf_set_str(vconf_keys::kSavedAPList, "");
    vconf_set_str(vconf_keys::kTopSavedAP, "");
  }
}

}  // namespace

eNetworkType GetCurrentNetworkType() {
  const HeapString value(vconf_get_str(vconf_keys::kNetworkType));
  if (value == nullptr) {
    return eNetworkTypeWired;
  }
  const std::string_view type = value.get();
  if (type == "Wireless") {
    return eNetworkTypeWireless;
  }
  return type == "Cellular" ? eNetworkTypeCellular : eNetworkTypeWired;
}

void SetAutoSwitchingMode(int mode) {
  NW_LOG("Set Auto switching mode =%d", mode);
  vconf_set_str(vconf_keys::kAuto5GhzSwitchSettings, mode == 0 ? "0" : "1");
}

bool IsAutoSwitchingAllowed() {
  const HeapString value(vconf_get_str(vconf_keys::kAuto5GhzSwitchSettings));
  const bool allowed = value != nullptr && std::string_view(value.get()) == "1";
  NW_LOG("Auto switching allowed =>%d", allowed);
  return allowed;
}

void register_NSLaunchVconf() {
  vconf_notify_key_changed(vconf_keys::kLaunchNS, vconf_on_change_ns_luanch, nullptr);
}

void deregister_NSLaunchVconf() {
  vconf_ignore_key_changed(vconf_keys::kLaunchNS, vconf_on_change_ns_luanch);
}

void registerPowerCallback(bool bRegister) {
  NW_LOG("bRegister = %d", bRegister);
  if (bRegister) {
    vconf_notify_key_changed(vconf_keys::kFactoryReset, power_state_changed_cb, nullptr);
  } else {
    vconf_ignore_key_changed(vconf_keys::kFactoryReset, power_state_changed_cb);
  }
}

bool RemoveCertificateDir(const char* path) {
  NW_LOG("RemoveCertificateDir start");
  if (!g_file_test(path, G_FILE_TEST_IS_DIR)) {
    return false;
  }
  NW_LOG("Folder exist");
  nftw(path, unlink_cb, kWalkDescriptors, FTW_DEPTH | FTW_PHYS);
  return true;
}

void registerWifiEvents() {
  CNetworkWirelessLogSingleton<WirelessLog>::Get()->RegisterWifiEvents();
}

void deRegisterWifiEvents() {
  CNetworkWirelessLogSingleton<WirelessLog>::Get()->DeRegisterWifiEvents();
  CNetworkWirelessLogSingleton<WirelessLog>::Destroy();
}

void WakeupOnInstantON() {
  CNetworkWirelessLogSingleton<WirelessLog>::Get()->SendKPIAutoConnectAP();
}

#include "NetworkCaptiveAP.h"

#include <utility>

#include "Log.h"
#include "NotiProxy.h"
#include "package_manager.h"
#include "setwell/NetworkUtil.h"

namespace {

constexpr guint kWaitSeconds = 10;
constexpr char kBrowser[] = "org.orvik.browser";

void OnAnswer(wifi_manager_error_e error, bool is_captive, char* url, void* number) {
  NetworkCaptiveAP::OnCaptiveAPCB(error, is_captive, url, LiveObjects<NetworkCaptiveAP>::Find(number));
}

}  // namespace

NetworkCaptiveAP::NetworkCaptiveAP() : CNetworkReadyWait(kWaitSeconds) {}

void NetworkCaptiveAP::Init() {
  if (IsFeatureSupported()) {
    // No listener: what a lost gateway starts is not wanted here, the check runs once.
    SetInitialised();
    StartWaitTimerForNewConnection();
  }
}

bool NetworkCaptiveAP::IsFeatureSupported() {
  if (!IsAPPInstalled(kBrowser)) {
    return false;
  }
  const bool is_setup = IsOOBE();
  NW_LOG("Feature Supported == %d", is_setup);
  return !is_setup;
}

bool NetworkCaptiveAP::IsAPPInstalled(const char* packageId) {
  NW_LOG("IsAPPInstalled");
  package_info_h info = nullptr;
  if (package_manager_get_package_info(packageId, &info) != PACKAGE_MANAGER_ERROR_NONE ||
      info == nullptr) {
    NW_LOG("Not Installed");
    return false;
  }
  NW_LOG("Installed");
  package_info_destroy(info);
  return true;
}

void NetworkCaptiveAP::OnNetworkReadyWait() {
  if (IsFeatureSupported() && Setwell::NetworkUtil::IsGateWayConnected()) {
    CheckCaptiveAP();
  }
}

void NetworkCaptiveAP::CheckCaptiveAP() {
  NW_LOG("START");
  if (wifi_ap_is_captive_portal_network(OnAnswer, m_entry.AsUserData()) == WIFI_MANAGER_ERROR_NONE) {
    NW_LOG("wifi_ap_is_captive_portal_network call success");
  } else {
    NW_LOG("wifi_ap_is_captive_portal_network call Fail");
  }
}

void NetworkCaptiveAP::OnCaptiveAPCB(wifi_manager_error_e error, bool isCaptive, char* url, void* self) {
  NW_LOG("OnCaptiveAPCB");
  NW_LOG("OnCaptiveAPCB  IsCaptive ==%d", isCaptive);
  if (error != WIFI_MANAGER_ERROR_NONE || !isCaptive || url == nullptr || self == nullptr) {
    return;
  }
  NW_LOG("OnCaptiveAPCB  IsCaptive ==%d:: url==%s", isCaptive, url);
  auto* const captive = static_cast<NetworkCaptiveAP*>(self);
  captive->m_url = url;
  captive->LaunchCaptivePopup(url);
}

void NetworkCaptiveAP::LaunchCaptivePopup(std::string url) {
  NW_LOG("START");
  m_url = std::move(url);
  GetNotiInstance()->ShowCaptiveAPPopup(m_url);
}

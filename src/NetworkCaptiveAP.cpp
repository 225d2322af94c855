#include "NetworkCaptiveAP.h"

#include <map>
#include <utility>

#include "Log.h"
#include "NotiProxy.h"
#include "package_manager.h"
#include "setwell/NetworkUtil.h"

namespace {

constexpr guint kWaitSeconds = 10;
constexpr char kBrowser[] = "org.orvik.browser";

/// Those that exist, by their number. Never destroyed: static objects leave it at the end of the
/// process.
std::map<std::uintptr_t, NetworkCaptiveAP*>& Askers() {
  static auto* const askers = new std::map<std::uintptr_t, NetworkCaptiveAP*>;
  return *askers;
}

std::uintptr_t Enlist(NetworkCaptiveAP* asker) {
  static std::uintptr_t last_number = 0;
  Askers().emplace(++last_number, asker);
  return last_number;
}

/// The platform keeps a number and no pointer, because who asked may be gone when it answers.
void OnAnswer(wifi_manager_error_e error, bool is_captive, char* url, void* number) {
  const auto asker = Askers().find(reinterpret_cast<std::uintptr_t>(number));
  NetworkCaptiveAP::OnCaptiveAPCB(error, is_captive, url,
                                  asker == Askers().end() ? nullptr : asker->second);
}

}  // namespace

NetworkCaptiveAP::NetworkCaptiveAP() : CNetworkReadyWait(kWaitSeconds), m_number(Enlist(this)) {}

NetworkCaptiveAP::~NetworkCaptiveAP() {
  Askers().erase(m_number);
}

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
  if (wifi_ap_is_captive_portal_network(OnAnswer, reinterpret_cast<void*>(m_number)) ==
      WIFI_MANAGER_ERROR_NONE) {
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

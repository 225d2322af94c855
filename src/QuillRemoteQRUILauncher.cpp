#include "QuillRemoteQRUILauncher.h"

#include "Log.h"
#include "NotiProxy.h"
#include "setwell/NetworkUtil.h"

namespace {

constexpr guint kWaitSeconds = 45;

}  // namespace

CQuillRemoteQRUILauncher::CQuillRemoteQRUILauncher() : CNetworkReadyWait(kWaitSeconds) {}

void CQuillRemoteQRUILauncher::Init() {
  if (!IsFeatureSupported()) {
    return;
  }
  SetInitialised();
  ListenToMonitor();
  if (!Setwell::NetworkUtil::IsGateWayConnected()) {
    NW_LOG("Network disconnected, StartWaitTimerForNewConnection ");
    StartWaitTimerForNewConnection();
  }
}

bool CQuillRemoteQRUILauncher::IsFeatureSupported() {
  return IsProjector() && !IsQMB_A_B() && !IsOOBE();
}

void CQuillRemoteQRUILauncher::OnNetworkReadyWait() {
  if (IsFeatureSupported() && !Setwell::NetworkUtil::IsGateWayConnected()) {
    LaunchQuillHotSpotUI();
  }
}

void CQuillRemoteQRUILauncher::LaunchQuillHotSpotUI() {
  NW_LOG("START");
  GetNotiInstance()->ShowQuillPopup();
}

#include "NetworkReadyWait.h"

#include <cstring>

#include "Log.h"
#include "NW_Common.h"
#include "StaticObjects.h"
#include "system_info.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

constexpr int kEngineTypeQmbAB = 3;

}  // namespace

CNetworkReadyWait::CNetworkReadyWait(guint waitSeconds)
    : m_monitor(CNWSingleton<NetworkMonitor>::GetInstance()), m_waitSeconds(waitSeconds) {}

CNetworkReadyWait::~CNetworkReadyWait() {
  if (m_timerId != 0) {
    g_source_remove(m_timerId);
  }
  if (m_handle != kReleasedMonitorHandle) {
    m_monitor->UnRegisterCb(m_handle);
  }
}

void CNetworkReadyWait::DeInit() {
  if (m_isInitialised) {
    m_monitor->UnRegisterCb(m_handle);
    StopWaitTimer();
  }
}

void CNetworkReadyWait::ListenToMonitor() {
  m_handle = m_monitor->RegisterCb(
      [this](bool success, const std::string& state) { __OnConnectEvent(success, state); });
}

void CNetworkReadyWait::StopWaitTimer() {
  NW_LOG("START");
  if (m_timerId != 0) {
    g_source_remove(m_timerId);
    m_timerId = 0;
  }
}

void CNetworkReadyWait::StartWaitTimerForNewConnection() {
  NW_LOG("START");
  StopWaitTimer();
  m_timerId = g_timeout_add_seconds(m_waitSeconds, _NetworkReadyWait, this);
}

gboolean CNetworkReadyWait::_NetworkReadyWait(gpointer self) {
  NW_LOG("START");
  auto* const waiting = static_cast<CNetworkReadyWait*>(self);
  waiting->StopWaitTimer();
  waiting->OnNetworkReadyWait();
  return G_SOURCE_REMOVE;
}

void CNetworkReadyWait::__OnConnectEvent(bool success, const std::string& state) {
  NW_LOG("__OnConnectEvent %d %s", success, state.c_str());
  if (state != "GATEWAY") {
    return;
  }
  if (success) {
    StopWaitTimer();
  } else {
    StartWaitTimerForNewConnection();
  }
}

bool CNetworkReadyWait::IsOOBE() {
  const HeapString step(vconf_get_str(vconf_keys::kWizardMode));
  if (step == nullptr || std::strcmp(step.get(), "OFF") == 0) {
    return false;
  }
  NW_LOG("During PNP. Skip to launch Banner.");
  return true;
}

bool CNetworkReadyWait::IsProjector() {
  bool is_projector = false;
  if (system_info_get_custom_bool(FEATURE_PROJECTOR_SUPPORT, &is_projector) != SYSTEM_INFO_ERROR_NONE) {
    NW_LOG("fail to get com.velanor/featureconf/projector_feature_support");
  }
  NW_LOG("isProjector : [%d]", is_projector);
  return is_projector;
}

bool CNetworkReadyWait::IsQMB_A_B() {
  int engine_type = 0;
  if (system_info_get_custom_int(SOLSTICE_FMS.c_str(), &engine_type) != SYSTEM_INFO_ERROR_NONE) {
    NW_LOG("fail to get SOLSTICE_FMS");
  }
  NW_LOG("SOLSTICE_FMS == %d", engine_type);
  return engine_type == kEngineTypeQmbAB;
}

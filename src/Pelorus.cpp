#include "Pelorus.h"

#include <glib.h>
#include <malloc.h>

#include "C5GhzSwitchHandler.h"
#include "Log.h"
#include "NW_CellularPopup.h"
#include "NW_Common.h"
#include "NW_LanPopup.h"
#include "SavedAPConnectionHandler.h"
#include "SavedNetworkPriorityHandler.h"
#include "SoftapProxy.h"
#include "StaticObjects.h"
#include "WifiOnOffInfo.h"
#include "call_guarded.h"
#include "platform.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

GMainLoop* g_main_loop = nullptr;

using Step = void (*)();

template <std::size_t count>
void RunInOrder(const Step (&steps)[count]) {
  for (const Step step : steps) {
    CallGuarded(step);
  }
}

void ResetNetworkAppStatus() {
  if (vconf_set_int(vconf_keys::kNetworkAppStatus, 0) != VCONF_OK) {
    NW_LOG("Vconf Error");
  }
}

void LaunchSoftapManager() {
  if (SoftapProxy::IsB2BOptionSupported()) {
    NW_LOG("launch Softap Manager!!");
    GetInstance()->Launch_SoftapMgr();
  }
}

void LeaveSoftapManager() {
  if (SoftapProxy::IsB2BOptionSupported()) {
    GetInstance()->Unregistered_softapMgr();
  }
}

constexpr Step kStartSteps[] = {
    [] { GetPOCInstance()->Init(); },
    [] { SavedAPConnHander::GetInstance()->RegisterVconf(); },
    [] { SavedAPPriorityHandler::GetInstance()->RegisterWifiEvents(); },
    [] { registerEvent(); },
    registerCellularEvents,
    registerWifiEvents,
    [] { registerPowerCallback(true); },
    [] { g_oEAPCertUpdate.Init(); },
    [] { g_onwtypeKPI.Start(); },
    register_NSLaunchVconf,
    [] { g_oRemoteLauncher.Init(); },
    [] { g_TCPDump.Init(); },
    [] { g_CaptiveAP.Init(); },
    [] { GetWifiOnOffInstance()->Init(); },
    ResetNetworkAppStatus,
    LaunchSoftapManager,
};

/// Not the reverse of the start.
constexpr Step kStopSteps[] = {
    [] { deregisterEvent(); },
    deregisterCellularEvent,
    deRegisterWifiEvents,
    [] { registerPowerCallback(false); },
    [] { g_onwtypeKPI.Stop(); },
    deregister_NSLaunchVconf,
    LeaveSoftapManager,
    [] { g_oRemoteLauncher.DeInit(); },
    [] { g_TCPDump.DeInit(); },
    [] { g_CaptiveAP.DeInit(); },
    [] { GetWifiOnOffInstance()->DeInit(); },
    [] { GetPOCInstance()->DeInit(); },
};

void __Init() {
  NW_LOG("On Pelorus Init ");
  RunInOrder(kStartSteps);
}

void __Terminate() {
  NW_LOG("On Terminate");
  RunInOrder(kStopSteps);
}

}  // namespace

int PelorusMain() {
  NW_LOG(" MAIN Launched.");
  g_main_loop = g_main_loop_new(nullptr, FALSE);
  if (g_main_loop == nullptr) {
    NW_LOG("Failed to create g_main_loop");
    NW_LOG(" Main Ended");
    return 0;
  }
  platform_start();
  __Init();
  malloc_trim(0);
  g_main_loop_run(g_main_loop);
  __Terminate();
  platform_stop();
  NW_LOG(" Main Ended");
  return 0;
}

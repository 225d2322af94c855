#include "platform.h"

#include <memory>
#include <string>

#include <glib.h>

#include "CallGate.h"
#include "ControlSocket.h"
#include "PlatformLog.h"
#include "VirtualTv.h"

namespace {

std::unique_ptr<ControlSocket> g_door;  // from the platform's start to its stop

}  // namespace

int platform_start() {
  VirtualTv& tv = VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("platform_start")) {
    return *refusal;
  }
  tv.GetCable().Line().Open();
  tv.GetWiredProfile().Open();
  tv.GetTelephony().Line().Open();
  tv.GetInternet().Line().Open();
  tv.GetUsbSockets().Line().Open();
  tv.GetWifi().Open();
  if (const int no_watch = tv.GetSettingsApp().Watch(); no_watch != 0) {
    PLATFORM_LOG(DLOG_ERROR, "the settings application sees nothing: %s", g_strerror(no_watch));
  }
  if (g_door != nullptr) {
    return 0;
  }
  std::string error;
  g_door = ControlSocket::Open(tv, ControlSocket::ConfiguredPath(), error);
  if (g_door == nullptr) {
    PLATFORM_LOG(DLOG_ERROR, "this TV cannot be driven from outside: %s", error.c_str());
    return -1;
  }
  return 0;
}

void platform_stop() {
  VirtualTv& tv = VirtualTv::Instance();
  g_door.reset();
  tv.GetCable().Line().Close();
  tv.GetWiredProfile().Close();
  tv.GetTelephony().Line().Close();
  tv.GetInternet().Line().Close();
  tv.GetUsbSockets().Line().Close();
  tv.GetWifi().Close();
  tv.GetSettingsApp().Sleep();
}

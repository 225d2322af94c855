#include "SoftapProxy.h"

#include <atomic>

#include "ChildProgram.h"
#include "Log.h"
#include "TimerHelper.h"
#include "net_connection.h"
#include "system_info.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

constexpr char kManagerProgram[] = "/usr/apps/org.orvik.Pelorus/bin/softap-manager";
constexpr unsigned kBootWaitSeconds = 1;
constexpr int kTetheringOff = 0;
constexpr int kTetheringOn = 1;
constexpr int kZepModelType = 5;

/// Of the manager's start, also once that is over.
unsigned g_boot_timer = 0;

/// True while a manager that was started is up. Cleared in signal context.
std::atomic<bool> m_bchildstatus{false};

void zombie_handler(int /*signal*/) {
  NW_LOG("SIGCHLD signal is comming");
  ReapChildProgram(m_bchildstatus);
}

}  // namespace

SoftapProxy* GetInstance() {
  static SoftapProxy instance;
  return &instance;
}

bool SoftapProxy::IsB2BOptionSupported() {
  bool is_supported = false;
  if (system_info_get_custom_bool(FEATURE_B2B_OPTION_SUPPORT, &is_supported) != SYSTEM_INFO_ERROR_NONE) {
    NW_LOG("system info get fail: com.velanor/featureconf/product.b2b_option_support");
  }
  NW_LOG("supported = %s", is_supported ? "true" : "false");
  return is_supported;
}

bool SoftapProxy::isZEPProduct() {
  int model_type = -1;
  if (system_info_get_custom_int(FEATURE_TV_MODEL_TYPE, &model_type) != SYSTEM_INFO_ERROR_NONE) {
    NW_LOG("system info get fail:tv_model_type");
  }
  NW_LOG("model = %d", model_type);
  return model_type == kZepModelType;
}

void SoftapProxy::Launch_SoftapMgr() {
  NW_LOG("SoftapProxy::Launch_SoftapMgr");
  add_timer_seconds(kBootWaitSeconds, OnbootUpCB, nullptr, &g_boot_timer);
  NW_LOG("Launch_SoftapMgr, register cb");
}

void SoftapProxy::Unregistered_softapMgr() {
  NW_LOG("Unregistered_softapMgr");
}

bool SoftapProxy::CheckGatewayNetwork() {
  NW_LOG("CheckGatewayNetwork");
  bool is_valid = false;
  if (connection_profile_check_default_gateway(&is_valid) == CONNECTION_ERROR_NONE) {
    NW_LOG("  connection_profile_check_default_gateway : connection error none");
  }
  NW_LOG("is_valid = %s", is_valid ? "true" : "false");
  return is_valid;
}

void SoftapProxy::add_timer_seconds(unsigned seconds, GSourceFunc cb, void* data, unsigned* timerId) {
  ::add_timer_seconds(seconds, cb, data, timerId);
}

gboolean SoftapProxy::OnbootUpCB(void* /*data*/) {
  NW_LOG("[SoftAP]OnbootUpCB-- wait for pelorus init in case of boot up");
  int tethering = kTetheringOff;
  if (vconf_get_int(vconf_keys::kTetheringStatus, &tethering) != VCONF_OK) {
    NW_LOG("Get tethringStatus failed!!");
  }
  int guest = 0;
  if (vconf_get_int(vconf_keys::kCustomerStatus, &guest) != VCONF_OK) {
    NW_LOG("Get customer status failed!!");
  }
  if (tethering == kTetheringOn && !GetInstance()->CheckGatewayNetwork()) {
    tethering = kTetheringOff;
    NW_LOG("Set tethringStatus vconf");
    if (vconf_set_int(vconf_keys::kTetheringStatus, tethering) != VCONF_OK) {
      NW_LOG("Set tethringStatus failed!!");
    }
  }
  NW_LOG_SYSTEM("tethringStatus: %d, guestStatus:%d", tethering, guest);
  GetInstance()->HandleChildFork("");
  return G_SOURCE_REMOVE;
}

void SoftapProxy::HandleChildFork(std::string arg) {
  char* arguments[] = {arg.data(), nullptr};
  pid_t pid = 0;
  const int result = StartChildProgram(kManagerProgram, arguments, zombie_handler, m_bchildstatus, pid);
  NW_LOG("posix_spawn ret %d pid %d", result, pid);
}

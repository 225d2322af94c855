#include "NotiProxy.h"

#include <atomic>
#include <utility>

#include "ChildProgram.h"
#include "Log.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

constexpr char kNotificationProgram[] = "/usr/apps/org.orvik.Pelorus/bin/pelorus_notification";

/// True while a program that was started is up. Cleared in signal context.
std::atomic<bool> m_bchildstatus{false};

void zombie_handler(int /*signal*/) {
  NW_LOG("SIGCHLD signal is comming");
  ReapChildProgram(m_bchildstatus);
}

}  // namespace

NotiProxy* GetNotiInstance() {
  static NotiProxy instance;
  return &instance;
}

void NotiProxy::ShowLanCablePopup(bool attached) {
  HandleChildFork(attached ? "ethernet_attached" : "ethernet_detached", "");
}

void NotiProxy::ShowCellularDonglePopup(bool attached) {
  HandleChildFork(attached ? "dongle_attached" : "dongle_detached", "");
}

void NotiProxy::ShowCaptiveAPPopup(std::string url) {
  NW_LOG("url==%s", url.c_str());
  HandleChildFork("captiveap", std::move(url));
}

void NotiProxy::ShowQuillPopup() {
  HandleChildFork("quillhotspot", "");
}

void NotiProxy::LaunchVestaNetworkSetting() {
  HandleChildFork("vesta_networksettings", "");
}

void NotiProxy::ShowCanNotConnect() {
  HandleChildFork("cannot_connect", "");
}

void NotiProxy::ShowWifiSpeakerPopup() {
  HandleChildFork("ShowWifiSpeakerPopup", "");
}

void NotiProxy::ShowTCPDumpPopup(std::string keyword) {
  HandleChildFork(std::move(keyword), "");
}

void NotiProxy::HandleChildFork(std::string keyword, std::string data) {
  if (m_bchildstatus.load()) {
    vconf_set_str(vconf_keys::kPelorusCommand, keyword.c_str());
    return;
  }
  NW_LOG("data==%s", data.c_str());

  // The keyword itself is argument 0: the program is found by its path and told apart by its name.
  char* arguments[] = {keyword.data(), data.empty() ? nullptr : data.data(), nullptr};
  pid_t pid = 0;
  const int result =
      StartChildProgram(kNotificationProgram, arguments, zombie_handler, m_bchildstatus, pid);
  NW_LOG("posix_spawn ret %d pid %d", result, pid);
}

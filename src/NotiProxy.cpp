#include "NotiProxy.h"

#include <atomic>
#include <cerrno>
#include <utility>

#include <signal.h>
#include <spawn.h>
#include <sys/types.h>
#include <sys/wait.h>

#include "Log.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

constexpr char kNotificationProgram[] = "/usr/apps/org.orvik.Pelorus/bin/pelorus_notification";

/// True while a program that was started is up. Cleared in signal context.
std::atomic<bool> m_bchildstatus{false};
static_assert(std::atomic<bool>::is_always_lock_free);

/// Process-wide: it answers for every child of the daemon, whichever launcher started it. It must not
/// block: a spawn that failed leaves a SIGCHLD without a child to reap, while another child may run on.
void zombie_handler(int /*signal*/) {
  const int saved_errno = errno;
  NW_LOG("SIGCHLD signal is comming");
  int status = 0;
  waitpid(-1, &status, WNOHANG);
  m_bchildstatus.store(false);
  errno = saved_errno;
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
  signal(SIGCHLD, zombie_handler);
  // Set before the spawn: a program that ends at once may be reaped before posix_spawn() returns here.
  m_bchildstatus.store(true);
  pid_t pid = 0;
  const int result = posix_spawn(&pid, kNotificationProgram, nullptr, nullptr, arguments, nullptr);
  NW_LOG("posix_spawn ret %d pid %d", result, pid);
  if (result != 0) {
    m_bchildstatus.store(false);
  }
}

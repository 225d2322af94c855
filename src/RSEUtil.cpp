#include "RSEUtil.h"

#include <cstdlib>
#include <utility>

#include <sys/wait.h>

#include "Log.h"
#include "NW_Common.h"

namespace {

/// Nobody joins a command's thread: it may hang, and must not hold up the end of the daemon. Left alone,
/// it ends with its command or with the process, which its command then outlives.
void LeaveAlone(std::thread* thread) {
  thread->detach();
  delete thread;
}

/// @param status  as system() returns it
/// @return as a shell tells it; -1 when no shell could be started
int ExitStatus(int status) {
  constexpr int kKilledBySignal = 128;
  if (status == -1) {
    return -1;
  }
  return WIFSIGNALED(status) ? kKilledBySignal + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

RSEUtil& RSEUtil::GetRSEInstance() {
  static RSEUtil instance;
  return instance;
}

RSEUtil::~RSEUtil() {
  unregisterRSECall();
}

void RSEUtil::registerRSECall() {
  if (vconf_notify_key_changed(m_RSELaunchedVconf.c_str(), VconfNotifyRSELaunched, this) < 0) {
    NW_LOG_SYSTEM("failed to register vconf change notify for RSEV tool launched conf");
  }
}

void RSEUtil::unregisterRSECall() {
  vconf_set_bool(m_RSELaunchedVconf.c_str(), 0);
  vconf_ignore_key_changed(m_RSEVconf.c_str(), VconfNotifyRSEUtil);
  vconf_ignore_key_changed(m_RSEVconf.c_str(), VconfNotifyRSELaunched);
  m_hears_commands = false;
}

void RSEUtil::VconfNotifyRSELaunched(keynode_t* /*node*/, void* self) {
  int is_launched = 0;
  vconf_get_bool(m_RSELaunchedVconf.c_str(), &is_launched);
  NW_LOG("RSEUtil::VconfNotifyRSELaunched: %d", is_launched);
  auto* const util = static_cast<RSEUtil*>(self);
  // A second watch would run each command twice.
  if (is_launched != 1 || util->m_hears_commands) {
    return;
  }
  util->m_hears_commands = vconf_notify_key_changed(m_RSEVconf.c_str(), VconfNotifyRSEUtil, self) >= 0;
  if (!util->m_hears_commands) {
    NW_LOG_SYSTEM("failed to register vconf change notify for RSEVconf");
  }
}

void RSEUtil::VconfNotifyRSEUtil(keynode_t* /*node*/, void* self) {
  NW_LOG("RSEUtil::VconfNotifyRSEUtil");
  const HeapString command(vconf_get_str(m_RSEVconf.c_str()));
  if (command == nullptr) {
    NW_LOG_SYSTEM("NULL Vconf");
    return;
  }
  static_cast<RSEUtil*>(self)->StartCommand(command.get());
}

void RSEUtil::StartCommand(const std::string& command) {
  if (m_thread_count >= kMostCommands) {
    NW_LOG_SYSTEM("MAX thread already running");
    return;
  }
  m_threads[static_cast<std::size_t>(m_thread_count)].reset(new std::thread(RunCommand, command),
                                                            LeaveAlone);
  NW_LOG("Thread Count : %d", m_thread_count);
  ++m_thread_count;
}

void RSEUtil::RunCommand(std::string command) {
  NW_LOG("command: %s", command.c_str());
  const int status = std::system(command.c_str());
  NW_LOG("Result: %d", ExitStatus(status));
}

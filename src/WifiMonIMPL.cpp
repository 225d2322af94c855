#include "WifiMonIMPL.h"

#include <system_error>

#include "Log.h"
#include "WifiMonHandler.h"

namespace {

constexpr int kPassDone = 1;

}  // namespace

bool ThreadBaseWifiIMPL::IsRunning = false;

ThreadBaseWifiIMPL::~ThreadBaseWifiIMPL() {
  ThreadBaseWifiIMPL::Stop();
}

void ThreadBaseWifiIMPL::Start() {
  NW_LOG("Start => ");
  Stop();
  try {
    m_thread = std::make_unique<std::thread>([this] { runWifimon(); });
  } catch (const std::system_error& e) {
    // No thread is to be had. The listeners must not wait for ever, so the pass ends without one.
    NW_LOG("exception %s", e.what());
    m_notifyCb(kPassDone);
  }
  IsRunning = true;
}

void ThreadBaseWifiIMPL::Stop() {
  NW_LOG("START");
  IsRunning = false;
  JoinThread();
  StopTimer();
  NW_LOG("END");
}

void ThreadBaseWifiIMPL::runWifimon() {
  NW_LOG("Run Wifi Mon =>");
  m_notifyCb(kPassDone);
}

void ThreadBaseWifiIMPL::m_notifyCb(int /*result*/) {
  NW_LOG("Inside m_notifyCb =>");
  m_idleId = g_idle_add(_TimerCB, this);
}

gboolean ThreadBaseWifiIMPL::_TimerCB(void* worker) {
  NW_LOG("Inside _TimerCB =>");
  auto* const self = static_cast<ThreadBaseWifiIMPL*>(worker);
  if (self != nullptr) {
    // The thread may not have stored this source's id yet, and must not do so after it was cleared.
    self->JoinThread();
    self->m_idleId = 0;
  }
  if (IsRunning && self != nullptr) {
    self->m_handler.NotifyAll(kPassDone);  // a listener may end the handler and with it this object
  } else {
    NW_LOG("[Thread is  Stopped ]");
  }
  return G_SOURCE_REMOVE;
}

void ThreadBaseWifiIMPL::JoinThread() {
  if (m_thread != nullptr && m_thread->joinable()) {
    m_thread->join();
  }
}

void ThreadBaseWifiIMPL::StopTimer() {
  if (m_idleId != 0) {
    g_source_remove(m_idleId);
    m_idleId = 0;
  }
}

#include "WifiMonHandler.h"

#include <utility>

#include "Log.h"
#include "call_guarded.h"

WifiMonHandler::WifiMonHandler()
    : m_round(std::make_shared<Listeners>()), m_worker(std::make_unique<ThreadBaseWifiIMPL>(*this)) {}

LocalHandler WifiMonHandler::Start(Listener callback) {
  NW_LOG("START");
  if (callback) {
    m_listeners.emplace(++m_counter, std::move(callback));
  }
  if (!m_isStarted) {
    m_worker->Start();
    m_isStarted = true;
  } else {
    NW_LOG("[WifiMon is already started ,wait for Results}");
  }
  NW_LOG("END");
  return m_counter;
}

void WifiMonHandler::Stop(LocalHandler handle) {
  NW_LOG("START");
  m_listeners.erase(handle);
  m_round->erase(handle);
  m_isStarted = false;
  NW_LOG("END");
}

void WifiMonHandler::NotifyAll(int result) {
  NW_LOG("START");
  m_isStarted = false;
  const std::shared_ptr<Listeners> round = m_round;
  round->merge(m_listeners);
  while (!round->empty()) {
    const auto listener = round->extract(round->begin());
    CallGuarded([&] { listener.mapped()(result); });
  }
  NW_LOG("END");
}

#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

#include "CNWSingleton.h"
#include "WifiMonIMPL.h"

/// Names a listener of the Wi-Fi monitor.
using LocalHandler = std::int32_t;

/// The measurement of the Wi-Fi connection that KPI events wait for: any number of listeners share one
/// pass, and each is told once when it has ended. Reached through
/// CNWSingleton<WifiMonHandler>::GetInstance() and alive while somebody holds it. Main-loop thread only.
class WifiMonHandler {
 public:
  /// Told the pass's result on the main loop.
  using Listener = std::function<void(int result)>;

  WifiMonHandler();
  ~WifiMonHandler() = default;
  WifiMonHandler(const WifiMonHandler&) = delete;
  WifiMonHandler& operator=(const WifiMonHandler&) = delete;

  /// Begins a pass, or joins the one that is under way.
  /// @param callback  called once, after this returned, when the pass has ended; what it refers to must
  ///                  stay valid until then or until Stop(). An empty one is not registered
  /// @return the listener's name; that of the latest listener when the callback is empty
  LocalHandler Start(Listener callback);

  /// The listener is not called any more, also when others are being told just now. The pass goes on for
  /// the others; who starts next begins a new one. No harm when there is no such listener.
  void Stop(LocalHandler handle);

  /// Tells every listener that the pass has ended and forgets them. A listener may start, stop or let go
  /// of the monitor; one that is registered meanwhile belongs to the next pass.
  void NotifyAll(int result);

  /// The readings of the last pass.
  int GetLinkSpeed() { return m_worker->GetLinkSpeed(); }
  int GetChannelInterferance() { return m_worker->GetChannelInterferance(); }

 private:
  using Listeners = std::map<LocalHandler, Listener>;

  LocalHandler m_counter = 100;
  Listeners m_listeners;
  /// Those who are being told just now and were not yet. Shared with the walk, which goes on when a
  /// listener ends this object.
  std::shared_ptr<Listeners> m_round;
  bool m_isStarted = false;
  std::unique_ptr<ThreadBaseWifiIMPL> m_worker;  // last, so that it ends before the listeners
};

/// Defined in StaticObjects.cpp.
template <>
std::weak_ptr<WifiMonHandler> CNWSingleton<WifiMonHandler>::m_pInstance;

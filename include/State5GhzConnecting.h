#pragma once

#include <glib.h>

#include "IState.h"

/// Waits for the 5 GHz access point. It owns its limit of time and the idle callback by which a failure
/// leaves the state: both end with it.
class CState5GhzConnecting : public IState {
 public:
  explicit CState5GhzConnecting(C5GhzSwitchHandler& handler) : IState(handler, STATE_CONNECTING) {}
  ~CState5GhzConnecting() override;

  void Entry() override;
  void Exit() override {}
  void m_OnEvent(const IEvents& event) override;

 private:
  static gboolean _OnTimeout(gpointer state);
  static gboolean _OnIdle(gpointer state);

  guint m_timerId = 0;  // 0 when none runs
  guint m_idleId = 0;   // 0 when none waits
};

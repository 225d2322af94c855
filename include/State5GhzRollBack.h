#pragma once

#include <glib.h>

#include "IState.h"

/// Goes back to the original access point. It owns its limit of time, which ends with it.
class CState5GhzRollBack : public IState {
 public:
  explicit CState5GhzRollBack(C5GhzSwitchHandler& handler) : IState(handler, STATE_ROLLBACK) {}
  ~CState5GhzRollBack() override;

  void Entry() override;
  void Exit() override {}
  void m_OnEvent(const IEvents& event) override;

 private:
  static gboolean _OnTimeout(gpointer state);

  guint m_timerId = 0;  // 0 when none runs
};

#pragma once

#include "IState.h"

/// Looks for a 5 GHz access point like the present one: among what is known, and once more after a scan.
class CState5GhzInit : public IState {
 public:
  explicit CState5GhzInit(C5GhzSwitchHandler& handler) : IState(handler, STATE_INIT) {}

  void Entry() override;
  void Exit() override {}
  void m_OnEvent(const IEvents& event) override;
};

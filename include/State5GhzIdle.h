#pragma once

#include "IState.h"

/// Nothing is under way. What still arrives belongs to a move that has ended.
class CState5GhzIdle : public IState {
 public:
  explicit CState5GhzIdle(C5GhzSwitchHandler& handler);

  void Entry() override;
  void Exit() override;
  void m_OnEvent(const IEvents& event) override;
};

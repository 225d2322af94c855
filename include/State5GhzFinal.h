#pragma once

#include "IState.h"

/// The move could not begin: tells the user's application and passes on to idle.
class CState5GhzError : public IState {
 public:
  explicit CState5GhzError(C5GhzSwitchHandler& handler) : IState(handler, STATE_ERROR) {}

  void Entry() override;
  void Exit() override;
};

/// The move has come to an end, at the 5 GHz access point or after a roll-back: passes on to idle.
class CState5GhzComplete : public IState {
 public:
  explicit CState5GhzComplete(C5GhzSwitchHandler& handler) : IState(handler, STATE_COMPLETE) {}

  void Entry() override;
  void Exit() override {}
};

#pragma once

#include <memory>

#include "IState.h"

class CNetworkUIPopup;

/// The TV is on the 5 GHz access point. A user who asked for it is asked whether it shall stay; an
/// automatic move stays.
class CState5GhzShowPopup : public IState {
 public:
  explicit CState5GhzShowPopup(C5GhzSwitchHandler& handler);
  ~CState5GhzShowPopup() override;

  void Entry() override;
  void Exit() override;

 private:
  void m_OnNetworkUIButtonPressed(int button);

  std::unique_ptr<CNetworkUIPopup>
      m_popup;  // null but between Entry() and Exit() for the user's request
};

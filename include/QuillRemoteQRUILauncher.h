#pragma once

#include "NetworkReadyWait.h"

/// Offers a projector without network the screen with which a telephone brings it online: the
/// notification program shows it when there has been no gateway for 45 seconds, counted from the start
/// or from the internet monitor's report of its loss. A gateway in between cancels it.
class CQuillRemoteQRUILauncher : public CNetworkReadyWait {
 public:
  CQuillRemoteQRUILauncher();

  /// Where the screen is supported, listens for the gateway and waits for it if there is none.
  /// To be paired with DeInit().
  void Init();

  /// Whether the screen may be shown now: on a projector, not of the QMB_A_B line, and no setup runs.
  static bool IsFeatureSupported();

  void LaunchQuillHotSpotUI();

 private:
  void OnNetworkReadyWait() override;
};

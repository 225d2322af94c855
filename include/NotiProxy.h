#pragma once

#include <string>

/// The one place that shows anything to the user: it starts the notification program with a keyword
/// that names what to show, or, while one it started is still up, hands that one the keyword through
/// "memory/menu/network/pelorus_command". Has no state but whether a program is up; main-loop thread
/// only.
class NotiProxy {
 public:
  void ShowLanCablePopup(bool attached);
  void ShowCellularDonglePopup(bool attached);
  void ShowCaptiveAPPopup(std::string url);
  void ShowQuillPopup();
  void LaunchVestaNetworkSetting();
  void ShowCanNotConnect();
  void ShowWifiSpeakerPopup();
  /// @param keyword  "StartTCPDump", "StopTCPDump", "TCPDumpAlreadyRunning", "TCPDumpFailToStart" or
  ///                 "TCPDumpFailToStop"
  void ShowTCPDumpPopup(std::string keyword);

  /// Starts the notification program, or forwards the keyword to the running one.
  /// @param data  the program's second argument, none when empty; a running program does not get it
  void HandleChildFork(std::string keyword, std::string data);
};

NotiProxy* GetNotiInstance();

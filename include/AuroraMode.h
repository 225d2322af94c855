#pragma once

#include <string>

/// The marker file "/home/owner/share/wifi_mode", which exists while the TV is on Wi-Fi: its presence is
/// the word, its content nothing. Has no state; main thread only, also before main().
class CAuroraMode {
 public:
  /// Brings the marker in line with the current network type. What fails is logged, and left to the next
  /// call.
  static void HandleAuroraFile();

  static bool IsExistFilePath(const std::string& path);
};

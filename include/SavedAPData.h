#pragma once

#include <string>

/// What stands for the signal of a network that no scan has seen yet.
inline constexpr int kSignalNotMeasured = 100;

/// A saved Wi-Fi network, as it is told to the settings application.
struct SavedAPData {
  std::string Name;    ///< SSID: any bytes but NUL
  std::string Status;  ///< "Connecting", "Connected", "DisConnected", "Disconnected"
  int SignalStrength = kSignalNotMeasured;  ///< dBm, by the last scan that saw it
  int Frequency = 0;                        ///< MHz, where the TV was connected to it last; 0: not known
  std::string Extra;                        ///< spare
};

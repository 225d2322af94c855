#pragma once

#include "net_connection.h"
#include "wifi.h"

/// What the data fields of one KPI event measure with: the access point that the TV was connected to
/// when the measurement began, and a connection handle. Owns both. Owned by an event creator; main-loop
/// thread only.
class MWHandler {
 public:
  MWHandler() = default;
  ~MWHandler();
  MWHandler(const MWHandler&) = delete;
  MWHandler& operator=(const MWHandler&) = delete;

  /// Takes the access point that the TV is connected to, in place of the one held.
  /// @return false when it is connected to none; none is held then
  bool TakeConnectedAP();

  /// Null when none is held.
  [[nodiscard]] wifi_ap_h GetAP() const { return m_ap; }

  /// Creates the handle when it is first needed.
  /// @return null when the platform gives none; the next call tries again
  connection_h GetConnection();

 private:
  void ReleaseAP();

  wifi_ap_h m_ap = nullptr;
  connection_h m_connection = nullptr;
};

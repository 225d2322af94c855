#pragma once

#include "USB.h"
#include "net_connection.h"

/// The platform's capture of packets, begun and ended, and its file, brought to the first USB stick.
/// Both operations work in place: their callers wait for the platform and for the stick. Main-loop
/// thread only.
class TCPDumpHandler {
 public:
  /// @return 0, or the error of the platform
  static int Start();

  /// Ends the capture and copies its file to the first stick, if there is one. Without a start there is
  /// nothing to end, which is a success, as is everything that goes wrong with the stick.
  /// @return 0, or the error of the platform that did not end the capture
  static int Stop();

 private:
  static void CopyToStick();

  // The handle of the last start. Each start makes one, which lives on when the next takes its place.
  static connection_h m_pConHandler;
  static connection_tcpdump_state_e tcpdump_state;  // as the platform last told
  static USB m_USBAPIObj;                           // defined in StaticObjects.cpp
};

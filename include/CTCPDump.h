#pragma once

#include "vconf.h"

/// Packet captures on request: another component of the TV writes 1 to
/// "memory/Pelorus/start_stop_TCPDump" to start one and anything else to stop it, and a popup tells the
/// user what came of it. Each write counts, also of the value that is there already.
///
/// Whether a capture runs is kept in "memory/Pelorus/tcpdump_running_status" and not in a member, so
/// that a daemon that was started anew knows of it. One object a process, main-loop thread only; a stop
/// returns when the file is on the stick.
class CTCPDump {
 public:
  /// Both leave a line in the log: it is the last of the objects that exist before main().
  CTCPDump();
  ~CTCPDump();
  CTCPDump(const CTCPDump&) = delete;
  CTCPDump& operator=(const CTCPDump&) = delete;

  /// Listens to requests from here to DeInit().
  void Init();
  void DeInit();

  /// Settings callback: `self` is the CTCPDump that listens, null for nobody.
  static void VconfNotifyTCPDump(keynode_t* node, void* self);

  /// Starts a capture, unless one runs already by what the key says. After a start that failed the
  /// stream dump of screen mirroring stays on until the next stop.
  void StartTCPDump();

  /// Stops the capture, whether or not one runs.
  void StopTCPDump();

  /// @return false also when the key cannot be read
  bool IsTcpdumpRunning();
  void SetTCPDumpRunningStatus(int status);

  /// The stream dump of screen mirroring, which is on while packets are captured.
  void EnableVconfForTSDump();
  void DisableVconfForTSDump();
};

#pragma once

#include <string>

#include <glib.h>

/// Starts the soft access point manager of business models, a program of its own, one second after the
/// daemon's start, and settles the stored tethering state before. Does not stop it. Has no state but
/// the timer; main-loop thread only.
class SoftapProxy {
 public:
  /// Whether this is a business model; not one when the model does not say.
  static bool IsB2BOptionSupported();

  /// Whether the model is of product line 5, for whoever wants to know.
  static bool isZEPProduct();

  /// Starts the manager in a second. Once a process: later calls are logged only.
  void Launch_SoftapMgr();

  /// The daemon ends; the manager runs on.
  void Unregistered_softapMgr();

  /// Whether the TV has a default gateway; false when that cannot be found out.
  bool CheckGatewayNetwork();

  /// Starts the manager's program, whether or not one runs.
  /// @param arg  its argument 0
  void HandleChildFork(std::string arg);

  /// Starts a timer whose id somebody keeps: see TimerHelper.h.
  void add_timer_seconds(unsigned seconds, GSourceFunc cb, void* data, unsigned* timerId);

 private:
  /// The timer's end: tethering that is stored as on, while there is no gateway to share, is stored as
  /// off, and then the manager starts.
  static gboolean OnbootUpCB(void* data);
};

SoftapProxy* GetInstance();

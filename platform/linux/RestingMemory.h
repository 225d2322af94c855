#pragma once

#include <glib.h>

/// Gives back the memory that a daemon at rest does not need: the libraries' pages, some 9 MB, which
/// were touched by their linking, at their set-up or while the network changed, and what is free at the
/// end of the heap. Nothing is read from the disk for it later: the pages stay in the kernel's cache,
/// and what is called again is mapped again, piece by piece. Main-loop thread only.
class RestingMemory {
 public:
  static RestingMemory& Instance();

  void Start();
  void Stop();

  /// The machine is in another network, or in none; 20 seconds after the last time, and after the start,
  /// the daemon is at rest. What it hears of one and the same network, such as its router's
  /// advertisements, needs little.
  void OnChange();

  /// Gives back whatever can be read again from the file that it came from. What somebody has changed
  /// since, a debugger's breakpoint in the code among it, stays.
  static void GiveBack();

 private:
  RestingMemory() = default;

  guint m_timer = 0;
};

#pragma once

#include <string>

#include <NetworkManager.h>

/// Keeps NetworkManager from connecting the Wi-Fi interface by itself, so that who was refused can
/// choose where to go. NetworkManager remembers that for as long as it runs, so a file beside the
/// settings in memory says that it is ours: a process that is killed leaves it to the next one to take
/// it back. Main-loop thread only.
class AutoconnectHold {
 public:
  /// How long a TV that was turned away is left alone.
  static constexpr unsigned kPeaceSeconds = 12;

  AutoconnectHold() = default;
  ~AutoconnectHold() { Forget(); }
  AutoconnectHold(const AutoconnectHold&) = delete;
  AutoconnectHold& operator=(const AutoconnectHold&) = delete;

  /// Each takes the device of the moment; null when there is none.
  void Hold(NMDevice* device);
  void Release(NMDevice* device);
  /// Releases after kPeaceSeconds unless it is held anew before.
  void ReleaseLater();
  /// Takes back what an ended process held.
  void ReleaseOfOthers(NMDevice* device);
  [[nodiscard]] bool IsHeld() const { return m_is_held; }
  /// Stops the clock.
  void Forget();

 private:
  static gboolean OnPeaceIsOver(gpointer self);

  bool m_is_held = false;
  guint m_timer = 0;
};

#pragma once

#include <memory>

#include <glib.h>

class IKPICreator;

/// Reports the Wi-Fi environment every three hours while the TV is on Wi-Fi. The measurement of a period
/// lives from the timer's tick to its completion, or to the next tick. Main-loop thread only.
class CKPIEV008Capture {
 public:
  CKPIEV008Capture();
  /// Ends the timer and the measurement under way.
  ~CKPIEV008Capture();
  CKPIEV008Capture(const CKPIEV008Capture&) = delete;
  CKPIEV008Capture& operator=(const CKPIEV008Capture&) = delete;

  /// Starts the timer; the first report follows a period later. To be paired with Stop(): a timer that
  /// was started twice can be ended once.
  /// @return true
  bool Start();
  void Stop();

 private:
  static gboolean _OnTimeout(gpointer capture);
  void _OnComplete(int result);

  guint m_timerId = 0;  // 0 when none runs
  std::unique_ptr<IKPICreator> m_creator;
};

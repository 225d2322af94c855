#pragma once

#include <memory>
#include <thread>

#include <glib.h>

class WifiMonHandler;

/// The worker of the Wi-Fi monitor: runs one measuring pass on a thread of its own and reports its end
/// on the main loop. This one takes no samples and is done at once; a sampler overrides runWifimon() and
/// the two readings. Owned by its WifiMonHandler; main-loop thread only, but for runWifimon() and
/// m_notifyCb().
class ThreadBaseWifiIMPL {
 public:
  /// @param handler  owns this object and so outlives it
  explicit ThreadBaseWifiIMPL(WifiMonHandler& handler) : m_handler(handler) {}
  virtual ~ThreadBaseWifiIMPL();
  ThreadBaseWifiIMPL(const ThreadBaseWifiIMPL&) = delete;
  ThreadBaseWifiIMPL& operator=(const ThreadBaseWifiIMPL&) = delete;

  /// Begins a pass. One that is under way ends first, without a report.
  virtual void Start();

  /// Ends the pass that is under way: its thread is joined, and it is not reported any more.
  virtual void Stop();

  /// The readings of the last pass; 0 when it took none.
  virtual int GetChannelInterferance() { return 0; }
  virtual int GetLinkSpeed() { return 0; }

 protected:
  /// What the thread runs; calls m_notifyCb() once, as the last thing it does. A class that overrides it
  /// calls Stop() in its destructor, or the thread would outlive what it uses.
  virtual void runWifimon();

  /// Asks the main loop to report the end of the pass.
  void m_notifyCb(int result);

 private:
  static gboolean _TimerCB(void* worker);
  void JoinThread();
  void StopTimer();

  /// True from the start of a worker to its stop.
  static bool IsRunning;

  WifiMonHandler& m_handler;
  /// The report that waits on the main loop, 0 for none. The thread writes it, so it is read only after
  /// the thread was joined.
  guint m_idleId = 0;
  std::unique_ptr<std::thread> m_thread;
};

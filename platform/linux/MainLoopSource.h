#pragma once

#include <chrono>
#include <functional>

#include <glib.h>

/// A timer or a watched descriptor of the default main loop, which ends with this object. Its callback
/// may end the object or put another source into it. Main-loop thread only.
class MainLoopSource {
 public:
  MainLoopSource() = default;
  ~MainLoopSource() { Reset(); }
  MainLoopSource(const MainLoopSource&) = delete;
  MainLoopSource& operator=(const MainLoopSource&) = delete;

  /// Calls once, after that time.
  void After(std::chrono::milliseconds time, std::function<void()> callback);
  /// Calls once, about that time later: with other timers of the machine, so that it wakes up less
  /// often.
  void AfterAbout(std::chrono::seconds time, std::function<void()> callback);
  /// Calls each time that the descriptor is in one of these conditions or in error.
  /// @param fd  borrowed, and open for as long as this source is
  void Watch(int fd, GIOCondition conditions, std::function<void()> callback);
  void Reset();

  /// Whether a callback may still come.
  [[nodiscard]] bool IsActive() const { return m_source != nullptr && !g_source_is_destroyed(m_source); }

 private:
  void Attach(GSource* source, GSourceFunc dispatch, std::function<void()> callback);

  GSource* m_source = nullptr;
};

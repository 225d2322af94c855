#pragma once

#include <functional>
#include <string>

#include <glib.h>

/// Waits for something to happen to a path that may not exist yet, nor its directory: the kernel wakes
/// the main loop, nothing polls. Main-loop thread only.
class PathWatch {
 public:
  /// @param on_change  called after the path may have been created or changed; also when it was not.
  ///                   It may end the watch.
  PathWatch(std::string path, std::function<void()> on_change);
  ~PathWatch();
  PathWatch(const PathWatch&) = delete;
  PathWatch& operator=(const PathWatch&) = delete;

 private:
  void Arm();
  bool ReadEvents();
  static gboolean OnReadable(gint fd, GIOCondition condition, gpointer self);

  std::string m_path;
  std::function<void()> m_on_change;
  std::string m_name;  // what is waited for in the watched directory
  int m_inotify;
  int m_watch = -1;
  guint m_source = 0;
};

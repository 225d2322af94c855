#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include <glib.h>

#include "ListenerList.h"
#include "vconf.h"

/// Tells the callbacks of this process that keys were written, by any process. It watches the directory
/// of each key with inotify, on the main loop. One object, built on first use and never ended; main-loop
/// thread only.
class SettingsWatcher {
 public:
  static SettingsWatcher& Instance();

  /// @return 0 or an errno value
  int Watch(const char* key, vconf_callback_fn callback, void* user_data);

  /// @return whether there was such a watch
  bool Ignore(const char* key, vconf_callback_fn callback);

 private:
  struct Listener {
    vconf_callback_fn callback;
    void* user_data;
  };
  /// Shared, so that a key can be forgotten by a callback of its own.
  struct Key {
    std::string name;
    ListenerList<Listener> listeners;
  };
  struct Directory {
    std::string path;
    std::map<std::string, std::shared_ptr<Key>, std::less<>> keys;  // by file name
  };

  SettingsWatcher() = default;
  int Open();
  int WatchDirectory(const std::string& path, int& watch);
  static gboolean OnReadable(gint fd, GIOCondition condition, gpointer self);
  void ReadEvents();
  void OnEvent(int watch, std::uint32_t mask, const char* name);
  void OnDirectoryGone(int watch);
  void NotifyAll();
  static void Notify(const std::shared_ptr<Key>& key);

  int m_inotify = -1;
  std::map<int, Directory> m_directories;  // by inotify watch
};

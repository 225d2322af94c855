#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

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

  /// How many callbacks are registered, what a test looks at to see that none was forgotten.
  [[nodiscard]] std::size_t ListenerCount() const;

 private:
  struct Listener {
    vconf_callback_fn callback;
    void* user_data;
    std::uint64_t since;  ///< number of the last event that came before it was registered
  };
  /// Shared, so that a key can be forgotten by a callback of its own.
  struct Key {
    std::string name;
    ListenerList<Listener> listeners;
  };
  struct Directory {
    int watch = -1;                                    // inotify's; -1: not watched at present
    std::map<std::string, std::shared_ptr<Key>> keys;  // by file name
  };
  struct Event {
    std::uint64_t number;
    int watch;
    std::uint32_t mask;
    std::string name;
  };
  using Keys = std::vector<std::shared_ptr<Key>>;

  SettingsWatcher() = default;
  int Open();
  int WatchDirectory(const std::string& path, Directory& directory);
  void Unwatch(int watch);
  bool ReadEvents();
  void DeliverEvents();
  void OnEvent(const Event& event);
  void OnWritten(const Event& event);
  void OnOverflow();
  void OnDirectoryGone(int watch);
  static void Append(const Directory& directory, Keys& keys);
  static void Notify(const Keys& keys, std::uint64_t number);

  int m_inotify = -1;
  std::map<std::string, Directory> m_directories;  // by path
  std::deque<Event> m_events;                      // read from the kernel, not delivered yet
  std::uint64_t m_last_number = 0;
};

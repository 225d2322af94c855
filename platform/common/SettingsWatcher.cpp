#include "SettingsWatcher.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <glib-unix.h>
#include <sys/inotify.h>
#include <unistd.h>

#include "PlatformLog.h"
#include "SettingsFile.h"
#include "call_guarded.h"

struct _keynode_t {
  const char* name;
};

namespace {

/// IN_MOVED_FROM is not looked at: it keeps two writes of one key apart, which the kernel would
/// otherwise fold into one event when nobody has read the first yet.
constexpr std::uint32_t kEvents = IN_MOVED_TO | IN_MOVED_FROM | IN_MOVE_SELF | IN_ONLYDIR;

/// For notifications that are no single write, and go to every listener however new.
constexpr std::uint64_t kAllListeners = UINT64_MAX;

struct Place {
  std::string directory;
  std::string file;
};

Place Split(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return {path.substr(0, slash), path.substr(slash + 1)};
}

}  // namespace

SettingsWatcher& SettingsWatcher::Instance() {
  static auto* const watcher = new SettingsWatcher;
  return *watcher;
}

int SettingsWatcher::Open() {
  if (m_inotify >= 0) {
    return 0;
  }
  m_inotify = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (m_inotify < 0) {
    return errno;
  }
  const auto on_readable = [](gint, GIOCondition, gpointer self) -> gboolean {
    static_cast<SettingsWatcher*>(self)->ReadEvents();
    static_cast<SettingsWatcher*>(self)->DeliverEvents();
    return G_SOURCE_CONTINUE;
  };
  g_unix_fd_add(m_inotify, G_IO_IN, on_readable, this);
  return 0;
}

int SettingsWatcher::WatchDirectory(const std::string& path, Directory& directory) {
  directory.watch = -1;
  if (const int error = Open(); error != 0) {
    return error;
  }
  // Whoever removes a tree may take the directory away again before it is watched.
  for (int attempt = 0; attempt < 3; ++attempt) {
    if (g_mkdir_with_parents(path.c_str(), 0775) != 0) {
      return errno;
    }
    directory.watch = inotify_add_watch(m_inotify, path.c_str(), kEvents);
    if (directory.watch >= 0) {
      return 0;
    }
    if (errno != ENOENT) {
      break;
    }
  }
  return errno;
}

int SettingsWatcher::Watch(const char* key, vconf_callback_fn callback, void* user_data) {
  const auto path = settings::PathOf(key);
  if (!path || callback == nullptr) {
    return EINVAL;
  }
  const Place place = Split(*path);
  Directory& directory = m_directories[place.directory];
  if (directory.watch < 0) {
    const int error = WatchDirectory(place.directory, directory);
    if (error != 0) {
      if (directory.keys.empty()) {
        m_directories.erase(place.directory);
      }
      return error;
    }
  }
  // A write made before this moment may still wait in the kernel for the other listeners.
  const bool others_wait = !m_events.empty();
  while (ReadEvents()) {
  }
  if (!others_wait && !m_events.empty()) {
    const auto deliver = [](gpointer self) -> gboolean {
      static_cast<SettingsWatcher*>(self)->DeliverEvents();
      return G_SOURCE_REMOVE;
    };
    g_idle_add_full(G_PRIORITY_DEFAULT, deliver, this, nullptr);
  }
  std::shared_ptr<Key>& entry = directory.keys[place.file];
  if (entry == nullptr) {
    entry = std::make_shared<Key>();
    entry->name = key;
  }
  entry->listeners.Add({callback, user_data, m_last_number});
  return 0;
}

bool SettingsWatcher::Ignore(const char* key, vconf_callback_fn callback) {
  const auto path = settings::PathOf(key);
  if (!path) {
    return false;
  }
  const Place place = Split(*path);
  const auto directory = m_directories.find(place.directory);
  if (directory == m_directories.end()) {
    return false;
  }
  auto& keys = directory->second.keys;
  const auto found = keys.find(place.file);
  if (found == keys.end()) {
    return false;
  }
  ListenerList<Listener>& listeners = found->second->listeners;
  const bool removed = listeners.RemoveIf([&](const Listener& l) { return l.callback == callback; }) > 0;
  if (listeners.IsEmpty()) {
    keys.erase(found);
  }
  if (keys.empty()) {
    const int watch = directory->second.watch;
    m_directories.erase(directory);
    Unwatch(watch);
  }
  return removed;
}

std::size_t SettingsWatcher::ListenerCount() const {
  std::size_t count = 0;
  for (const auto& [path, directory] : m_directories) {
    for (const auto& [name, key] : directory.keys) {
      count += key->listeners.Count();
    }
  }
  return count;
}

/// Two paths that lead to one directory have one watch.
void SettingsWatcher::Unwatch(int watch) {
  const bool in_use = std::ranges::any_of(
      m_directories, [watch](const auto& entry) { return entry.second.watch == watch; });
  if (watch >= 0 && !in_use) {
    inotify_rm_watch(m_inotify, watch);
  }
}

/// @return whether there was anything to read
bool SettingsWatcher::ReadEvents() {
  alignas(inotify_event) char buffer[16 * 1024];
  const ssize_t length = read(m_inotify, buffer, sizeof buffer);
  for (const char* p = buffer; p - buffer < length;) {
    const auto* event = reinterpret_cast<const inotify_event*>(p);
    if ((event->mask & IN_MOVED_FROM) == 0) {
      m_events.push_back({++m_last_number, event->wd, event->mask, event->len > 0 ? event->name : ""});
    }
    p += sizeof(inotify_event) + event->len;
  }
  return length > 0;
}

void SettingsWatcher::DeliverEvents() {
  while (!m_events.empty()) {
    const Event event = std::move(m_events.front());
    m_events.pop_front();
    OnEvent(event);
  }
}

void SettingsWatcher::OnEvent(const Event& event) {
  if ((event.mask & IN_Q_OVERFLOW) != 0) {
    OnOverflow();
  } else if ((event.mask & IN_IGNORED) != 0) {
    OnDirectoryGone(event.watch);
  } else if ((event.mask & IN_MOVE_SELF) != 0) {
    inotify_rm_watch(m_inotify, event.watch);  // answered by IN_IGNORED
  } else if ((event.mask & IN_MOVED_TO) != 0) {
    OnWritten(event);
  }
}

void SettingsWatcher::OnWritten(const Event& event) {
  Keys written;
  for (const auto& [path, directory] : m_directories) {
    const auto key = directory.keys.find(event.name);
    if (directory.watch == event.watch && key != directory.keys.end()) {
      written.push_back(key->second);
    }
  }
  Notify(written, event.number);
}

/// What was lost may be any write, and also that a directory is gone.
void SettingsWatcher::OnOverflow() {
  PLATFORM_LOG(DLOG_WARN, "more settings were written than the kernel's queue holds");
  Keys keys;
  for (auto& [path, directory] : m_directories) {
    if (const int error = WatchDirectory(path, directory); error != 0) {
      PLATFORM_LOG(DLOG_ERROR, "%s cannot be watched again: %s", path.c_str(), g_strerror(error));
    }
    Append(directory, keys);
  }
  Notify(keys, kAllListeners);
}

/// Somebody removed the directory, or put it elsewhere. Its keys have lost their values, and must be
/// heard when they are written again.
void SettingsWatcher::OnDirectoryGone(int watch) {
  Keys keys;
  for (auto& [path, directory] : m_directories) {
    if (directory.watch != watch) {
      continue;
    }
    if (const int error = WatchDirectory(path, directory); error != 0) {
      PLATFORM_LOG(DLOG_ERROR, "%s is gone and cannot be watched again: %s", path.c_str(),
                   g_strerror(error));
    }
    Append(directory, keys);
  }
  Notify(keys, kAllListeners);
}

void SettingsWatcher::Append(const Directory& directory, Keys& keys) {
  for (const auto& [name, key] : directory.keys) {
    keys.push_back(key);
  }
}

void SettingsWatcher::Notify(const Keys& keys, std::uint64_t number) {
  for (const auto& key : keys) {
    keynode_t node{key->name.c_str()};
    key->listeners.ForEach([&](const Listener& listener) {
      if (listener.since < number) {
        CallGuarded([&] { listener.callback(&node, listener.user_data); });
      }
    });
  }
}

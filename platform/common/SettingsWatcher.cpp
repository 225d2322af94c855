#include "SettingsWatcher.h"

#include <cerrno>
#include <cstddef>
#include <vector>

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
constexpr std::uint32_t kEvents = IN_MOVED_TO | IN_MOVED_FROM | IN_ONLYDIR;

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
  g_unix_fd_add(m_inotify, G_IO_IN, OnReadable, this);
  return 0;
}

int SettingsWatcher::WatchDirectory(const std::string& path, int& watch) {
  watch = -1;
  if (const int error = Open(); error != 0) {
    return error;
  }
  if (g_mkdir_with_parents(path.c_str(), 0775) != 0) {
    return errno;
  }
  watch = inotify_add_watch(m_inotify, path.c_str(), kEvents);
  return watch < 0 ? errno : 0;
}

int SettingsWatcher::Watch(const char* key, vconf_callback_fn callback, void* user_data) {
  const auto path = settings::PathOf(key);
  if (!path || callback == nullptr) {
    return EINVAL;
  }
  const Place place = Split(*path);
  int watch = -1;
  if (const int error = WatchDirectory(place.directory, watch); error != 0) {
    return error;
  }
  Directory& directory = m_directories[watch];
  directory.path = place.directory;
  std::shared_ptr<Key>& entry = directory.keys[place.file];
  if (entry == nullptr) {
    entry = std::make_shared<Key>();
    entry->name = key;
  }
  entry->listeners.Add({callback, user_data});
  return 0;
}

bool SettingsWatcher::Ignore(const char* key, vconf_callback_fn callback) {
  const auto path = settings::PathOf(key);
  if (!path) {
    return false;
  }
  const Place place = Split(*path);
  for (auto& [watch, directory] : m_directories) {
    if (directory.path != place.directory) {
      continue;
    }
    const auto found = directory.keys.find(place.file);
    if (found == directory.keys.end()) {
      return false;
    }
    ListenerList<Listener>& listeners = found->second->listeners;
    const bool removed =
        listeners.RemoveIf([&](const Listener& l) { return l.callback == callback; }) > 0;
    if (listeners.IsEmpty()) {
      directory.keys.erase(found);
    }
    if (directory.keys.empty()) {
      inotify_rm_watch(m_inotify, watch);
      m_directories.erase(watch);
    }
    return removed;
  }
  return false;
}

gboolean SettingsWatcher::OnReadable(gint /*fd*/, GIOCondition /*condition*/, gpointer self) {
  static_cast<SettingsWatcher*>(self)->ReadEvents();
  return G_SOURCE_CONTINUE;
}

void SettingsWatcher::ReadEvents() {
  alignas(inotify_event) char buffer[16 * 1024];
  const ssize_t length = read(m_inotify, buffer, sizeof buffer);
  for (const char* p = buffer; p < buffer + length;) {
    const auto* event = reinterpret_cast<const inotify_event*>(p);
    OnEvent(event->wd, event->mask, event->len > 0 ? event->name : "");
    p += sizeof(inotify_event) + event->len;
  }
}

void SettingsWatcher::OnEvent(int watch, std::uint32_t mask, const char* name) {
  if ((mask & IN_Q_OVERFLOW) != 0) {
    PLATFORM_LOG(DLOG_WARN, "more settings were written than the kernel's queue holds");
    NotifyAll();
  } else if ((mask & IN_IGNORED) != 0) {
    OnDirectoryGone(watch);
  } else if ((mask & IN_MOVED_TO) != 0) {
    const auto directory = m_directories.find(watch);
    if (directory == m_directories.end()) {
      return;
    }
    const auto key = directory->second.keys.find(name);
    if (key != directory->second.keys.end()) {
      Notify(std::shared_ptr<Key>(key->second));
    }
  }
}

/// Somebody removed the directory. Its keys have lost their values, and must be heard when they are
/// written again.
void SettingsWatcher::OnDirectoryGone(int watch) {
  auto node = m_directories.extract(watch);
  if (node.empty()) {
    return;
  }
  int renewed = -1;
  const int error = WatchDirectory(node.mapped().path, renewed);
  if (error != 0) {
    PLATFORM_LOG(DLOG_ERROR, "%s is gone and cannot be watched again: %s", node.mapped().path.c_str(),
                 g_strerror(error));
    return;
  }
  const std::vector<std::pair<std::string, std::shared_ptr<Key>>> keys(node.mapped().keys.begin(),
                                                                       node.mapped().keys.end());
  node.key() = renewed;
  m_directories.insert(std::move(node));
  for (const auto& [name, key] : keys) {
    Notify(key);
  }
}

void SettingsWatcher::NotifyAll() {
  std::vector<std::shared_ptr<Key>> keys;
  for (const auto& [watch, directory] : m_directories) {
    for (const auto& [name, key] : directory.keys) {
      keys.push_back(key);
    }
  }
  for (const auto& key : keys) {
    Notify(key);
  }
}

void SettingsWatcher::Notify(const std::shared_ptr<Key>& key) {
  keynode_t node{key->name.c_str()};
  key->listeners.ForEach([&](const Listener& listener) {
    CallGuarded([&] { listener.callback(&node, listener.user_data); });
  });
}

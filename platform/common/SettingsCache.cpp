#include "SettingsCache.h"

#include <cerrno>
#include <utility>

#include <pthread.h>
#include <unistd.h>

namespace settings {
namespace {

constexpr std::size_t kMostEntries = 256;
constexpr std::uint32_t kTouched =
    IN_CREATE | IN_MODIFY | IN_ATTRIB | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
constexpr std::uint32_t kWayChanged = IN_DELETE_SELF | IN_MOVE_SELF;
constexpr std::uint32_t kNothingHolds = kWayChanged | IN_IGNORED | IN_UNMOUNT | IN_Q_OVERFLOW;
constexpr std::uint32_t kHow = IN_ONLYDIR | IN_MASK_ADD;

}  // namespace

SettingsCache& SettingsCache::Instance() {
  static auto* const cache = new SettingsCache;
  return *cache;
}

/// A forked process shares the queue of notes, of which each is read once: it begins with one of its
/// own.
SettingsCache::SettingsCache() {
  pthread_atfork([] { Instance().m_mutex.lock(); }, [] { Instance().m_mutex.unlock(); },
                 [] {
                   Instance().Forget();
                   Instance().m_mutex.unlock();
                 });
}

GVariant* SettingsCache::Read(const std::string& path, Reader read) {
  const std::lock_guard lock(m_mutex);
  TakeNotes();
  const auto [found, is_first_time] = m_entries.try_emplace(path);
  Entry& entry = found->second;
  if (is_first_time) {  // what is read once in a process's life is not worth a watch
    return read(path).value;
  }
  if (entry.place) {
    return entry.value == nullptr ? nullptr : g_variant_ref(entry.value.get());
  }
  auto place = Watch(path);  // before the file is read: what happens in between is noted
  const Content content = read(path);
  if (place && content.is_lasting) {
    entry.place = std::move(place);
    entry.value.reset(content.value == nullptr ? nullptr : g_variant_ref(content.value));
  }
  return content.value;
}

void SettingsCache::TakeNotes() {
  if (m_entries.size() >= kMostEntries) {
    Forget();
  }
  alignas(inotify_event) char notes[4096];
  while (m_inotify >= 0) {
    const ssize_t length = read(m_inotify, notes, sizeof notes);
    if (length <= 0) {
      return;
    }
    for (const char* p = notes; p < notes + length;) {
      const auto* note = reinterpret_cast<const inotify_event*>(p);
      TakeNote(*note);
      p += sizeof(inotify_event) + note->len;
    }
  }
}

void SettingsCache::TakeNote(const inotify_event& note) {
  if ((note.mask & kNothingHolds) != 0) {
    Forget();
    return;
  }
  for (auto& [path, entry] : m_entries) {
    if (entry.place && entry.place->watch == note.wd && note.len > 0 && entry.place->name == note.name) {
      entry.place.reset();
      entry.value.reset();
    }
  }
}

/// The deepest directory on the way that exists, watched.
std::optional<SettingsCache::Place> SettingsCache::Watch(const std::string& path) {
  if (m_inotify < 0) {
    m_inotify = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  }
  std::size_t end = path.size();
  for (std::size_t slash = path.rfind('/'); slash != std::string::npos && slash > 0;
       end = slash, slash = path.rfind('/', slash - 1)) {
    const std::string directory = path.substr(0, slash);
    const int watch = WatchDirectory(directory);
    if (watch < 0 && (errno == ENOENT || errno == ENOTDIR)) {
      continue;
    }
    // The next one may have been made before this one was watched.
    const bool is_deepest = end == path.size() || access(path.substr(0, end).c_str(), F_OK) != 0;
    if (watch < 0 || !is_deepest || !WatchWayTo(directory)) {
      return std::nullopt;
    }
    return Place{watch, path.substr(slash + 1, end - slash - 1)};
  }
  return std::nullopt;
}

int SettingsCache::WatchDirectory(const std::string& directory) {
  if (const auto known = m_watches.find(directory); known != m_watches.end()) {
    return known->second;
  }
  const int watch = inotify_add_watch(m_inotify, directory.c_str(), kTouched | kWayChanged | kHow);
  if (watch >= 0) {
    m_watches.emplace(directory, watch);
  }
  return watch;
}

/// A directory hears nothing when one above it is moved.
bool SettingsCache::WatchWayTo(const std::string& directory) {
  const std::string above = directory.substr(0, directory.rfind('/'));
  if (above.empty() || m_ways.contains(above)) {
    return true;
  }
  if (!WatchWayTo(above) || inotify_add_watch(m_inotify, above.c_str(), kWayChanged | kHow) < 0) {
    return false;
  }
  m_ways.insert(above);
  return true;
}

/// The watches go with the descriptor.
void SettingsCache::Forget() {
  if (m_inotify >= 0) {
    close(std::exchange(m_inotify, -1));
  }
  m_watches.clear();
  m_ways.clear();
  m_entries.clear();
}

}  // namespace settings

#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>

#include <glib.h>
#include <sys/inotify.h>

namespace settings {

/// What a file holds. A value that is not `lasting` could not be read for a reason that passes, and the
/// next reader tries again.
struct Content {
  GVariant* value = nullptr;  ///< with a reference; null when there is none
  bool is_lasting = true;
};

/// The values of the settings that a process reads again and again, each for as long as nobody touches
/// its file or a directory on the way to it. The kernel notes such a change before the call that makes
/// it returns; so a look at the notes, which is one system call, says whether a value still holds. To
/// open a file by its name takes several times as long, and more when the caches have gone cold. The
/// notes wake nobody: they are read when a value is asked for.
///
/// Not noticed: what is mounted over one of the directories, and a symbolic link among them that is made
/// to point elsewhere. Usable from any thread, and in a forked process.
class SettingsCache {
 public:
  using Reader = Content (*)(const std::string& path);

  static SettingsCache& Instance();

  /// @param path  absolute
  /// @param read  called when the value is not known
  /// @return the value with a reference that the caller drops, or null
  GVariant* Read(const std::string& path, Reader read);

 private:
  struct Unref {
    void operator()(GVariant* value) const { g_variant_unref(value); }
  };
  /// The directory that will tell of a change, and what is to be touched in it: the file, or, as long as
  /// its directory is missing, the next one on the way.
  struct Place {
    int watch;
    std::string name;
  };
  struct Entry {
    std::optional<Place> place;  ///< none: the value is not known
    std::unique_ptr<GVariant, Unref> value;
  };

  SettingsCache();
  void TakeNotes();
  void TakeNote(const inotify_event& note);
  std::optional<Place> Watch(const std::string& path);
  int WatchDirectory(const std::string& directory);
  bool WatchWayTo(const std::string& directory);
  void Forget();

  std::mutex m_mutex;
  int m_inotify = -1;
  std::map<std::string, int> m_watches;  ///< by directory
  std::set<std::string> m_ways;          ///< the directories whose removal to another place is noted
  std::unordered_map<std::string, Entry> m_entries;  ///< by path; of all that was read once
};

}  // namespace settings

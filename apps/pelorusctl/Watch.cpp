#include "Watch.h"

#include <cstdio>
#include <list>
#include <set>

#include <glib-unix.h>

#include "Catalogue.h"
#include "ExitCodes.h"
#include "Message.h"
#include "Setting.h"
#include "SettingsWatcher.h"

namespace {

std::string Now() {
  g_autoptr(GDateTime) now = g_date_time_new_now_local();
  g_autofree char* text = g_date_time_format(now, "%Y-%m-%dT%H:%M:%S.%f%:z");
  return text;
}

/// The value as it is when the line is printed: a notification carries none, and a writer may have been
/// quicker.
std::string Line(const std::string& key, bool json) {
  const Setting setting = ReadSetting(key);
  const auto complaint = Complaint(key, setting);
  GVariant* value = setting.value.get();
  if (!json) {
    const char* missing = setting.state == Setting::State::kDamaged ? "(damaged)" : "-";
    return Now() + " " + key + " " + (value != nullptr ? QuotedText(value) : missing);
  }
  Json::Value document;
  document["time"] = Now();
  document["key"] = key;
  document["type"] = value != nullptr ? Json::Value(TypeNameOf(value)) : Json::Value();
  document["value"] = value != nullptr ? ToJson(value) : Json::Value();
  if (complaint) {
    document["error"] = *complaint;
  }
  return ToLine(document);
}

/// To watch a key that nobody knows is allowed, and most often a slip.
void WarnOfMisspelling(const std::string& key) {
  if (catalogue::Find(key) != nullptr) {
    return;
  }
  if (const auto suggestion = catalogue::SuggestionText(key); !suggestion.empty()) {
    Complain(key + " is not in the catalogue" + suggestion);
  }
}

/// One run of the command; lives on the stack of WatchSettings() while its loop runs.
struct Watching {
  struct Key {
    std::string name;
    Watching* watching;
  };

  explicit Watching(const WatchOptions& chosen) : options(chosen) {}
  ~Watching() { g_main_loop_unref(loop); }
  Watching(const Watching&) = delete;
  Watching& operator=(const Watching&) = delete;

  static void OnWritten(keynode_t* /*node*/, void* key) {
    const auto* written = static_cast<Key*>(key);
    written->watching->Print(written->name);
  }

  static gboolean OnInterrupted(gpointer self) {
    g_main_loop_quit(static_cast<Watching*>(self)->loop);
    return G_SOURCE_CONTINUE;
  }

  void Print(const std::string& key) {
    if (ended) {
      return;
    }
    std::puts(Line(key, options.json).c_str());
    ended = (options.count != 0 && ++printed == options.count) || std::ferror(stdout) != 0;
    if (ended) {
      g_main_loop_quit(loop);
    }
  }

  const WatchOptions& options;
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  std::uint64_t printed = 0;
  bool ended = false;
};

}  // namespace

int WatchSettings(const WatchOptions& options) {
  Watching watching(options);
  const std::set<std::string> names(options.keys.begin(), options.keys.end());

  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  g_unix_signal_add(SIGINT, Watching::OnInterrupted, &watching);
  g_unix_signal_add(SIGTERM, Watching::OnInterrupted, &watching);

  std::list<Watching::Key> keys;  // stay where they are: the watches point at them
  for (const std::string& name : names) {
    WarnOfMisspelling(name);
    keys.push_back({name, &watching});
    const int error = SettingsWatcher::Instance().Watch(name.c_str(), Watching::OnWritten, &keys.back());
    if (error != 0) {
      Complain("cannot watch " + name + ": " + g_strerror(error));
      return exit_codes::kFailed;
    }
  }
  g_main_loop_run(watching.loop);
  return exit_codes::kDone;
}

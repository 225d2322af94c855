#include "Watch.h"

#include <list>
#include <set>

#include "Catalogue.h"
#include "ExitCodes.h"
#include "LiveOutput.h"
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

  static void OnWritten(keynode_t* /*node*/, void* key) {
    const auto* written = static_cast<Key*>(key);
    Watching* self = written->watching;
    self->output.Print(Line(written->name, self->json));
  }

  LiveOutput output;
  bool json;
};

}  // namespace

int WatchSettings(const WatchOptions& options) {
  Watching watching{LiveOutput(options.count), options.json};
  const std::set<std::string> names(options.keys.begin(), options.keys.end());

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
  watching.output.Run();
  return exit_codes::kDone;
}

#include "SettingsCommands.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Catalogue.h"
#include "ExitCodes.h"
#include "Message.h"
#include "Setting.h"
#include "SettingsFile.h"
#include "Watch.h"

using vconf_keys::Type;

namespace {

int Fail(const std::string& message, int exit_code) {
  Complain(message);
  return exit_code;
}

/// @return exit_codes::kDone, or, after saying why, the code to end with before a key was looked up
int CheckStoreAndNames(const std::vector<std::string>& keys, bool may_be_new) {
  for (const std::string& key : keys) {
    if (!settings::PathOf(key.c_str())) {
      return Fail("'" + key +
                      "' cannot be a key: keys are named db/... or memory/..., without empty components "
                      "or dots at the start of one" +
                      catalogue::SuggestionText(key),
                  exit_codes::kFailed);
    }
  }
  if (const auto fault = StoreFault(may_be_new)) {
    return Fail(*fault, exit_codes::kUnreachable);
  }
  return exit_codes::kDone;
}

struct GetOptions {
  std::string key;
  bool raw = false;
  bool json = false;
};

int Get(const GetOptions& options) {
  if (const int code = CheckStoreAndNames({options.key}, false); code != exit_codes::kDone) {
    return code;
  }
  const Setting setting = ReadSetting(options.key);
  if (const auto complaint = Complaint(options.key, setting)) {
    return Fail(*complaint, exit_codes::kFailed);
  }
  GVariant* value = setting.value.get();
  if (options.json) {
    Json::Value document;
    document["key"] = options.key;
    document["type"] = TypeNameOf(value);
    document["value"] = ToJson(value);
    std::puts(ToLine(document).c_str());
  } else {
    std::printf(options.raw ? "%s" : "%s\n", PlainText(value).c_str());
  }
  return exit_codes::kDone;
}

struct SetOptions {
  std::string key;
  std::string value;
  std::optional<Type> type;
};

/// The type that a key has for ever: the catalogue's, or, of a key it does not know, that of its value.
std::optional<Type> KnownType(const std::string& key) {
  if (const vconf_keys::Entry* entry = catalogue::Find(key); entry != nullptr) {
    return entry->type;
  }
  const Setting setting = ReadSetting(key);
  return setting.state == Setting::State::kValue ? TypeOf(setting.value.get()) : std::nullopt;
}

int Set(const SetOptions& options) {
  if (const int code = CheckStoreAndNames({options.key}, true); code != exit_codes::kDone) {
    return code;
  }
  const bool in_catalogue = catalogue::Find(options.key) != nullptr;
  if (!in_catalogue && !options.type) {
    return Fail("the catalogue does not know " + options.key + catalogue::SuggestionText(options.key) +
                    "; --type int, bool or string sets it all the same",
                exit_codes::kUsage);
  }
  const auto known = KnownType(options.key);
  if (known && options.type && *known != *options.type) {
    return Fail(options.key + " is " + catalogue::NameInSentence(*known) +
                    ", and a key keeps its type: " + "--type " + catalogue::Name(*options.type) +
                    " is refused",
                exit_codes::kUsage);
  }
  const Type type = known ? *known : *options.type;
  std::string expected;
  Variant value = ParseValue(type, options.value, expected);
  if (value == nullptr) {
    return Fail(options.key + " is " + catalogue::NameInSentence(type) + " and takes " + expected +
                    ", not '" + options.value + "'",
                exit_codes::kUsage);
  }
  if (const int error = settings::Write(options.key.c_str(), value.get()); error != 0) {
    return Fail("cannot write " + options.key + ": " +
                    settings::PathOf(options.key.c_str()).value_or("") + ": " + g_strerror(error),
                exit_codes::kFailed);
  }
  return exit_codes::kDone;
}

struct ListOptions {
  std::string prefix;
  bool all = false;
  bool json = false;
  bool names = false;
};

struct Row {
  std::string key;
  std::string type;
  std::string value;
  std::string meaning;
};

std::vector<std::string> KeysToList(const ListOptions& options) {
  std::set<std::string> keys;
  for (const vconf_keys::Entry& entry : vconf_keys::kCatalogue) {
    keys.emplace(entry.name);
  }
  if (options.all) {
    std::ranges::move(KeysOnDisk(), std::inserter(keys, keys.end()));
  }
  std::erase_if(keys, [&](const std::string& key) { return !key.starts_with(options.prefix); });
  return {keys.begin(), keys.end()};
}

Row RowOf(const std::string& key) {
  const vconf_keys::Entry* entry = catalogue::Find(key);
  const Setting setting = ReadSetting(key);
  std::string type = "?";
  if (entry != nullptr) {
    type = catalogue::Name(entry->type);
  } else if (setting.value != nullptr) {
    type = TypeNameOf(setting.value.get());
  }
  return {key, type, Cell(key, setting),
          entry == nullptr ? "(not in the catalogue)" : std::string(entry->meaning)};
}

Json::Value DocumentOf(const std::string& key) {
  const vconf_keys::Entry* entry = catalogue::Find(key);
  const Setting setting = ReadSetting(key);
  GVariant* value = setting.value.get();
  Json::Value document;
  document["key"] = key;
  document["type"] = Json::Value();
  if (entry != nullptr) {
    document["type"] = catalogue::Name(entry->type);
    document["meaning"] = std::string(entry->meaning);
  } else if (value != nullptr) {
    document["type"] = TypeNameOf(value);
  }
  document["value"] = value == nullptr ? Json::Value() : ToJson(value);
  const auto complaint = Complaint(key, setting);
  if (complaint && setting.state != Setting::State::kNone && setting.state != Setting::State::kGroup) {
    document["error"] = *complaint;
  }
  return document;
}

void PrintTable(const std::vector<std::string>& keys) {
  // A saved list is some kilobytes of JSON: it may push its own line to the right, not all the others.
  constexpr std::size_t kWidestValue = 24;
  std::vector<Row> rows{{"KEY", "TYPE", "VALUE", "MEANING"}};
  std::ranges::transform(keys, std::back_inserter(rows), RowOf);
  std::size_t key_width = 0;
  std::size_t value_width = 0;
  for (const Row& row : rows) {
    key_width = std::max(key_width, row.key.size());
    if (row.value.size() <= kWidestValue) {
      value_width = std::max(value_width, row.value.size());
    }
  }
  for (const Row& row : rows) {
    std::printf("%-*s  %-6s  %-*s  %s\n", static_cast<int>(key_width), row.key.c_str(), row.type.c_str(),
                static_cast<int>(value_width), row.value.c_str(), row.meaning.c_str());
  }
}

int List(const ListOptions& options) {
  // The names of the catalogue are known without a store; shells complete keys with them.
  const bool needs_store = !options.names || options.all;
  if (const auto fault = StoreFault(false); fault && needs_store) {
    return Fail(*fault, exit_codes::kUnreachable);
  }
  const std::vector<std::string> keys = KeysToList(options);
  if (options.names) {
    for (const std::string& key : keys) {
      std::puts(key.c_str());
    }
  } else if (options.json) {
    Json::Value document(Json::arrayValue);
    for (const std::string& key : keys) {
      document.append(DocumentOf(key));
    }
    std::puts(ToLine(document).c_str());
  } else if (!keys.empty()) {
    PrintTable(keys);
  }
  return keys.empty() ? Fail("no key begins with '" + options.prefix + "'", exit_codes::kFailed)
                      : exit_codes::kDone;
}

void AddGet(CLI::App& app, int& exit_code) {
  auto options = std::make_shared<GetOptions>();
  CLI::App* command = app.add_subcommand("get", "Print the value of a key");
  command->add_option("KEY", options->key, "Name of the key")->required();
  auto* raw = command->add_flag("--raw", options->raw, "Print the value only, without a newline");
  command->add_flag("--json", options->json, "Print key, type and value as a JSON object")
      ->excludes(raw);
  command->callback([options, &exit_code] { exit_code = Get(*options); });
}

void AddSet(CLI::App& app, int& exit_code) {
  const std::map<std::string, Type> types{
      {"int", Type::kInt}, {"bool", Type::kBool}, {"string", Type::kString}};
  auto options = std::make_shared<SetOptions>();
  CLI::App* command = app.add_subcommand("set", "Give a key a value");
  command->add_option("KEY", options->key, "Name of the key")->required();
  command->add_option("VALUE", options->value, "New value; put -- before one that begins with a dash")
      ->required();
  command
      ->add_option_function<std::string>(
          "--type", [options, types](const std::string& name) { options->type = types.at(name); },
          "Type of the value: int, bool or string; needed for a key that the catalogue does not know")
      ->check(CLI::IsMember({"int", "bool", "string"}))
      ->type_name("TYPE");
  command->callback([options, &exit_code] { exit_code = Set(*options); });
}

void AddList(CLI::App& app, int& exit_code) {
  auto options = std::make_shared<ListOptions>();
  CLI::App* command = app.add_subcommand("list", "Show the keys with type, value and meaning");
  command->add_option("PREFIX", options->prefix, "Show only the keys whose names begin so");
  command->add_flag("--all", options->all, "Show also the keys that only the store knows");
  auto* json = command->add_flag("--json", options->json, "Print an array of JSON objects");
  command->add_flag("--names", options->names, "Print the names only, one a line")->excludes(json);
  command->callback([options, &exit_code] { exit_code = List(*options); });
}

void AddWatch(CLI::App& app, int& exit_code) {
  auto options = std::make_shared<WatchOptions>();
  CLI::App* command = app.add_subcommand("watch", "Print a line each time a key is written");
  command->add_option("KEY", options->keys, "Names of the keys")->required()->type_name("TEXT");
  command->add_option("--count", options->count, "End after this many lines")
      ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{1} << 53));
  command->add_flag("--json", options->json, "Print a JSON object a line");
  command->callback([options, &exit_code] {
    exit_code = CheckStoreAndNames(options->keys, false);
    if (exit_code == exit_codes::kDone) {
      exit_code = WatchSettings(*options);
    }
  });
}

}  // namespace

void AddSettingsCommands(CLI::App& app, int& exit_code) {
  app.add_option_function<std::string>(
         "--settings",
         [](const std::string& directory) {
           setenv(settings::kDirectoryVariable, directory.c_str(), 1);
         },
         "Directory of the settings, in place of $PELORUS_SETTINGS_DIR or the system's own")
      ->check([](const std::string& directory) {
        return directory.empty() ? std::string("a directory is needed") : std::string();
      })
      ->type_name("DIR");
  AddGet(app, exit_code);
  AddSet(app, exit_code);
  AddList(app, exit_code);
  AddWatch(app, exit_code);
}

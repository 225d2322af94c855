#include "SavedCommands.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <glib.h>
#include <json/value.h>
#include <json/writer.h>

#include "ExitCodes.h"
#include "KeyWait.h"
#include "Message.h"
#include "SavedNetworks.h"
#include "Setting.h"
#include "SettingsFile.h"
#include "vconf_keys.h"

namespace {

using saved_networks::Network;

/// The daemon gives up after 35 seconds and says so.
constexpr unsigned kConnectSeconds = 40;
constexpr unsigned kPublicationSeconds = 5;
constexpr unsigned kLongestWaitSeconds = 3600;
constexpr std::size_t kLongestSsid = 32;

/// What was typed behind a command. CLI11 writes into it while it parses, so it lives on the heap, held
/// by the command's callback.
struct Typed {
  std::vector<std::string> ssids;
  unsigned wait = 0;
  bool force = false;
  bool as_json = false;
};

int Fail(const std::string& message) {
  Complain(message);
  return exit_codes::kFailed;
}

std::string Quoted(const std::string& text) {
  return "\"" + text + "\"";
}

std::string NetworksText(const std::vector<std::string>& ssids) {
  std::string text;
  for (const std::string& ssid : ssids) {
    text += (text.empty() ? "" : ", ") + Quoted(ssid);
  }
  return text;
}

/// @return what is wrong with a name that no command can carry, or nothing
std::string CheckSsid(const std::string& ssid) {
  if (ssid.empty() || ssid.size() > kLongestSsid) {
    return "a network's name has 1 to 32 bytes";
  }
  if (!g_utf8_validate(ssid.data(), static_cast<gssize>(ssid.size()), nullptr)) {
    return "a network's name that is no UTF-8 cannot stand in a command";
  }
  return "";
}

/// Writes what the settings application writes.
/// @return an exit code
int WriteCommand(const Json::Value& command) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  const std::string text = Json::writeString(builder, command);
  const int error = settings::Write(vconf_keys::kCommand, settings::FromText(text.c_str()));
  return error == 0
             ? exit_codes::kDone
             : Fail(std::string("cannot write ") + vconf_keys::kCommand + ": " +
                    settings::PathOf(vconf_keys::kCommand).value_or("") + ": " + g_strerror(error));
}

Json::Value CommandOf(const char* number) {
  Json::Value command;
  command["COMMAND"] = number;
  return command;
}

/// Writes a command and waits for what the daemon publishes in answer.
/// @param is_over  whether the answer is what was wished, or will not be
/// @param seconds  0: nobody waits
/// @param judge    gives the exit code when the waiting is over
int Order(const Json::Value& command, const char* answer_key, const KeyWait::IsOver& is_over,
          unsigned seconds, const std::function<int(bool was_in_time)>& judge) {
  if (seconds == 0) {
    return WriteCommand(command);
  }
  KeyWait wait(answer_key, is_over);
  if (wait.Error() != 0) {
    return Fail(std::string("cannot watch ") + answer_key + ": " + g_strerror(wait.Error()));
  }
  if (const int code = WriteCommand(command); code != exit_codes::kDone) {
    return code;
  }
  return judge(wait.Run(seconds));
}

int CheckStore(bool may_be_new) {
  if (const auto fault = StoreFault(may_be_new)) {
    Complain(*fault);
    return exit_codes::kUnreachable;
  }
  return exit_codes::kDone;
}

Json::Value ToJson(const Network& network) {
  Json::Value document;
  document["ssid"] = network.ssid;
  document["signal"] = network.signal ? Json::Value(*network.signal) : Json::Value();
  document["frequency"] = network.frequency ? Json::Value(*network.frequency) : Json::Value();
  document["band"] =
      network.frequency ? Json::Value(saved_networks::BandOf(*network.frequency)) : Json::Value();
  document["status"] = network.status.empty() ? Json::Value() : Json::Value(network.status);
  return document;
}

void PrintTable(const std::vector<Network>& networks) {
  std::size_t width = 4;
  for (const Network& network : networks) {
    width = std::max(width, Quoted(network.ssid).size());
  }
  std::printf("ORDER  %-*s  SIGNAL        BAND                STATUS\n", static_cast<int>(width),
              "SSID");
  int order = 0;
  for (const Network& network : networks) {
    const std::string band = network.frequency
                                 ? std::string(saved_networks::BandOf(*network.frequency)) + ", " +
                                       std::to_string(*network.frequency) + " MHz"
                                 : "-";
    std::printf("%5d  %-*s  %-12s  %-18s  %s\n", ++order, static_cast<int>(width),
                Quoted(network.ssid).c_str(), saved_networks::SignalText(network).c_str(), band.c_str(),
                network.status.empty() ? "-" : network.status.c_str());
  }
}

int List(const Typed& typed) {
  if (const int code = CheckStore(false); code != exit_codes::kDone) {
    return code;
  }
  const saved_networks::List list = saved_networks::All();
  if (list.fault) {
    return Fail(list.fault->complaint);
  }
  if (typed.as_json) {
    Json::Value document(Json::arrayValue);
    for (const Network& network : list.networks) {
      document.append(ToJson(network));
    }
    std::puts(ToLine(document).c_str());
  } else if (list.networks.empty()) {
    std::puts("no saved networks");
  } else {
    PrintTable(list.networks);
  }
  return exit_codes::kDone;
}

/// What has become of one request to connect, as the tile shows it.
struct Progress {
  bool has_begun = false;
  bool has_answer = false;
  std::string status;  ///< the last one; empty: it is not on the tile
};

/// @return whether the request has ended
bool Look(const std::string& ssid, Progress& progress) {
  const saved_networks::List top = saved_networks::Top();
  const Network* const network = saved_networks::Find(top, ssid);
  progress.has_answer = true;
  progress.status = network == nullptr ? "" : network->status;
  if (progress.status == "Connecting") {
    progress.has_begun = true;
  }
  // Before the attempt has begun, "DisConnected" may be what was published before it.
  return progress.status == "Connected" || (progress.has_begun && progress.status == "DisConnected");
}

int Judge(const std::string& ssid, unsigned seconds, const Progress& progress, bool was_in_time) {
  if (was_in_time && progress.status == "Connected") {
    std::printf("connected to %s\n", Quoted(ssid).c_str());
    return exit_codes::kDone;
  }
  if (was_in_time) {
    return Fail("could not connect to " + Quoted(ssid));
  }
  const std::string limit = " within " + std::to_string(seconds) + " seconds";
  if (progress.has_begun) {
    return Fail("no connection to " + Quoted(ssid) + limit + "; the daemon still tries");
  }
  return Fail("no connection to " + Quoted(ssid) + limit +
              (progress.has_answer
                   ? "; the daemon tells of attempts only for the networks on the tile"
                   : "; nobody answered. Is the daemon running, and is the network saved "
                     "in the TV?"));
}

int Connect(const Typed& typed) {
  if (const int code = CheckStore(true); code != exit_codes::kDone) {
    return code;
  }
  const std::string& ssid = typed.ssids.front();
  const saved_networks::List list = saved_networks::All();
  if (!typed.force && !list.fault && saved_networks::Find(list, ssid) == nullptr) {
    return Fail(Quoted(ssid) +
                " is not among the saved networks (pelorusctl saved list); --force asks "
                "for it all the same");
  }
  Json::Value command = CommandOf("1");
  command["SSID"] = ssid;
  Progress progress;
  return Order(
      command, vconf_keys::kTopSavedAP, [&] { return Look(ssid, progress); }, typed.wait,
      [&](bool was_in_time) { return Judge(ssid, typed.wait, progress, was_in_time); });
}

/// Those of them that the daemon still lists.
std::vector<std::string> StillListed(const std::vector<std::string>& ssids) {
  const saved_networks::List list = saved_networks::All();
  std::vector<std::string> listed;
  std::ranges::copy_if(ssids, std::back_inserter(listed), [&](const std::string& ssid) {
    return saved_networks::Find(list, ssid) != nullptr;
  });
  return listed;
}

int Forget(const Typed& typed) {
  if (const int code = CheckStore(true); code != exit_codes::kDone) {
    return code;
  }
  if (typed.ssids.empty()) {
    return WriteCommand(CommandOf("2"));
  }
  bool has_answer = false;
  const auto is_over = [&] {
    has_answer = true;
    return StillListed(typed.ssids).empty();
  };
  return Order(CommandOf("2"), vconf_keys::kSavedAPList, is_over, typed.wait, [&](bool was_in_time) {
    if (was_in_time) {
      return exit_codes::kDone;
    }
    if (!has_answer) {
      return Fail("nobody answered. Is the daemon running?");
    }
    return Fail("still saved in the TV: " + NetworksText(StillListed(typed.ssids)) +
                "; let the TV forget them first, for this command only tells that it has");
  });
}

int Reset(const Typed& typed) {
  if (const int code = CheckStore(true); code != exit_codes::kDone) {
    return code;
  }
  const auto is_over = [] {
    const saved_networks::List list = saved_networks::All();
    return !list.fault && list.networks.empty();
  };
  return Order(CommandOf("3"), vconf_keys::kSavedAPList, is_over, typed.wait, [](bool was_in_time) {
    return was_in_time ? exit_codes::kDone : Fail("the list was not emptied. Is the daemon running?");
  });
}

using Command = int (*)(const Typed& typed);

CLI::App* Add(CLI::App& saved, int& exit_code, const char* name, const char* help,
              const std::shared_ptr<Typed>& typed, Command command) {
  CLI::App* added = saved.add_subcommand(name, help);
  added->callback([&exit_code, typed, command] { exit_code = command(*typed); });
  return added;
}

void AddWait(CLI::App* command, const std::shared_ptr<Typed>& typed, unsigned usual, const char* help) {
  typed->wait = usual;
  command->add_option("--wait", typed->wait, help)
      ->check(CLI::Range(0U, kLongestWaitSeconds))
      ->option_text("SECONDS [" + std::to_string(usual) + "]");
}

}  // namespace

void AddSavedCommands(CLI::App& app, int& exit_code) {
  CLI::App* saved = app.add_subcommand(
      "saved", "Show the saved Wi-Fi networks, and command as the settings application does");
  saved->require_subcommand(1);

  const auto listing = std::make_shared<Typed>();
  Add(*saved, exit_code, "list", "Show the saved networks, most recently connected first", listing, List)
      ->add_flag("--json", listing->as_json, "Print an array of JSON objects");

  const auto connecting = std::make_shared<Typed>();
  CLI::App* connect = Add(*saved, exit_code, "connect",
                          "Connect to a saved network, and tell how it went", connecting, Connect);
  connect->add_option("SSID", connecting->ssids, "Name of the network")
      ->required()
      ->expected(1)
      ->check(CheckSsid)
      ->type_name("TEXT");
  connect->add_flag("--force", connecting->force, "Ask also for a network that is not in the list");
  AddWait(connect, connecting, kConnectSeconds, "Wait so long for the outcome; 0: only ask");

  const auto forgetting = std::make_shared<Typed>();
  CLI::App* forget = Add(
      *saved, exit_code, "forget",
      "Tell the daemon that the TV has forgotten saved networks. Which ones are saved is the "
      "platform's affair, and this removes none: the daemon looks again and drops from its list what "
      "is not saved any more",
      forgetting, Forget);
  forget
      ->add_option("SSID", forgetting->ssids,
                   "Networks that must be gone from the list; fail when they stay")
      ->check(CheckSsid)
      ->type_name("TEXT");
  AddWait(forget, forgetting, kPublicationSeconds, "Wait so long until they are gone; 0: only tell");

  const auto resetting = std::make_shared<Typed>();
  CLI::App* reset = Add(*saved, exit_code, "reset",
                        "Tell the daemon that the network was reset: it empties its list. The TV's own "
                        "saved networks stay, and enter the list again as they connect",
                        resetting, Reset);
  AddWait(reset, resetting, kPublicationSeconds, "Wait so long until the list is empty; 0: only tell");
}

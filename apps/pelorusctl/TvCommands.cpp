#include "TvCommands.h"

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <json/value.h>
#include <json/writer.h>

#include "ExitCodes.h"
#include "Message.h"
#include "ScenarioRequest.h"
#include "TvClient.h"
#include "TvPlay.h"
#include "TvStatus.h"

namespace {

/// What was typed behind a command. CLI11 writes into it while it parses, so it lives on the heap, held
/// by the command's callback.
struct Typed {
  scenario::Words words;
  std::string function;
  std::string code;
  std::string file;
  std::string times;
  double speed = 1;
  bool as_json = false;
};

using Command = std::function<int(const Typed&)>;

/// Runs a command and turns a TV that is not there into its exit code.
int Guarded(const Command& command, const Typed& typed) {
  try {
    return command(typed);
  } catch (const NoTv& error) {
    Complain(error.what());
    return exit_codes::kUnreachable;
  }
}

Json::Value AboutFunction(const char* what, const std::string& function) {
  Json::Value request;
  request["do"] = what;
  if (!function.empty()) {
    request["function"] = function;
  }
  return request;
}

/// @param show  prints what a willing TV answered
int AskTv(const Json::Value& request, const std::function<void(const Json::Value&)>& show = {}) {
  const Json::Value answer = TvClient().Ask(request);
  if (!answer["ok"].asBool()) {
    Complain("the TV refuses: " + answer["error"].asString());
    return exit_codes::kFailed;
  }
  if (show) {
    show(answer);
  }
  return exit_codes::kDone;
}

/// Words that make no request are a usage error, as any other on the command line.
int AskInWords(const scenario::Words& words) {
  std::string error;
  const auto request = scenario::RequestOf(words, error);
  if (!request) {
    throw CLI::ValidationError("tv " + words.front(), error);
  }
  return AskTv(*request);
}

void PrintJson(const Json::Value& document) {
  std::printf("%s\n", Json::writeString(Json::StreamWriterBuilder(), document).c_str());
}

void PrintCalls(const Json::Value& calls) {
  for (const Json::Value& call : calls) {
    std::string arguments;
    for (const Json::Value& argument : call["arguments"]) {
      arguments += (arguments.empty() ? "" : ", ") + argument.asString();
    }
    std::printf("%s(%s)\n", call["function"].asCString(), arguments.c_str());
  }
}

/// Adds a command that runs `command` with what was typed.
CLI::App* Add(CLI::App& tv, int& exit_code, const std::string& name, const std::string& help,
              const std::shared_ptr<Typed>& typed, Command command) {
  CLI::App* added = tv.add_subcommand(name, help);
  added->callback(
      [&exit_code, typed, command = std::move(command)] { exit_code = Guarded(command, *typed); });
  return added;
}

/// Adds a command whose words are passed on as they are.
void AddWords(CLI::App& tv, int& exit_code, const std::string& name, const std::string& usage,
              const std::string& help) {
  const auto typed = std::make_shared<Typed>();
  CLI::App* added = Add(tv, exit_code, name, help, typed, [name](const Typed& t) {
    scenario::Words words = {name};
    words.insert(words.end(), t.words.begin(), t.words.end());
    return AskInWords(words);
  });
  added->add_option("action", typed->words, usage)->required()->option_text(" ");
}

void AddFail(CLI::App& tv, int& exit_code) {
  const auto typed = std::make_shared<Typed>();
  CLI::App* fail =
      Add(tv, exit_code, "fail", "Make a platform function fail", typed, [](const Typed& t) {
        scenario::Words words = {"fail", t.function, t.code};
        if (!t.times.empty()) {
          words.push_back(t.times);
        }
        return AskInWords(words);
      });
  fail->add_option("function", typed->function, "The function, such as connection_create")->required();
  fail->add_option("code", typed->code, "What it answers, such as -1")->required();
  fail->add_option("--times", typed->times, "How many of its next calls; for good without this")
      ->option_text("N");
}

void AddQuestions(CLI::App& tv, int& exit_code) {
  const auto status = std::make_shared<Typed>();
  CLI::App* show_status = Add(
      tv, exit_code, "status", "Show the TV and what is plugged into it", status, [](const Typed& t) {
        return AskTv(AboutFunction("status", ""), [&t](const Json::Value& answer) {
          t.as_json ? PrintJson(answer["tv"]) : PrintTvStatus(answer["tv"]);
        });
      });
  show_status->add_flag("--json", status->as_json, "Print JSON");

  const auto calls = std::make_shared<Typed>();
  CLI::App* show_calls =
      Add(tv, exit_code, "calls", "Show the daemon's calls of platform functions", calls,
          [](const Typed& t) {
            return AskTv(AboutFunction("calls", t.function), [&t](const Json::Value& answer) {
              t.as_json ? PrintJson(answer["calls"]) : PrintCalls(answer["calls"]);
            });
          });
  show_calls->add_option("function", calls->function, "Only those of this function");
  show_calls->add_flag("--json", calls->as_json, "Print JSON");
}

void AddPlay(CLI::App& tv, int& exit_code) {
  const auto typed = std::make_shared<Typed>();
  CLI::App* play = Add(tv, exit_code, "play", "Play a scenario file, in real time", typed,
                       [](const Typed& t) { return PlayScenario(t.file, t.speed); });
  play->add_option("file", typed->file, "The scenario")->required();
  play->add_option("--speed", typed->speed, "2 plays twice as fast")
      ->check(CLI::Range(0.01, 1000.0))
      ->option_text("N");
}

}  // namespace

void AddTvCommands(CLI::App& app, int& exit_code) {
  CLI::App* tv = app.add_subcommand("tv", "Operate a running virtual TV");
  tv->require_subcommand(1);
  const auto add = [&](const char* name, const char* usage, const char* help) {
    AddWords(*tv, exit_code, name, usage, help);
  };
  add("cable", "plug | unplug | state NUMBER", "Plug or pull the Ethernet cable");
  add("dongle", "insert | remove", "Insert or remove the cellular dongle");
  add("telephony", "start | stop", "Start or stop the telephony service");
  add("radio",
      "add BSSID ESSID [OPTION...] | remove BSSID | on BSSID | off BSSID | signal BSSID DBM | "
      "temper BSSID WORD | portal BSSID URL|none; the man page lists the options",
      "Put up the radio of a router, or change one");
  add("wifi",
      "join BSSID | connect BSSID [passphrase=TEXT] | drop | see-all | save ESSID [OPTION...] | forget "
      "ESSID | fail-next REQUEST CODE | snr DB",
      "Operate the TV's Wi-Fi");
  add("internet",
      "gateway|dns|http on|off | report STEP RESULT | hotspot NUMBER | lease SECONDS | addresses "
      "cable|dongle [ipv4=ADDRESS] [ipv6=ADDRESS]",
      "Change what is behind the network");
  add("player", "buffering|lowres|interference|rssi|linkspeed NUMBER",
      "Let the video player report trouble or a figure");
  add("settings-app",
      "open | close | ask | stop | confirm | decline | answer confirm|decline|none [TIME] | connect "
      "ESSID "
      "| forget ESSID | reset",
      "Play the network settings application and its viewer");
  add("package", "install ID | remove ID", "Install an application, or remove one");
  add("speaker", "NUMBER", "Choose where the sound goes; 4 is a network speaker");
  add("stick", "insert [NAME] [broken] | remove [NAME] | unmount [NAME]",
      "Plug a USB stick in, or pull it out");
  add("capture", "size BYTES | end", "Choose the size of captures, or let one end by itself");
  add("feature", "set NAME VALUE", "Make the TV another model");
  add("latency", "KIND TIME",
      "Set how long something takes, such as 50ms: cable, dongle, report, scan, channel-scan, look, "
      "connect, address, disconnect, wifi-state, portal, profile or stick");
  add("delay", "KIND TIME", "Let the next of these alone take so much longer");
  AddFail(*tv, exit_code);
  AddWords(*tv, exit_code, "heal", "FUNCTION", "Let a platform function work again");
  AddQuestions(*tv, exit_code);
  AddPlay(*tv, exit_code);
}

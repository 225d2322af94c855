#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "CaptureCommands.h"
#include "ExitCodes.h"
#include "KpiCommands.h"
#include "Message.h"
#include "SavedCommands.h"
#include "SettingsCommands.h"
#include "Spelling.h"
#include "StatusCommand.h"
#include "TvCommands.h"

namespace {

constexpr char kExitCodesText[] =
    "Exit codes: 0 done; 1 refused or failed (no value, cannot write); 2 usage error;\n"
    "3 settings store, KPI journal or TV not reachable.\n";

/// " (did you mean ...?)" when a command is called much like that, else nothing.
std::string NearCommand(const CLI::App& app, const std::string& typed) {
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (Misspellings(typed, command->get_name()) == 1) {
      return " (did you mean " + command->get_name() + "?)";
    }
  }
  return "";
}

int OnParseError(const CLI::App& app, const CLI::ParseError& error) {
  if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
    app.exit(error);
    return exit_codes::kDone;
  }
  const std::vector<std::string> unexpected = app.remaining();
  if (app.get_subcommands().empty() && !unexpected.empty()) {
    const std::string& first = unexpected.front();
    const char* kind = first.starts_with("-") ? "option" : "command";
    Complain(std::string("unknown ") + kind + " '" + first + "'" + NearCommand(app, first));
  } else {
    Complain(error.what());
  }
  std::fputs("See pelorusctl --help, or pelorusctl COMMAND --help.\n", stderr);
  return exit_codes::kUsage;
}

int RunCommandLine(int argc, char** argv) {
  CLI::App app(
      "Reads, writes and watches the settings of Pelorus, shows its saved networks and measurement "
      "records, starts and stops packet captures, and operates its virtual TV.",
      "pelorusctl");
  int exit_code = exit_codes::kDone;
  app.set_version_flag("--version", "pelorusctl " PELORUS_VERSION);
  app.footer(kExitCodesText);
  app.require_subcommand(1);
  app.fallthrough();
  AddSettingsCommands(app, exit_code);
  AddStatusCommand(app, exit_code);
  AddSavedCommands(app, exit_code);
  AddCaptureCommands(app, exit_code);
  AddKpiCommands(app, exit_code);
  AddTvCommands(app, exit_code);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    exit_code = OnParseError(app, error);
  }
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    Complain("cannot write to standard output");
    return exit_codes::kFailed;
  }
  return exit_code;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return RunCommandLine(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "pelorusctl: %s\n", error.what());
    return exit_codes::kFailed;
  }
}

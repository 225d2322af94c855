#pragma once

#include <CLI/CLI.hpp>

/// Adds the command "tv", which operates a running virtual TV over its control socket.
/// @param exit_code  set to one of exit_codes when a command has run; borrowed until the parse is over
void AddTvCommands(CLI::App& app, int& exit_code);

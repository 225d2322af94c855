#pragma once

#include <CLI/CLI.hpp>

/// Adds the command saved, and what comes behind it, to the command line.
/// @param exit_code  out, when the command is called: one of exit_codes
void AddSavedCommands(CLI::App& app, int& exit_code);

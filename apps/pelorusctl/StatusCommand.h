#pragma once

#include <CLI/CLI.hpp>

/// Adds the command status to the command line.
/// @param exit_code  out, when the command is called: one of exit_codes
void AddStatusCommand(CLI::App& app, int& exit_code);

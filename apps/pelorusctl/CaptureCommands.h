#pragma once

#include <CLI/CLI.hpp>

/// Adds the command capture, and what comes behind it, to the command line.
/// @param exit_code  out, when the command is called: one of exit_codes
void AddCaptureCommands(CLI::App& app, int& exit_code);

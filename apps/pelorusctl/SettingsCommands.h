#pragma once

#include <CLI/CLI.hpp>

/// Adds get, set, list and watch, and the option that says where the settings are.
/// @param exit_code  set to one of exit_codes when a command has run; borrowed until the parse is over
void AddSettingsCommands(CLI::App& app, int& exit_code);

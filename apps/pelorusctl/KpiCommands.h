#pragma once

#include <CLI/CLI.hpp>

/// Adds kpi, which shows the KPI journal.
/// @param exit_code  as of AddSettingsCommands()
void AddKpiCommands(CLI::App& app, int& exit_code);

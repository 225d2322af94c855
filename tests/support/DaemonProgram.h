#pragma once

#include <memory>

#include "Program.h"

/// The daemon as it is shipped, as a child of the test.
namespace daemon_program {

inline constexpr char kLog[] = "/run/pelorus.log";

/// Returns when its start sequence is done.
std::unique_ptr<Program> Start(const char* path);

}  // namespace daemon_program

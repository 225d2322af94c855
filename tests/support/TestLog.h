#pragma once

#include <string>
#include <string_view>
#include <vector>

/// What this process has logged. The test program's main() turns standard error into a file for it; what
/// GLib and the sanitizers say goes to the real one.
namespace test_log {

/// Called by the test program's main().
void Start();

/// The lines of the log, without priority and tag, oldest first; those of the system buffer begin
/// with "(system)".
std::vector<std::string> Lines();

/// The daemon's own messages: what follows "FILE: FUNCTION(LINE) > " in the lines with its tag.
std::vector<std::string> Messages();

/// How many messages, the daemon's and the platform's, are exactly this.
std::size_t Count(std::string_view message);

bool Has(std::string_view message);

/// Forgets what was logged so far.
void Clear();

/// Writes the whole log to the real standard error.
void Dump();

}  // namespace test_log

#pragma once

#include <string>

/// Plays a scenario file against the running virtual TV, in real time, and says on standard output what
/// happens when. From here the settings can be checked and not what is on the screen or in the log: such
/// expectations are shown to whoever watches, and what only a test can do is left out, with a note.
/// @param speed  2 plays twice as fast; above 0
/// @return one of exit_codes
/// @throw NoTv
int PlayScenario(const std::string& file, double speed);

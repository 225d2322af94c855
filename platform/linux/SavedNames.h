#pragma once

#include <string>
#include <vector>

#include "HeardRadio.h"

/// @param heard  the radios in reach
/// @return the bytes of the names of saved networks that a scan asks for, because their beacons may hide
///         them: those that are saved as hidden; and while a radio without a name is in reach, all that
///         were not heard. The names that were used last come first.
[[nodiscard]] std::vector<std::string> SavedNamesToAskFor(const std::vector<HeardRadio>& heard);

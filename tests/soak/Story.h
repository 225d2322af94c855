#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "Diary.h"
#include "Scenario.h"

/// Events as scenarios and scenarios as events.
namespace soak {

/// @throws std::logic_error when the events are none of a scenario, which is a mistake of whoever wrote
/// them
scenario::Scenario ToScenario(const Events& events);
scenario::Scenario FurnishingScenario();

/// Writes a scenario file that begins with the furnishing.
/// @param remarks  lines of comment on top
void WriteScenario(std::ostream& out, const std::vector<std::string>& remarks, const Events& events);

/// Reads a scenario file: its initial steps and the others that do something.
/// @return false when it cannot be read; the errors are printed
bool ReadScenario(const std::string& path, scenario::Scenario& furnishing, Events& events);

}  // namespace soak

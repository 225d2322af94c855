#pragma once

#include <chrono>
#include <functional>
#include <vector>

#include "Scenario.h"

namespace soak {

/// Things that are done one after the other, each so long after the one before it.
struct Act {
  std::chrono::milliseconds wait;
  std::function<void()> what;
};
using Acts = std::vector<Act>;

/// How a day ends: the room becomes as it was at first, whatever is under way comes to its end, and the
/// daemon has to show that it still does its work. What is not as it must be ends the process (see
/// Watch).
/// @param furnishing  the initial steps; outlives the acts
Acts Evening(const scenario::Scenario& furnishing);

/// Does the step, if it is one that changes the room. @return whether it could be done
bool Do(const scenario::Step& step);

/// Notes what the TV is like when nothing was changed yet; before the first step.
void RememberTheNewTv();

}  // namespace soak

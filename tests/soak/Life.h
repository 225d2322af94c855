#pragma once

#include <vector>

#include "Inventory.h"
#include "Report.h"
#include "Scenario.h"

namespace soak {

/// What is to be lived through.
struct Plan {
  scenario::Scenario furnishing;  ///< initial steps
  std::vector<scenario::Scenario>
      chapters;  ///< each from its own time 0, and with an evening at its end
  bool has_morning =
      false;  ///< an evening before the first chapter, so that nothing is made for the first time
  bool is_growth_judged = true;  ///< more than after the first chapter is a failure
  /// Growth in each chapter is a failure of the heap, and not only much in all: for the same chapter
  /// several times over.
  bool is_each_chapter_alike = false;
  bool is_told = false;  ///< chapter by chapter, on standard output
};

/// Runs the daemon from its start to its stop sequence and plays the plan against it, on the virtual
/// clock, in this process: a new one, that has nothing else to do. A failure is in the report when the
/// process ends. @return the daemon's exit code
int Live(Plan plan, Report& report);

}  // namespace soak

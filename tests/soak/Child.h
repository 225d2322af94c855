#pragma once

#include <chrono>
#include <string>

#include "Life.h"
#include "Report.h"

namespace soak {

/// How a life went, seen from outside.
struct Outcome {
  std::string
      failure;  ///< what kind: "signal 11", "sanitizer", "hang", or what the life itself says; empty
  std::string details;
  Report report;
};

struct Limits {
  std::chrono::seconds silence{60};  ///< real time without a step, after which a life counts as hung
  bool is_quiet = false;             ///< what it writes is thrown away
};

/// Lives through the plan in a process of its own, and waits until it has ended.
Outcome LiveInChild(const Plan& plan, const Limits& limits);

}  // namespace soak

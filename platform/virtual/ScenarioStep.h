#pragma once

#include <functional>
#include <optional>
#include <string>

#include <json/value.h>

#include "Scenario.h"
#include "ScenarioKpi.h"

/// Playing those steps that need no more than the virtual TV, the settings store and the KPI journal,
/// for every player alike.
namespace scenario {

/// Carries a request to the TV and brings its answer.
using Ask = std::function<Json::Value(const Json::Value& request)>;

struct Outcome {
  enum class Kind {
    kDone,    ///< it was done, or what was expected is so
    kUnmet,   ///< it could not be done, or is not so
    kNotOurs  ///< left to the player
  };
  Kind kind;
  std::string why;  ///< in kUnmet
};

/// @param records  those of the whole evening
Outcome Play(const Step& step, const Ask& ask, KpiRecords& records);

/// A settings key's value as text: a string as it is, else as the store writes it; nullopt for none.
std::optional<std::string> ReadKey(const std::string& key);

}  // namespace scenario

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "AccessPoint.h"

/// The search for a radio to move to, for the library's own sources.
namespace Setwell {

/// Every radio that the last scans found, of the networks whose name is known.
std::vector<AccessPoint> FoundRadios();

struct SimilarAccessPoint {
  std::optional<AccessPoint> best;  ///< the strongest that may be joined
  bool is_any = false;              ///< there is one, be it that nobody may join it
};

/// Chooses the radio to which the TV had better move.
/// @param may_join_open  whether an open network that is not saved may be joined
SimilarAccessPoint ChooseSimilar(const AccessPoint& connected, const std::vector<AccessPoint>& found,
                                 bool may_join_open);

}  // namespace Setwell

#pragma once

#include <cstddef>

/// The connections that the program under the TV holds, and the profiles that do not end with one of
/// them: what a test looks at to see that none was forgotten. Main-loop thread only.
[[nodiscard]] std::size_t CountConnectionHandles();

#pragma once

#include <functional>

#include <NetworkManager.h>

/// NetworkManager's objects while the daemon starts, when NetworkService's client cannot be there yet:
/// waits for a client of its own, for two seconds at most where it is slow to tell them, and lets
/// nothing else of the main loop go on meanwhile.
/// @param look  takes the client, which ends with the call
/// @return false when NetworkManager was not there in that time
[[nodiscard]] bool LookEarly(const std::function<void(NMClient*)>& look);

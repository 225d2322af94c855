#pragma once

#include <optional>

#include "WayOut.h"

/// The way out over the Wi-Fi network that the machine is connected to, whether or not its traffic
/// leaves there. As NetworkManager says, where it manages Wi-Fi, else as the kernel does.
/// @return nullopt when it is connected to none
[[nodiscard]] std::optional<WayOut> FindWifiLink();

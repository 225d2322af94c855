#pragma once

#include "net_connection.h"

/// @return whether the handle exists (still)
[[nodiscard]] bool IsConnection(connection_h connection);

/// Ends the delivery of cable events, for the handles that are still there as well.
void StopConnections();

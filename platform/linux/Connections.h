#pragma once

#include "net_connection.h"

/// @return whether the handle exists (still)
[[nodiscard]] bool IsConnection(connection_h connection);

/// Ends the delivery of events, for the handles that are still there as well.
void StopConnections();

/// The handle hears nothing more of the way to the internet.
void ForgetMonitorUser(connection_h connection);

/// Nobody does.
void StopNetworkMonitor();

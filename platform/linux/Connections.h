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

/// The handle's walks and their profiles end, and its requests are answered to nobody.
void ForgetProfiles(connection_h connection);

/// Nobody is told any more whether the access point shows a page of its own.
void ForgetPortalQuestions();

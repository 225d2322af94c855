#pragma once

/// Ends the delivery of cable events, for the handles that are still there as well.
void StopConnections();

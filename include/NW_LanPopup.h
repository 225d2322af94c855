#pragma once

/// Popups for the network cable. Module state, main-loop thread only.

/// Starts listening for the cable, and opens the popup ignore window with it. Without a connection
/// interface neither happens, and there are no cable popups for the rest of the run.
/// @return 0
int registerEvent();

/// @return 0
int deregisterEvent();

#pragma once

/// The process: builds the main loop, starts every subsystem in a fixed order, runs the loop and, if
/// that ever returns, stops them in another fixed order.
/// @return 0, always
int PelorusMain();

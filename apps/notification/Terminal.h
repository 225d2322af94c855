#pragma once

#include "Messages.h"

/// Prepares the process for a terminal that may go away, be stopped or not be there: no such state ends
/// or stops the program, which would leave the daemon waiting for a popup that nobody sees.
void PrepareTerminal();

/// Writes the message to the terminal: standard error, or standard output when only that is one. Where
/// neither is, standard error gets it as one line. A terminal that takes nothing now (stopped output,
/// full pipe) misses the message; it is never waited for.
void ShowOnTerminal(const Text& text);

#pragma once

#include <atomic>

#include <sys/types.h>

/// Programs that the daemon starts and forgets, and what tells it that one has ended. Each launcher has
/// a SIGCHLD handler and a flag of its own. The handler is process-wide: the one that was installed last
/// hears of the end of every program, and clears the flag of its own launcher only. Children that were
/// started otherwise are left to whoever waits for them.

/// Starts a program, with an empty environment and with `handler` for SIGCHLD from then on. Main-loop
/// thread only.
/// @param arguments      argument 0 first, a null at the end
/// @param is_running     true once the program runs; false when it could not be started
/// @param pid            out: untouched on failure
/// @return 0, or the errno of what went wrong
int StartChildProgram(const char* path, char* const arguments[], void (*handler)(int),
                      std::atomic<bool>& is_running, pid_t& pid);

/// What each handler does: reaps one started program that has ended, if there is one, and clears the
/// flag. Keeps errno. May be called in a signal handler.
void ReapChildProgram(std::atomic<bool>& is_running);

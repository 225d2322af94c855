#pragma once

#include <string>

#include <sys/types.h>

#include "Report.h"

/// Looks at all that the daemon does while it lives, and ends the process when something must not be:
/// two notification programs at a time, a value that the daemon may not write, an exception that nobody
/// provoked, a line of the KPI journal that is none. The program's own __dlog_print() is here, so it
/// sees the starts and exceptions as they happen. Main-loop thread only, but for the log.
namespace watch {

/// From now on what is seen goes into this report, which outlives the process.
void Start(soak::Report& report);

/// Writes down the failure and ends the process at once.
[[noreturn]] void Fail(const std::string& kind, const std::string& details);

/// Looks at what the daemon called and wrote since the last time, and forgets it.
void LookAtCalls();

/// The same for the KPI journal. @return how many records came
std::size_t LookAtJournal();

/// @return 0 when no notification program is up
pid_t PopupUp();
/// What the last notification program was started with; empty when none was since the last question.
std::string TakeKeyword();
/// The viewer dismisses the popup that is up. @return false when none is
bool ClosePopup();

/// The last lines of the log.
void DumpLog();

}  // namespace watch

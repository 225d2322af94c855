#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

/// What the notification programs that were started say of themselves (see InstallPopupRecorder).
namespace popups {

struct Started {
  pid_t pid;
  int environment_variables;
  std::vector<std::string> arguments;  ///< argument 0 first
};

/// Every notification program started so far, in order.
std::vector<Started> All();

/// Every soft access point manager (see InstallSoftapManagerRecorder).
std::vector<Started> SoftapManagers();

/// Their arguments 0.
std::vector<std::string> Keywords();

/// Ends the popup that is up, and returns when the daemon has reaped it.
void Close(pid_t pid);

/// Runs the main loop, with the virtual clock standing still, until so many programs have started; a
/// test failure when they have not after 10 real seconds.
void WaitForStarted(std::size_t count);

}  // namespace popups

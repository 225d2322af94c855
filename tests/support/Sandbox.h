#pragma once

#include <string>

/// A place of its own for a test process: a private /run, writable layers over /usr, /opt, /home,
/// /var/lib and /etc, so that the TV's absolute paths exist and nothing on the machine is touched. Needs
/// root, or a user namespace in which the caller is root (./dev test makes one).
namespace sandbox {

/// Enters the sandbox for the rest of this process's life. Ends the process with a message when it
/// cannot.
void Enter();

/// Puts the program that stands in for the notification program at its place: it writes what it was
/// started with to kPopupRecord, and then stays until it is ended (see Popups.h).
void InstallPopupRecorder();

/// The same at the place of the soft access point manager, which writes to kSoftapManagerRecord.
void InstallSoftapManagerRecorder();

inline constexpr char kNotificationProgram[] = "/usr/apps/org.orvik.Pelorus/bin/pelorus_notification";
inline constexpr char kPopupRecord[] = "/run/popups";
inline constexpr char kSoftapManagerProgram[] = "/usr/apps/org.orvik.Pelorus/bin/softap-manager";
inline constexpr char kSoftapManagerRecord[] = "/run/softap-managers";

}  // namespace sandbox

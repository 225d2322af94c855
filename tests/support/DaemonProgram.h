#pragma once

#include <memory>

#include <signal.h>

#include "Popups.h"
#include "Program.h"

/// The daemon as it is shipped, as a child of the test.
namespace daemon_program {

inline constexpr char kLog[] = "/run/pelorus.log";

/// Returns when its start sequence is done.
std::unique_ptr<Program> Start(const char* path);

/// A fixture of a room, with the daemon as it is shipped in it.
template <class Room>
class In : public Room {
 protected:
  void TearDown() override {
    m_daemon.reset();
    for (const auto& popup : popups::All()) {
      kill(popup.pid, SIGKILL);
    }
  }
  void StartDaemon(const char* path) { m_daemon = Start(path); }

  std::unique_ptr<Program> m_daemon;
};

}  // namespace daemon_program

#pragma once

#include <filesystem>
#include <string>

#include <signal.h>
#include <sys/wait.h>

#include "MainLoop.h"
#include "PelorusctlFixture.h"
#include "Popups.h"

inline constexpr char kSocket[] = "/run/pelorus/tv.sock";

/// pelorusctl beside a virtual TV that was switched on as a program of its own.
class PelorusctlTv : public Pelorusctl {
 protected:
  ~PelorusctlTv() override {
    SwitchOff();
    for (const popups::Started& popup : popups::All()) {
      kill(popup.pid, SIGTERM);
    }
  }

  void SwitchOn() {
    const char* line[] = {PELORUS_VIRTUAL, nullptr};
    g_autoptr(GError) error = nullptr;
    ASSERT_TRUE(g_spawn_async(nullptr, const_cast<char**>(line), nullptr, G_SPAWN_DO_NOT_REAP_CHILD,
                              nullptr, nullptr, &m_tv, &error))
        << error->message;
    RunLoopUntil([] { return std::filesystem::is_socket(kSocket); });
  }

  void SwitchOff() {
    if (m_tv > 0) {
      kill(m_tv, SIGKILL);
      waitpid(m_tv, nullptr, 0);
      m_tv = 0;
    }
  }

  /// Writes the scenario and plays it so fast that a second of it takes a hundredth of one.
  static Result Play(const std::string& scenario) {
    WriteFile("/run/evening", scenario);
    return Ctl({"tv", "play", "/run/evening", "--speed", "100"});
  }

 private:
  GPid m_tv = 0;
};

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <sys/types.h>

/// One of the programs that are compared: it has a network namespace of its own, with one interface
/// named "cable0", so that all of them can be up at the same time and none hears of another's cable.
/// Made for the place that bench/sandbox prepares. Ends the benchmark with a message when anything
/// fails.
class Contender {
 public:
  /// @param command      program (found along PATH) and arguments
  /// @param environment  variables as NAME=VALUE, added to the benchmark's own
  Contender(std::string name, std::vector<std::string> command,
            std::vector<std::string> environment = {});
  ~Contender();
  Contender(const Contender&) = delete;
  Contender& operator=(const Contender&) = delete;

  [[nodiscard]] const std::string& Name() const { return m_name; }
  [[nodiscard]] pid_t Pid() const { return m_pid; }

  /// Starts the program; what it prints goes to /run/bench/NAME.log.
  /// @param more  variables for this start only
  /// @return CLOCK_MONOTONIC in nanoseconds right before its execve()
  std::int64_t Start(const std::vector<std::string>& more = {});

  /// Ends the program, which must be running.
  void Stop();

  /// Plugs the cable in or pulls it out: sets the other end of the veth pair up or down.
  /// @return CLOCK_MONOTONIC in nanoseconds right before the system call that does it
  std::int64_t SetCable(bool attached) const;

 private:
  std::string m_name;
  std::string m_wall;  ///< the cable's other end, in the benchmark's own namespace
  std::vector<std::string> m_command;
  std::vector<std::string> m_environment;
  int m_control = -1;
  pid_t m_pid = 0;
};

namespace bench {

std::int64_t NowNanoseconds();

[[noreturn]] void Die(const std::string& text);
void Require(bool done, const std::string& what);

/// Runs a command to its end; ends the benchmark when it fails.
void Run(const std::string& command);

/// @return whether a program of this name is found along PATH
bool IsInstalled(const std::string& program);

/// A system bus for this sandbox, which lets everybody do everything.
/// @param peers  the directory of the peers' configuration
void StartSystemBus(const std::string& peers);

/// Stands where the journal's socket is and reads what is sent there, in a thread, as the journal would.
void StartJournal();

}  // namespace bench

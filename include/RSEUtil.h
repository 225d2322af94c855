#pragma once

#include <array>
#include <memory>
#include <string>
#include <thread>

#include "vconf.h"

/// Runs shell commands for the service tool, while it has the TV in the regulation test mode of the EU:
/// each command that is written to a key, on a thread of its own, at most kMostCommands in the life of
/// the process. Whoever calls registerRSECall() opens this door to all who may write the key; the
/// daemon's start does not. Owned by GetRSEInstance(); main-loop thread only, but for the commands.
class RSEUtil {
 public:
  static const std::string m_RSEVconf;          ///< key of its commands
  static const std::string m_RSELaunchedVconf;  ///< key of the test mode

  static constexpr int kMostCommands = 100;

  /// Destroyed as the process ends, when commands may run on: nobody waits for them.
  static RSEUtil& GetRSEInstance();
  RSEUtil(const RSEUtil&) = delete;
  RSEUtil& operator=(const RSEUtil&) = delete;

  /// Begins to listen for the test mode, and, once it is on, for commands. The mode's end does not stop
  /// the commands.
  void registerRSECall();

  /// Stores that the test mode is off, and runs no more commands. The test mode is listened for all the
  /// same: the call that looks as if it ended that names the other key.
  void unregisterRSECall();

 private:
  RSEUtil() = default;
  ~RSEUtil();

  static void VconfNotifyRSELaunched(keynode_t* node, void* self);
  static void VconfNotifyRSEUtil(keynode_t* node, void* self);

  void StartCommand(const std::string& command);
  /// The body of a command's thread.
  static void RunCommand(std::string command);

  std::array<std::shared_ptr<std::thread>, kMostCommands> m_threads;
  int m_thread_count = 0;  ///< of all that were ever started
  bool m_hears_commands = false;
};

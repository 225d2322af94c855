#pragma once

#include <cstdint>
#include <string>

#include <glib.h>

/// Lines that come for as long as somebody looks: a main loop that runs until SIGINT or SIGTERM, until
/// so many lines are printed or until nobody reads them any more. Each line is out at once, also into a
/// pipe. One at a time, on the stack of the command that prints.
class LiveOutput {
 public:
  /// @param count  lines after which to end; 0 to go on until interrupted
  explicit LiveOutput(std::uint64_t count);
  ~LiveOutput();
  LiveOutput(const LiveOutput&) = delete;
  LiveOutput& operator=(const LiveOutput&) = delete;

  /// Prints a line; nothing any more when the end has come.
  void Print(const std::string& line);

  /// Returns when the end has come.
  void Run();

 private:
  void End();
  static gboolean OnInterrupted(gpointer self);

  GMainLoop* m_loop = g_main_loop_new(nullptr, FALSE);
  guint m_signals[2];
  std::uint64_t m_count;
  std::uint64_t m_printed = 0;
  bool m_ended = false;
};

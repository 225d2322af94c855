#pragma once

#include <string>
#include <vector>

#include <gio/gio.h>

#include "MainLoop.h"
#include "PelorusctlFixture.h"

/// The program pelorusctl running on, its lines gathered while the main loop runs.
class LiveProgram {
 public:
  /// @param more  G_SUBPROCESS_FLAGS_STDERR_MERGE gathers also what it complains of
  explicit LiveProgram(const Arguments& arguments, GSubprocessFlags more = G_SUBPROCESS_FLAGS_NONE) {
    auto line = CommandLine(arguments);
    g_autoptr(GError) error = nullptr;
    m_process = g_subprocess_newv(
        line.data(), static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_PIPE | more), &error);
    EXPECT_NE(m_process, nullptr) << error->message;
    m_lines = g_data_input_stream_new(g_subprocess_get_stdout_pipe(m_process));
    ReadOn();
    g_subprocess_wait_async(
        m_process, nullptr,
        [](GObject* process, GAsyncResult* result, gpointer self) {
          g_subprocess_wait_finish(G_SUBPROCESS(process), result, nullptr);
          static_cast<LiveProgram*>(self)->m_ended = true;
        },
        this);
  }
  ~LiveProgram() {
    if (!m_ended) {
      g_subprocess_force_exit(m_process);
    }
    RunLoopUntil([this] { return m_ended && m_no_more_lines; });
    g_object_unref(m_lines);
    g_object_unref(m_process);
  }
  LiveProgram(const LiveProgram&) = delete;
  LiveProgram& operator=(const LiveProgram&) = delete;

  std::vector<std::string> WaitForLines(std::size_t count) {
    RunLoopUntil([&] { return m_read.size() >= count; });
    return m_read;
  }

  int WaitForExit() {
    RunLoopUntil([this] { return m_ended && m_no_more_lines; });
    return g_subprocess_get_if_exited(m_process) ? g_subprocess_get_exit_status(m_process) : -1;
  }

  void Signal(int number) { g_subprocess_send_signal(m_process, number); }

  [[nodiscard]] const std::vector<std::string>& lines() const { return m_read; }

  /// Null when it has ended.
  [[nodiscard]] const char* Identifier() const { return g_subprocess_get_identifier(m_process); }

 private:
  void ReadOn() {
    g_data_input_stream_read_line_async(
        m_lines, G_PRIORITY_DEFAULT, nullptr,
        [](GObject* stream, GAsyncResult* result, gpointer self) {
          auto* program = static_cast<LiveProgram*>(self);
          g_autofree char* line = g_data_input_stream_read_line_finish(G_DATA_INPUT_STREAM(stream),
                                                                       result, nullptr, nullptr);
          if (line == nullptr) {
            program->m_no_more_lines = true;
            return;
          }
          program->m_read.emplace_back(line);
          program->ReadOn();
        },
        this);
  }

  GSubprocess* m_process = nullptr;
  GDataInputStream* m_lines = nullptr;
  std::vector<std::string> m_read;
  bool m_ended = false;
  bool m_no_more_lines = false;
};

#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

/// A program that a test runs beside itself: its child, ended with the object.
class Program {
 public:
  /// Starts it with this process's environment; what it prints to standard error goes to a file.
  /// @param arguments  argument 0 is the path
  Program(std::vector<std::string> arguments, std::string log_file);
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  /// Sends a signal, and waits until the program has ended.
  void End(int signal);

  /// Writes a line to its standard input and waits for the line that it answers.
  std::string Ask(const std::string& line);

  /// Waits for a line on its standard output.
  std::string ReadLine();

  [[nodiscard]] bool IsRunning();
  [[nodiscard]] pid_t Pid() const { return m_pid; }
  /// What it has written to standard error so far.
  [[nodiscard]] std::string Log() const;

 private:
  std::string m_log_file;
  pid_t m_pid = -1;
  int m_input = -1;
  int m_output = -1;
};

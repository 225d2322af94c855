#pragma once

#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/types.h>

#include "Sandbox.h"

/// For the tests of the notification program, which run it as the daemon does: by its fixed path, with
/// the keyword as argument 0 and nothing in its environment.

using Strings = std::vector<std::string>;

/// Argument 0 with which it takes the keyword from its arguments.
inline constexpr char kByHand[] = "pelorus_notification";

/// A program that was started, with a pipe on its standard output and error. Ended with the object.
class Program {
 public:
  /// @param arguments  argument 0 first
  explicit Program(Strings arguments, Strings environment = {},
                   const char* path = sandbox::kNotificationProgram);

  /// With this for standard output and error; -1 closes them.
  Program(Strings arguments, int output);

  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  pid_t Pid() const { return m_pid; }

  /// What it has written so far.
  const std::string& Output();
  bool Shows(const std::string& text);
  std::size_t Count(const std::string& text);

  void WaitFor(const std::string& text);

  /// @return its exit code, 128 and the signal that ended it, or -1 when it has not ended in time
  int WaitForEnd();

  /// Of a program that has ended.
  double SecondsLived() const { return std::chrono::duration<double>(m_lived).count(); }

 private:
  void Start(Strings arguments, Strings environment, const char* path, int output);

  pid_t m_pid = -1;
  int m_output = -1;
  std::string m_text;
  std::chrono::steady_clock::time_point m_started;
  std::chrono::steady_clock::duration m_lived{};
};

void WriteFile(const std::string& path, const std::string& content);

/// Writes a keyword where the daemon forwards those that come while a popup is up.
void Forward(const char* keyword);

/// The program at its place on the TV, in English.
class Notification : public testing::Test {
 protected:
  void SetUp() override;
};

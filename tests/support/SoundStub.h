#pragma once

#include <optional>
#include <string>

#include "Program.h"

/// A stand-in for a sound server.
class SoundStub {
 public:
  /// Returns when it listens there, with a default sink of the machine's own.
  void Start(const std::string& socket);
  /// As a crash does: the socket's file stays behind.
  void Kill();

  /// @param sink  "local", "network" or "none"
  void SetDefault(const std::string& sink) { m_server->Ask("default " + sink); }
  /// Tells of a sink's new volume.
  void TurnUp() { m_server->Ask("volume"); }
  /// @param how  "normally", "late", "error", "nonsense" or "death"
  void Answer(const std::string& how) { m_server->Ask("answers " + how); }
  /// How often it was asked for its default sink.
  [[nodiscard]] int Questions() { return std::stoi(m_server->Ask("questions")); }

 private:
  std::optional<Program> m_server;
};

#pragma once

#include <stdexcept>
#include <string>

#include <json/value.h>

/// No TV answers: there is none, or it went away, or it hangs.
class NoTv : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The near end of a virtual TV's control socket. Blocks for the TV's answer, for a few seconds at most.
class TvClient {
 public:
  /// Connects to the TV that the environment names.
  /// @throw NoTv
  TvClient();
  ~TvClient();
  TvClient(const TvClient&) = delete;
  TvClient& operator=(const TvClient&) = delete;

  /// @return the TV's answer, a refusal included
  /// @throw NoTv
  Json::Value Ask(const Json::Value& request);

 private:
  void Send(const std::string& text) const;
  std::string ReceiveLine() const;

  std::string m_path;
  int m_fd;
};

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "FileDescriptor.h"
#include "MainLoopSource.h"

/// Asks the router of a link whether it is there, as a neighbour does: with a request of this process's
/// own (ARP, or neighbour solicitation), because the kernel goes on trusting a router that has died for
/// more than ten seconds. Needs CAP_NET_RAW. Lives on the main loop; ending it ends the question.
class GatewayProbe {
 public:
  enum class Result {
    kAnswers,
    kSilent,
    kUnknown,  ///< this link, or this process, is of a kind that cannot ask
  };
  using Handler = std::function<void(Result result)>;

  /// @param gateway  as text; of either family
  /// @param done     called once, later; it may end the probe
  GatewayProbe(std::string gateway, int link, Handler done);

 private:
  [[nodiscard]] bool Open();
  void Ask();
  [[nodiscard]] bool Send() const;
  void OnReadable();
  void Finish(Result result);

  const std::string m_gateway;
  const int m_link;
  const bool m_is_ipv4;
  Handler m_done;
  int m_asked = 0;
  std::unique_ptr<FileDescriptor> m_socket;
  MainLoopSource m_readable;
  MainLoopSource m_limit;
};

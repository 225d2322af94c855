#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "DnsMessage.h"
#include "LinkSocket.h"
#include "MainLoopSource.h"

/// One question to the name servers of the machine, over one link: each in its turn, and then each once
/// more. Lives on the main loop; ending it ends the question.
class DnsProbe {
 public:
  struct Result {
    dns_message::Outcome outcome = dns_message::Outcome::kFailure;
    bool is_silent = false;  ///< nobody answered at all
    std::vector<std::string> addresses;
  };
  using Handler = std::function<void(const Result& result)>;

  /// @param done  called once, later; it may end the probe
  DnsProbe(const std::string& host, dns_message::Type type, int link, Handler done);

 private:
  void Ask();
  void OnReadable();
  void Next();
  void Finish(Result result);

  const std::string m_host;
  const dns_message::Type m_type;
  const int m_link;
  Handler m_done;
  std::vector<Endpoint> m_tries;  // what is left of them, the next one at the end
  bool m_is_answered = false;     // by somebody who knew nothing
  std::uint16_t m_id = 0;
  std::unique_ptr<FileDescriptor> m_socket;
  MainLoopSource m_readable;
  MainLoopSource m_limit;
};

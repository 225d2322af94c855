#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "HttpAnswer.h"
#include "LinkSocket.h"
#include "MainLoopSource.h"

/// One request to a web server, over one link: without a proxy, and not following where it is led. Lives
/// on the main loop; ending it ends the request.
class HttpProbe {
 public:
  struct Request {
    std::vector<std::string> addresses;  ///< of the server, tried one after the other
    std::string host;
    int port = 80;
    std::string target;    ///< the path and what follows it
    std::string expected;  ///< see Judge()
  };
  struct Result {
    HttpVerdict verdict = HttpVerdict::kFails;
    std::string page;  ///< of a portal, where it says which
  };
  using Handler = std::function<void(const Result& result)>;

  /// @param done  called once, later; it may end the probe
  HttpProbe(Request request, int link, Handler done);

 private:
  void Connect();
  void OnConnected();
  void OnReadable();
  void Finish(const Result& result);

  Request m_request;
  const int m_link;
  Handler m_done;
  std::size_t m_next = 0;  // of the addresses
  std::string m_answer;
  std::unique_ptr<FileDescriptor> m_socket;
  MainLoopSource m_ready;
  MainLoopSource m_limit;
};

#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "InternetVerdict.h"
#include "ProbeConfig.h"
#include "WayOut.h"

class DnsProbe;
class GatewayProbe;
class HttpProbe;

/// One look along a way, step by step, to the first that does not work. A step that cannot be asked here
/// is passed over: a route that names no router, a server that is named by its address. Lives on the
/// main loop, which never waits; ending it ends the look.
class InternetProbe {
 public:
  struct Result {
    WayFinding finding;
    bool is_portal = false;
    std::string page;  ///< of the portal, where it says which
  };
  using Handler = std::function<void(const Result& result)>;

  /// @param way   over a link
  /// @param done  called once, later; it may end the probe
  InternetProbe(WayOut way, ProbeConfig config, Handler done);
  ~InternetProbe();
  InternetProbe(const InternetProbe&) = delete;
  InternetProbe& operator=(const InternetProbe&) = delete;

 private:
  void AskGateway();
  void AskNameService();
  void AskServer(std::vector<std::string> addresses);
  void Finish(Result result);

  const WayOut m_way;
  const ProbeConfig m_config;
  Handler m_done;
  bool m_is_gateway_unknown = false;
  std::unique_ptr<GatewayProbe> m_gateway;
  std::unique_ptr<DnsProbe> m_dns;
  std::unique_ptr<HttpProbe> m_http;
};

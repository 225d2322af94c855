#include "InternetProbe.h"

#include <utility>

#include "DnsProbe.h"
#include "GatewayProbe.h"
#include "HttpProbe.h"
#include "KernelTables.h"

namespace {

InternetProbe::Result Failed(WayStep step, bool is_certain) {
  return {.finding = {step, is_certain}, .page = ""};
}

}  // namespace

InternetProbe::InternetProbe(WayOut way, ProbeConfig config, Handler done)
    : m_way(std::move(way)), m_config(std::move(config)), m_done(std::move(done)) {
  if (m_way.gateway.empty()) {
    AskNameService();
  } else {
    AskGateway();
  }
}

InternetProbe::~InternetProbe() = default;

void InternetProbe::AskGateway() {
  m_gateway =
      std::make_unique<GatewayProbe>(m_way.gateway, m_way.link, [this](GatewayProbe::Result result) {
        if (result == GatewayProbe::Result::kSilent) {
          Finish(Failed(WayStep::kGateway, false));
        } else {
          m_is_gateway_unknown = result == GatewayProbe::Result::kUnknown;
          AskNameService();
        }
      });
}

void InternetProbe::AskNameService() {
  if (EndpointOf(m_config.host, m_config.port, m_way.link).length != 0) {
    AskServer({m_config.host});
    return;
  }
  const auto type = m_way.is_ipv6 ? dns_message::Type::kIpv6 : dns_message::Type::kIpv4;
  m_dns = std::make_unique<DnsProbe>(
      m_config.host, type, m_way.link, [this](const DnsProbe::Result& result) {
        if (result.outcome == dns_message::Outcome::kAddresses) {
          AskServer(result.addresses);
        } else {
          const bool is_said = result.outcome == dns_message::Outcome::kNoSuchName;
          Finish(Failed(WayStep::kDns, is_said));
        }
      });
}

void InternetProbe::AskServer(std::vector<std::string> addresses) {
  HttpProbe::Request request{.addresses = std::move(addresses),
                             .host = m_config.host,
                             .port = m_config.port,
                             .target = m_config.target,
                             .expected = m_config.answer};
  m_http = std::make_unique<HttpProbe>(
      std::move(request), m_way.link, [this](const HttpProbe::Result& result) {
        if (result.verdict == HttpVerdict::kWorks) {
          Finish({});
        } else if (result.verdict == HttpVerdict::kPortal) {
          Finish({.finding = {WayStep::kHttp, true}, .is_portal = true, .page = result.page});
        } else {
          Finish(Failed(WayStep::kHttp, false));
        }
      });
}

/// Where the router could not be asked, a silence behind it may be its own: by now the kernel has asked.
void InternetProbe::Finish(Result result) {
  if (m_is_gateway_unknown && result.finding.failed && !result.finding.is_certain &&
      kernel_tables::IsNeighbourSilent(m_way.link, m_way.gateway)) {
    result.finding.failed = WayStep::kGateway;
  }
  const Handler done = std::move(m_done);
  done(result);
}

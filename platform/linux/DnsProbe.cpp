#include "DnsProbe.h"

#include <algorithm>
#include <span>
#include <utility>

#include <glib.h>
#include <netinet/in.h>
#include <resolv.h>

using namespace std::chrono_literals;

namespace {

constexpr auto kTryLimit = 1000ms;
constexpr int kRounds = 2;
constexpr std::size_t kMostServers = 3;

/// Those that programs of this machine ask.
std::vector<Endpoint> NameServers() {
  std::vector<Endpoint> servers;
  struct __res_state state {};
  if (res_ninit(&state) != 0) {
    return servers;
  }
  for (int i = 0; i < state.nscount && i < MAXNS; ++i) {
    Endpoint server;
    if (const sockaddr_in6* ipv6 = state._u._ext.nsaddrs[i]; ipv6 != nullptr) {
      *reinterpret_cast<sockaddr_in6*>(&server.address) = *ipv6;
      server.length = sizeof(sockaddr_in6);
    } else {
      *reinterpret_cast<sockaddr_in*>(&server.address) = state.nsaddr_list[i];
      server.length = sizeof(sockaddr_in);
    }
    servers.push_back(server);
  }
  res_nclose(&state);
  return servers;
}

}  // namespace

DnsProbe::DnsProbe(const std::string& host, dns_message::Type type, int link, Handler done)
    : m_host(host), m_type(type), m_link(link), m_done(std::move(done)) {
  std::vector<Endpoint> servers = NameServers();
  servers.resize(std::min(servers.size(), kMostServers));
  std::ranges::reverse(servers);
  for (int round = 0; round < kRounds; ++round) {
    m_tries.insert(m_tries.end(), servers.begin(), servers.end());
  }
  m_limit.After(0ms, [this] { Ask(); });
}

void DnsProbe::Ask() {
  m_readable.Reset();
  if (m_tries.empty()) {
    Finish({.is_silent = !m_is_answered, .addresses = {}});
    return;
  }
  const Endpoint server = m_tries.back();
  m_tries.pop_back();
  m_id = static_cast<std::uint16_t>(g_random_int());
  const auto question = dns_message::Question(m_host, m_type, m_id);
  m_socket = OpenOnLink(server, SOCK_DGRAM, m_link);
  if (question.empty() || connect(m_socket->get(), server.Get(), server.length) != 0 ||
      send(m_socket->get(), question.data(), question.size(), MSG_NOSIGNAL) < 0) {
    Next();
    return;
  }
  m_readable.Watch(m_socket->get(), G_IO_IN, [this] { OnReadable(); });
  m_limit.After(kTryLimit, [this] { Ask(); });
}

/// A server that cannot be reached says nothing; it is not asked again at once, so that a link without
/// routes does not spend all tries in one instant.
void DnsProbe::Next() {
  m_limit.After(kTryLimit / 4, [this] { Ask(); });
}

void DnsProbe::OnReadable() {
  std::uint8_t bytes[4096];
  const ssize_t length = recv(m_socket->get(), bytes, sizeof bytes, 0);
  if (length < 0) {
    m_readable.Reset();  // its machine says that no name service is there
    Next();
    return;
  }
  const auto answer = dns_message::Parse(std::span(bytes, static_cast<std::size_t>(length)), m_id);
  if (!answer) {
    return;  // not for this question; the right one may still come
  }
  if (answer->outcome == dns_message::Outcome::kFailure) {
    m_is_answered = true;
    m_readable.Reset();
    Next();
    return;
  }
  Finish({.outcome = answer->outcome, .addresses = answer->addresses});
}

void DnsProbe::Finish(Result result) {
  m_readable.Reset();
  m_limit.Reset();
  const Handler done = std::move(m_done);
  done(result);
}

#include "HttpProbe.h"

#include <cerrno>
#include <utility>

#include <sys/socket.h>

using namespace std::chrono_literals;

namespace {

constexpr auto kLimit = 5000ms;
/// A page is judged by its beginning.
constexpr std::size_t kMostBytes = 16 * 1024;

bool IsBare(const std::string& host) {
  return host.find(':') == std::string::npos;
}

std::string HostField(const HttpProbe::Request& request) {
  const std::string host = IsBare(request.host) ? request.host : "[" + request.host + "]";
  return request.port == 80 ? host : host + ":" + std::to_string(request.port);
}

/// Of the older version of the protocol, so that the answer comes in one piece.
std::string TextOf(const HttpProbe::Request& request) {
  return "GET " + request.target + " HTTP/1.0\r\nHost: " + HostField(request) +
         "\r\nUser-Agent: pelorus\r\nAccept: */*\r\nCache-Control: no-cache\r\nConnection: "
         "close\r\n\r\n";
}

}  // namespace

HttpProbe::HttpProbe(Request request, int link, Handler done)
    : m_request(std::move(request)), m_link(link), m_done(std::move(done)) {
  m_ready.After(0ms, [this] { Connect(); });
  m_limit.After(kLimit, [this] { Finish({}); });
}

void HttpProbe::Connect() {
  m_ready.Reset();  // before the socket that it watches is closed
  while (m_next < m_request.addresses.size()) {
    const Endpoint server = EndpointOf(m_request.addresses[m_next++], m_request.port, m_link);
    if (server.length == 0) {
      continue;
    }
    m_socket = OpenOnLink(server, SOCK_STREAM, m_link);
    if (m_socket->ok() &&
        (connect(m_socket->get(), server.Get(), server.length) == 0 || errno == EINPROGRESS)) {
      m_ready.Watch(m_socket->get(), G_IO_OUT, [this] { OnConnected(); });
      return;
    }
  }
  Finish({});
}

void HttpProbe::OnConnected() {
  const std::string text = TextOf(m_request);
  // A new connection's buffer takes all of so short a text.
  if (send(m_socket->get(), text.data(), text.size(), MSG_NOSIGNAL) !=
      static_cast<ssize_t>(text.size())) {
    Connect();
    return;
  }
  m_ready.Watch(m_socket->get(), G_IO_IN, [this] { OnReadable(); });
}

void HttpProbe::OnReadable() {
  char bytes[4096];
  const ssize_t length = recv(m_socket->get(), bytes, sizeof bytes, 0);
  if (length < 0 && (errno == EAGAIN || errno == EINTR)) {
    return;
  }
  if (length > 0) {
    m_answer.append(bytes, static_cast<std::size_t>(length));
  }
  const bool is_whole = length <= 0 || m_answer.size() >= kMostBytes;
  const auto answer = ParseHttpAnswer(m_answer);
  const HttpVerdict verdict = answer ? Judge(*answer, m_request.expected, is_whole)
                              : is_whole || IsHopeless(m_answer) ? HttpVerdict::kFails
                                                                 : HttpVerdict::kNeedsMore;
  if (verdict == HttpVerdict::kNeedsMore) {
    return;
  }
  Result result{verdict, ""};
  if (verdict == HttpVerdict::kPortal) {
    result.page = PortalPage(*answer, "http://" + HostField(m_request) + m_request.target);
  }
  Finish(result);
}

void HttpProbe::Finish(const Result& result) {
  m_ready.Reset();
  m_limit.Reset();
  const Handler done = std::move(m_done);
  done(result);
}

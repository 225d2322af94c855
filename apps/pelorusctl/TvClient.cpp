#include "TvClient.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <string_view>

#include <json/reader.h>
#include <json/writer.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include "ControlSocket.h"

namespace {

constexpr timeval kPatience{10, 0};

}  // namespace

TvClient::TvClient() : m_path(ControlSocket::ConfiguredPath()), m_fd(-1) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (m_path.size() >= sizeof address.sun_path) {
    throw NoTv(m_path + " is too long for a socket's path");
  }
  m_path.copy(address.sun_path, sizeof address.sun_path - 1);
  m_fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (m_fd < 0 || setsockopt(m_fd, SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience) != 0 ||
      setsockopt(m_fd, SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof kPatience) != 0 ||
      connect(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    const int error = errno;
    if (m_fd >= 0) {
      close(m_fd);
    }
    throw NoTv("no TV answers at " + m_path + ": " + std::strerror(error) +
               " (is pelorus-virtual running?)");
  }
}

TvClient::~TvClient() {
  close(m_fd);
}

void TvClient::Send(const std::string& text) const {
  for (std::string_view rest = text; !rest.empty();) {
    const ssize_t length = send(m_fd, rest.data(), rest.size(), MSG_NOSIGNAL);
    if (length < 0 && errno == EINTR) {
      continue;
    }
    if (length < 0) {
      throw NoTv("the TV at " + m_path + " has gone away: " + std::strerror(errno));
    }
    rest.remove_prefix(static_cast<std::size_t>(length));
  }
}

std::string TvClient::ReceiveLine() const {
  std::string line;
  char chunk[16 * 1024];
  while (line.empty() || line.back() != '\n') {
    const ssize_t length = recv(m_fd, chunk, sizeof chunk, 0);
    if (length < 0 && errno == EINTR) {
      continue;
    }
    if (length <= 0) {
      const bool is_silent = length < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
      throw NoTv("the TV at " + m_path + (is_silent ? " does not answer" : " has gone away"));
    }
    line.append(chunk, static_cast<std::size_t>(length));
  }
  return line;
}

// One request is under way at a time, so what comes is one line.
Json::Value TvClient::Ask(const Json::Value& request) {
  Json::StreamWriterBuilder writing;
  writing["indentation"] = "";
  Send(Json::writeString(writing, request) + "\n");
  const std::string line = ReceiveLine();
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  Json::Value answer;
  std::string error;
  if (!reader->parse(line.data(), line.data() + line.size(), &answer, &error) || !answer.isObject()) {
    throw NoTv("what answers at " + m_path + " is no TV");
  }
  return answer;
}

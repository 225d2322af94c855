// A router with the internet behind it, in a network namespace of its own: a name service and a web
// server that answer as they are told on standard input, one command a line.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Network.h"

namespace {

constexpr char kInterface[] = "router";
constexpr char kAnswer[] = "all is well";

std::mutex g_mutex;
std::string g_dns = "fine";
std::string g_http = "fine";
int g_dns_count = 0;
int g_http_count = 0;
std::string g_request;
in_addr g_ipv4{};
in6_addr g_ipv6{};

void Require(bool done, const char* what) {
  if (!done) {
    std::perror(what);
    std::exit(1);
  }
}

/// A socket for both protocols, on every address of the machine.
int Serve(int type, std::uint16_t port) {
  const int fd = socket(AF_INET6, type, 0);
  const int both = 0;
  const int again = 1;
  setsockopt(fd, IPPROTO_IPV6, IPV6_V6ONLY, &both, sizeof both);
  setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &again, sizeof again);
  sockaddr_in6 any{};
  any.sin6_family = AF_INET6;
  any.sin6_port = htons(port);
  Require(bind(fd, reinterpret_cast<const sockaddr*>(&any), sizeof any) == 0, "bind");
  return fd;
}

/// Behind the name of the question are two bytes of type and two of class.
std::size_t EndOfName(const std::vector<std::uint8_t>& question) {
  std::size_t at = 12;
  while (at < question.size() && question[at] != 0) {
    at += question[at] + 1U;
  }
  return at + 1;
}

/// @return empty to stay silent
std::vector<std::uint8_t> AnswerTo(std::vector<std::uint8_t> question) {
  const std::lock_guard lock(g_mutex);
  ++g_dns_count;
  const std::size_t name_end = EndOfName(question);
  if (g_dns == "silent" || question.size() < name_end + 4) {
    return {};
  }
  const bool is_ipv6 = question[name_end + 1] == 28;
  question.resize(name_end + 4);
  std::memset(question.data() + 6, 0, 6);
  question[2] = 0x81;
  question[3] = static_cast<std::uint8_t>(0x80 | (g_dns == "nxdomain"   ? 3
                                                  : g_dns == "servfail" ? 2
                                                                        : 0));
  if (g_dns == "fine") {
    question[7] = 1;
    const std::uint8_t record[] = {0xc0, 12, 0, question[name_end + 1], 0, 1, 0, 0, 0, 1, 0};
    question.insert(question.end(), record, record + sizeof record);
    const auto* address = is_ipv6 ? reinterpret_cast<const std::uint8_t*>(&g_ipv6)
                                  : reinterpret_cast<const std::uint8_t*>(&g_ipv4);
    const std::size_t length = is_ipv6 ? sizeof g_ipv6 : sizeof g_ipv4;
    question.push_back(static_cast<std::uint8_t>(length));
    question.insert(question.end(), address, address + length);
  }
  return question;
}

void ServeNames() {
  const int fd = Serve(SOCK_DGRAM, 53);
  for (;;) {
    std::vector<std::uint8_t> bytes(1500);
    sockaddr_in6 asker{};
    socklen_t length = sizeof asker;
    const ssize_t count =
        recvfrom(fd, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&asker), &length);
    if (count < 12) {
      continue;
    }
    bytes.resize(static_cast<std::size_t>(count));
    const auto answer = AnswerTo(bytes);
    if (!answer.empty()) {
      sendto(fd, answer.data(), answer.size(), 0, reinterpret_cast<const sockaddr*>(&asker), length);
    }
  }
}

std::string PageOf(const std::string& how) {
  if (how == "fine") {
    return std::string("HTTP/1.0 200 OK\r\n\r\n") + kAnswer;
  }
  if (how == "204") {
    return "HTTP/1.1 204 No Content\r\n\r\n";
  }
  if (how.starts_with("302 ")) {
    return "HTTP/1.1 302 Found\r\nLocation: " + how.substr(4) + "\r\nContent-Length: 0\r\n\r\n";
  }
  if (how == "511") {
    return "HTTP/1.1 511 Network Authentication Required\r\n\r\n<a>log in</a>";
  }
  if (how == "500") {
    return "HTTP/1.1 500 Internal Server Error\r\n\r\n";
  }
  return "HTTP/1.1 200 OK\r\n\r\n<html>Welcome to the hotel</html>";
}

void ServePages() {
  const int fd = Serve(SOCK_STREAM, 80);
  Require(listen(fd, 16) == 0, "listen");
  for (;;) {
    const int visitor = accept(fd, nullptr, nullptr);
    std::string request;
    char bytes[2048];
    for (ssize_t count = 1; count > 0 && request.find("\r\n\r\n") == std::string::npos;) {
      count = recv(visitor, bytes, sizeof bytes, 0);
      request.append(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    std::string how;
    {
      const std::lock_guard lock(g_mutex);
      ++g_http_count;
      g_request = request;
      how = g_http;
    }
    if (how == "hang") {
      continue;  // stays open, and nothing is said
    }
    const std::string page = how == "close" ? "" : PageOf(how);
    send(visitor, page.data(), page.size(), MSG_NOSIGNAL);
    close(visitor);
  }
}

void Begin(const std::string& addresses) {
  const auto space = addresses.find(' ');
  const std::string ipv4 = addresses.substr(0, space);
  const std::string ipv6 = addresses.substr(space + 1);
  inet_pton(AF_INET, ipv4.c_str(), &g_ipv4);
  inet_pton(AF_INET6, ipv6.c_str(), &g_ipv6);
  network::SetUp("lo", true);
  network::SetUp(kInterface, true);
  network::AddAddress(kInterface, ipv4 + "/24");
  network::AddAddress(kInterface, ipv6 + "/64");
  std::thread(ServeNames).detach();
  std::thread(ServePages).detach();
}

std::string Obey(const std::string& line) {
  const std::string verb = line.substr(0, line.find(' '));
  const std::string rest = line.size() > verb.size() ? line.substr(verb.size() + 1) : "";
  const std::lock_guard lock(g_mutex);
  if (verb == "serve") {
    Begin(rest);
  } else if (verb == "dns") {
    g_dns = rest;
  } else if (verb == "http") {
    g_http = rest;
  } else if (verb == "router") {
    network::SetArp(kInterface, rest == "alive");
  } else if (verb == "counts") {
    return std::to_string(g_dns_count) + " " + std::to_string(g_http_count);
  } else if (verb == "request") {
    std::string text;
    for (const char c : g_request) {
      text += c == '\n' ? "|" : c == '\r' ? "" : std::string(1, c);
    }
    return text;
  } else {
    return "what is " + verb + "?";
  }
  return "ok";
}

}  // namespace

int main() {
  Require(unshare(CLONE_NEWNET) == 0, "a network of its own");
  std::cout << "ready" << std::endl;
  for (std::string line; std::getline(std::cin, line);) {
    std::cout << Obey(line) << std::endl;
  }
  std::_Exit(0);  // the servers' threads do not end
}

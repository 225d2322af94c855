#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include <arpa/inet.h>
#include <glib.h>

#include "DnsMessage.h"
#include "HttpAnswer.h"
#include "NeighbourMessage.h"

// What whoever is on the way to the internet answers the probe: a byte that tells who, and the answer.

namespace {

using Bytes = std::span<const std::uint8_t>;

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

void ReadNameService(Bytes bytes) {
  constexpr std::uint16_t kId = 0x3131;
  const auto answer = dns_message::Parse(bytes, kId);
  if (!answer) {
    return;
  }
  Require(answer->addresses.empty() == (answer->outcome != dns_message::Outcome::kAddresses));
  for (const std::string& address : answer->addresses) {
    std::uint8_t parsed[sizeof(in6_addr)];
    Require(inet_pton(address.find(':') == std::string::npos ? AF_INET : AF_INET6, address.c_str(),
                      parsed) == 1);
  }
  Require(!dns_message::Parse(bytes, kId + 1));
}

void ReadWebServer(std::string_view bytes) {
  const auto answer = ParseHttpAnswer(bytes);
  if (!answer) {
    return;
  }
  Require(!IsHopeless(bytes));
  Require(answer->status >= 100 && answer->status <= 999);
  Require(bytes.ends_with(answer->body));
  // A whole answer is judged, whatever it is, and what was judged before the end is not taken back.
  for (const std::string_view expected : {"", "success"}) {
    const HttpVerdict whole = Judge(*answer, expected, true);
    const HttpVerdict early = Judge(*answer, expected, false);
    Require(whole != HttpVerdict::kNeedsMore);
    Require(early == HttpVerdict::kNeedsMore || early == whole);
  }
  const std::string page = PortalPage(*answer, "http://192.0.2.1/generate_204");
  Require(page.empty() || g_ascii_strncasecmp(page.c_str(), "http", 4) == 0);
  Require(std::ranges::all_of(page, [](char c) { return c > ' ' && c < 0x7f; }));
  // No head becomes another one by what comes after it.
  const auto longer = ParseHttpAnswer(std::string(bytes) + "more");
  Require(longer && longer->status == answer->status && longer->location == answer->location &&
          longer->body.size() == answer->body.size() + 4);
}

void ReadNeighbour(Bytes bytes) {
  in_addr router{};
  in6_addr newer_router{};
  inet_pton(AF_INET, "192.0.2.1", &router);
  inet_pton(AF_INET6, "fe80::1", &newer_router);
  const bool is_one = neighbour_message::IsAnswer(bytes, router);
  const bool is_other = neighbour_message::IsAnswer(bytes, newer_router);
  Require(!is_one || !is_other);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return 0;
  }
  // A copy of its own, beyond whose end nothing may be read.
  const auto copy = std::make_unique<std::uint8_t[]>(size - 1);
  std::copy(data + 1, data + size, copy.get());
  const Bytes bytes(copy.get(), size - 1);
  switch (data[0]) {
    case 'N':
      ReadNameService(bytes);
      break;
    case 'W':
      ReadWebServer({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
      break;
    default:
      ReadNeighbour(bytes);
  }
  return 0;
}

#include "GatewayProbe.h"

#include <net/if.h>  // before the kernel's own headers, which then leave out what it has

#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>

#include <arpa/inet.h>
#include <linux/if_arp.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <netinet/icmp6.h>
#include <sys/ioctl.h>

#include "KernelTables.h"
#include "LinkSocket.h"
#include "NeighbourMessage.h"

using namespace std::chrono_literals;

namespace {

/// As often as a lost packet or two should not matter, and for as long as a radio that sleeps needs.
constexpr auto kRepeat = 300ms;
constexpr int kMostQuestions = 5;

/// @return nullopt for a link that has no such addresses, as a modem's
std::optional<neighbour_message::HardwareAddress> HardwareAddressOf(int socket, int link) {
  ifreq request{};
  if (if_indextoname(static_cast<unsigned>(link), request.ifr_name) == nullptr ||
      ioctl(socket, SIOCGIFHWADDR, &request) != 0 || request.ifr_hwaddr.sa_family != ARPHRD_ETHER) {
    return std::nullopt;
  }
  neighbour_message::HardwareAddress address;
  std::memcpy(address.data(), request.ifr_hwaddr.sa_data, address.size());
  return address;
}

in_addr SourceOf(int link) {
  in_addr source{};
  const auto text = kernel_tables::AddressOf(link, CONNECTION_ADDRESS_FAMILY_IPV4);
  if (text) {
    inet_pton(AF_INET, text->c_str(), &source);
  }
  return source;
}

std::unique_ptr<FileDescriptor> OpenForArp(int link) {
  auto opened =
      std::make_unique<FileDescriptor>(socket(AF_PACKET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  sockaddr_ll here{};
  here.sll_family = AF_PACKET;
  here.sll_protocol = htons(ETH_P_ARP);
  here.sll_ifindex = link;
  const bool is_open =
      opened->ok() && bind(opened->get(), reinterpret_cast<const sockaddr*>(&here), sizeof here) == 0;
  if (!is_open) {
    opened = std::make_unique<FileDescriptor>(-1);
  }
  return opened;
}

std::unique_ptr<FileDescriptor> OpenForNeighbours(int link) {
  auto opened = std::make_unique<FileDescriptor>(
      socket(AF_INET6, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_ICMPV6));
  char name[IFNAMSIZ] = "";
  icmp6_filter filter;
  ICMP6_FILTER_SETBLOCKALL(&filter);
  ICMP6_FILTER_SETPASS(ND_NEIGHBOR_ADVERT, &filter);
  constexpr int kNeighboursOnly = 255;  // a message that came through a router has less, and is no use
  const int fd = opened->get();
  const bool is_open =
      opened->ok() && if_indextoname(static_cast<unsigned>(link), name) != nullptr &&
      setsockopt(fd, SOL_SOCKET, SO_BINDTODEVICE, name, static_cast<socklen_t>(std::strlen(name))) ==
          0 &&
      setsockopt(fd, IPPROTO_ICMPV6, ICMP6_FILTER, &filter, sizeof filter) == 0 &&
      setsockopt(fd, IPPROTO_IPV6, IPV6_MULTICAST_HOPS, &kNeighboursOnly, sizeof kNeighboursOnly) == 0;
  if (!is_open) {
    opened = std::make_unique<FileDescriptor>(-1);
  }
  return opened;
}

}  // namespace

GatewayProbe::GatewayProbe(std::string gateway, int link, Handler done)
    : m_gateway(std::move(gateway)),
      m_link(link),
      m_is_ipv4(m_gateway.find(':') == std::string::npos),
      m_done(std::move(done)) {
  m_limit.After(0ms, [this] {
    if (Open()) {
      Ask();
    } else {
      Finish(Result::kUnknown);
    }
  });
}

bool GatewayProbe::Open() {
  m_socket = m_is_ipv4 ? OpenForArp(m_link) : OpenForNeighbours(m_link);
  if (!m_socket->ok() || !HardwareAddressOf(m_socket->get(), m_link)) {
    return false;
  }
  m_readable.Watch(m_socket->get(), G_IO_IN, [this] { OnReadable(); });
  return true;
}

void GatewayProbe::Ask() {
  if (m_asked == kMostQuestions) {
    Finish(Result::kSilent);
    return;
  }
  ++m_asked;
  if (!Send() && errno != ENETDOWN && errno != ENOBUFS && errno != ENXIO) {
    Finish(Result::kUnknown);
    return;
  }
  m_limit.After(kRepeat, [this] { Ask(); });
}

bool GatewayProbe::Send() const {
  const auto hardware =
      HardwareAddressOf(m_socket->get(), m_link).value_or(neighbour_message::HardwareAddress{});
  if (m_is_ipv4) {
    in_addr wanted{};
    inet_pton(AF_INET, m_gateway.c_str(), &wanted);
    sockaddr_ll all{};
    all.sll_family = AF_PACKET;
    all.sll_protocol = htons(ETH_P_ARP);
    all.sll_ifindex = m_link;
    all.sll_halen = ETH_ALEN;
    std::memset(all.sll_addr, 0xff, ETH_ALEN);
    const auto question = neighbour_message::Question(wanted, SourceOf(m_link), hardware);
    return sendto(m_socket->get(), question.data(), question.size(), 0,
                  reinterpret_cast<const sockaddr*>(&all), sizeof all) >= 0;
  }
  in6_addr wanted{};
  inet_pton(AF_INET6, m_gateway.c_str(), &wanted);
  sockaddr_in6 group{};
  group.sin6_family = AF_INET6;
  group.sin6_addr = neighbour_message::GroupOf(wanted);
  group.sin6_scope_id = static_cast<std::uint32_t>(m_link);
  const auto question = neighbour_message::Question(wanted, hardware);
  return sendto(m_socket->get(), question.data(), question.size(), 0,
                reinterpret_cast<const sockaddr*>(&group), sizeof group) >= 0;
}

void GatewayProbe::OnReadable() {
  std::uint8_t bytes[1500];
  const ssize_t length = recv(m_socket->get(), bytes, sizeof bytes, 0);
  if (length < 0) {
    return;  // a link that goes down says so here once; the questions run out
  }
  const std::span answer(bytes, static_cast<std::size_t>(length));
  in_addr ipv4{};
  in6_addr ipv6{};
  const bool is_it = m_is_ipv4 ? inet_pton(AF_INET, m_gateway.c_str(), &ipv4) == 1 &&
                                     neighbour_message::IsAnswer(answer, ipv4)
                               : inet_pton(AF_INET6, m_gateway.c_str(), &ipv6) == 1 &&
                                     neighbour_message::IsAnswer(answer, ipv6);
  if (is_it) {
    Finish(Result::kAnswers);
  }
}

void GatewayProbe::Finish(Result result) {
  m_readable.Reset();
  m_limit.Reset();
  const Handler done = std::move(m_done);
  done(result);
}

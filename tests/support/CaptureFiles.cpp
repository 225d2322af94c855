#include "CaptureFiles.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <numeric>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/ip.h>
#include <netinet/udp.h>
#include <pcap/pcap.h>
#include <pcap/sll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "MainLoop.h"
#include "Network.h"

namespace fs = std::filesystem;

namespace capture {
namespace {

constexpr std::uint16_t kDiscardPort = 9;

std::uint64_t Counter(const std::string& interface, const std::string& name) {
  std::uint64_t count = 0;
  std::ifstream("/sys/class/net/" + interface + "/statistics/" + name) >> count;
  return count;
}

/// @return whether the packet is one that a Sender sent, seen where it left
bool IsSent(const pcap_pkthdr& header, const unsigned char* bytes, std::uint32_t& number) {
  sll_header link;
  iphdr ip;
  udphdr udp;
  constexpr std::size_t kHeaders = sizeof link + sizeof ip + sizeof udp;
  if (header.caplen < kHeaders + sizeof number) {
    return false;
  }
  std::memcpy(&link, bytes, sizeof link);
  std::memcpy(&ip, bytes + sizeof link, sizeof ip);
  std::memcpy(&udp, bytes + sizeof link + sizeof ip, sizeof udp);
  std::memcpy(&number, bytes + kHeaders, sizeof number);
  return ntohs(link.sll_pkttype) == LINUX_SLL_OUTGOING && ntohs(link.sll_protocol) == 0x0800 &&
         ip.protocol == IPPROTO_UDP && ntohs(udp.dest) == kPort;
}

}  // namespace

Numbers FirstNumbers(std::uint32_t count) {
  Numbers numbers(count);
  std::iota(numbers.begin(), numbers.end(), 0);
  return numbers;
}

Sender::Sender(const std::string& address, std::uint16_t port, std::size_t size)
    : m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)), m_packet(size, 'x') {
  const int yes = 1;
  EXPECT_EQ(setsockopt(m_socket, SOL_SOCKET, SO_BROADCAST, &yes, sizeof yes), 0);
  sockaddr_in name{};
  name.sin_family = AF_INET;
  EXPECT_EQ(inet_pton(AF_INET, address.c_str(), &name.sin_addr), 1);
  EXPECT_EQ(bind(m_socket, reinterpret_cast<sockaddr*>(&name), sizeof name), 0);
  name.sin_addr.s_addr |= htonl(0xff);
  name.sin_port = htons(port);
  EXPECT_EQ(connect(m_socket, reinterpret_cast<sockaddr*>(&name), sizeof name), 0);
}

Sender::~Sender() {
  close(m_socket);
}

void Sender::Send(std::uint32_t count) {
  for (std::uint32_t i = 0; i < count; ++i, ++m_next) {
    std::memcpy(m_packet.data(), &m_next, sizeof m_next);
    ASSERT_EQ(send(m_socket, m_packet.data(), m_packet.size(), 0), static_cast<ssize_t>(m_packet.size()))
        << std::strerror(errno);
  }
}

Numbers SentNumbers(const fs::path& file) {
  char why[PCAP_ERRBUF_SIZE] = "";
  const std::unique_ptr<pcap_t, decltype(&pcap_close)> pcap(pcap_open_offline(file.c_str(), why),
                                                            pcap_close);
  if (pcap == nullptr) {
    ADD_FAILURE() << why;
    return {};
  }
  EXPECT_EQ(pcap_datalink(pcap.get()), DLT_LINUX_SLL);
  Numbers numbers;
  pcap_pkthdr* header = nullptr;
  const unsigned char* bytes = nullptr;
  int result = 0;
  while ((result = pcap_next_ex(pcap.get(), &header, &bytes)) == 1) {
    std::uint32_t number = 0;
    if (IsSent(*header, bytes, number)) {
      numbers.push_back(number);
    }
  }
  EXPECT_EQ(result, PCAP_ERROR_BREAK) << pcap_geterr(pcap.get());  // the end of the file
  return numbers;
}

void AddCableInUse(const std::string& name, const std::string& far_end, const std::string& address) {
  network::AddCable(name, far_end);
  network::AddAddress(name, address + "/24");
  Sender sender(address, kDiscardPort);
  RunLoopUntil([&] {
    sender.Send(1);
    return Counter(name, "tx_packets") > 0;
  });
}

std::uint64_t ReceivedBy(const std::string& interface) {
  return Counter(interface, "rx_packets");
}

std::vector<std::string> NamesIn(const fs::path& directory) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory)) {
    names.push_back(entry.path().filename());
  }
  std::ranges::sort(names);
  return names;
}

}  // namespace capture

#include "NeighbourMessage.h"

#include <cstring>

#include <net/if_arp.h>
#include <netinet/icmp6.h>
#include <netinet/if_ether.h>

namespace neighbour_message {

std::vector<std::uint8_t> Question(const in_addr& wanted, const in_addr& source,
                                   const HardwareAddress& hardware) {
  ether_arp question{};
  question.ea_hdr.ar_hrd = htons(ARPHRD_ETHER);
  question.ea_hdr.ar_pro = htons(ETHERTYPE_IP);
  question.ea_hdr.ar_hln = sizeof question.arp_sha;
  question.ea_hdr.ar_pln = sizeof question.arp_spa;
  question.ea_hdr.ar_op = htons(ARPOP_REQUEST);
  std::memcpy(question.arp_sha, hardware.data(), hardware.size());
  std::memcpy(question.arp_spa, &source, sizeof source);
  std::memcpy(question.arp_tpa, &wanted, sizeof wanted);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(&question);
  return std::vector<std::uint8_t>(bytes, bytes + sizeof question);
}

std::vector<std::uint8_t> Question(const in6_addr& wanted, const HardwareAddress& hardware) {
  struct {
    nd_neighbor_solicit header;
    nd_opt_hdr option;
    HardwareAddress hardware;
  } question{};
  question.header.nd_ns_type = ND_NEIGHBOR_SOLICIT;  // the kernel fills in the checksum
  question.header.nd_ns_target = wanted;
  question.option.nd_opt_type = ND_OPT_SOURCE_LINKADDR;
  question.option.nd_opt_len = 1;  // in units of eight bytes
  question.hardware = hardware;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(&question);
  return std::vector<std::uint8_t>(bytes, bytes + sizeof question);
}

/// The solicited-node group: 24 bits of the address behind a fixed beginning.
in6_addr GroupOf(const in6_addr& wanted) {
  in6_addr group{};
  constexpr std::uint8_t kBegin[] = {0xff, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01, 0xff};
  std::memcpy(group.s6_addr, kBegin, sizeof kBegin);
  std::memcpy(group.s6_addr + sizeof kBegin, wanted.s6_addr + sizeof kBegin,
              sizeof group.s6_addr - sizeof kBegin);
  return group;
}

bool IsAnswer(std::span<const std::uint8_t> bytes, const in_addr& wanted) {
  ether_arp answer{};
  if (bytes.size() < sizeof answer) {
    return false;
  }
  std::memcpy(&answer, bytes.data(), sizeof answer);
  return ntohs(answer.ea_hdr.ar_op) == ARPOP_REPLY && ntohs(answer.ea_hdr.ar_pro) == ETHERTYPE_IP &&
         std::memcmp(answer.arp_spa, &wanted, sizeof wanted) == 0;
}

bool IsAnswer(std::span<const std::uint8_t> bytes, const in6_addr& wanted) {
  nd_neighbor_advert answer{};
  if (bytes.size() < sizeof answer) {
    return false;
  }
  std::memcpy(&answer, bytes.data(), sizeof answer);
  return answer.nd_na_type == ND_NEIGHBOR_ADVERT &&
         std::memcmp(&answer.nd_na_target, &wanted, sizeof wanted) == 0;
}

}  // namespace neighbour_message

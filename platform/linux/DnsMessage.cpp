#include "DnsMessage.h"

#include <arpa/inet.h>
#include <arpa/nameser.h>
#include <resolv.h>

namespace dns_message {

std::vector<std::uint8_t> Question(const std::string& name, Type type, std::uint16_t id) {
  struct __res_state state {};
  state.options = RES_INIT | RES_RECURSE;
  std::vector<std::uint8_t> bytes(NS_PACKETSZ);
  const int length =
      res_nmkquery(&state, ns_o_query, name.c_str(), ns_c_in, type == Type::kIpv4 ? ns_t_a : ns_t_aaaa,
                   nullptr, 0, nullptr, bytes.data(), static_cast<int>(bytes.size()));
  if (length < NS_HFIXEDSZ) {
    return {};
  }
  bytes.resize(static_cast<std::size_t>(length));
  std::uint8_t* begin = bytes.data();
  NS_PUT16(id, begin);
  return bytes;
}

std::optional<Answer> Parse(std::span<const std::uint8_t> bytes, std::uint16_t id) {
  ns_msg message;
  if (ns_initparse(bytes.data(), static_cast<int>(bytes.size()), &message) < 0 ||
      ns_msg_id(message) != id || ns_msg_getflag(message, ns_f_qr) == 0) {
    return std::nullopt;
  }
  Answer answer;
  const int code = ns_msg_getflag(message, ns_f_rcode);
  if (code == ns_r_nxdomain) {
    answer.outcome = Outcome::kNoSuchName;
  }
  if (code != ns_r_noerror) {
    return answer;
  }
  for (int i = 0; i < ns_msg_count(message, ns_s_an); ++i) {
    ns_rr record;
    if (ns_parserr(&message, ns_s_an, i, &record) < 0) {
      return std::nullopt;
    }
    const bool is_ipv4 = ns_rr_type(record) == ns_t_a && ns_rr_rdlen(record) == NS_INADDRSZ;
    const bool is_ipv6 = ns_rr_type(record) == ns_t_aaaa && ns_rr_rdlen(record) == NS_IN6ADDRSZ;
    char text[INET6_ADDRSTRLEN] = "";
    if ((is_ipv4 || is_ipv6) &&
        inet_ntop(is_ipv4 ? AF_INET : AF_INET6, ns_rr_rdata(record), text, sizeof text) != nullptr) {
      answer.addresses.emplace_back(text);
    }
  }
  answer.outcome = answer.addresses.empty() ? Outcome::kNoSuchName : Outcome::kAddresses;
  return answer;
}

}  // namespace dns_message

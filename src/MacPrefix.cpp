#include "MacPrefix.h"

std::string GetMacPrefix(std::string_view mac) {
  constexpr std::string_view kOctets = "AA:BB:CC";
  if (mac.size() < kOctets.size()) {
    return "ff-ff-ff";
  }
  std::string prefix(mac.substr(0, 2));
  prefix.append("-").append(mac.substr(3, 2)).append("-").append(mac.substr(6, 2));
  return prefix;
}

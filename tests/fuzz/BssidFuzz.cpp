#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <glib.h>

#include "setwell/NetworkUtil.h"

// Two addresses of radios as they come from the air, or what somebody has made of them: a line each.

namespace {

constexpr int kUntouched = 1 << 30;

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

/// The plain reading of what an address is: as printf() writes six octets, in any case.
bool IsAddress(const std::string& text) {
  unsigned octets[6];
  int end = 0;
  const bool is_read = std::sscanf(text.c_str(), "%2x:%2x:%2x:%2x:%2x:%2x%n", octets, octets + 1,
                                   octets + 2, octets + 3, octets + 4, octets + 5, &end) == 6;
  if (!is_read || static_cast<std::size_t>(end) != text.size()) {
    return false;
  }
  g_autofree char* again = g_strdup_printf("%02x:%02x:%02x:%02x:%02x:%02x", octets[0], octets[1],
                                           octets[2], octets[3], octets[4], octets[5]);
  return g_ascii_strcasecmp(again, text.c_str()) == 0;
}

void Check(const std::string& one, const std::string& other) {
  int difference = kUntouched;
  int opposite = kUntouched;
  const bool is_dual_band = Setwell::NetworkUtil::IsDualBand(one, other, difference);
  Require(Setwell::NetworkUtil::IsDualBand(other, one, opposite) == is_dual_band);
  if (!is_dual_band) {
    Require(difference == kUntouched && opposite == kUntouched);
    return;
  }
  Require(IsAddress(one) && IsAddress(other));
  Require(difference == -opposite);
  Require((difference == 0) == (g_ascii_strcasecmp(one.c_str(), other.c_str()) == 0));
}

/// An address beside its own, with the first and the last octet changed as `changes` says.
void CheckNeighbour(const std::string& address, std::uint8_t first, std::uint8_t last) {
  const auto change = [](std::string text, std::size_t place, std::uint8_t bits) {
    const int octet = std::stoi(text.substr(place, 2), nullptr, 16) ^ bits;
    g_autofree char* changed = g_strdup_printf("%02X", static_cast<unsigned>(octet));
    return text.replace(place, 2, changed);
  };
  const std::string neighbour = change(change(address, 0, first), 15, last);
  int difference = kUntouched;
  const bool is_dual_band = Setwell::NetworkUtil::IsDualBand(neighbour, address, difference);
  Require(is_dual_band == ((first & 0x0D) == 0));
  Require(!is_dual_band || (difference == 0) == (first == 0 && last == 0));
  Check(neighbour, address);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::size_t cut = std::min(text.find('\n'), size);
  const std::string one = text.substr(0, cut);
  const std::string other = cut < size ? text.substr(cut + 1) : "";
  Check(one, other);
  Check(one, one);
  int difference = kUntouched;
  Require(Setwell::NetworkUtil::IsDualBand(one, one, difference) == IsAddress(one));
  if (IsAddress(one)) {
    CheckNeighbour(one, other.empty() ? 0 : static_cast<std::uint8_t>(other.front()),
                   other.empty() ? 0 : static_cast<std::uint8_t>(other.back()));
  }
  return 0;
}

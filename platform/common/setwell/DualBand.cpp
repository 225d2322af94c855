#include "setwell/NetworkUtil.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include <glib.h>

// Stands apart from the rest of NetworkUtil because it needs no platform function: programs without a
// backend can have it.

namespace Setwell {

namespace {

constexpr std::size_t kOctets = 6;
constexpr std::size_t kTextLength = 17;
using Octets = std::array<int, kOctets>;

/// What routers change in the first octet to get an address for a further radio: the bit that says the
/// address was not given out by its maker's registry, and the upper nibble, in which some count. The
/// rest of the octet tells makers apart and stays.
constexpr int kVaryingBits = 0xF0 | 0x02;

/// A difference of first octets is told in another measure than one of last octets, so that nobody
/// takes it for that.
constexpr int kFirstOctetMeasure = 0x100;

std::optional<Octets> Parse(std::string_view text) {
  if (text.size() != kTextLength) {
    return std::nullopt;
  }
  Octets octets{};
  for (std::size_t i = 0; i < kOctets; ++i) {
    const std::size_t place = 3 * i;
    const int high = g_ascii_xdigit_value(text[place]);
    const int low = g_ascii_xdigit_value(text[place + 1]);
    if (high < 0 || low < 0 || (i + 1 < kOctets && text[place + 2] != ':')) {
      return std::nullopt;
    }
    octets[i] = high * 16 + low;
  }
  return octets;
}

}  // namespace

// The four octets in the middle must be equal: with the lower nibble of the first they are what one
// router's radios have in common. The first octet may differ in the bits that routers vary, any of them,
// and the last octet may differ beside it: a router that counts its radios does not care that it has
// marked them as its own invention too.
bool NetworkUtil::IsDualBand(std::string bssid, std::string connectedBssid, int& diff) {
  const std::optional<Octets> octets = Parse(bssid);
  const std::optional<Octets> connected = Parse(connectedBssid);
  if (!octets || !connected) {
    return false;
  }
  for (std::size_t i = 1; i + 1 < kOctets; ++i) {
    if ((*octets)[i] != (*connected)[i]) {
      return false;
    }
  }
  if ((octets->front() ^ connected->front()) & ~kVaryingBits) {
    return false;
  }
  const int last_difference = octets->back() - connected->back();
  diff = last_difference != 0 ? last_difference
                              : kFirstOctetMeasure * (octets->front() - connected->front());
  return true;
}

}  // namespace Setwell

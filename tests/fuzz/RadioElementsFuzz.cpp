#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>

#include "RadioElements.h"

// What a radio sends, or whoever takes its place: a byte that tells the band and the privacy bit, and
// the elements of a beacon.

namespace {

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

Radio Read(std::span<const std::uint8_t> elements, int frequency, bool is_private) {
  // A copy of its own, beyond whose end nothing may be read.
  const auto copy = std::make_unique<std::uint8_t[]>(elements.size());
  std::copy(elements.begin(), elements.end(), copy.get());
  Radio radio;
  radio.frequency = frequency;
  radio_elements::Read({copy.get(), elements.size()}, is_private, radio);
  return radio;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return 0;
  }
  constexpr std::size_t kMaxNameBytes = 32;
  const int frequency = (data[0] & 1U) != 0 ? 5180 : 2437;
  const bool is_private = (data[0] & 2U) != 0;
  const std::span<const std::uint8_t> elements(data + 1, size - 1);
  const Radio radio = Read(elements, frequency, is_private);
  Require(radio.ssid.size() <= kMaxNameBytes);
  Require(radio.width == 20 || radio.width == 40 || radio.width == 80 || radio.width == 160 ||
          radio.width == 320);
  Require(radio.mode >= WIFI_MANAGER_CONNECTION_MODE_80211B &&
          radio.mode <= WIFI_MANAGER_CONNECTION_MODE_80211AX);
  Require(radio.security >= WIFI_SECURITY_TYPE_NONE && radio.security <= WIFI_SECURITY_TYPE_SAE);
  Require(radio.frequency == frequency && radio.bssid.empty() && radio.signal == 0);
  // Only an open network is that in spite of the privacy bit, or because it lacks it.
  if (radio.security == WIFI_SECURITY_TYPE_WEP) {
    Require(is_private);
    Require(Read(elements, frequency, false).security == WIFI_SECURITY_TYPE_NONE);
  }
  return 0;
}

#include "RadioElements.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <optional>

namespace radio_elements {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// The numbers of elements; those of extensions follow kExtension in the element's first byte.
enum Element : std::uint8_t {
  kName = 0,
  kRates = 1,
  kHtCapabilities = 45,
  kRsn = 48,
  kMoreRates = 50,
  kHtOperation = 61,
  kVhtCapabilities = 191,
  kVhtOperation = 192,
  kVendor = 221,
  kExtension = 255,
};
enum Extension : std::uint8_t {
  kHeCapabilities = 35,
  kHeOperation = 36,
  kEhtOperation = 106,
};

constexpr std::size_t kMaxNameBytes = 32;
constexpr int kFirst5GHz = 4900;
constexpr std::size_t kSuiteBytes = 4;

/// The first of each kind that a frame holds; a second one is no radio's own.
struct Elements {
  std::optional<Bytes> name, rates, more_rates, ht_capabilities, ht_operation, vht_capabilities,
      vht_operation, he_capabilities, he_operation, eht_operation, rsn, wpa;
};

void Keep(std::optional<Bytes>& place, Bytes content) {
  if (!place) {
    place = content;
  }
}

void KeepExtension(Bytes content, Elements& found) {
  if (content.empty()) {
    return;
  }
  const Bytes rest = content.subspan(1);
  switch (content[0]) {
    case kHeCapabilities:
      return Keep(found.he_capabilities, rest);
    case kHeOperation:
      return Keep(found.he_operation, rest);
    case kEhtOperation:
      return Keep(found.eht_operation, rest);
    default:
      return;
  }
}

void KeepElement(std::uint8_t number, Bytes content, Elements& found) {
  constexpr std::array<std::uint8_t, 4> kWpaVendor{0x00, 0x50, 0xF2, 0x01};
  switch (number) {
    case kName:
      return Keep(found.name, content);
    case kRates:
      return Keep(found.rates, content);
    case kMoreRates:
      return Keep(found.more_rates, content);
    case kHtCapabilities:
      return Keep(found.ht_capabilities, content);
    case kHtOperation:
      return Keep(found.ht_operation, content);
    case kVhtCapabilities:
      return Keep(found.vht_capabilities, content);
    case kVhtOperation:
      return Keep(found.vht_operation, content);
    case kRsn:
      return Keep(found.rsn, content);
    case kVendor:
      if (content.size() >= kWpaVendor.size() &&
          std::ranges::equal(content.first(kWpaVendor.size()), kWpaVendor)) {
        Keep(found.wpa, content.subspan(kWpaVendor.size()));
      }
      return;
    case kExtension:
      return KeepExtension(content, found);
    default:
      return;
  }
}

Elements Split(Bytes frame) {
  Elements found;
  while (frame.size() >= 2 && frame.size() - 2 >= frame[1]) {
    KeepElement(frame[0], frame.subspan(2, frame[1]), found);
    frame = frame.subspan(2U + frame[1]);
  }
  return found;
}

std::string NameOf(const Elements& found) {
  if (!found.name || found.name->size() > kMaxNameBytes) {
    return "";
  }
  // Some hide the name by sending as many zeros as it has bytes.
  if (std::ranges::all_of(*found.name, [](std::uint8_t byte) { return byte == 0; })) {
    return "";
  }
  return {found.name->begin(), found.name->end()};
}

/// How a network lets somebody in.
struct Keys {
  bool is_psk = false;
  bool is_ft_psk = false;
  bool is_sae = false;
  bool is_owe = false;
  bool is_eap = false;
};

void AddKey(Bytes suite, bool is_rsn, Keys& keys) {
  switch (suite[3]) {
    case 2:
    case 6:
      keys.is_psk = true;
      return;
    case 4:
      keys.is_ft_psk = is_rsn;
      return;
    case 8:
    case 9:
    case 24:
    case 25:
      keys.is_sae = is_rsn;
      return;
    case 18:
      keys.is_owe = is_rsn;
      return;
    default:
      keys.is_eap = true;  // 802.1X in its kinds, and whatever else takes more than a passphrase
      return;
  }
}

/// Takes a list of cipher or key suites, which begins with its length.
/// @return nullopt when it is cut
std::optional<Bytes> TakeSuites(Bytes& rest) {
  if (rest.size() < 2) {
    return std::nullopt;
  }
  const std::size_t bytes = (rest[0] | rest[1] << 8U) * kSuiteBytes;
  if (rest.size() - 2 < bytes) {
    return std::nullopt;
  }
  const Bytes suites = rest.subspan(2, bytes);
  rest = rest.subspan(2 + bytes);
  return suites;
}

/// Reads the body that the elements RSN and WPA have in common.
/// @return nullopt for a damaged one
std::optional<Keys> KeysOf(Bytes rest, bool is_rsn) {
  if (rest.size() < 2 || rest[0] != 1 || rest[1] != 0) {
    return std::nullopt;
  }
  Keys keys;
  rest = rest.subspan(2);
  constexpr Keys kWhenLeftOut{.is_eap = true};
  if (rest.empty() || rest.size() == kSuiteBytes) {
    return kWhenLeftOut;
  }
  if (rest.size() < kSuiteBytes) {
    return std::nullopt;
  }
  rest = rest.subspan(kSuiteBytes);  // the cipher of frames to all
  if (!TakeSuites(rest)) {           // the ciphers of frames to one
    return std::nullopt;
  }
  if (rest.empty()) {
    return kWhenLeftOut;
  }
  const std::optional<Bytes> suites = TakeSuites(rest);
  if (!suites || suites->empty()) {
    return std::nullopt;
  }
  for (std::size_t at = 0; at < suites->size(); at += kSuiteBytes) {
    AddKey(suites->subspan(at, kSuiteBytes), is_rsn, keys);
  }
  return keys;
}

/// Of a network that takes several, what most TVs can do: a passphrase before its newer forms.
wifi_security_type_e SecurityOf(const Elements& found, bool is_private) {
  if (const auto keys = found.rsn ? KeysOf(*found.rsn, true) : std::nullopt) {
    return keys->is_psk      ? WIFI_SECURITY_TYPE_WPA2_PSK
           : keys->is_ft_psk ? WIFI_SECURITY_TYPE_WPA_FT_PSK
           : keys->is_sae    ? WIFI_SECURITY_TYPE_SAE
           : keys->is_owe    ? WIFI_SECURITY_TYPE_NONE  // encrypted, and nobody is asked for anything
                             : WIFI_SECURITY_TYPE_EAP;
  }
  if (const auto keys = found.wpa ? KeysOf(*found.wpa, false) : std::nullopt) {
    return keys->is_psk ? WIFI_SECURITY_TYPE_WPA_PSK : WIFI_SECURITY_TYPE_EAP;
  }
  return is_private ? WIFI_SECURITY_TYPE_WEP : WIFI_SECURITY_TYPE_NONE;
}

int HtWidth(Bytes operation) {
  constexpr unsigned kSecondaryMask = 0x03;
  constexpr unsigned kAnyWidth = 0x04;
  const bool is_wide =
      operation.size() >= 2 && (operation[1] & kSecondaryMask) != 0 && (operation[1] & kAnyWidth) != 0;
  return is_wide ? 40 : 20;
}

/// @param info  the width, and the centres of one or two segments
/// @return 0 where the older element counts
int VhtWidth(Bytes info) {
  if (info.size() < 3 || info[0] == 0) {
    return 0;
  }
  const int gap = std::abs(info[2] - info[1]);
  const bool is_double = info[0] >= 2 || (info[2] != 0 && (gap == 8 || gap > 16));
  return is_double ? 160 : 80;
}

/// @return 0 where the older elements count
int HeWidth(Bytes operation) {
  constexpr std::size_t kFixedBytes = 6;
  if (operation.size() < kFixedBytes) {
    return 0;
  }
  const bool has_vht = (operation[1] & 0x40U) != 0;
  const bool has_cohosted = (operation[1] & 0x80U) != 0;
  const bool has_6ghz = (operation[2] & 0x02U) != 0;
  Bytes rest = operation.subspan(kFixedBytes);
  const std::size_t skipped = (has_vht ? 3U : 0U) + (has_cohosted ? 1U : 0U);
  if (rest.size() < skipped) {
    return 0;
  }
  if (has_6ghz && rest.size() >= skipped + 5) {
    return 20 << (rest[skipped + 1] & 0x03U);
  }
  return has_vht ? VhtWidth(rest.first(3)) : 0;
}

/// @return 0 where the older elements count
int EhtWidth(Bytes operation) {
  constexpr std::size_t kFixedBytes = 5;
  if (operation.size() < kFixedBytes + 3 || (operation[0] & 0x01U) == 0) {
    return 0;
  }
  return 20 << std::min(operation[kFixedBytes] & 0x07U, 4U);
}

int WidthOf(const Elements& found) {
  int width = found.ht_operation ? HtWidth(*found.ht_operation) : 20;
  for (const int newer : {found.vht_operation ? VhtWidth(*found.vht_operation) : 0,
                          found.he_operation ? HeWidth(*found.he_operation) : 0,
                          found.eht_operation ? EhtWidth(*found.eht_operation) : 0}) {
    width = newer != 0 ? newer : width;
  }
  return width;
}

/// Whether one of the rates is newer than those of 802.11b.
bool HasNewerRate(const std::optional<Bytes>& rates) {
  constexpr std::array<unsigned, 4> kOldRates{2, 4, 11, 22};  // in units of 500 kbit/s
  constexpr unsigned kSelectors = 0x7B;                       // above it stand demands and no rates
  return rates && std::ranges::any_of(*rates, [&](std::uint8_t byte) {
           const unsigned rate = byte & 0x7FU;
           return rate != 0 && rate < kSelectors &&
                  std::ranges::find(kOldRates, rate) == kOldRates.end();
         });
}

wifi_manager_connection_mode_e ModeOf(const Elements& found, int frequency) {
  if (found.he_capabilities) {
    return WIFI_MANAGER_CONNECTION_MODE_80211AX;
  }
  if (found.vht_capabilities) {
    return WIFI_MANAGER_CONNECTION_MODE_80211AC;
  }
  if (found.ht_capabilities) {
    return WIFI_MANAGER_CONNECTION_MODE_80211N;
  }
  if (frequency >= kFirst5GHz) {
    return WIFI_MANAGER_CONNECTION_MODE_80211A;
  }
  return HasNewerRate(found.rates) || HasNewerRate(found.more_rates)
             ? WIFI_MANAGER_CONNECTION_MODE_80211G
             : WIFI_MANAGER_CONNECTION_MODE_80211B;
}

}  // namespace

void Read(std::span<const std::uint8_t> elements, bool is_private, Radio& radio) {
  const Elements found = Split(elements);
  radio.ssid = NameOf(found);
  radio.security = SecurityOf(found, is_private);
  radio.width = WidthOf(found);
  radio.mode = ModeOf(found, radio.frequency);
}

}  // namespace radio_elements

#include "RadioElements.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes Element(std::uint8_t number, const Bytes& content) {
  Bytes element{number, static_cast<std::uint8_t>(content.size())};
  element.insert(element.end(), content.begin(), content.end());
  return element;
}
Bytes Join(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}
Bytes Name(const std::string& name) {
  return Element(0, Bytes(name.begin(), name.end()));
}
/// An element RSN with key suites of the standard's own.
Bytes Rsn(const Bytes& keys) {
  Bytes content{1, 0, 0x00, 0x0F, 0xAC, 4, 1, 0, 0x00, 0x0F, 0xAC, 4};
  content.push_back(static_cast<std::uint8_t>(keys.size()));
  content.push_back(0);
  for (const std::uint8_t key : keys) {
    content.insert(content.end(), {0x00, 0x0F, 0xAC, key});
  }
  content.insert(content.end(), {0, 0});
  return Element(48, content);
}
Bytes Wpa(std::uint8_t key) {
  return Element(221, {0x00, 0x50, 0xF2, 1,    1, 0, 0x00, 0x50, 0xF2, 2,    1,
                       0,    0x00, 0x50, 0xF2, 2, 1, 0,    0x00, 0x50, 0xF2, key});
}
const Bytes kHtCapabilities = Element(45, Bytes(26, 0));
Bytes HtOperation(std::uint8_t channels) {
  Bytes content(22, 0);
  content[1] = channels;
  return Element(61, content);
}
const Bytes kVhtCapabilities = Element(191, Bytes(12, 0));
Bytes VhtOperation(std::uint8_t width, std::uint8_t first, std::uint8_t second) {
  return Element(192, {width, first, second, 0, 0});
}
const Bytes kHeCapabilities = Element(255, Join({{35}, Bytes(21, 0)}));

Radio Read(const Bytes& elements, bool is_private = true, int frequency = 2437) {
  Radio radio;
  radio.frequency = frequency;
  radio_elements::Read(elements, is_private, radio);
  return radio;
}

}  // namespace

TEST(RadioElements, ANameIsAnyBytes) {
  std::string bytes(32, '\xFF');
  bytes[3] = '\0';
  bytes[4] = '"';
  EXPECT_EQ(Read(Name(bytes)).ssid, bytes);
  EXPECT_EQ(Read(Name("Den")).ssid, "Den");
}

TEST(RadioElements, AHiddenNetworkHasNoName) {
  EXPECT_EQ(Read(Name("")).ssid, "");
  EXPECT_EQ(Read(Name(std::string(7, '\0'))).ssid, "");
  EXPECT_EQ(Read({}).ssid, "");
}

TEST(RadioElements, ANameThatIsTooLongIsNone) {
  EXPECT_EQ(Read(Name(std::string(33, 'a'))).ssid, "");
}

TEST(RadioElements, OfTwoNamesTheFirstCounts) {
  EXPECT_EQ(Read(Join({Name("Den"), Name("Trap")})).ssid, "Den");
}

TEST(RadioElements, SecurityComesFromTheKeysThatANetworkTakes) {
  const struct {
    Bytes elements;
    bool is_private;
    wifi_security_type_e expected;
  } cases[] = {
      {{}, false, WIFI_SECURITY_TYPE_NONE},
      {{}, true, WIFI_SECURITY_TYPE_WEP},
      {Wpa(2), true, WIFI_SECURITY_TYPE_WPA_PSK},
      {Wpa(1), true, WIFI_SECURITY_TYPE_EAP},
      {Rsn({2}), true, WIFI_SECURITY_TYPE_WPA2_PSK},
      {Rsn({6}), true, WIFI_SECURITY_TYPE_WPA2_PSK},
      {Join({Wpa(2), Rsn({2})}), true, WIFI_SECURITY_TYPE_WPA2_PSK},
      {Rsn({1}), true, WIFI_SECURITY_TYPE_EAP},
      {Rsn({5}), true, WIFI_SECURITY_TYPE_EAP},
      {Rsn({3}), true, WIFI_SECURITY_TYPE_EAP},
      {Rsn({12}), true, WIFI_SECURITY_TYPE_EAP},
      {Rsn({4}), true, WIFI_SECURITY_TYPE_WPA_FT_PSK},
      {Rsn({4, 2}), true, WIFI_SECURITY_TYPE_WPA2_PSK},
      {Rsn({8}), true, WIFI_SECURITY_TYPE_SAE},
      {Rsn({9}), true, WIFI_SECURITY_TYPE_SAE},
      {Rsn({2, 8}), true, WIFI_SECURITY_TYPE_WPA2_PSK},
      {Rsn({18}), true, WIFI_SECURITY_TYPE_NONE},
  };
  for (const auto& entry : cases) {
    EXPECT_EQ(Read(entry.elements, entry.is_private).security, entry.expected)
        << testing::PrintToString(entry.elements);
  }
}

TEST(RadioElements, KeysThatAreLeftOutAreThoseOfTheStandard) {
  EXPECT_EQ(Read(Element(48, {1, 0})).security, WIFI_SECURITY_TYPE_EAP);
  EXPECT_EQ(Read(Element(48, {1, 0, 0, 0x0F, 0xAC, 4})).security, WIFI_SECURITY_TYPE_EAP);
  EXPECT_EQ(Read(Element(48, {1, 0, 0, 0x0F, 0xAC, 4, 1, 0, 0, 0x0F, 0xAC, 4})).security,
            WIFI_SECURITY_TYPE_EAP);
}

TEST(RadioElements, ADamagedListOfKeysCountsAsNotSent) {
  const Bytes many{1, 0, 0, 0x0F, 0xAC, 4, 1, 0, 0, 0x0F, 0xAC, 4, 0xFF, 0xFF, 0, 0x0F, 0xAC, 2};
  const Bytes none{1, 0, 0, 0x0F, 0xAC, 4, 1, 0, 0, 0x0F, 0xAC, 4, 0, 0};
  for (const Bytes& content : {many, none, Bytes{}, Bytes{1}, Bytes{2, 0}, Bytes{1, 0, 0},
                               Bytes{1, 0, 0, 0x0F, 0xAC, 4, 9, 0, 0, 0x0F, 0xAC, 4}}) {
    EXPECT_EQ(Read(Element(48, content)).security, WIFI_SECURITY_TYPE_WEP);
    EXPECT_EQ(Read(Join({Element(48, content), Wpa(2)})).security, WIFI_SECURITY_TYPE_WPA_PSK);
  }
}

TEST(RadioElements, TheWidthIsThatOfTheNewestElement) {
  const auto he = [](const Bytes& rest, std::uint8_t second, std::uint8_t third) {
    return Element(255, Join({{36, 0, second, third, 0, 0, 0}, rest}));
  };
  const Bytes ht40 = HtOperation(0x05);
  const struct {
    Bytes elements;
    int expected;
  } cases[] = {
      {{}, 20},
      {HtOperation(0), 20},
      {HtOperation(0x05), 40},
      {HtOperation(0x07), 40},
      {HtOperation(0x01), 20},  // a second channel that no station may use
      {Join({ht40, VhtOperation(0, 0, 0)}), 40},
      {Join({ht40, VhtOperation(1, 42, 0)}), 80},
      {Join({ht40, VhtOperation(1, 42, 50)}), 160},
      {Join({ht40, VhtOperation(1, 42, 155)}), 160},
      {Join({ht40, VhtOperation(2, 50, 0)}), 160},
      {Join({ht40, he({}, 0, 0)}), 40},
      {Join({ht40, VhtOperation(1, 42, 0), he({}, 0, 0)}), 80},
      {he({1, 42, 0}, 0x40, 0), 80},
      {he({37, 2, 39, 0, 0}, 0, 0x02), 80},                             // 6 GHz
      {he({1, 42, 0, 9, 37, 3, 39, 47, 0}, 0xC0, 0x02), 160},           // with all that may stand before
      {Element(255, {106, 1, 0, 0, 0, 0, 4, 31, 63}), 320},             // EHT
      {Join({ht40, Element(255, {106, 0, 0, 0, 0, 0, 4, 1, 1})}), 40},  // EHT, and the older ones count
  };
  for (const auto& entry : cases) {
    EXPECT_EQ(Read(entry.elements, true, 5180).width, entry.expected)
        << testing::PrintToString(entry.elements);
  }
}

TEST(RadioElements, TheGenerationIsTheNewestThatARadioSpeaks) {
  const Bytes rates_b = Element(1, {0x82, 0x84, 0x8B, 0x96});
  const Bytes rates_g = Element(50, {0x30, 0x48, 0x60, 0x6C});
  const Bytes demand = Element(50, {0xFF});  // stands among the rates, and is none
  const struct {
    Bytes elements;
    int frequency;
    wifi_manager_connection_mode_e expected;
  } cases[] = {
      {rates_b, 2437, WIFI_MANAGER_CONNECTION_MODE_80211B},
      {Join({rates_b, demand}), 2437, WIFI_MANAGER_CONNECTION_MODE_80211B},
      {Join({rates_b, rates_g}), 2437, WIFI_MANAGER_CONNECTION_MODE_80211G},
      {Element(1, {0x8C}), 2437, WIFI_MANAGER_CONNECTION_MODE_80211G},
      {Element(1, {0x8C}), 5180, WIFI_MANAGER_CONNECTION_MODE_80211A},
      {Join({rates_g, kHtCapabilities}), 2437, WIFI_MANAGER_CONNECTION_MODE_80211N},
      {kHtCapabilities, 5180, WIFI_MANAGER_CONNECTION_MODE_80211N},
      {Join({kHtCapabilities, kVhtCapabilities}), 5180, WIFI_MANAGER_CONNECTION_MODE_80211AC},
      {Join({kHtCapabilities, kVhtCapabilities, kHeCapabilities}), 5180,
       WIFI_MANAGER_CONNECTION_MODE_80211AX},
      {Join({kHtCapabilities, kHeCapabilities}), 2437, WIFI_MANAGER_CONNECTION_MODE_80211AX},
  };
  for (const auto& entry : cases) {
    EXPECT_EQ(Read(entry.elements, true, entry.frequency).mode, entry.expected)
        << testing::PrintToString(entry.elements);
  }
}

/// Wherever a frame is cut, what came before the cut is read and nothing beyond it is.
TEST(RadioElements, ACutFrameIsReadUpToTheCut) {
  const Bytes whole = Join({Name("Den"), Rsn({2}), kHtCapabilities, HtOperation(0x05), kVhtCapabilities,
                            VhtOperation(1, 42, 0), kHeCapabilities,
                            Element(255, {36, 0, 0x40, 0, 0, 0, 0, 1, 42, 50})});
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    const Radio radio = Read(Bytes(whole.begin(), whole.begin() + static_cast<long>(size)), true, 5180);
    EXPECT_EQ(radio.ssid, size >= 5 ? "Den" : "");
    EXPECT_EQ(radio.security,
              size >= 5 + Rsn({2}).size() ? WIFI_SECURITY_TYPE_WPA2_PSK : WIFI_SECURITY_TYPE_WEP);
  }
  EXPECT_EQ(Read(whole, true, 5180).width, 160);
}

TEST(RadioElements, AnElementThatClaimsMoreThanThereIsEndsTheReading) {
  EXPECT_EQ(Read({0, 200, 'D', 'e', 'n'}).ssid, "");
  EXPECT_EQ(Read({0, 3, 'D', 'e', 'n', 48, 255, 1, 0}).ssid, "Den");
}

/// As hostapd sent them on the simulated radios of Linux 6.1.
TEST(RadioElements, FramesOfRealAccessPointsAreRead) {
  const struct {
    int frequency;
    bool is_private;
    std::string_view frame;  // in hexadecimal
    std::string_view name;
    wifi_security_type_e security;
    int width;
    wifi_manager_connection_mode_e mode;
  } access_points[] = {
      {2412, true,
       "0007486f6d654e6574010882848b960c1218240301012a010432043048606c30140100000fac0401"
       "00000fac040100000fac020c003b0251002d1a0c001bffff00000000000000000000010000000000"
       "00000000003d16010000000000000000000000000000000000000000007f080400400200000040dd"
       "180050f2020101010003a4000027a4000042435e0062322f00",
       "HomeNet", WIFI_SECURITY_TYPE_WPA2_PSK, 20, WIFI_MANAGER_CONNECTION_MODE_80211N},
      {2437, false,
       "0000010882848b960c1218240301060504010200002a010432043048606c3b0251002d1a0c001bff"
       "ff0000000000000000000001000000000000000000003d1606000000000000000000000000000000"
       "0000000000007f080400400200000040dd180050f2020101010003a4000027a4000042435e006232"
       "2f00",
       "", WIFI_SECURITY_TYPE_NONE, 20, WIFI_MANAGER_CONNECTION_MODE_80211N},
      {2437, true,
       "00064f6c64577061010882848b960c1218240301062a010432043048606c3b0251007f0804004002"
       "00000040dd160050f20101000050f20201000050f20201000050f202dd180050f2020101000003a4"
       "000027a4000042435e0062322f00",
       "OldWpa", WIFI_SECURITY_TYPE_WPA_PSK, 20, WIFI_MANAGER_CONNECTION_MODE_80211G},
      {2437, true,
       "00054d69786564010882848b960c1218240301062a010432043048606c30180100000fac04010000"
       "0fac040200000fac02000fac088c003b0251002d1a0c001bffff0000000000000000000001000000"
       "000000000000003d16060000000000000000000000000000000000000000007f0804004002000000"
       "40dd180050f2020101000003a4000027a4000042435e0062322f00",
       "Mixed", WIFI_SECURITY_TYPE_WPA2_PSK, 20, WIFI_MANAGER_CONNECTION_MODE_80211N},
      {2437, true,
       "0003536165010882848b960c1218240301062a010432043048606c30140100000fac040100000fac"
       "040100000fac08cc003b0251002d1a0c001bffff0000000000000000000001000000000000000000"
       "003d16060000000000000000000000000000000000000000007f080400400200000040dd180050f2"
       "020101000003a4000027a4000042435e0062322f00",
       "Sae", WIFI_SECURITY_TYPE_SAE, 20, WIFI_MANAGER_CONNECTION_MODE_80211N},
      {5180, true,
       "0007486f6d654e657401088c129824b048606c03012430140100000fac040100000fac040100000f"
       "ac020c003b0273002d1a0c001bffff0000000000000000000001000000000000000000003d162400"
       "00000000000000000000000000000000000000007f080400400200000040bf0c00000000aaaa0000"
       "aaaa0000c005000000fcffc302002edd180050f2020101010003a4000027a4000042435e0062322f"
       "00",
       "HomeNet", WIFI_SECURITY_TYPE_WPA2_PSK, 20, WIFI_MANAGER_CONNECTION_MODE_80211AC},
      {5220, true,
       "000541784e657401088c129824b048606c03012c30140100000fac040100000fac040100000fac02"
       "0c003b0280002d1a0e001bffff0000000000000000000001000000000000000000003d162c050000"
       "0000000000000000000000000000000000007f080400400200000040bf0c00000000aaaa0000aaaa"
       "0000c005012a00fcffc304022e2e2eff16230178c81a400004bfce0000000000000000fafffaffff"
       "0724f03f00a9fcffdd180050f2020101010003a4000027a4000042435e0062322f00",
       "AxNet", WIFI_SECURITY_TYPE_WPA2_PSK, 80, WIFI_MANAGER_CONNECTION_MODE_80211AX},
  };
  for (const auto& ap : access_points) {
    Bytes frame;
    for (std::size_t at = 0; at < ap.frame.size(); at += 2) {
      frame.push_back(
          static_cast<std::uint8_t>(std::stoi(std::string(ap.frame.substr(at, 2)), nullptr, 16)));
    }
    const Radio radio = Read(frame, ap.is_private, ap.frequency);
    EXPECT_EQ(radio.ssid, ap.name);
    EXPECT_EQ(radio.security, ap.security) << ap.name;
    EXPECT_EQ(radio.width, ap.width) << ap.name;
    EXPECT_EQ(radio.mode, ap.mode) << ap.name;
  }
}

#include "FoundNetworks.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

HeardRadio Heard(const std::string& bssid, const std::string& ssid, int signal,
                 wifi_security_type_e security = WIFI_SECURITY_TYPE_WPA2_PSK) {
  HeardRadio heard;
  heard.radio.bssid = bssid;
  heard.radio.ssid = ssid;
  heard.radio.signal = signal;
  heard.radio.security = security;
  return heard;
}

std::vector<std::string> BssidsOf(const std::vector<HeardRadio>& radios) {
  std::vector<std::string> bssids;
  for (const HeardRadio& heard : radios) {
    bssids.push_back(heard.radio.bssid);
  }
  std::ranges::sort(bssids);
  return bssids;
}

using Bssids = std::vector<std::string>;

}  // namespace

TEST(FoundNetworks, ANetworkIsSeenThroughItsStrongestRadio) {
  EXPECT_EQ(BssidsOf(found_networks::NetworksOf(
                {Heard("a", "Den", -70), Heard("b", "Den", -40), Heard("c", "Den", -60)})),
            Bssids{"b"});
}

TEST(FoundNetworks, ANetworkIsSeenThroughTheConnectedRadio) {
  HeardRadio connected = Heard("a", "Den", -70);
  connected.is_connected = true;
  EXPECT_EQ(BssidsOf(found_networks::NetworksOf({connected, Heard("b", "Den", -40)})), Bssids{"a"});
  EXPECT_EQ(BssidsOf(found_networks::NetworksOf({Heard("b", "Den", -40), connected})), Bssids{"a"});
}

TEST(FoundNetworks, AnotherSecurityIsAnotherNetwork) {
  EXPECT_EQ(BssidsOf(found_networks::NetworksOf(
                {Heard("a", "Den", -70), Heard("b", "Den", -40, WIFI_SECURITY_TYPE_NONE)})),
            (Bssids{"a", "b"}));
}

TEST(FoundNetworks, HiddenRadiosAreNotTakenForOneNetwork) {
  const std::vector<HeardRadio> radios{Heard("a", "", -70), Heard("b", "", -40)};
  EXPECT_EQ(BssidsOf(found_networks::NetworksOf(radios)), (Bssids{"a", "b"}));
  EXPECT_EQ(BssidsOf(found_networks::RadiosOf(radios[0].radio, radios)), Bssids{"a"});
}

TEST(FoundNetworks, ANetworksRadiosAreThoseOfItsNameAndSecurity) {
  const std::vector<HeardRadio> radios{Heard("a", "Den", -70), Heard("b", "Den", -40),
                                       Heard("c", "Cafe", -40),
                                       Heard("d", "Den", -40, WIFI_SECURITY_TYPE_SAE)};
  EXPECT_EQ(BssidsOf(found_networks::RadiosOf(radios[0].radio, radios)), (Bssids{"a", "b"}));
}

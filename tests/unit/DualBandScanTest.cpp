#include "Scan.h"

#include <cstdio>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "CacheDualBandStatus.h"
#include "NW_Common.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "setwell/NetworkUtil.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

constexpr char kLow[] = "AA:BB:CC:DD:EE:01";
constexpr char kHigh[] = "AA:BB:CC:DD:EE:05";
constexpr char kNeighbour[] = "AA:BB:CC:DD:EF:05";

std::optional<std::string> Setting() {
  const HeapString list(vconf_get_str(vconf_keys::kDualBandApMac));
  return list == nullptr ? std::nullopt : std::optional<std::string>(list.get());
}

/// A TV on the 2.4 GHz radio of a router. Its 5 GHz radio is added by those tests that want one.
class DualBandScan : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(wifi_initialize(), WIFI_ERROR_NONE);
    m_wifi.AddRadio({.bssid = kLow, .essid = "home", .frequency = 2437});
    ASSERT_TRUE(m_wifi.Join(kLow));
    m_wifi.AddRadio({.bssid = kNeighbour, .essid = "next door"});
    m_wifi.SeeAll();
    ASSERT_EQ(wifi_get_connected_ap(&m_ap), WIFI_ERROR_NONE);
  }
  void TearDown() override { wifi_ap_destroy(m_ap); }

  void AddPartner(const std::string& essid,
                  wifi_manager_connection_mode_e mode = WIFI_MANAGER_CONNECTION_MODE_80211AC) {
    m_wifi.AddRadio({.bssid = kHigh, .essid = essid, .frequency = 5180, .rssi = -55, .mode = mode});
    m_wifi.SeeAll();
  }
  void ExpectNothingFound() const {
    EXPECT_EQ(m_scan.GetDiffMac(), 0);
    EXPECT_EQ(m_scan.GetRSSI(), 0);
    EXPECT_EQ(m_scan.GetFrequency(), 0);
    EXPECT_EQ(m_scan.GetPartnerBSSID(), "NotFound");
    EXPECT_EQ(m_scan.GetMaxProtocol(), "NOTFOUND");
  }
  [[nodiscard]] static std::size_t Walks() {
    return VirtualTv::Instance().Calls("wifi_foreach_found_aps").size();
  }

  Wifi& m_wifi = VirtualTv::Instance().GetWifi();
  wifi_ap_h m_ap = nullptr;
  WifiWPSScan m_scan;
};

TEST_F(DualBandScan, KnowsNothingBeforeTheFirstLook) {
  EXPECT_FALSE(m_scan.IsDualBand());
  ExpectNothingFound();
}

TEST_F(DualBandScan, FindsAPartnerWithANameOfItsOwn) {
  AddPartner("home-5G");
  EXPECT_TRUE(m_scan.Init(m_ap));
  EXPECT_TRUE(m_scan.IsDualBand());
  EXPECT_EQ(m_scan.GetDiffMac(), 4);
  EXPECT_EQ(m_scan.GetRSSI(), -55);
  EXPECT_EQ(m_scan.GetFrequency(), 5180);
  EXPECT_EQ(m_scan.GetPartnerBSSID(), kHigh);
  EXPECT_EQ(m_scan.GetMaxProtocol(), "802.11ac");
  EXPECT_EQ(Setting(), kLow);
  for (const std::string& text :
       {std::string("ssid=>home  BSSID ") + kLow + " ,apbssid " + kLow,
        std::string("ssid=>home-5G  BSSID ") + kHigh + " ,apbssid " + kLow,
        std::string("ap_connection_mode rv0  result5"), std::string("_IsDualBandNormal =>1"),
        std::string("IsDualBand =>1"), std::string("Added in cached vconf ") + kLow}) {
    EXPECT_TRUE(test_log::Has(text)) << text;
  }
}

TEST_F(DualBandScan, PartnerBehindTheSameNameHasNoProtocol) {
  AddPartner("home");
  EXPECT_TRUE(m_scan.Init(m_ap));
  EXPECT_EQ(m_scan.GetDiffMac(), 4);
  EXPECT_EQ(m_scan.GetRSSI(), -55);
  EXPECT_EQ(m_scan.GetFrequency(), 5180);
  EXPECT_EQ(m_scan.GetPartnerBSSID(), kHigh);
  EXPECT_EQ(m_scan.GetMaxProtocol(), "NOTFOUND");
  EXPECT_EQ(Setting(), kLow);
}

TEST_F(DualBandScan, DifferenceHasASign) {
  m_wifi.AddRadio({.bssid = "AA:BB:CC:DD:EE:00", .essid = "home-5G", .frequency = 5180});
  m_wifi.SeeAll();
  EXPECT_TRUE(m_scan.Init(m_ap));
  EXPECT_EQ(m_scan.GetDiffMac(), -1);
}

TEST_F(DualBandScan, OwnRadioIsNoPartner) {
  int diff = 7;
  ASSERT_TRUE(Setwell::NetworkUtil::IsDualBand(kLow, kLow, diff));
  ASSERT_EQ(diff, 0);
  EXPECT_FALSE(m_scan.Init(m_ap));
  ExpectNothingFound();
  EXPECT_EQ(Setting(), std::nullopt);
  EXPECT_TRUE(test_log::Has("_IsDualBandNormal =>0"));
}

TEST_F(DualBandScan, WalkStopsAtTheFirstPartner) {
  AddPartner("home-5G");
  m_wifi.AddRadio({.bssid = "AA:BB:CC:DD:EE:06", .essid = "home-6G", .frequency = 5955});
  m_wifi.SeeAll();
  EXPECT_TRUE(m_scan.Init(m_ap));
  EXPECT_EQ(m_scan.GetPartnerBSSID(), kHigh);
  EXPECT_EQ(test_log::Count("ssid=>home-6G  BSSID AA:BB:CC:DD:EE:06 ,apbssid AA:BB:CC:DD:EE:01"), 0U);
}

TEST_F(DualBandScan, NextLookForgetsThePartnerThatIsGone) {
  AddPartner("home-5G");
  ASSERT_TRUE(m_scan.Init(m_ap));
  ASSERT_TRUE(m_wifi.RemoveRadio(kHigh));
  m_wifi.SeeAll();
  EXPECT_FALSE(m_scan.Init(m_ap));
  EXPECT_FALSE(m_scan.IsDualBand());
  ExpectNothingFound();
  EXPECT_EQ(Setting(), kLow) << "what is cached stays";
}

TEST_F(DualBandScan, EmptyScanResultsHaveNoPartner) {
  AddPartner("home-5G");
  WifiWPSScan scan;
  ASSERT_TRUE(m_wifi.RemoveRadio(kHigh));
  ASSERT_TRUE(m_wifi.RemoveRadio(kNeighbour));
  ASSERT_TRUE(m_wifi.RemoveRadio(kLow));
  m_wifi.SeeAll();
  EXPECT_FALSE(scan.Init(m_ap));
}

TEST_F(DualBandScan, NamesEveryGenerationOfTheStandard) {
  const std::vector<std::pair<int, std::string>> names = {
      {0, "WIFI_MANAGER_CONNECTION_MODE_UNKNOWN"},
      {1, "802.11b"},
      {2, "802.11g"},
      {3, "802.11n"},
      {4, "802.11a"},
      {5, "802.11ac"},
      {6, "802.11acax"},
      {7, "WIFI_MANAGER_CONNECTION_MODE_UNKNOWN"},
  };
  for (const auto& [mode, name] : names) {
    AddPartner("home-5G", static_cast<wifi_manager_connection_mode_e>(mode));
    ASSERT_TRUE(m_scan.Init(m_ap));
    EXPECT_EQ(m_scan.GetMaxProtocol(), name) << mode;
  }
}

TEST_F(DualBandScan, CachedAccessPointIsNotLookedUp) {
  vconf_set_str(vconf_keys::kDualBandApMac, "11:22:33:44:55:66|AA:BB:CC:DD:EE:01");
  AddPartner("home-5G");
  EXPECT_TRUE(m_scan.IsDualBandCached(m_ap));
  EXPECT_EQ(Walks(), 0U);
  ExpectNothingFound();
  EXPECT_FALSE(m_scan.IsDualBand());
  EXPECT_TRUE(test_log::Has("m_IsCachedAsDualBand =>1"));
  EXPECT_TRUE(test_log::Has("Found in cached"));
  EXPECT_TRUE(test_log::Has("IsDualBandCached =>Ret 1"));
}

TEST_F(DualBandScan, UncachedAccessPointIsLookedUpOnce) {
  AddPartner("home-5G");
  EXPECT_TRUE(m_scan.IsDualBandCached(m_ap));
  EXPECT_EQ(m_scan.GetPartnerBSSID(), kHigh);
  EXPECT_TRUE(test_log::Has("not found in cached"));
  EXPECT_EQ(Setting(), kLow);
  WifiWPSScan other;
  EXPECT_TRUE(other.IsDualBandCached(m_ap));
  EXPECT_EQ(Walks(), 1U);
}

TEST_F(DualBandScan, SingleBandIsLookedUpEachTime) {
  EXPECT_FALSE(m_scan.IsDualBandCached(m_ap));
  EXPECT_FALSE(m_scan.IsDualBandCached(m_ap));
  EXPECT_EQ(Walks(), 2U);
  EXPECT_EQ(Setting(), std::nullopt);
  EXPECT_EQ(test_log::Count("IsDualBandCached =>Ret 0"), 2U);
}

TEST_F(DualBandScan, UnknownAddressIsNotLookedUpForTheCache) {
  AddPartner("home-5G");
  VirtualTv::Instance().Fail("wifi_ap_get_bssid", WIFI_ERROR_OPERATION_FAILED);
  EXPECT_EQ(m_scan.GetBSSID(m_ap), "");
  EXPECT_FALSE(m_scan.IsDualBandCached(m_ap));
  EXPECT_EQ(Walks(), 0U);
}

TEST_F(DualBandScan, UnknownAddressIsComparedAllTheSameInAFullLook) {
  AddPartner("home-5G");
  VirtualTv::Instance().Fail("wifi_ap_get_bssid", WIFI_ERROR_OPERATION_FAILED, 1);
  EXPECT_FALSE(m_scan.Init(m_ap));
  EXPECT_EQ(Walks(), 1U);
  EXPECT_TRUE(test_log::Has(std::string("ssid=>home-5G  BSSID ") + kHigh + " ,apbssid "));
  EXPECT_EQ(Setting(), std::nullopt);
}

struct Refused {
  std::string function;
  int code;
  bool is_found;
  int rssi;
  int frequency;
  std::string protocol;
  std::optional<std::string> setting;
};

void PrintTo(const Refused& refused, std::ostream* out) {
  *out << refused.function;
}

class DualBandScanRefused : public DualBandScan, public testing::WithParamInterface<Refused> {
 protected:
  void ExpectOutcome() {
    EXPECT_EQ(m_scan.Init(m_ap), GetParam().is_found);
    EXPECT_EQ(m_scan.GetRSSI(), GetParam().rssi);
    EXPECT_EQ(m_scan.GetFrequency(), GetParam().frequency);
    EXPECT_EQ(m_scan.GetMaxProtocol(), GetParam().protocol);
  }
};

TEST_P(DualBandScanRefused, OnceCostsOneLook) {
  AddPartner("home-5G");
  VirtualTv::Instance().Fail(GetParam().function, GetParam().code, 1);
  ExpectOutcome();
  EXPECT_TRUE(m_scan.Init(m_ap));
  EXPECT_EQ(m_scan.GetRSSI(), -55);
  EXPECT_EQ(m_scan.GetFrequency(), 5180);
  EXPECT_EQ(m_scan.GetMaxProtocol(), "802.11ac");
}

TEST_P(DualBandScanRefused, ForGoodLeavesTheRest) {
  AddPartner("home-5G");
  VirtualTv::Instance().Fail(GetParam().function, GetParam().code);
  ExpectOutcome();
  ExpectOutcome();
  VirtualTv::Instance().StopFailing(GetParam().function);
  EXPECT_EQ(Setting(), GetParam().setting);
}

INSTANTIATE_TEST_SUITE_P(
    Platform, DualBandScanRefused,
    testing::Values(
        Refused{"wifi_ap_get_bssid", WIFI_ERROR_OPERATION_FAILED, false, 0, 0, "NOTFOUND", std::nullopt},
        Refused{"wifi_ap_get_essid", WIFI_ERROR_OPERATION_FAILED, true, -55, 5180, "802.11ac", kLow},
        Refused{"wifi_ap_get_rssi", WIFI_ERROR_OPERATION_FAILED, true, 0, 5180, "802.11ac", kLow},
        Refused{"wifi_ap_get_frequency", WIFI_ERROR_OPERATION_FAILED, true, -55, 0, "802.11ac", kLow},
        Refused{"wifi_manager_ap_get_connection_mode", WIFI_MANAGER_ERROR_OPERATION_FAILED, true, -55,
                5180, "802.11n", kLow},
        Refused{"wifi_foreach_found_aps", WIFI_ERROR_INVALID_OPERATION, false, 0, 0, "NOTFOUND",
                std::nullopt},
        Refused{"wifi_foreach_found_bssids", WIFI_ERROR_OPERATION_FAILED, true, -55, 5180, "802.11ac",
                kLow},
        Refused{"vconf_get_str", VCONF_ERROR, true, -55, 5180, "802.11ac", kLow},
        Refused{"vconf_set_str", VCONF_ERROR, true, -55, 5180, "802.11ac", std::nullopt}),
    [](const auto& info) { return info.param.function; });

TEST_F(DualBandScan, RefusedWalkIsLogged) {
  VirtualTv::Instance().Fail("wifi_foreach_found_aps", WIFI_ERROR_INVALID_OPERATION);
  EXPECT_FALSE(m_scan.Init(m_ap));
  EXPECT_TRUE(test_log::Has("Failed api wifi_foreach_found_aps  -38"));
}

TEST_F(DualBandScan, RefusedWalkOfTheSameNameFindsNoPartnerThere) {
  AddPartner("home");
  VirtualTv::Instance().Fail("wifi_foreach_found_bssids", WIFI_ERROR_OPERATION_FAILED);
  EXPECT_FALSE(m_scan.Init(m_ap));
  ExpectNothingFound();
}

class DualBandCache : public testing::Test {
 protected:
  void SetUp() override { VirtualTv::Instance().ClearCalls(); }  // recorded from the first use on
  [[nodiscard]] static std::size_t Writes() {
    return VirtualTv::Instance().Calls("vconf_set_str").size();
  }
  CCachedDualBand m_cache;
};

TEST_F(DualBandCache, IsOneForTheProcess) {
  EXPECT_EQ(GetCachedInstance(), GetCachedInstance());
}

TEST_F(DualBandCache, FirstEntryStandsAlone) {
  m_cache.m_SaveAsDualBand(kLow);
  EXPECT_EQ(Setting(), kLow);
}

TEST_F(DualBandCache, FurtherEntriesAreJoined) {
  m_cache.m_SaveAsDualBand(kLow);
  m_cache.m_SaveAsDualBand(kHigh);
  EXPECT_EQ(Setting(), "AA:BB:CC:DD:EE:01|AA:BB:CC:DD:EE:05");
}

TEST_F(DualBandCache, EmptySettingCountsAsNoEntry) {
  vconf_set_str(vconf_keys::kDualBandApMac, "");
  m_cache.m_SaveAsDualBand(kLow);
  EXPECT_EQ(Setting(), kLow);
}

TEST_F(DualBandCache, EntryThatIsThereIsNotWrittenAgain) {
  m_cache.m_SaveAsDualBand(kLow);
  m_cache.m_SaveAsDualBand(kHigh);
  ASSERT_EQ(Writes(), 2U);
  m_cache.m_SaveAsDualBand(kLow);
  EXPECT_EQ(Writes(), 2U);
  EXPECT_TRUE(test_log::Has("Already in cached"));
}

TEST_F(DualBandCache, TakesAPartOfTheListForAnEntryAndLettersAsTheyAre) {
  m_cache.m_SaveAsDualBand(kLow);
  EXPECT_TRUE(m_cache.m_IsCachedAsDualBand("CC:DD"));
  EXPECT_FALSE(m_cache.m_IsCachedAsDualBand("aa:bb:cc:dd:ee:01"));
  EXPECT_TRUE(test_log::Has("m_IsCachedAsDualBand =>0"));
}

TEST_F(DualBandCache, ReadsTheSettingAtEachUse) {
  EXPECT_FALSE(m_cache.m_IsCachedAsDualBand(kLow));
  vconf_set_str(vconf_keys::kDualBandApMac, kLow);
  EXPECT_TRUE(m_cache.m_IsCachedAsDualBand(kLow));
  vconf_set_str(vconf_keys::kDualBandApMac, kHigh);
  EXPECT_FALSE(m_cache.m_IsCachedAsDualBand(kLow));
}

TEST_F(DualBandCache, KeepsWhatItReadWhenTheSettingCannotBeRead) {
  vconf_set_str(vconf_keys::kDualBandApMac, kLow);
  m_cache.Init();
  VirtualTv::Instance().Fail("vconf_get_str", VCONF_ERROR);
  EXPECT_TRUE(m_cache.m_IsCachedAsDualBand(kLow));
}

TEST_F(DualBandCache, GoesOnWithTheOldListAfterAFailedWrite) {
  vconf_set_str(vconf_keys::kDualBandApMac, kLow);
  VirtualTv::Instance().Fail("vconf_set_str", VCONF_ERROR, 1);
  m_cache.m_SaveAsDualBand(kHigh);
  EXPECT_FALSE(m_cache.m_IsCachedAsDualBand(kHigh));
  m_cache.m_SaveAsDualBand(kHigh);
  EXPECT_TRUE(m_cache.m_IsCachedAsDualBand(kHigh));
}

TEST_F(DualBandCache, HasNoUpperBound) {
  for (int i = 0; i < 300; ++i) {
    char bssid[18];
    std::snprintf(bssid, sizeof bssid, "AA:BB:CC:DD:%02X:%02X", i / 256, i % 256);
    m_cache.m_SaveAsDualBand(bssid);
  }
  EXPECT_EQ(Setting()->size(), 300U * 18 - 1);
  EXPECT_TRUE(m_cache.m_IsCachedAsDualBand("AA:BB:CC:DD:00:00"));
  EXPECT_TRUE(m_cache.m_IsCachedAsDualBand("AA:BB:CC:DD:01:2B"));
}

}  // namespace

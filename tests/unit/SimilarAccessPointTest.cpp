#include "setwell/NetworkWifi.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TestLog.h"
#include "VirtualTv.h"
#include "setwell/NetworkUtil.h"

using Setwell::NetworkWifi;
using Setwell::WIFIData;

namespace {

constexpr char kLow[] = "02:00:00:00:10:00";
constexpr char kHigh[] = "02:00:00:00:10:04";
constexpr char kFar[] = "02:00:00:00:20:04";
constexpr char kUntouched[] = "untouched";
constexpr int kMidBand = 5180;

/// The TV on the 2.4 GHz radio of a router whose network is saved; what else is on the air is the
/// test's.
class SimilarAccessPoint : public testing::Test {
 protected:
  SimilarAccessPoint() {
    m_room.AddRadio({.bssid = kLow, .essid = "Den", .frequency = 2437, .rssi = -40});
    EXPECT_TRUE(m_room.Join(kLow));
    EXPECT_TRUE(m_wifi.InitWifi());
  }

  int Look(Setwell::eDualAPMode mode = Setwell::DUAL_AP_MODE_AUTOMATIC) {
    m_room.SeeAll();
    return LookAgain(mode);
  }
  /// At what was on the air before.
  int LookAgain(Setwell::eDualAPMode mode = Setwell::DUAL_AP_MODE_AUTOMATIC) {
    m_similar = WIFIData{};
    m_similar.ssid = kUntouched;
    const int result = m_wifi.Is5GhzSimilarAPExist(m_similar, mode);
    EXPECT_EQ(m_similar.ssid == kUntouched, result != NetworkWifi::kFound);
    return result;
  }

  void AddHigh(Radio radio = {}) {
    radio.bssid = radio.bssid.empty() ? kHigh : radio.bssid;
    radio.essid = radio.essid.empty() ? "Den" : radio.essid;
    radio.frequency = radio.frequency == Radio{}.frequency ? kMidBand : radio.frequency;
    m_room.AddRadio(radio);
  }

  VirtualTv& m_tv = VirtualTv::Instance();
  Wifi& m_room = m_tv.GetWifi();
  NetworkWifi m_wifi;
  WIFIData m_similar;
};

TEST_F(SimilarAccessPoint, IsTheOtherRadioOfTheSameNetwork) {
  AddHigh({.rssi = -61});
  ASSERT_EQ(Look(), NetworkWifi::kFound);
  EXPECT_TRUE(m_similar.isFavourite);
  EXPECT_EQ(m_similar.securityType, Setwell::SECURITY_WPA2_PSK);
  EXPECT_EQ(m_similar.ssid, "Den");
  EXPECT_TRUE(m_similar.is5Ghz);
  EXPECT_EQ(m_similar.bssid, kHigh);
  EXPECT_NE(m_similar.connectionOption, 0);
  EXPECT_EQ(m_similar.key, "");
  EXPECT_EQ(m_similar.rssi, -61);
  EXPECT_EQ(m_similar.frequency, kMidBand);
}

TEST_F(SimilarAccessPoint, IsNotThereWhenNothingElseIsOnTheAir) {
  EXPECT_EQ(Look(), NetworkWifi::kNotFound);
}

TEST_F(SimilarAccessPoint, IsNotThereWhenTheTvIsConnectedToNone) {
  AddHigh();
  m_room.Drop();
  EXPECT_EQ(Look(), NetworkWifi::kNotFound);
}

TEST_F(SimilarAccessPoint, MayBeAnotherNetworkOfTheSameRouterThatIsSaved) {
  AddHigh({.essid = "Den 5G", .security = WIFI_SECURITY_TYPE_SAE});
  EXPECT_EQ(Look(), NetworkWifi::kNotAllowed);
  EXPECT_EQ(Look(Setwell::DUAL_AP_MODE_USER), NetworkWifi::kNotAllowed);
  m_room.Save({"Den 5G", WIFI_SECURITY_TYPE_SAE, "secret"});
  ASSERT_EQ(Look(), NetworkWifi::kFound);
  EXPECT_TRUE(m_similar.isFavourite);
  EXPECT_EQ(m_similar.securityType, Setwell::SECURITY_WPA3_SAE);
  EXPECT_EQ(m_similar.ssid, "Den 5G");
}

TEST_F(SimilarAccessPoint, MayBeAnOpenNetworkOnlyWhenTheUserAsks) {
  AddHigh({.essid = "Den Guests", .security = WIFI_SECURITY_TYPE_NONE});
  EXPECT_EQ(Look(), NetworkWifi::kNotAllowed);
  ASSERT_EQ(Look(Setwell::DUAL_AP_MODE_USER), NetworkWifi::kFound);
  EXPECT_FALSE(m_similar.isFavourite);
  EXPECT_EQ(m_similar.securityType, Setwell::SECURITY_OPEN);
}

TEST_F(SimilarAccessPoint, IsOfTheSameRouterByItsAddressInEveryWayRoutersCount) {
  for (const char* bssid : {"02:00:00:00:10:01", "00:00:00:00:10:00", "12:00:00:00:10:00"}) {
    AddHigh({.bssid = bssid, .essid = "Den 5G", .security = WIFI_SECURITY_TYPE_NONE});
    ASSERT_EQ(Look(Setwell::DUAL_AP_MODE_USER), NetworkWifi::kFound) << bssid;
    EXPECT_EQ(m_similar.bssid, bssid);
    m_room.RemoveRadio(bssid);
  }
}

TEST_F(SimilarAccessPoint, IsNotAStrangerOfAnotherName) {
  AddHigh({.bssid = kFar, .essid = "Neighbours", .security = WIFI_SECURITY_TYPE_NONE});
  m_room.Save({"Neighbours", WIFI_SECURITY_TYPE_NONE, ""});
  EXPECT_EQ(Look(Setwell::DUAL_AP_MODE_USER), NetworkWifi::kNotFound);
}

TEST_F(SimilarAccessPoint, MayBeAnotherRouterOfTheSameNetwork) {
  AddHigh({.bssid = kFar});
  ASSERT_EQ(Look(), NetworkWifi::kFound);
  EXPECT_EQ(m_similar.bssid, kFar);
}

TEST_F(SimilarAccessPoint, IsNotAnotherRoutersNetworkOfTheSameNameWithOtherSecurity) {
  AddHigh({.bssid = kFar, .security = WIFI_SECURITY_TYPE_NONE});
  EXPECT_EQ(Look(Setwell::DUAL_AP_MODE_USER), NetworkWifi::kNotFound);
}

TEST_F(SimilarAccessPoint, IsNotAnotherRoutersNetworkWhoseSecurityIsAsUnknown) {
  constexpr auto kUnheardOf = static_cast<wifi_security_type_e>(7);
  m_room.FindRadio(kLow)->security = kUnheardOf;
  AddHigh({.bssid = kFar, .security = kUnheardOf});
  EXPECT_EQ(Look(), NetworkWifi::kNotFound);
}

TEST_F(SimilarAccessPoint, CountsFastTransitionAsTheSameSecurityAndAsSaved) {
  AddHigh({.bssid = kFar, .security = WIFI_SECURITY_TYPE_WPA_FT_PSK});
  ASSERT_EQ(Look(), NetworkWifi::kFound);
  EXPECT_TRUE(m_similar.isFavourite);
  EXPECT_EQ(m_similar.securityType, Setwell::SECURITY_WPA2_PSK);
}

TEST_F(SimilarAccessPoint, IsNotAllowedWhenEvenTheConnectedNetworkIsNotSaved) {
  AddHigh();
  m_room.Forget("Den");
  EXPECT_EQ(Look(Setwell::DUAL_AP_MODE_USER), NetworkWifi::kNotAllowed);
}

TEST_F(SimilarAccessPoint, IsTheStrongestOfSeveralRadiosOfOneNetwork) {
  AddHigh({.bssid = "02:00:00:00:10:04", .frequency = 5180, .rssi = -70});
  AddHigh({.bssid = "02:00:00:00:10:08", .frequency = 5500, .rssi = -55});
  AddHigh({.bssid = kFar, .frequency = 5745, .rssi = -60});
  ASSERT_EQ(Look(), NetworkWifi::kFound);
  EXPECT_EQ(m_similar.bssid, "02:00:00:00:10:08");
  EXPECT_EQ(m_similar.frequency, 5500);
  EXPECT_EQ(m_similar.rssi, -55);
}

TEST_F(SimilarAccessPoint, IsAWeakOneThatMayBeJoinedBeforeAStrongOneThatMayNot) {
  AddHigh({.essid = "Den 5G", .rssi = -45});
  AddHigh({.bssid = kFar, .rssi = -70});
  ASSERT_EQ(Look(), NetworkWifi::kFound);
  EXPECT_EQ(m_similar.bssid, kFar);
}

TEST_F(SimilarAccessPoint, IsNotWorthAMoveBelowALimit) {
  AddHigh({.rssi = -76});
  EXPECT_EQ(Look(), NetworkWifi::kNotFound);
  AddHigh({.rssi = -75});
  EXPECT_EQ(Look(), NetworkWifi::kFound);
}

TEST_F(SimilarAccessPoint, TooWeakDoesNotEvenForbid) {
  AddHigh({.essid = "Den 5G", .rssi = -76});
  EXPECT_EQ(Look(), NetworkWifi::kNotFound);
}

TEST_F(SimilarAccessPoint, WithASignalThatIsNotKnownIsNone) {
  AddHigh({.rssi = 0});
  EXPECT_EQ(Look(), NetworkWifi::kNotFound);
}

TEST_F(SimilarAccessPoint, IsOnTheFiveGhzBandOnly) {
  const struct {
    int frequency;
    bool is_found;
  } rows[] = {{2412, false}, {2484, false}, {4899, false}, {4900, true},  {5180, true},
              {5885, true},  {5924, true},  {5925, false}, {5955, false}, {7115, false}};
  for (const auto& row : rows) {
    AddHigh({.frequency = row.frequency});
    EXPECT_EQ(Look() == NetworkWifi::kFound, row.is_found) << row.frequency;
  }
}

TEST_F(SimilarAccessPoint, IsNeverTheConnectedRadioItself) {
  AddHigh();
  ASSERT_TRUE(m_room.Join(kHigh));
  EXPECT_EQ(Look(), NetworkWifi::kNotFound);
  AddHigh({.bssid = kFar, .rssi = -74});
  ASSERT_EQ(Look(), NetworkWifi::kFound);
  EXPECT_EQ(m_similar.bssid, kFar);
}

TEST_F(SimilarAccessPoint, HasANameThatIsKnown) {
  AddHigh({.essid = "Hidden", .is_hidden = true, .security = WIFI_SECURITY_TYPE_NONE});
  EXPECT_EQ(Look(Setwell::DUAL_AP_MODE_USER), NetworkWifi::kNotFound);
  m_room.Save({"Hidden", WIFI_SECURITY_TYPE_NONE, ""});
  EXPECT_EQ(Look(Setwell::DUAL_AP_MODE_USER), NetworkWifi::kFound);
}

TEST_F(SimilarAccessPoint, HasAnAddressThatIsOne) {
  for (const char* bssid : {"NotFound", "02:00:00:00:10", "02:00:00:00:10:0", "0200.0000.1004"}) {
    AddHigh({.bssid = bssid});
    EXPECT_EQ(Look(), NetworkWifi::kNotFound) << bssid;
    m_room.RemoveRadio(bssid);
  }
}

TEST_F(SimilarAccessPoint, IsOfTheLastScanAndOfThePresentConnection) {
  AddHigh();
  EXPECT_EQ(LookAgain(), NetworkWifi::kNotFound);
  EXPECT_EQ(Look(), NetworkWifi::kFound);
  m_room.RemoveRadio(kHigh);
  EXPECT_EQ(LookAgain(), NetworkWifi::kFound);
  EXPECT_EQ(Look(), NetworkWifi::kNotFound);
}

TEST_F(SimilarAccessPoint, CannotBeKnownWhileThePlatformDoesNotTellWhereTheTvIs) {
  AddHigh();
  for (const char* function : {"wifi_get_connected_ap", "wifi_ap_get_essid", "wifi_ap_get_bssid",
                               "wifi_ap_get_security_type", "wifi_ap_get_frequency"}) {
    SCOPED_TRACE(function);
    m_tv.Fail(function, WIFI_ERROR_OPERATION_FAILED, 1);
    EXPECT_EQ(Look(), NetworkWifi::kNotFound);
    EXPECT_EQ(LookAgain(), NetworkWifi::kFound);
  }
}

TEST_F(SimilarAccessPoint, IsNoneWhileThePlatformDoesNotTellWhatIsInReach) {
  AddHigh();
  m_tv.Fail("wifi_foreach_found_aps", WIFI_ERROR_OPERATION_FAILED, 1);
  EXPECT_EQ(Look(), NetworkWifi::kNotFound);
  EXPECT_TRUE(test_log::Has("the access points in reach are not known: -29687039"));
  EXPECT_EQ(LookAgain(), NetworkWifi::kFound);
}

TEST_F(SimilarAccessPoint, IsNotJoinedWhileThePlatformDoesNotTellWhatIsSaved) {
  AddHigh();
  m_tv.Fail("wifi_ap_is_favorite", WIFI_ERROR_OPERATION_FAILED);
  EXPECT_EQ(Look(), NetworkWifi::kNotAllowed);
  // Told of one of the two only, that it is saved counts.
  m_tv.Fail("wifi_ap_is_favorite", WIFI_ERROR_OPERATION_FAILED, 1);
  EXPECT_EQ(LookAgain(), NetworkWifi::kFound);
}

TEST_F(SimilarAccessPoint, IsTheNetworksOwnRadioWhenThePlatformTellsNoOthers) {
  AddHigh({.essid = "Den 5G", .security = WIFI_SECURITY_TYPE_NONE, .rssi = -50});
  m_tv.Fail("wifi_foreach_found_bssids", WIFI_ERROR_OPERATION_FAILED);
  ASSERT_EQ(Look(Setwell::DUAL_AP_MODE_USER), NetworkWifi::kFound);
  EXPECT_EQ(m_similar.bssid, kHigh);
  EXPECT_EQ(m_similar.rssi, -50);
  m_tv.Fail("wifi_ap_get_rssi", WIFI_ERROR_OPERATION_FAILED);
  EXPECT_EQ(LookAgain(Setwell::DUAL_AP_MODE_USER), NetworkWifi::kNotFound);
}

TEST_F(SimilarAccessPoint, IsFoundBesideANetworkWithoutAName) {
  m_room.AddRadio({.bssid = "02:00:00:00:30:00", .essid = ""});
  AddHigh();
  EXPECT_EQ(Look(), NetworkWifi::kFound);
}

TEST_F(SimilarAccessPoint, LeavesNoHandleBehind) {
  AddHigh();
  m_tv.ClearCalls();
  Look();
  EXPECT_EQ(m_tv.Calls("wifi_get_connected_ap").size(), 1U);
  EXPECT_EQ(m_tv.Calls("wifi_ap_destroy").size(), 1U);
}

TEST_F(SimilarAccessPoint, KeepsItsNumberWhenItIsFoundAgain) {
  AddHigh();
  ASSERT_EQ(Look(), NetworkWifi::kFound);
  const int number = m_similar.connectionOption;
  WIFIData connected;
  ASSERT_TRUE(m_wifi.GetConnectedAPDetails(connected));
  EXPECT_NE(connected.connectionOption, number);
  ASSERT_EQ(Look(), NetworkWifi::kFound);
  EXPECT_EQ(m_similar.connectionOption, number);
}

}  // namespace

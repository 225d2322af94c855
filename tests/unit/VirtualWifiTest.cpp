#include "Wifi.h"

#include <functional>
#include <map>
#include <utility>

#include "PlatformFunctions.h"
#include "VirtualWifiFixture.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

struct Found {
  std::string essid;
  std::string bssid;
  int rssi;
  bool operator==(const Found&) const = default;
};

class VirtualWifi : public VirtualWifiFixture {
 protected:
  static std::vector<Found> FoundAps() {
    std::vector<Found> found;
    const auto step = [](wifi_ap_h ap, void* list) {
      int rssi = 0;
      EXPECT_EQ(wifi_ap_get_rssi(ap, &rssi), WIFI_ERROR_NONE);
      static_cast<std::vector<Found>*>(list)->push_back(
          {TextOf(wifi_ap_get_essid, ap), TextOf(wifi_ap_get_bssid, ap), rssi});
      return true;
    };
    EXPECT_EQ(wifi_foreach_found_aps(step, &found), WIFI_ERROR_NONE);
    return found;
  }
  static wifi_ap_h ConnectedAp() {
    wifi_ap_h ap = nullptr;
    EXPECT_EQ(wifi_get_connected_ap(&ap), WIFI_ERROR_NONE);
    return ap;
  }
};

/// Before wifi_initialize().
TEST(VirtualWifiAtFirst, RefusesEverything) {
  wifi_connection_state_e state = WIFI_CONNECTION_STATE_FAILURE;
  wifi_ap_h ap = nullptr;
  int snr = 0;
  const wifi_target_s target{"Den", nullptr, 0, WIFI_SECURITY_TYPE_NONE, nullptr};
  const auto finished = [](wifi_error_e, void*) { ADD_FAILURE() << "answered"; };
  for (const int result :
       {wifi_get_connection_state(&state), wifi_get_connected_ap(&ap), wifi_get_snr(&snr),
        wifi_foreach_found_aps([](wifi_ap_h, void*) { return true; }, nullptr),
        wifi_config_foreach_configuration([](wifi_config_h, void*) { return true; }, nullptr),
        wifi_scan(finished, nullptr), wifi_connect_target(&target, finished, nullptr)}) {
    EXPECT_EQ(result, WIFI_ERROR_INVALID_OPERATION);
  }
  RunLoopFor(milliseconds(5000));
}

TEST_F(VirtualWifi, ScanTellsAfterItsLatencyWhatIsOnTheAirThen) {
  ASSERT_EQ(wifi_scan(Record, &m_answers), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(1000));
  m_wifi.SetOn(kLow, false);
  RunLoopFor(milliseconds(999));
  EXPECT_EQ(m_answers, Answers{});
  EXPECT_EQ(FoundAps(), std::vector<Found>{});
  RunLoopFor(milliseconds(2));
  EXPECT_EQ(m_answers, Answers{WIFI_ERROR_NONE});
  EXPECT_EQ(FoundAps(), (std::vector<Found>{{"Den", kHigh, -60}}));
}

TEST_F(VirtualWifi, WhatChangedSinceTheScanIsNotKnown) {
  m_wifi.SeeAll();
  m_wifi.FindRadio(kLow)->rssi = -90;
  m_wifi.RemoveRadio(kHigh);
  EXPECT_EQ(FoundAps(), (std::vector<Found>{{"Den", kLow, -50}}));
  EXPECT_EQ(m_wifi.Known().size(), 2U);
  m_wifi.SeeAll();
  EXPECT_EQ(FoundAps(), (std::vector<Found>{{"Den", kLow, -90}}));
  EXPECT_EQ(m_wifi.Known().size(), 1U);
}

TEST_F(VirtualWifi, ConnectedRadioIsKnownAsItIsNow) {
  ASSERT_TRUE(m_wifi.Join(kHigh));
  m_wifi.FindRadio(kHigh)->rssi = -71;
  EXPECT_EQ(FoundAps(), (std::vector<Found>{{"Den", kHigh, -71}}));
}

TEST_F(VirtualWifi, HiddenNetworksWithoutNamesStandForThemselves) {
  m_wifi.AddRadio({.bssid = kOther, .essid = "Attic", .is_hidden = true});
  m_wifi.AddRadio({.bssid = "02:00:00:00:20:04", .essid = "Attic", .is_hidden = true});
  m_wifi.SeeAll();
  EXPECT_EQ(FoundAps(),
            (std::vector<Found>{{"Den", kLow, -50}, {"", kOther, -50}, {"", "02:00:00:00:20:04", -50}}));
  m_wifi.Save({"Attic", WIFI_SECURITY_TYPE_WPA2_PSK, ""});
  m_wifi.SeeAll();
  EXPECT_EQ(FoundAps(), (std::vector<Found>{{"Den", kLow, -50}, {"Attic", kOther, -50}}));
}

TEST_F(VirtualWifi, HiddenNetworkLosesItsNameOnceItIsNeitherSavedNorJoined) {
  m_wifi.AddRadio({.bssid = kOther, .essid = "Attic", .is_hidden = true});
  m_wifi.Join(kOther);
  m_wifi.Forget("Attic");
  m_wifi.SeeAll();
  EXPECT_EQ(m_wifi.FindKnown(kOther)->radio.essid, "Attic");
  m_wifi.Drop();
  m_wifi.SeeAll();
  EXPECT_EQ(m_wifi.FindKnown(kOther)->radio.essid, "");
}

TEST_F(VirtualWifi, RadioTakesTheConnectionWithIt) {
  const std::vector<std::pair<const char*, std::function<void()>>> ways = {
      {"switched off", [this] { m_wifi.SetOn(kLow, false); }},
      {"taken away", [this] { m_wifi.RemoveRadio(kLow); }},
      {"of another network now", [this] { m_wifi.AddRadio({.bssid = kLow, .essid = "Attic"}); }},
      {"replaced by one that is off",
       [this] { m_wifi.AddRadio({.bssid = kLow, .essid = "Den", .is_on = false}); }},
      {"broken off", [this] { m_wifi.Drop(); }},
  };
  for (const auto& [name, way] : ways) {
    m_wifi.AddRadio({.bssid = kLow, .essid = "Den", .passphrase = kSecret});
    ASSERT_TRUE(m_wifi.Join(kLow));
    way();
    EXPECT_EQ(m_wifi.State(), WIFI_CONNECTION_STATE_DISCONNECTED) << name;
    EXPECT_EQ(m_wifi.ConnectedBssid(), "") << name;
  }
}

TEST_F(VirtualWifi, OtherRadiosLeaveTheConnectionAlone) {
  ASSERT_TRUE(m_wifi.Join(kLow));
  m_wifi.SetOn(kHigh, false);
  m_wifi.RemoveRadio(kHigh);
  m_wifi.SetOn(kLow, true);
  m_wifi.AddRadio({.bssid = kLow, .essid = "Den", .frequency = 2412, .passphrase = kSecret});
  EXPECT_EQ(m_wifi.ConnectedBssid(), kLow);
}

TEST_F(VirtualWifi, JoiningSavesTheNetworkAndNeedsARadioOnTheAir) {
  m_wifi.AddRadio({.bssid = kOther, .essid = "Attic", .passphrase = "x", .is_on = false});
  EXPECT_FALSE(m_wifi.Join("02:00:00:00:99:99"));
  EXPECT_FALSE(m_wifi.Join(kOther));
  EXPECT_EQ(m_wifi.FindSaved("Attic", WIFI_SECURITY_TYPE_WPA2_PSK), nullptr);
  m_wifi.SetOn(kOther, true);
  EXPECT_TRUE(m_wifi.Join(kOther));
  EXPECT_NE(m_wifi.FindSaved("Attic", WIFI_SECURITY_TYPE_WPA2_PSK), nullptr);
  EXPECT_TRUE(m_wifi.Forget("Attic"));
  EXPECT_FALSE(m_wifi.Forget("Attic"));
  EXPECT_FALSE(m_wifi.RemoveRadio("02:00:00:00:99:99"));
  EXPECT_FALSE(m_wifi.SetOn("02:00:00:00:99:99", true));
}

TEST_F(VirtualWifi, AnswersWhatTheRadioAndTheModelSay) {
  m_wifi.AddRadio({.bssid = kOther,
                   .essid = "Attic",
                   .frequency = 5500,
                   .security = WIFI_SECURITY_TYPE_SAE,
                   .rssi = -64,
                   .bandwidth = 80,
                   .mode = WIFI_MANAGER_CONNECTION_MODE_80211AX,
                   .ipv4 = "10.0.0.7",
                   .ipv6 = "2001:db8::7"});
  m_wifi.Join(kOther);
  m_wifi.SetSnr(-3);
  wifi_ap_h ap = ConnectedAp();
  int rssi = 0;
  int frequency = 0;
  int bandwidth = 0;
  int snr = 0;
  auto security = WIFI_SECURITY_TYPE_NONE;
  auto mode = WIFI_MANAGER_CONNECTION_MODE_UNKNOWN;
  char* ipv4 = nullptr;
  char* ipv6 = nullptr;
  EXPECT_EQ(wifi_ap_get_rssi(ap, &rssi), WIFI_ERROR_NONE);
  EXPECT_EQ(wifi_ap_get_frequency(ap, &frequency), WIFI_ERROR_NONE);
  EXPECT_EQ(wifi_ap_get_bandwidth(ap, &bandwidth), WIFI_ERROR_NONE);
  EXPECT_EQ(wifi_ap_get_security_type(ap, &security), WIFI_ERROR_NONE);
  EXPECT_EQ(wifi_manager_ap_get_connection_mode(ap, &mode), WIFI_MANAGER_ERROR_NONE);
  EXPECT_EQ(wifi_get_snr(&snr), WIFI_ERROR_NONE);
  EXPECT_EQ(wifi_ap_get_ip_address(ap, CONNECTION_ADDRESS_FAMILY_IPV4, &ipv4), WIFI_ERROR_NONE);
  EXPECT_EQ(wifi_ap_get_ip_address(ap, CONNECTION_ADDRESS_FAMILY_IPV6, &ipv6), WIFI_ERROR_NONE);
  EXPECT_EQ(rssi, -64);
  EXPECT_EQ(frequency, 5500);
  EXPECT_EQ(bandwidth, 80);
  EXPECT_EQ(security, WIFI_SECURITY_TYPE_SAE);
  EXPECT_EQ(mode, WIFI_MANAGER_CONNECTION_MODE_80211AX);
  EXPECT_EQ(snr, -3);
  EXPECT_STREQ(ipv4, "10.0.0.7");
  EXPECT_STREQ(ipv6, "2001:db8::7");
  std::free(ipv4);
  std::free(ipv6);
}

TEST_F(VirtualWifi, PropertyThatIsNotKnownIsAFailure) {
  m_wifi.AddRadio({.bssid = kOther, .essid = "Attic", .frequency = 0, .bandwidth = 0});
  m_wifi.Join(kOther);
  wifi_ap_h ap = ConnectedAp();
  int number = 7;
  char* text = nullptr;
  EXPECT_EQ(wifi_ap_get_frequency(ap, &number), WIFI_ERROR_OPERATION_FAILED);
  EXPECT_EQ(wifi_ap_get_bandwidth(ap, &number), WIFI_ERROR_OPERATION_FAILED);
  EXPECT_EQ(wifi_ap_get_ip_address(ap, CONNECTION_ADDRESS_FAMILY_IPV6, &text),
            WIFI_ERROR_OPERATION_FAILED);
  EXPECT_EQ(number, 7);
  EXPECT_EQ(text, nullptr);
}

TEST_F(VirtualWifi, HandlesAreCountedAndThoseOfAWalkEndWithIt) {
  m_wifi.Join(kLow);
  wifi_ap_h walked = nullptr;
  wifi_foreach_found_aps(
      [](wifi_ap_h ap, void* out) {
        *static_cast<wifi_ap_h*>(out) = ap;
        return true;
      },
      &walked);
  int rssi = 0;
  EXPECT_EQ(wifi_ap_get_rssi(walked, &rssi), WIFI_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(m_wifi.Handles().Count(), 0U);
  wifi_ap_h ap = ConnectedAp();
  EXPECT_NE(ap, walked);
  EXPECT_EQ(m_wifi.Handles().Count(), 1U);
  EXPECT_EQ(wifi_ap_destroy(ap), WIFI_ERROR_NONE);
  EXPECT_EQ(m_wifi.Handles().Count(), 0U);
}

TEST_F(VirtualWifi, HandleThatWasNeverMadeIsRefused) {
  int somewhere = 0;
  auto* const invented = reinterpret_cast<wifi_ap_h>(&somewhere);
  int rssi = 7;
  EXPECT_EQ(wifi_ap_get_rssi(invented, &rssi), WIFI_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(wifi_ap_refresh(invented), WIFI_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(wifi_ap_destroy(invented), WIFI_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(rssi, 7);
}

TEST_F(VirtualWifi, EveryFunctionCanBeToldToFailAndDoesNothingThen) {
  m_wifi.Join(kLow);
  wifi_ap_h ap = ConnectedAp();
  int number = 7;
  char* text = nullptr;
  bool favorite = false;
  auto state = WIFI_CONNECTION_STATE_FAILURE;
  auto security = WIFI_SECURITY_TYPE_EAP;
  wifi_ap_h other = nullptr;
  const auto no_ap = [](wifi_ap_h, void*) { return ADD_FAILURE(), true; };
  const auto no_radio = [](const char*, int, int, void*) { return ADD_FAILURE(), true; };
  const auto no_config = [](wifi_config_h, void*) { return ADD_FAILURE(), true; };
  const auto no_state = [](wifi_connection_state_e, wifi_ap_h, void*) { ADD_FAILURE(); };
  const wifi_target_s target = To(kHigh);
  const std::map<std::string_view, std::function<int()>> calls = {
      {"wifi_ap_destroy", [&] { return wifi_ap_destroy(ap); }},
      {"wifi_ap_get_bandwidth", [&] { return wifi_ap_get_bandwidth(ap, &number); }},
      {"wifi_ap_get_bssid", [&] { return wifi_ap_get_bssid(ap, &text); }},
      {"wifi_ap_get_essid", [&] { return wifi_ap_get_essid(ap, &text); }},
      {"wifi_ap_get_frequency", [&] { return wifi_ap_get_frequency(ap, &number); }},
      {"wifi_ap_get_ip_address",
       [&] { return wifi_ap_get_ip_address(ap, CONNECTION_ADDRESS_FAMILY_IPV4, &text); }},
      {"wifi_ap_get_rssi", [&] { return wifi_ap_get_rssi(ap, &number); }},
      {"wifi_ap_get_security_type", [&] { return wifi_ap_get_security_type(ap, &security); }},
      {"wifi_ap_is_favorite", [&] { return wifi_ap_is_favorite(ap, &favorite); }},
      {"wifi_ap_refresh", [&] { return wifi_ap_refresh(ap); }},
      {"wifi_config_foreach_configuration",
       [&] { return wifi_config_foreach_configuration(no_config, nullptr); }},
      {"wifi_connect", [&] { return wifi_connect(ap, Record, &m_answers); }},
      {"wifi_connect_target", [&] { return wifi_connect_target(&target, Record, &m_answers); }},
      {"wifi_disconnect", [&] { return wifi_disconnect(ap, Record, &m_answers); }},
      {"wifi_foreach_found_aps", [&] { return wifi_foreach_found_aps(no_ap, nullptr); }},
      {"wifi_foreach_found_bssids", [&] { return wifi_foreach_found_bssids(ap, no_radio, nullptr); }},
      {"wifi_get_connected_ap", [&] { return wifi_get_connected_ap(&other); }},
      {"wifi_get_connection_state", [&] { return wifi_get_connection_state(&state); }},
      {"wifi_get_snr", [&] { return wifi_get_snr(&number); }},
      {"wifi_initialize", [&] { return wifi_initialize(); }},
      {"wifi_scan", [&] { return wifi_scan(Record, &m_answers); }},
      {"wifi_set_connection_state_changed_cb",
       [&] { return wifi_set_connection_state_changed_cb(no_state, nullptr); }},
      {"wifi_unset_connection_state_changed_cb",
       [&] { return wifi_unset_connection_state_changed_cb(); }},
  };
  std::size_t listed = 0;
  for (const std::string_view function : kPlatformFunctions) {
    const bool is_of_manager =
        function.starts_with("wifi_manager_") || function == "wifi_ap_is_captive_portal_network";
    if (!function.starts_with("wifi_") || is_of_manager) {
      continue;
    }
    ++listed;
    ASSERT_TRUE(calls.contains(function)) << function;
    m_tv.Fail(std::string(function), -77, 1);
    EXPECT_EQ(calls.at(function)(), -77) << function;
  }
  EXPECT_EQ(listed, calls.size());
  RunLoopFor(milliseconds(5000));
  EXPECT_EQ(m_answers, Answers{});
  EXPECT_EQ(m_wifi.ConnectedBssid(), kLow);
  m_wifi.Drop();  // is told to nobody: the callback was refused
  RunLoopFor(milliseconds(5000));
  EXPECT_EQ(number, 7);
  EXPECT_EQ(text, nullptr);
  EXPECT_FALSE(favorite);
  EXPECT_EQ(state, WIFI_CONNECTION_STATE_FAILURE);
  EXPECT_EQ(security, WIFI_SECURITY_TYPE_EAP);
  EXPECT_EQ(other, nullptr);
  EXPECT_EQ(wifi_ap_destroy(ap), WIFI_ERROR_NONE);
}

class VirtualNetworkType : public VirtualWifi {
 protected:
  static std::string Type() {
    char* value = vconf_get_str(vconf_keys::kNetworkType);
    const std::string type = value == nullptr ? "(none)" : value;
    std::free(value);
    return type;
  }
};

TEST_F(VirtualNetworkType, FollowsTheNetworkThatCarriesTheTraffic) {
  EXPECT_EQ(Type(), "(none)");
  m_wifi.Join(kLow);
  EXPECT_EQ(Type(), "Wireless");
  m_tv.PlugCable();
  EXPECT_EQ(Type(), "Wired");
  m_wifi.Drop();
  m_wifi.Join(kHigh);
  EXPECT_EQ(Type(), "Wired");
  m_tv.UnplugCable();
  EXPECT_EQ(Type(), "Wireless");
  m_wifi.Drop();
  EXPECT_EQ(Type(), "Wireless");
  m_tv.StartTelephony();
  m_tv.InsertDongle();
  EXPECT_EQ(Type(), "Cellular");
}

TEST_F(VirtualNetworkType, IsNotWrittenAgainByAMoveBetweenRadios) {
  m_wifi.Join(kLow);
  RunLoopOnce();
  int writes = 0;
  ASSERT_EQ(vconf_notify_key_changed(
                vconf_keys::kNetworkType, [](keynode_t*, void* count) { ++*static_cast<int*>(count); },
                &writes),
            VCONF_OK);
  ASSERT_EQ(Connect(To(kHigh, 5180)), WIFI_ERROR_NONE);
  RunLoopFor(milliseconds(2000));
  ASSERT_EQ(m_wifi.ConnectedBssid(), kHigh);
  EXPECT_EQ(writes, 0);
  m_tv.PlugCable();
  RunLoopUntil([&] { return writes == 1; });
}

}  // namespace

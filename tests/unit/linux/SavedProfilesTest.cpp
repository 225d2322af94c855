#include "SavedProfiles.h"

#include <string>

#include <gtest/gtest.h>

#include "NetworkRadio.h"

namespace {

/// A profile, owned by the caller.
NMConnection* Profile(const std::string& ssid, const char* key_management, const char* mode = nullptr,
                      bool is_first_generation = false) {
  NMConnection* const profile = nm_simple_connection_new();
  NMSetting* const connection = nm_setting_connection_new();
  g_object_set(connection, NM_SETTING_CONNECTION_UUID, "5fb06bd0-0bb0-7ffb-45f1-d6edd65f3e03",
               NM_SETTING_CONNECTION_ID, "profile", NM_SETTING_CONNECTION_TIMESTAMP, guint64{1700000000},
               nullptr);
  nm_connection_add_setting(profile, connection);
  NMSetting* const wireless = nm_setting_wireless_new();
  g_autoptr(GBytes) bytes = g_bytes_new(ssid.data(), ssid.size());
  g_object_set(wireless, NM_SETTING_WIRELESS_SSID, bytes, NM_SETTING_WIRELESS_MODE, mode, nullptr);
  nm_setting_wireless_add_seen_bssid(NM_SETTING_WIRELESS(wireless), "02:00:00:00:10:0a");
  nm_connection_add_setting(profile, wireless);
  if (key_management != nullptr) {
    NMSetting* const security = nm_setting_wireless_security_new();
    g_object_set(security, NM_SETTING_WIRELESS_SECURITY_KEY_MGMT, key_management, nullptr);
    if (is_first_generation) {
      nm_setting_wireless_security_add_proto(NM_SETTING_WIRELESS_SECURITY(security), "wpa");
    }
    nm_connection_add_setting(profile, security);
  }
  return profile;
}

Radio RadioOf(const std::string& ssid, wifi_security_type_e security) {
  Radio radio;
  radio.ssid = ssid;
  radio.security = security;
  return radio;
}

SavedProfile Saved(const char* uuid, const char* ssid, wifi_security_type_e security, long long used) {
  return {.uuid = uuid, .ssid = ssid, .security = security, .last_used = used};
}

}  // namespace

TEST(SavedProfiles, AProfileIsReadWithItsNameOfAnyBytes) {
  const std::string name("\0\"\\\xff\n D\xc3\xa9n'", 11);
  g_autoptr(NMConnection) connection = Profile(name, "wpa-psk");
  SavedProfile profile;
  ASSERT_TRUE(saved_profiles::Read(connection, profile));
  EXPECT_EQ(profile.ssid, name);
  EXPECT_EQ(profile.security, WIFI_SECURITY_TYPE_WPA2_PSK);
  EXPECT_EQ(profile.uuid, "5fb06bd0-0bb0-7ffb-45f1-d6edd65f3e03");
  EXPECT_EQ(profile.seen_bssids, std::vector<std::string>{"02:00:00:00:10:0A"});
  EXPECT_EQ(profile.last_used, 1700000000);
  EXPECT_TRUE(saved_profiles::Opens(connection, RadioOf(name, WIFI_SECURITY_TYPE_WPA_PSK)));
  EXPECT_FALSE(saved_profiles::Opens(connection, RadioOf(name, WIFI_SECURITY_TYPE_NONE)));
  EXPECT_FALSE(
      saved_profiles::Opens(connection, RadioOf(name.substr(0, 10), WIFI_SECURITY_TYPE_WPA_PSK)));
}

TEST(SavedProfiles, OneOfAnotherKindIsNoSavedNetwork) {
  g_autoptr(NMConnection) hotspot = Profile("Den", nullptr, NM_SETTING_WIRELESS_MODE_AP);
  g_autoptr(NMConnection) cable = nm_simple_connection_new();
  g_autoptr(NMConnection) plain = Profile("Den", nullptr, NM_SETTING_WIRELESS_MODE_INFRA);
  SavedProfile profile{.uuid = "untouched", .ssid = "untouched"};
  EXPECT_FALSE(saved_profiles::Read(hotspot, profile));
  EXPECT_FALSE(saved_profiles::Read(cable, profile));
  EXPECT_EQ(profile.ssid, "untouched");
  EXPECT_FALSE(saved_profiles::Opens(hotspot, RadioOf("Den", WIFI_SECURITY_TYPE_NONE)));
  EXPECT_FALSE(saved_profiles::Opens(plain, RadioOf("", WIFI_SECURITY_TYPE_NONE)));
  EXPECT_TRUE(saved_profiles::Opens(plain, RadioOf("Den", WIFI_SECURITY_TYPE_NONE)));
}

TEST(SavedProfiles, TheSecurityOfAProfileIsThatOfItsKeyManagement) {
  for (const auto& [key_management, is_first_generation, security] :
       {std::tuple("", false, WIFI_SECURITY_TYPE_NONE),
        std::tuple("none", false, WIFI_SECURITY_TYPE_WEP),
        std::tuple("owe", false, WIFI_SECURITY_TYPE_NONE),
        std::tuple("wpa-psk", true, WIFI_SECURITY_TYPE_WPA_PSK),
        std::tuple("wpa-psk", false, WIFI_SECURITY_TYPE_WPA2_PSK),
        std::tuple("sae", false, WIFI_SECURITY_TYPE_SAE),
        std::tuple("wpa-eap", false, WIFI_SECURITY_TYPE_EAP),
        std::tuple("wpa-eap-suite-b-192", false, WIFI_SECURITY_TYPE_EAP),
        std::tuple("ieee8021x", false, WIFI_SECURITY_TYPE_EAP)}) {
    g_autoptr(NMConnection) connection =
        Profile("Den", *key_management == '\0' ? nullptr : key_management, nullptr, is_first_generation);
    SavedProfile profile;
    ASSERT_TRUE(saved_profiles::Read(connection, profile));
    EXPECT_EQ(profile.security, security) << key_management;
  }
}

TEST(SavedProfiles, ProfilesOfOneNameAndSecurityAreOneNetwork) {
  const std::vector<SavedProfile> profiles{Saved("a", "Den", WIFI_SECURITY_TYPE_WPA2_PSK, 10),
                                           Saved("b", "Den", WIFI_SECURITY_TYPE_WPA2_PSK, 20),
                                           Saved("c", "Den", WIFI_SECURITY_TYPE_NONE, 15),
                                           Saved("d", "Attic", WIFI_SECURITY_TYPE_WPA2_PSK, 0),
                                           Saved("e", "Cafe", WIFI_SECURITY_TYPE_WPA2_PSK, 0)};
  const SavedWifiTable::Records records{{"a", {"02:00:00:00:20:00", 5180, -50, 30}},
                                        {"b", {"02:00:00:00:10:00", 2437, -40, 20}},
                                        {"gone", {"02:00:00:00:30:00", 5500, -40, 90}}};
  std::string told;
  for (const SavedNetwork& network : saved_profiles::NetworksOf(profiles, records)) {
    told += network.ssid + "/" + std::to_string(network.security) + "@" +
            std::to_string(network.frequency) + " used " + std::to_string(network.last_used) + ", ";
  }
  EXPECT_EQ(told, "Den/3@5180 used 30, Den/0@0 used 15, Attic/3@0 used 0, Cafe/3@0 used 0, ");
}

TEST(NetworkRadio, TheSecurityOfARadioIsWhatItOffers) {
  constexpr auto kPrivacy = NM_802_11_AP_FLAGS_PRIVACY;
  constexpr auto kPsk = NM_802_11_AP_SEC_KEY_MGMT_PSK;
  constexpr auto kSae = NM_802_11_AP_SEC_KEY_MGMT_SAE;
  constexpr auto kEap = NM_802_11_AP_SEC_KEY_MGMT_802_1X;
  constexpr auto kOwe = NM_802_11_AP_SEC_KEY_MGMT_OWE;
  using network_radio::SecurityOfFlags;
  EXPECT_EQ(SecurityOfFlags(0, 0, 0), WIFI_SECURITY_TYPE_NONE);
  EXPECT_EQ(SecurityOfFlags(kPrivacy, 0, 0), WIFI_SECURITY_TYPE_WEP);
  EXPECT_EQ(SecurityOfFlags(kPrivacy, kPsk, 0), WIFI_SECURITY_TYPE_WPA_PSK);
  EXPECT_EQ(SecurityOfFlags(kPrivacy, kPsk, kPsk), WIFI_SECURITY_TYPE_WPA2_PSK);
  EXPECT_EQ(SecurityOfFlags(kPrivacy, 0, kPsk | kSae), WIFI_SECURITY_TYPE_WPA2_PSK);
  EXPECT_EQ(SecurityOfFlags(kPrivacy, 0, kSae), WIFI_SECURITY_TYPE_SAE);
  EXPECT_EQ(SecurityOfFlags(kPrivacy, kEap, 0), WIFI_SECURITY_TYPE_EAP);
  EXPECT_EQ(SecurityOfFlags(kPrivacy, 0, kEap), WIFI_SECURITY_TYPE_EAP);
  EXPECT_EQ(SecurityOfFlags(kPrivacy, 0, kOwe), WIFI_SECURITY_TYPE_NONE);
}

TEST(NetworkRadio, ASignalIsEstimatedFromItsPercents) {
  EXPECT_EQ(network_radio::SignalOfPercent(100), -40);
  EXPECT_EQ(network_radio::SignalOfPercent(50), -70);
  EXPECT_EQ(network_radio::SignalOfPercent(0), -100);
  EXPECT_EQ(network_radio::SignalOfPercent(255), -40);
}

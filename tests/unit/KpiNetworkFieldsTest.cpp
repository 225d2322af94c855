#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KpiRoom.h"
#include "NW_Common.h"
#include "NewKPI2017.h"
#include "TestLog.h"

namespace {

/// A field, what it says in the room, and what it says without an access point.
struct NetworkField {
  const char* name;
  std::string (*read)(MWHandler& mw);
  std::string value;
  std::string without_ap;
};

const std::vector<NetworkField> kFields = {
    {"Mac", CWifiMac::GetResult, "mac=AA-BB-CC", "mac=ff-ff-ff"},
    {"Security", SecurityType::GetResult, "security=4", "security=1"},
    {"Rssi", CRSSI::GetResult, "rssi=-47", "rssi=-100"},
    {"Frequency", CFrequency::GetResult, "freq=2437", "freq=0"},
    {"BandWidth", CBandWidth::GetResult, "bw=20", "bw=0"},
    {"Snr", [](MWHandler&) { return SNR::GetResult(); }, "snr=32", "snr=0"},
    {"Ipv6", CIPV6Param::GetResult, "ipv6=1", "ipv6=0"},
    {"IpType", IPType::GetResult, "ip=2", "ip=2"},
    {"IpTypeEV005", IPTypeEV005::GetResult, "iptype=2", "iptype=2"},
    {"Ax", CWifi680211Ax::GetResult, "axap=2", "axap=2"},
    {"MultiProfile", CMultiProfile::GetResult, "multiprofile=3", "multiprofile=3"},
    {"SavedProfiles", [](MWHandler&) { return CSavedMprofile::GetResult(); }, "mprofile=2",
     "mprofile=2"},
    {"HotSpot", CHotSpot::GetResult, "aptype=1", "aptype=0"},
    {"Lease", CDhcpLeaseTime::GetResult, "dhcplt=3600", "dhcplt=0"},
    {"LanPort", CLanPortStatus::GetResult, "lansts=0", "lansts=0"},
    {"WiredMac", CEthernetData::GetMac, "mac=02-1A-11", "mac=02-1A-11"},
    {"WiredIpType", CEthernetData::GetIPType, "iptype=2", "iptype=2"},
    {"WiredIpv6", CEthernetData::GetWired3GIPV6Param, "ipv6=1", "ipv6=0"},
};

const NetworkField& FieldOf(const std::string& name) {
  for (const NetworkField& field : kFields) {
    if (field.name == name) {
      return field;
    }
  }
  throw std::logic_error("no field " + name);
}

class KpiNetworkFields : public KpiRoom {
 protected:
  void SetUp() override {
    KpiRoom::SetUp();
    m_internet.SetHotspot(1);
    ASSERT_TRUE(m_mw.TakeConnectedAP());
  }
  void Reconnect() {
    ASSERT_TRUE(m_wifi.Join(kLow));
    ASSERT_TRUE(m_mw.TakeConnectedAP());
  }

  MWHandler m_mw;
};

TEST_F(KpiNetworkFields, SayWhatIsInTheRoom) {
  for (const NetworkField& field : kFields) {
    EXPECT_EQ(field.read(m_mw), field.value) << field.name;
  }
}

TEST_F(KpiNetworkFields, HaveFixedTextsWithoutAnAccessPoint) {
  m_wifi.Drop();
  MWHandler nothing;
  EXPECT_FALSE(nothing.TakeConnectedAP());
  for (const NetworkField& field : kFields) {
    EXPECT_EQ(field.read(nothing), field.without_ap) << field.name;
  }
}

TEST_F(KpiNetworkFields, SecurityIsCountedInItsOwnWay) {
  const int expected[] = {1, 2, 3, 4, 1, 1, 5, 1};
  for (int type = 0; type < 8; ++type) {
    Low().security = static_cast<wifi_security_type_e>(type);
    Reconnect();
    EXPECT_EQ(SecurityType::GetResult(m_mw), "security=" + std::to_string(expected[type])) << type;
  }
}

TEST_F(KpiNetworkFields, NoiseThatIsStrongerCountsAsNone) {
  m_wifi.SetSnr(-3);
  EXPECT_EQ(SNR::GetResult(), "snr=0");
  EXPECT_TRUE(test_log::Has("SNR NEGATIVE => -3"));
  m_wifi.SetSnr(12);
  EXPECT_EQ(SNR::GetResult(), "snr=12");
  EXPECT_TRUE(test_log::Has("Snr =>12"));
}

TEST_F(KpiNetworkFields, UnspecifiedIPv6AddressIsNone) {
  Low().ipv6 = "::";
  Reconnect();
  EXPECT_EQ(CIPV6Param::GetResult(m_mw), "ipv6=0");
  EXPECT_EQ(CEthernetData::GetWired3GIPV6Param(m_mw), "ipv6=0");
  Low().ipv6 = "";
  Reconnect();
  EXPECT_EQ(CIPV6Param::GetResult(m_mw), "ipv6=0");
}

TEST_F(KpiNetworkFields, IPv6IsReadFromAFreshLook) {
  Low().ipv6 = "";
  Reconnect();
  Low().ipv6 = "2001:db8::7";
  m_wifi.SeeAll();
  EXPECT_EQ(CIPV6Param::GetResult(m_mw), "ipv6=1");
  EXPECT_TRUE(test_log::Has("Refresh wifi ap"));
  EXPECT_TRUE(test_log::Has("Success refreshing ap"));
}

TEST_F(KpiNetworkFields, IPv6IsReadAlsoWhenTheLookFails) {
  m_tv.Fail("wifi_ap_refresh", WIFI_ERROR_OPERATION_FAILED);
  EXPECT_EQ(CIPV6Param::GetResult(m_mw), "ipv6=1");
  EXPECT_TRUE(test_log::Has("Refresh wifi ap"));
  EXPECT_FALSE(test_log::Has("Success refreshing ap"));
}

TEST_F(KpiNetworkFields, PublicAddressIsToldFromAPrivateOne) {
  Low().ipv4 = "8.8.8.8";
  Reconnect();
  EXPECT_EQ(IPType::GetResult(m_mw), "ip=1");
  EXPECT_EQ(IPTypeEV005::GetResult(m_mw), "iptype=1");
  EXPECT_EQ(CEthernetData::GetIPType(m_mw), "iptype=1");
}

TEST_F(KpiNetworkFields, NewestStandardIsMarked) {
  Low().mode = WIFI_MANAGER_CONNECTION_MODE_80211AX;
  Reconnect();
  EXPECT_EQ(CWifi680211Ax::GetResult(m_mw), "axap=1");
  EXPECT_TRUE(test_log::Has("ap_connection_mode rv0  result6"));
}

TEST_F(KpiNetworkFields, CableStateIsPassedOn) {
  m_tv.PlugCable();
  EXPECT_EQ(CLanPortStatus::GetResult(m_mw), "lansts=1");
}

TEST_F(KpiNetworkFields, HotspotStatusIsPassedOn) {
  m_internet.SetHotspot(3);
  EXPECT_EQ(CHotSpot::GetResult(m_mw), "aptype=3");
  EXPECT_TRUE(test_log::Has("Connection_check_hotspot rv [0],status[3]"));
}

TEST_F(KpiNetworkFields, OneConnectionHandleServesAllFields) {
  m_tv.ClearCalls();
  CHotSpot::GetResult(m_mw);
  CDhcpLeaseTime::GetResult(m_mw);
  CLanPortStatus::GetResult(m_mw);
  EXPECT_EQ(m_tv.Calls("connection_create").size(), 1U);
  EXPECT_TRUE(m_tv.Calls("connection_destroy").empty());
}

TEST_F(KpiNetworkFields, HandlesEndWithTheirOwner) {
  m_tv.ClearCalls();
  {
    MWHandler mw;
    ASSERT_TRUE(mw.TakeConnectedAP());
    ASSERT_TRUE(mw.TakeConnectedAP()) << "in place of the first";
    CHotSpot::GetResult(mw);
    EXPECT_EQ(m_tv.Calls("wifi_ap_destroy").size(), 1U);
  }
  EXPECT_EQ(m_tv.Calls("wifi_ap_destroy").size(), 2U);
  EXPECT_EQ(m_tv.Calls("connection_destroy").size(), 1U);
  EXPECT_EQ(m_tv.Calls("connection_profile_destroy").size(), 0U);
  CDhcpLeaseTime::GetResult(m_mw);
  EXPECT_EQ(m_tv.Calls("connection_profile_destroy").size(), 1U);
}

TEST_F(KpiNetworkFields, AccessPointIsGoneAfterATakeThatFailed) {
  m_tv.Fail("wifi_get_connected_ap", WIFI_ERROR_OPERATION_FAILED, 1);
  EXPECT_FALSE(m_mw.TakeConnectedAP());
  EXPECT_EQ(m_mw.GetAP(), nullptr);
  EXPECT_TRUE(m_mw.TakeConnectedAP());
}

class KpiMultiProfile : public KpiNetworkFields {
 protected:
  void SetSaved(const std::string& bssid) {
    ASSERT_EQ(vconf_set_str(vconf_keys::kConnectedApBssid, bssid.c_str()), VCONF_OK);
    m_tv.ClearCalls();
  }
  static std::string Saved() {
    const HeapString saved(vconf_get_str(vconf_keys::kConnectedApBssid));
    return saved == nullptr ? "" : saved.get();
  }
  [[nodiscard]] bool IsWritten() const { return !m_tv.Calls("vconf_set_str").empty(); }
};

TEST_F(KpiMultiProfile, KnowsTheSameAccessPoint) {
  SetSaved(kLow);
  EXPECT_EQ(CMultiProfile::GetResult(m_mw), "multiprofile=1");
  EXPECT_TRUE(IsWritten());
}

TEST_F(KpiMultiProfile, KnowsTheOtherBandAndRemembersThisOne) {
  SetSaved(kHigh);
  EXPECT_EQ(CMultiProfile::GetResult(m_mw), "multiprofile=2");
  EXPECT_EQ(Saved(), kLow);
}

TEST_F(KpiMultiProfile, KnowsAnotherRouterAndRemembersThisOne) {
  SetSaved("11:22:33:44:55:66");
  EXPECT_EQ(CMultiProfile::GetResult(m_mw), "multiprofile=3");
  EXPECT_EQ(Saved(), kLow);
  EXPECT_FALSE(test_log::Has("Saved mac address is wrong"));
}

TEST_F(KpiMultiProfile, LeavesASavedTextThatIsNoAddress) {
  for (const char* text : {"AA:BB:CC:DD:EE:0", "AA:BB:CC:DD:EE:010", ""}) {
    test_log::Clear();
    SetSaved(text);
    EXPECT_EQ(CMultiProfile::GetResult(m_mw), "multiprofile=3") << text;
    EXPECT_TRUE(test_log::Has("Saved mac address is wrong")) << text;
    EXPECT_EQ(Saved(), text);
    EXPECT_FALSE(IsWritten());
  }
}

TEST_F(KpiMultiProfile, WritesNothingWhenThereIsNothingToCompare) {
  m_tv.ClearCalls();
  EXPECT_EQ(CMultiProfile::GetResult(m_mw), "multiprofile=3") << "nothing saved";
  EXPECT_FALSE(IsWritten());
  SetSaved(kHigh);
  MWHandler nothing;
  EXPECT_EQ(CMultiProfile::GetResult(nothing), "multiprofile=3");
  m_tv.Fail("wifi_ap_get_bssid", WIFI_ERROR_OPERATION_FAILED, 1);
  EXPECT_EQ(CMultiProfile::GetResult(m_mw), "multiprofile=3");
  EXPECT_FALSE(IsWritten());
  EXPECT_EQ(CMultiProfile::GetResult(m_mw), "multiprofile=2");
}

TEST_F(KpiMultiProfile, ComparesAlsoWhenItCannotRemember) {
  SetSaved(kHigh);
  m_tv.Fail("vconf_set_str", VCONF_ERROR);
  EXPECT_EQ(CMultiProfile::GetResult(m_mw), "multiprofile=2");
  EXPECT_EQ(CMultiProfile::GetResult(m_mw), "multiprofile=2");
}

/// A platform function that a field calls, refused.
struct Refused {
  const char* field;
  const char* function;
  std::string value;
  std::string log;  // empty: none
};

void PrintTo(const Refused& refused, std::ostream* out) {
  *out << refused.field << "_" << refused.function;
}

class KpiNetworkFieldsRefused : public KpiNetworkFields, public testing::WithParamInterface<Refused> {
 protected:
  static constexpr int kCode = -1;
};

TEST_P(KpiNetworkFieldsRefused, OnceCostsOneReading) {
  const NetworkField& field = FieldOf(GetParam().field);
  m_tv.Fail(GetParam().function, kCode, 1);
  EXPECT_EQ(field.read(m_mw), GetParam().value);
  EXPECT_TRUE(GetParam().log.empty() || test_log::Has(GetParam().log));
  EXPECT_EQ(field.read(m_mw), field.value);
}

TEST_P(KpiNetworkFieldsRefused, ForGoodIsNeverFatal) {
  const NetworkField& field = FieldOf(GetParam().field);
  m_tv.Fail(GetParam().function, kCode);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(field.read(m_mw), GetParam().value);
  }
  m_tv.StopFailing(GetParam().function);
  EXPECT_EQ(field.read(m_mw), field.value);
}

INSTANTIATE_TEST_SUITE_P(
    Platform, KpiNetworkFieldsRefused,
    testing::Values(
        Refused{"Mac", "wifi_ap_get_bssid", "mac=ff-ff-ff", ""},
        Refused{"Security", "wifi_ap_get_security_type", "security=1",
                "Fail -> (getSecurityType) => -1 "},
        Refused{"Rssi", "wifi_ap_get_rssi", "rssi=-100", "Failed to get RSSI"},
        Refused{"Frequency", "wifi_ap_get_frequency", "freq=0", "Failed to get frequency"},
        Refused{"BandWidth", "wifi_ap_get_bandwidth", "bw=0", "wifi_ap_get_bandwidth failed"},
        Refused{"Snr", "wifi_get_snr", "snr=0", "[SNR failed =>-1]"},
        Refused{"Ipv6", "wifi_ap_get_ip_address", "ipv6=0", ""},
        Refused{"Ipv6", "wifi_ap_refresh", "ipv6=1", "Refresh wifi ap"},
        Refused{"IpType", "wifi_ap_get_ip_address", "ip=2", "Failed to get ip address"},
        Refused{"IpTypeEV005", "wifi_ap_get_ip_address", "iptype=2", "Failed to get ip address"},
        Refused{"Ax", "wifi_manager_ap_get_connection_mode", "axap=2",
                "ap_connection_mode rv-1  result3"},
        Refused{"SavedProfiles", "wifi_config_foreach_configuration", "mprofile=0", ""},
        Refused{"HotSpot", "connection_check_hotspot", "aptype=0",
                "Connection_check_hotspot rv [-1],status[0]"},
        Refused{"HotSpot", "connection_create", "aptype=0",
                "Connection_check_hotspot rv [-22],status[0]"},
        Refused{"Lease", "connection_create", "dhcplt=0", "get_current_profile failed =>-22"},
        Refused{"Lease", "connection_get_current_profile", "dhcplt=0",
                "get_current_profile failed =>-1"},
        Refused{"Lease", "connection_profile_get_dhcp_lease_duration", "dhcplt=0",
                "api failed ,Failed to get dhcp_lease =>-1"},
        Refused{"LanPort", "connection_get_ethernet_cable_state", "lansts=0",
                "connection_get_ethernet_cable_state api failed "},
        Refused{"LanPort", "connection_create", "lansts=0",
                "connection_get_ethernet_cable_state api failed "},
        Refused{"WiredMac", "connection_get_mac_address", "mac=ff-ff-ff", ""},
        Refused{"WiredMac", "connection_create", "mac=ff-ff-ff", ""},
        Refused{"WiredIpType", "connection_get_ip_address", "iptype=2", ""},
        Refused{"WiredIpv6", "connection_get_ip_address", "ipv6=0", ""},
        Refused{"WiredIpv6", "connection_create", "ipv6=0", ""}));

TEST_F(KpiNetworkFields, UnreadableAddressIsPrivateAlsoInAPublicNetwork) {
  Low().ipv4 = "8.8.8.8";
  Reconnect();
  m_tv.Fail("wifi_ap_get_ip_address", WIFI_ERROR_OPERATION_FAILED, 2);
  m_tv.Fail("connection_get_ip_address", CONNECTION_ERROR_OPERATION_FAILED, 1);
  EXPECT_EQ(IPType::GetResult(m_mw), "ip=2");
  EXPECT_EQ(IPTypeEV005::GetResult(m_mw), "iptype=2");
  EXPECT_EQ(CEthernetData::GetIPType(m_mw), "iptype=2");
}

}  // namespace

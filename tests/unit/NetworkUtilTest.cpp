#include "setwell/NetworkUtil.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "VirtualTv.h"
#include "net_connection.h"
#include "platform.h"
#include "setwell/CWifiManagerAX.h"
#include "wifi_manager.h"

using Setwell::CWifiManagerAX;
using Setwell::NetworkUtil;

namespace {

constexpr char kBssid[] = "02:00:00:00:10:00";

class NetworkLibrary : public testing::Test {
 protected:
  NetworkLibrary() { m_tv.GetWifi().AddRadio({.bssid = kBssid, .essid = "Den"}); }

  void Join() { ASSERT_TRUE(m_tv.GetWifi().Join(kBssid)); }
  std::size_t CallsOf(const char* function) { return m_tv.Calls(function).size(); }

  VirtualTv& m_tv = VirtualTv::Instance();
};

TEST_F(NetworkLibrary, TellsWhichNetworkCarriesTheTraffic) {
  NetworkUtil::InitializeNetworkLib();
  EXPECT_EQ(NetworkUtil::GetNetworkType(), Setwell::NETWORK_TYPE_NONE);
  m_tv.StartTelephony();
  m_tv.InsertDongle();
  EXPECT_EQ(NetworkUtil::GetNetworkType(), Setwell::NETWORK_TYPE_CELLULAR);
  Join();
  EXPECT_EQ(NetworkUtil::GetNetworkType(), Setwell::NETWORK_TYPE_WIRELESS);
  m_tv.PlugCable();
  EXPECT_EQ(NetworkUtil::GetNetworkType(), Setwell::NETWORK_TYPE_WIRED);
  m_tv.UnplugCable();
  m_tv.RemoveDongle();
  m_tv.GetWifi().Drop();
  EXPECT_EQ(NetworkUtil::GetNetworkType(), Setwell::NETWORK_TYPE_NONE);
  EXPECT_EQ(CallsOf("connection_profile_get_type"), CallsOf("connection_profile_destroy"));
}

TEST_F(NetworkLibrary, NeedsNoInitialisationToTellTheNetwork) {
  Join();
  EXPECT_EQ(NetworkUtil::GetNetworkType(), Setwell::NETWORK_TYPE_WIRELESS);
}

TEST_F(NetworkLibrary, KnowsNoNetworkWhileThePlatformDoesNotSay) {
  Join();
  for (const char* function :
       {"connection_create", "connection_get_current_profile", "connection_profile_get_type"}) {
    SCOPED_TRACE(function);
    NetworkUtil::DeinitializeNetworkLib();
    m_tv.Fail(function, CONNECTION_ERROR_OPERATION_FAILED);
    EXPECT_EQ(NetworkUtil::GetNetworkType(), Setwell::NETWORK_TYPE_NONE);
    m_tv.StopFailing(function);
    EXPECT_EQ(NetworkUtil::GetNetworkType(), Setwell::NETWORK_TYPE_WIRELESS);
  }
  EXPECT_EQ(CallsOf("connection_profile_get_type"), CallsOf("connection_profile_destroy"));
}

TEST_F(NetworkLibrary, TellsWhetherThereIsAGateway) {
  EXPECT_FALSE(NetworkUtil::IsGateWayConnected());
  Join();
  EXPECT_TRUE(NetworkUtil::IsGateWayConnected());
  m_tv.GetInternet().SetGateway(false);
  EXPECT_FALSE(NetworkUtil::IsGateWayConnected());
  m_tv.GetInternet().SetGateway(true);
  EXPECT_TRUE(NetworkUtil::IsGateWayConnected());
  EXPECT_EQ(CallsOf("connection_create"), 0U);
}

TEST_F(NetworkLibrary, KnowsNoGatewayWhileThePlatformDoesNotSay) {
  Join();
  m_tv.Fail("connection_profile_check_default_gateway", CONNECTION_ERROR_OPERATION_FAILED, 1);
  EXPECT_FALSE(NetworkUtil::IsGateWayConnected());
  EXPECT_TRUE(NetworkUtil::IsGateWayConnected());
  m_tv.Fail("connection_profile_check_default_gateway", CONNECTION_ERROR_OPERATION_FAILED);
  EXPECT_FALSE(NetworkUtil::IsGateWayConnected());
  EXPECT_FALSE(NetworkUtil::IsGateWayConnected());
}

TEST_F(NetworkLibrary, OpensTheConnectionInterfaceOnceUntilItIsClosed) {
  NetworkUtil::InitializeNetworkLib();
  NetworkUtil::InitializeNetworkLib();
  NetworkUtil::GetNetworkType();
  EXPECT_EQ(CallsOf("connection_create"), 1U);
  NetworkUtil::DeinitializeNetworkLib();
  NetworkUtil::DeinitializeNetworkLib();
  EXPECT_EQ(CallsOf("connection_destroy"), 1U);
  NetworkUtil::InitializeNetworkLib();
  EXPECT_EQ(CallsOf("connection_create"), 2U);
}

TEST_F(NetworkLibrary, BeginsWithoutConnectionInterfaceAndWithoutWifi) {
  m_tv.Fail("connection_create", CONNECTION_ERROR_OPERATION_FAILED, 1);
  m_tv.Fail("wifi_initialize", WIFI_ERROR_OPERATION_FAILED, 1);
  NetworkUtil::InitializeNetworkLib();
  EXPECT_FALSE(m_tv.GetWifi().IsInitialized());
  NetworkUtil::InitializeNetworkLib();
  EXPECT_TRUE(m_tv.GetWifi().IsInitialized());
  Join();
  EXPECT_EQ(NetworkUtil::GetNetworkType(), Setwell::NETWORK_TYPE_WIRELESS);
}

TEST_F(NetworkLibrary, TurnsItsKindsOfSecurityIntoTheInterfaces) {
  const struct {
    int kind;
    wifi_security_type_e type;
  } rows[] = {
      {Setwell::SECURITY_OPEN, WIFI_SECURITY_TYPE_NONE},
      {Setwell::SECURITY_WEP, WIFI_SECURITY_TYPE_WEP},
      {Setwell::SECURITY_WPA_PSK, WIFI_SECURITY_TYPE_WPA_PSK},
      {Setwell::SECURITY_WPA2_PSK, WIFI_SECURITY_TYPE_WPA2_PSK},
      {Setwell::SECURITY_WPA3_SAE, WIFI_SECURITY_TYPE_SAE},
      {Setwell::SECURITY_EAP, WIFI_SECURITY_TYPE_EAP},
      {Setwell::SECURITY_UNKNOWN, WIFI_SECURITY_TYPE_WPA2_PSK},
      {-1, WIFI_SECURITY_TYPE_WPA2_PSK},
      {7, WIFI_SECURITY_TYPE_WPA2_PSK},
      {1 << 30, WIFI_SECURITY_TYPE_WPA2_PSK},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(NetworkUtil::convert_security_type_enum(row.kind), row.type) << row.kind;
  }
}

TEST_F(NetworkLibrary, TellsTheGenerationOfTheStandardOnTheConnection) {
  NetworkUtil::InitializeNetworkLib();
  EXPECT_EQ(CWifiManagerAX::GetWiFiProtocol(), -1);  // connected to none
  Join();
  for (int mode = WIFI_MANAGER_CONNECTION_MODE_80211B; mode <= WIFI_MANAGER_CONNECTION_MODE_80211AX;
       ++mode) {
    m_tv.GetWifi().FindRadio(kBssid)->mode = static_cast<wifi_manager_connection_mode_e>(mode);
    EXPECT_EQ(CWifiManagerAX::GetWiFiProtocol(), mode - 1);
  }
  for (const int mode : {0, 7}) {
    m_tv.GetWifi().FindRadio(kBssid)->mode = static_cast<wifi_manager_connection_mode_e>(mode);
    EXPECT_EQ(CWifiManagerAX::GetWiFiProtocol(), -1) << mode;
  }
}

TEST_F(NetworkLibrary, KnowsNoGenerationWhileThePlatformDoesNotSay) {
  NetworkUtil::InitializeNetworkLib();
  Join();
  EXPECT_EQ(CWifiManagerAX::GetWiFiProtocol(), 2);
  for (const char* function : {"wifi_get_connected_ap", "wifi_manager_ap_get_connection_mode"}) {
    SCOPED_TRACE(function);
    m_tv.Fail(function, WIFI_ERROR_OPERATION_FAILED, 1);
    EXPECT_EQ(CWifiManagerAX::GetWiFiProtocol(), -1);
    EXPECT_EQ(CWifiManagerAX::GetWiFiProtocol(), 2);
  }
  EXPECT_EQ(CallsOf("wifi_ap_destroy"), CallsOf("wifi_get_connected_ap") - 1);
}

}  // namespace

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "NW_Common.h"
#include "VirtualTv.h"
#include "net_connection.h"
#include "platform.h"

using namespace std::chrono_literals;

namespace {

using Texts = std::vector<std::string>;

constexpr char kSmall[] = "02:00:00:00:00:24";
constexpr char kFast[] = "02:00:00:00:00:05";

class VirtualInternet : public testing::Test {
 protected:
  VirtualInternet() { connection_create(&m_connection); }

  void Listen() {
    const auto note = [](connection_error_e result, char* state, void* told) {
      const std::string text = (result == CONNECTION_ERROR_NONE ? "+" : "-") + std::string(state);
      static_cast<Texts*>(told)->push_back(text);
    };
    ASSERT_EQ(connection_set_network_monitor_cb(m_connection, note, &m_told), CONNECTION_ERROR_NONE);
  }
  /// Listens in a wired network, of which the first finding is told already.
  void ListenWired() {
    m_tv.PlugCable();
    Listen();
    ASSERT_EQ(Told(), Texts{"+HTTP"});
  }

  /// What was told since it was asked last.
  Texts Told() {
    RunLoopFor(1s);
    Texts told;
    told.swap(m_told);
    return told;
  }

  void PutRadiosOnAir() {
    Radio small;
    small.bssid = kSmall;
    small.essid = "home";
    small.ipv4 = "192.168.7.24";
    m_tv.GetWifi().AddRadio(small);
    Radio fast = small;
    fast.bssid = kFast;
    fast.essid = "home fast";
    fast.ipv4 = "192.168.7.5";
    fast.ipv6 = "2001:db8::5";
    m_tv.GetWifi().AddRadio(fast);
  }

  int CurrentType() {
    connection_profile_h profile = nullptr;
    if (connection_get_current_profile(m_connection, &profile) != CONNECTION_ERROR_NONE) {
      return -1;
    }
    connection_profile_type_e type{};
    EXPECT_EQ(connection_profile_get_type(profile, &type), CONNECTION_ERROR_NONE);
    EXPECT_EQ(connection_profile_destroy(profile), CONNECTION_ERROR_NONE);
    return type;
  }
  std::string Address(connection_address_family_e family = CONNECTION_ADDRESS_FAMILY_IPV4) {
    char* text = nullptr;
    const int result = connection_get_ip_address(m_connection, family, &text);
    EXPECT_EQ(result, text == nullptr ? CONNECTION_ERROR_NO_CONNECTION : CONNECTION_ERROR_NONE);
    const HeapString owned(text);
    return text == nullptr ? "" : text;
  }
  std::string HardwareAddress(connection_type_e type) {
    char* text = nullptr;
    const int result = connection_get_mac_address(m_connection, type, &text);
    EXPECT_EQ(result, text == nullptr ? CONNECTION_ERROR_OPERATION_FAILED : CONNECTION_ERROR_NONE);
    const HeapString owned(text);
    return text == nullptr ? "" : text;
  }
  /// @return -1 when it is not lent
  int Lease(connection_address_family_e family = CONNECTION_ADDRESS_FAMILY_IPV4) {
    connection_profile_h profile = nullptr;
    EXPECT_EQ(connection_get_current_profile(m_connection, &profile), CONNECTION_ERROR_NONE);
    int seconds = -1;
    const int result = connection_profile_get_dhcp_lease_duration(profile, family, &seconds);
    EXPECT_EQ(result, seconds == -1 ? CONNECTION_ERROR_NO_CONNECTION : CONNECTION_ERROR_NONE);
    connection_profile_destroy(profile);
    return seconds;
  }

  VirtualTv& m_tv = VirtualTv::Instance();
  Internet& m_internet = m_tv.GetInternet();
  connection_h m_connection = nullptr;
  Texts m_told;
};

TEST_F(VirtualInternet, TheCableGoesBeforeWifiAndWifiBeforeTheDongle) {
  PutRadiosOnAir();
  EXPECT_EQ(CurrentType(), -1);
  m_tv.InsertDongle();
  EXPECT_EQ(CurrentType(), -1) << "nobody runs the modem";
  m_tv.StartTelephony();
  EXPECT_EQ(CurrentType(), CONNECTION_PROFILE_TYPE_CELLULAR);
  ASSERT_TRUE(m_tv.GetWifi().Join(kSmall));
  EXPECT_EQ(CurrentType(), CONNECTION_PROFILE_TYPE_WIFI);
  m_tv.PlugCable();
  EXPECT_EQ(CurrentType(), CONNECTION_PROFILE_TYPE_ETHERNET);
  m_tv.UnplugCable();
  EXPECT_EQ(CurrentType(), CONNECTION_PROFILE_TYPE_WIFI);
  m_tv.GetWifi().Drop();
  EXPECT_EQ(CurrentType(), CONNECTION_PROFILE_TYPE_CELLULAR);
  m_tv.RemoveDongle();
  EXPECT_EQ(CurrentType(), -1);
}

TEST_F(VirtualInternet, TheAddressIsThatOfTheCarrier) {
  PutRadiosOnAir();
  EXPECT_EQ(Address(), "");
  m_tv.StartTelephony();
  m_tv.InsertDongle();
  m_internet.SetCellularAddresses({"10.1.2.3", ""});
  EXPECT_EQ(Address(), "10.1.2.3");
  ASSERT_TRUE(m_tv.GetWifi().Join(kFast));
  EXPECT_EQ(Address(), "192.168.7.5");
  EXPECT_EQ(Address(CONNECTION_ADDRESS_FAMILY_IPV6), "2001:db8::5");
  ASSERT_TRUE(m_tv.GetWifi().Join(kSmall));
  EXPECT_EQ(Address(), "192.168.7.24");
  EXPECT_EQ(Address(CONNECTION_ADDRESS_FAMILY_IPV6), "");
  m_internet.SetWiredAddresses({"192.0.2.10", "2001:db8::10"});
  m_tv.PlugCable();
  EXPECT_EQ(Address(), "192.0.2.10");
  EXPECT_EQ(Address(CONNECTION_ADDRESS_FAMILY_IPV6), "2001:db8::10");
}

TEST_F(VirtualInternet, TheFirstFindingIsToldToTheNewcomerOnly) {
  Listen();
  EXPECT_EQ(Told(), Texts{"-PHY"});
  m_tv.PlugCable();
  EXPECT_EQ(Told(), (Texts{"+PHY", "+HTTP"}));
  connection_h other = nullptr;
  ASSERT_EQ(connection_create(&other), CONNECTION_ERROR_NONE);
  Texts told_other;
  const auto note = [](connection_error_e, char* state, void* told) {
    static_cast<Texts*>(told)->push_back(state);
  };
  ASSERT_EQ(connection_set_network_monitor_cb(other, note, &told_other), CONNECTION_ERROR_NONE);
  EXPECT_EQ(Told(), Texts{});
  EXPECT_EQ(told_other, Texts{"HTTP"});
}

TEST_F(VirtualInternet, TheFirstStepThatFailsIsReported) {
  ListenWired();
  m_internet.SetDns(false);
  EXPECT_EQ(Told(), Texts{"-DNS"});
  m_internet.SetGateway(false);
  EXPECT_EQ(Told(), Texts{"-GATEWAY"});
  m_internet.SetHttp(false);
  EXPECT_EQ(Told(), Texts{}) << "the check does not come so far";
  m_tv.UnplugCable();
  EXPECT_EQ(Told(), Texts{"-PHY"});
  m_internet.SetGateway(true);
  m_internet.SetGateway(false);
  EXPECT_EQ(Told(), Texts{});
}

TEST_F(VirtualInternet, AStepThatWorksAgainIsReportedBeforeTheNextThatFails) {
  m_internet.SetGateway(false);
  m_internet.SetDns(false);
  m_internet.SetHttp(false);
  Listen();
  EXPECT_EQ(Told(), Texts{"-PHY"});
  m_tv.PlugCable();
  EXPECT_EQ(Told(), (Texts{"+PHY", "-GATEWAY"}));
  m_internet.SetGateway(true);
  EXPECT_EQ(Told(), (Texts{"+GATEWAY", "-DNS"}));
  m_internet.SetDns(true);
  EXPECT_EQ(Told(), (Texts{"+DNS", "-HTTP"}));
  m_internet.SetHttp(true);
  EXPECT_EQ(Told(), Texts{"+HTTP"}) << "once";
}

TEST_F(VirtualInternet, WhatIsSetAgainIsNotReported) {
  ListenWired();
  m_internet.SetHttp(true);
  m_internet.SetGateway(true);
  m_tv.PlugCable();
  EXPECT_EQ(Told(), Texts{});
}

TEST_F(VirtualInternet, AnotherNetworkIsCheckedAnew) {
  PutRadiosOnAir();
  ASSERT_TRUE(m_tv.GetWifi().Join(kSmall));
  Listen();
  EXPECT_EQ(Told(), Texts{"+HTTP"});
  m_tv.PlugCable();
  EXPECT_EQ(Told(), Texts{"+HTTP"});
  m_internet.SetDns(false);
  EXPECT_EQ(Told(), Texts{"-DNS"});
  m_tv.UnplugCable();
  EXPECT_EQ(Told(), Texts{"-DNS"});
  m_tv.GetWifi().Drop();
  EXPECT_EQ(Told(), Texts{"-PHY"});
}

TEST_F(VirtualInternet, AReportOfATestLeavesTheHealthAsItIs) {
  ListenWired();
  m_internet.Report(-7, "GATEWAY");
  m_internet.Report(0, "no such step");
  EXPECT_EQ(Told(), (Texts{"-GATEWAY", "+no such step"}));
  EXPECT_TRUE(m_internet.IsGatewayWorking());
  EXPECT_TRUE(m_internet.HasDefaultGateway());
}

TEST_F(VirtualInternet, AReportTakesItsLatency) {
  ListenWired();
  m_tv.SetLatency(VirtualTv::EventKind::kReport, 5000);
  m_internet.SetHttp(false);
  RunLoopFor(4900ms);
  EXPECT_EQ(m_told, Texts{});
  EXPECT_EQ(Told(), Texts{"-HTTP"});
}

TEST_F(VirtualInternet, AReportUnderWayIsLostWithItsCallback) {
  ListenWired();
  m_internet.SetHttp(false);
  ASSERT_EQ(connection_unset_network_monitor_cb(m_connection), CONNECTION_ERROR_NONE);
  EXPECT_EQ(Told(), Texts{});
  Listen();
  ASSERT_EQ(connection_unset_network_monitor_cb(m_connection), CONNECTION_ERROR_NONE);
  Listen();
  EXPECT_EQ(Told(), Texts{"-HTTP"}) << "once, for the callback that is there";
}

TEST_F(VirtualInternet, AStoppedPlatformReportsNothing) {
  ListenWired();
  platform_stop();
  m_internet.SetHttp(false);
  EXPECT_EQ(Told(), Texts{});
}

TEST_F(VirtualInternet, TheGatewayNeedsANetwork) {
  EXPECT_FALSE(m_internet.HasDefaultGateway());
  m_tv.PlugCable();
  EXPECT_TRUE(m_internet.HasDefaultGateway());
  m_internet.SetGateway(false);
  EXPECT_FALSE(m_internet.HasDefaultGateway());
}

TEST_F(VirtualInternet, HardwareHasTheAddressThatItIsGiven) {
  EXPECT_NE(HardwareAddress(CONNECTION_TYPE_ETHERNET), "");
  EXPECT_NE(HardwareAddress(CONNECTION_TYPE_WIFI), HardwareAddress(CONNECTION_TYPE_ETHERNET));
  EXPECT_EQ(HardwareAddress(CONNECTION_TYPE_CELLULAR), "");
  m_tv.InsertDongle();
  EXPECT_NE(HardwareAddress(CONNECTION_TYPE_CELLULAR), "");
  m_internet.SetMacAddress(CONNECTION_TYPE_ETHERNET, "02:AB:CD:EF:00:01");
  EXPECT_EQ(HardwareAddress(CONNECTION_TYPE_ETHERNET), "02:AB:CD:EF:00:01");
  m_internet.SetMacAddress(CONNECTION_TYPE_WIFI, "");
  EXPECT_EQ(HardwareAddress(CONNECTION_TYPE_WIFI), "");
  EXPECT_EQ(HardwareAddress(CONNECTION_TYPE_DISCONNECTED), "");
}

TEST_F(VirtualInternet, OnlyAnIpv4AddressFromARouterIsLent) {
  m_tv.PlugCable();
  m_internet.SetLeaseSeconds(7200);
  EXPECT_EQ(Lease(), 7200);
  EXPECT_EQ(Lease(CONNECTION_ADDRESS_FAMILY_IPV6), -1);
  m_internet.SetLeaseSeconds(0);
  EXPECT_EQ(Lease(), -1);
  m_internet.SetLeaseSeconds(7200);
  m_tv.UnplugCable();
  m_tv.StartTelephony();
  m_tv.InsertDongle();
  EXPECT_EQ(Lease(), -1);
}

TEST_F(VirtualInternet, AHotspotIsAskedOfTheAccessPoint) {
  PutRadiosOnAir();
  m_internet.SetHotspot(1);
  int status = 7;
  EXPECT_EQ(connection_check_hotspot(m_connection, &status), CONNECTION_ERROR_NO_CONNECTION);
  EXPECT_EQ(status, 7);
  ASSERT_TRUE(m_tv.GetWifi().Join(kSmall));
  EXPECT_EQ(connection_check_hotspot(m_connection, &status), CONNECTION_ERROR_NONE);
  EXPECT_EQ(status, 1);
}

/// A refused call answers with its code, is recorded, and does nothing.
TEST_F(VirtualInternet, EachFunctionCanBeToldToFail) {
  m_tv.PlugCable();
  connection_profile_h profile = nullptr;
  ASSERT_EQ(connection_get_current_profile(m_connection, &profile), CONNECTION_ERROR_NONE);
  connection_h handle = nullptr;
  connection_profile_h taken = nullptr;
  connection_ethernet_cable_state_e state = CONNECTION_ETHERNET_CABLE_DETACHED;
  connection_profile_type_e type = CONNECTION_PROFILE_TYPE_CELLULAR;
  bool has_gateway = false;
  int number = 7;
  char* text = nullptr;
  const auto ipv4 = CONNECTION_ADDRESS_FAMILY_IPV4;
  struct Function {
    const char* name;
    std::function<int()> call;
    Texts arguments;
  };
  const Function functions[] = {
      {"connection_create", [&] { return connection_create(&handle); }, {}},
      {"connection_destroy", [&] { return connection_destroy(m_connection); }, {}},
      {"connection_get_ethernet_cable_state",
       [&] { return connection_get_ethernet_cable_state(m_connection, &state); },
       {}},
      {"connection_set_network_monitor_cb",
       [&] {
         return connection_set_network_monitor_cb(
             m_connection, [](connection_error_e, char*, void*) { FAIL(); }, nullptr);
       },
       {}},
      {"connection_unset_network_monitor_cb",
       [&] { return connection_unset_network_monitor_cb(m_connection); },
       {}},
      {"connection_get_current_profile",
       [&] { return connection_get_current_profile(m_connection, &taken); },
       {}},
      {"connection_profile_destroy", [&] { return connection_profile_destroy(profile); }, {}},
      {"connection_profile_get_type", [&] { return connection_profile_get_type(profile, &type); }, {}},
      {"connection_profile_get_dhcp_lease_duration",
       [&] { return connection_profile_get_dhcp_lease_duration(profile, ipv4, &number); },
       {"0"}},
      {"connection_profile_check_default_gateway",
       [&] { return connection_profile_check_default_gateway(&has_gateway); },
       {}},
      {"connection_get_mac_address",
       [&] { return connection_get_mac_address(m_connection, CONNECTION_TYPE_ETHERNET, &text); },
       {"3"}},
      {"connection_get_ip_address",
       [&] { return connection_get_ip_address(m_connection, ipv4, &text); },
       {"0"}},
      {"connection_check_hotspot", [&] { return connection_check_hotspot(m_connection, &number); }, {}},
  };
  for (const Function& function : functions) {
    m_tv.ClearCalls();
    m_tv.Fail(function.name, -99, 1);
    EXPECT_EQ(function.call(), -99) << function.name;
    EXPECT_EQ(m_tv.Calls(),
              (std::vector<VirtualTv::Call>{{std::string(function.name), function.arguments}}));
  }
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(taken, nullptr);
  EXPECT_EQ(state, CONNECTION_ETHERNET_CABLE_DETACHED);
  EXPECT_EQ(type, CONNECTION_PROFILE_TYPE_CELLULAR);
  EXPECT_FALSE(has_gateway);
  EXPECT_EQ(number, 7);
  EXPECT_EQ(text, nullptr);
  RunLoopFor(1s);
  EXPECT_EQ(connection_profile_destroy(profile), CONNECTION_ERROR_NONE) << "it was not destroyed";
  EXPECT_EQ(connection_destroy(m_connection), CONNECTION_ERROR_NONE) << "it was not destroyed";
}

}  // namespace

#include "KPICreator2017.h"

#include <functional>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "C5GhzSwitchHandler.h"
#include "KpiRoom.h"
#include "MainLoop.h"
#include "NewKPI2017.h"
#include "TestLog.h"
#include "WifiOnOffInfo.h"
#include "setwell/NetworkUtil.h"

namespace {

constexpr char kCellularHead[] =
    "mac=ff-ff-ff;freq=0000;prot=Not/A;bw=00;num=0;slist=;security=1;rssi=000,ntype=3,linkspeed=00,ip=2,"
    "interfer=0";
constexpr char kCellularTail[] =
    "aptype=0,dualap=0,dhcplt=0,lansts=0,mprofile=0,diffmac=0,dualfreq=0,dualrssi=0,dualprot=0,"
    "moduleid=0";

/// An event, and its description in the room.
struct Event {
  const char* name;
  std::unique_ptr<IKPICreator> (*make)();
  bool needs_ap;
  std::string description;
  std::string without_ap;  ///< of those that need none
};

void PrintTo(const Event& event, std::ostream* out) {
  *out << event.name;
}

template <class Creator>
std::unique_ptr<IKPICreator> Make() {
  return std::make_unique<Creator>();
}

const std::vector<Event> kEvents = {
    {"CellularEV001", Make<CKPICellularEV001>, false,
     std::string(kCellularHead) + ";ipv6=1;" + kCellularTail + ";oobe=0;axap=0",
     std::string(kCellularHead) + ";ipv6=0;" + kCellularTail + ";oobe=0;axap=0"},
    {"EthernetEV004", Make<CKPIEthernetEV004>, false, "mac=02-1A-11;iptype=2;ipv6=1;dhcplt=3600",
     "mac=02-1A-11;iptype=2;ipv6=0;dhcplt=0"},
    {"WifiEnv", Make<CKPIWIFIENV>, true,
     "security=4;rssi=-47;ntype=2;linkspeed=00;ip=2;interfer=0;ipv6=1;aptype=0;dualap=1;dhcplt=3600;"
     "lansts=0;mprofile=2;diffmac=4;dualfreq=5180;dualrssi=-55;dualprot=802.11ac;moduleid=7663\n;oobe=0;"
     "axap=2",
     ""},
    {"WifiRssi", Make<CKPIWIFIRSSI>, true,
     "rssi=-47;freq=2437;linkspeed=00;interfer=0;ip=2;ipv6=1;aptype=0;multiprofile=2;snr=32;"
     "protocol=802.11n;axap=2",
     ""},
    {"WirelessEnvironmentEV008", Make<CKPIWirelessEnvironmentEV008>, true,
     "ntype=2;rssi=-47;interfer=0;appid=org.orvik.player;mac=AA-BB-CC;freq=2437;prot=802.11n;bw=20;"
     "security=4;linkspeed=00;ip=2;aptype=0;dualap=1;moduleid=7663\n",
     ""},
    {"BandSwitchEV005", Make<CKPIAWMEV005>, false,
     "swreason=1;diffmac=4;rssis=-47/2437|-55/5180;interferences=35/2437|5/5180;"
     "protocols=802.11n/2437|802.11ac/5180;select=1;appid=org.orvik.player;iptype=2;aptype=0;security=4;"
     "moduleid=7663\n",
     "swreason=1;diffmac=4;rssis=-47/2437|-55/5180;interferences=35/2437|5/5180;"
     "protocols=802.11n/2437|802.11ac/5180;select=1;appid=org.orvik.player;iptype=2;aptype=0;security=1;"
     "moduleid=7663\n"},
    {"PlayerTroubleEV006",
     []() -> std::unique_ptr<IKPICreator> {
       return std::make_unique<CKPIAWMEV006>(eStreamingLowResolution);
     },
     false,
     "lqevent=2;ntype=2;rssi=-61;interfer=40;appid=org.orvik.player;mac=AA-BB-CC;freq=2437;prot=802.11n;"
     "bw=20;security=4;linkspeed=72;ip=2;aptype=0;dualap=1;moduleid=7663\n",
     "lqevent=2;ntype=2;rssi=-61;interfer=40;appid=org.orvik.player;mac=ff-ff-ff;freq=0;prot=unknown;"
     "bw=0;security=1;linkspeed=72;ip=2;aptype=0;dualap=0;moduleid=7663\n"},
    {"IconClickEV008", Make<CKPIWirelessEV008>, false, "appid=org.orvik.player;aptype=0;click_reason=2",
     "appid=org.orvik.player;aptype=0;click_reason=2"},
    {"PopupSelectionEV009", Make<CKPIWirelessEV009>, false, "appid=org.orvik.player;aptype=0;select=0",
     "appid=org.orvik.player;aptype=0;select=0"},
    {"EV010", Make<CKPIWirelessEV010>, false, "appid=org.orvik.player;aptype=0",
     "appid=org.orvik.player;aptype=0"},
    {"ConnectionTestEV011", Make<CKPIWirelessEV011>, false,
     "execution_method=manual;marquee_test_result=success;appid=org.orvik.player;aptype=0;"
     "rssis=-62/2427|-65/5220,interferences=35/2427|5/5220,protocols=11n/2427|11ac/5220",
     "execution_method=manual;marquee_test_result=success;appid=org.orvik.player;aptype=0;"
     "rssis=-62/2427|-65/5220,interferences=35/2427|5/5220,protocols=11n/2427|11ac/5220"},
};

const Event& EventOf(const std::string& name) {
  for (const Event& event : kEvents) {
    if (event.name == name) {
      return event;
    }
  }
  throw std::logic_error("no event " + name);
}

std::vector<std::string> KeysOf(const std::string& description) {
  std::vector<std::string> keys;
  std::string text;
  for (const char c : description + ";") {
    if (c == ';' || c == ',') {
      keys.push_back(text.substr(0, text.find('=')));
      text.clear();
    } else {
      text += c;
    }
  }
  return keys;
}

class KpiCreators : public KpiRoom {
 protected:
  void SetUp() override {
    KpiRoom::SetUp();
    vconf_set_str(vconf_keys::kConnectedApBssid, kHigh);
    vconf_set_int(vconf_keys::kNetRssi, -61);
    vconf_set_int(vconf_keys::kNetInterfer, 40);
    vconf_set_int(vconf_keys::kNetLinkSpeed, 72);
    C5GhzSwitchHandler& handler = *GetPOCInstance();
    handler.GetOriginalWiFiData() = Switched(kLow, -47, 2437, "802.11n", 35);
    handler.GetSimilarWiFiData() = Switched(kHigh, -55, 5180, "802.11ac", 5);
    handler.m_SetUserSelection(1);
    GetWifiOnOffInstance()->SetPopupReason(2);
    GetWifiOnOffInstance()->SetPopupSelection(0);
    GetWifiOnOffInstance()->SetExecutionMethod("manual");
    GetWifiOnOffInstance()->SetTestResult("success");
  }

  static sExtendedWiFiData Switched(const char* bssid, int rssi, int frequency, const char* protocol,
                                    int interference) {
    sExtendedWiFiData data;
    data.bssid = bssid;
    data.rssi = rssi;
    data.frequency = frequency;
    data.protocol = protocol;
    data.channelInterference = interference;
    return data;
  }

  /// Makes the event as its sender does.
  /// @return its description, empty when none can be made
  static std::string Describe(const Event& event) {
    const std::unique_ptr<IKPICreator> creator = event.make();
    if (!event.needs_ap) {
      return creator->Create(nullptr) ? creator->GetResult() : "";
    }
    std::string description;
    bool is_done = false;
    if (!creator->Create([&](int) {
          description = creator->GetResult();
          is_done = true;
        })) {
      return "";
    }
    RunLoopUntil([&] { return is_done; });
    return description;
  }
};

class KpiDescriptions : public KpiCreators, public testing::WithParamInterface<Event> {};

TEST_P(KpiDescriptions, AreWhatTheRoomShows) {
  EXPECT_EQ(Describe(GetParam()), GetParam().description);
}

TEST_P(KpiDescriptions, WithoutAnAccessPointAreFixedTextsOrNone) {
  m_wifi.Drop();
  EXPECT_EQ(Describe(GetParam()), GetParam().without_ap);
}

TEST_P(KpiDescriptions, KeepTheirKeysWhateverThePlatformRefuses) {
  const std::vector<std::string> functions = {
      "connection_check_hotspot",
      "connection_create",
      "connection_destroy",
      "connection_get_current_profile",
      "connection_get_ethernet_cable_state",
      "connection_get_ip_address",
      "connection_get_mac_address",
      "connection_profile_destroy",
      "connection_profile_get_dhcp_lease_duration",
      "vconf_get_int",
      "vconf_get_str",
      "vconf_set_str",
      "wifi_ap_destroy",
      "wifi_ap_get_bandwidth",
      "wifi_ap_get_bssid",
      "wifi_ap_get_essid",
      "wifi_ap_get_frequency",
      "wifi_ap_get_ip_address",
      "wifi_ap_get_rssi",
      "wifi_ap_get_security_type",
      "wifi_ap_refresh",
      "wifi_config_foreach_configuration",
      "wifi_foreach_found_aps",
      "wifi_foreach_found_bssids",
      "wifi_get_connected_ap",
      "wifi_get_connection_state",
      "wifi_get_snr",
      "wifi_manager_ap_get_connection_mode",
  };
  const Event& event = GetParam();
  for (const std::string& function : functions) {
    for (const int times : {1, VirtualTv::kForGood}) {
      m_tv.Fail(function, -1, times);
      const std::string description = Describe(event);
      const bool is_unsendable = event.needs_ap && function == "wifi_get_connected_ap";
      const bool is_single_band =  // as far as anybody can see
          event.make == Make<CKPIWIFIENV> &&
          (function == "wifi_foreach_found_aps" || function == "wifi_ap_get_bssid");
      if (is_unsendable || is_single_band) {
        EXPECT_EQ(description, "") << function;
      } else {
        EXPECT_EQ(KeysOf(description), KeysOf(event.description)) << function;
      }
      m_tv.StopFailing(function);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Events, KpiDescriptions, testing::ValuesIn(kEvents),
                         [](const auto& info) { return info.param.name; });

TEST_F(KpiCreators, CellularEventTellsOfTheDongle) {
  m_wifi.Drop();
  m_tv.InsertDongle();
  m_tv.StartTelephony();
  m_internet.SetCellularAddresses({"10.64.12.5", "2001:db8::5"});
  RunLoopFor(std::chrono::seconds(1));
  vconf_set_str(vconf_keys::kWizardMode, "PNP_SETUP");
  EXPECT_EQ(Describe(EventOf("CellularEV001")),
            std::string(kCellularHead) + ";ipv6=1;" + kCellularTail + ";oobe=1;axap=0");
}

TEST_F(KpiCreators, EthernetEventTellsOfTheCable) {
  m_tv.PlugCable();
  m_internet.SetMacAddress(CONNECTION_TYPE_ETHERNET, "12:34:56:78:9A:BC");
  m_internet.SetWiredAddresses({"8.8.4.4", ""});
  EXPECT_EQ(Describe(EventOf("EthernetEV004")), "mac=12-34-56;iptype=1;ipv6=0;dhcplt=3600");
}

TEST_F(KpiCreators, EthernetEventWithoutHardwareHasAllItsKeys) {
  m_wifi.Drop();
  m_internet.SetMacAddress(CONNECTION_TYPE_ETHERNET, "");
  EXPECT_EQ(Describe(EventOf("EthernetEV004")), "mac=ff-ff-ff;iptype=2;ipv6=0;dhcplt=0");
}

TEST_F(KpiCreators, SwitchAskedForByTheUserHasItsOwnReason) {
  C5GhzSwitchHandler& handler = *GetPOCInstance();
  Setwell::NetworkUtil::InitializeNetworkLib();
  m_wifi.RemoveRadio(kHigh);
  m_wifi.SeeAll();
  handler.StartConnection(eUserRequest);
  EXPECT_TRUE(Describe(EventOf("BandSwitchEV005")).starts_with("swreason=0;"));
}

TEST_F(KpiCreators, RelayedEventsHaveTheirFieldsOnlyOnceTheyAreCreated) {
  CKPIWirelessEV010 creator;
  EXPECT_EQ(creator.GetResult(), "");
  EXPECT_TRUE(creator.CreateKPI());
  EXPECT_TRUE(creator.CreateKPI());
  EXPECT_EQ(creator.GetResult(), "appid=org.orvik.player;aptype=0") << "once each";
}

TEST_F(KpiCreators, DescriptionIsReadAnewEachTime) {
  CKPIWirelessEV008 creator;
  ASSERT_TRUE(creator.CreateKPI());
  GetWifiOnOffInstance()->SetPopupReason(0);
  EXPECT_EQ(creator.GetResult(), "appid=org.orvik.player;aptype=0;click_reason=0");
}

}  // namespace

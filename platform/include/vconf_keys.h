#pragma once

#include <string_view>

/// Every settings key that the daemon reads, writes or watches: the names, then the catalogue with the
/// type of each. Product code names a key through these constants only.
namespace vconf_keys {

inline constexpr char kFactoryReset[] = "db/was/factory_reset";
inline constexpr char kSavedAPList[] = "db/menu/network/SavedAPList";
inline constexpr char kTopSavedAP[] = "db/menu/network/TopSavedAP";
inline constexpr char kApName[] = "db/menu/network/ap_name";
inline constexpr char kConnectedApBssid[] = "db/menu/network/connected_ap_bssid";
inline constexpr char kAuto5GhzSwitchSettings[] = "db/menu/network/auto_5ghz_switch_settings";
inline constexpr char kDualBandApMac[] = "db/menu/network/dualbandapMac";
inline constexpr char kEapCertificateStatus[] = "db/menu/network/eap_certificate_status";
inline constexpr char kEuWifiRegTestMode[] = "db/menu/network/eu_wifi_reg_test_mode";
inline constexpr char kInternetStatus[] = "db/menu/network/internet_status";
inline constexpr char kLaunchNS[] = "db/menu/network/launchNS";
inline constexpr char kNetworkType[] = "db/menu/network/network_type";
inline constexpr char kNetworkAppStatus[] = "db/menu/network/networkapp_status";
inline constexpr char kTetheringStatus[] = "db/menu/network/tethering_status";
inline constexpr char kCustomerStatus[] = "db/htv/customer_status";
inline constexpr char kDisclaimerAgree[] = "db/menu/marquee/homedatacontrol/defaultdisclaimeragree";
inline constexpr char kCommand[] = "memory/Pelorus/Command";
inline constexpr char kSwitchNetwork[] = "memory/Pelorus/SwitchNetwork";
inline constexpr char kStartStopTcpDump[] = "memory/Pelorus/start_stop_TCPDump";
inline constexpr char kTcpDumpRunningStatus[] = "memory/Pelorus/tcpdump_running_status";
inline constexpr char kCaptureTsDump[] = "memory/menu/network/screenmirroring/capture_tsdump";
inline constexpr char kNotifyPelorus[] = "memory/menu/network/notify_pelorus";
inline constexpr char kPelorusCommand[] = "memory/menu/network/pelorus_command";
inline constexpr char kWirelessKpiInfo[] = "memory/menu/network/wireless_kpi_info";
inline constexpr char kRseCommand[] = "memory/menu/network/rse_command";
inline constexpr char kNetworkSpeakerStatus[] = "memory/acm/networkspeaker_status";
inline constexpr char kCurrentFullscreenAppId[] = "memory/appfw/current_fullscreen_appid";
inline constexpr char kNetInterfer[] = "memory/sp-kpi/net_interfer";
inline constexpr char kNetLinkSpeed[] = "memory/sp-kpi/net_linkspeed";
inline constexpr char kNetRssi[] = "memory/sp-kpi/net_rssi";
inline constexpr char kStreamingBuffer[] = "memory/sp-kpi/neterr_streaming_buffer";
inline constexpr char kStreamingLowRes[] = "memory/sp-kpi/neterr_streaming_lowres";
inline constexpr char kTelephonyReady[] = "memory/telephony/telephony_ready";
inline constexpr char kWizardMode[] = "memory/wizard/wizard_mode";

enum class Type {
  kInt,
  kBool,
  kString,
};

struct Entry {
  std::string_view name;
  Type type;
  std::string_view meaning;
};

inline constexpr Entry kCatalogue[] = {
    {kFactoryReset, Type::kInt, "greater than 0 while the TV powers off for a factory or menu reset"},
    {kSavedAPList, Type::kString, "JSON list of the saved Wi-Fi networks"},
    {kTopSavedAP, Type::kString, "JSON of the top saved networks, for the settings screen"},
    {kApName, Type::kString, "SSID of the connected access point"},
    {kConnectedApBssid, Type::kString, "BSSID of the connected access point"},
    {kAuto5GhzSwitchSettings, Type::kString,
     "\"1\" when the TV may move to 5 GHz by itself, else \"0\""},
    {kDualBandApMac, Type::kString, "MAC addresses of access points known to be dual-band"},
    {kEapCertificateStatus, Type::kString, "written when new EAP certificates were installed"},
    {kEuWifiRegTestMode, Type::kBool, "EU Wi-Fi regulation test mode of the service tool"},
    {kInternetStatus, Type::kString, "\"ONLINE\" or \"OFFLINE\""},
    {kLaunchNS, Type::kString, "requests to and from the network settings screen"},
    {kNetworkType, Type::kString, "\"Wired\", \"Wireless\" or \"Cellular\""},
    {kNetworkAppStatus, Type::kInt, "status of the network settings application, 0 when it is not up"},
    {kTetheringStatus, Type::kInt, "state of the soft access point"},
    {kCustomerStatus, Type::kInt, "guest status of a hospitality installation"},
    {kDisclaimerAgree, Type::kInt, "the user agreed to data collection"},
    {kCommand, Type::kString, "JSON command of the settings screen on saved networks"},
    {kSwitchNetwork, Type::kInt, "answer of the Wi-Fi speaker popup"},
    {kStartStopTcpDump, Type::kInt, "asks for a packet capture to start or to stop"},
    {kTcpDumpRunningStatus, Type::kInt, "whether a packet capture runs"},
    {kCaptureTsDump, Type::kInt, "stream dump of screen mirroring, on during a packet capture"},
    {kNotifyPelorus, Type::kString, "\"instant_on\" or \"instant_off\", from the power manager"},
    {kPelorusCommand, Type::kString,
     "keyword for the running notification program; messages to the daemon"},
    {kWirelessKpiInfo, Type::kString, "KPI data of other modules, to be relayed"},
    {kRseCommand, Type::kString, "command of the service tool"},
    {kNetworkSpeakerStatus, Type::kInt, "2 when a Wi-Fi speaker carries the TV's audio"},
    {kCurrentFullscreenAppId, Type::kString, "application in the foreground"},
    {kNetInterfer, Type::kInt, "channel interference"},
    {kNetLinkSpeed, Type::kInt, "link speed"},
    {kNetRssi, Type::kInt, "signal strength"},
    {kStreamingBuffer, Type::kInt, "buffering that the player reports; 0 for none"},
    {kStreamingLowRes, Type::kInt, "low resolution that the player reports; 0 for none"},
    {kTelephonyReady, Type::kBool, "the telephony service is up"},
    {kWizardMode, Type::kString, "current step of the first-use setup"},
};

}  // namespace vconf_keys

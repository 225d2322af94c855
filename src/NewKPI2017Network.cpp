// The data fields that read the connection interface and the Wi-Fi interface.

#include <cstring>
#include <sstream>
#include <string_view>

#include "Log.h"
#include "MacPrefix.h"
#include "NW_Common.h"
#include "NewKPI2017.h"
#include "setwell/NetworkUtil.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

/// @return empty when it is not known
std::string ReadBSSID(const MWHandler& mw) {
  return mw.GetAP() != nullptr ? WifiWPSScan::GetBSSID(mw.GetAP()) : "";
}

/// @return null when there is none
HeapString ReadAddress(wifi_ap_h ap, connection_address_family_e family) {
  return ap == nullptr ? nullptr : ReadText(wifi_ap_get_ip_address, ap, family);
}

/// @return null when there is none
HeapString ReadAddress(connection_h connection, connection_address_family_e family) {
  return ReadText(connection_get_ip_address, connection, family);
}

/// @param address  null for none
std::string IPv6Fragment(const char* address) {
  return address != nullptr && std::strcmp(address, "::") != 0 ? "ipv6=1" : "ipv6=0";
}

/// @param address  null for none, which counts as a private one
char IPv4Kind(const char* address) {
  return address == nullptr || IPType::IsPrivateIP(address) ? '2' : '1';
}

char IPv4Kind(MWHandler& mw) {
  const HeapString address = ReadAddress(mw.GetAP(), CONNECTION_ADDRESS_FAMILY_IPV4);
  if (address == nullptr) {
    NW_LOG("Failed to get ip address");
  }
  return IPv4Kind(address.get());
}

bool CountConfiguration(wifi_config_h /*config*/, void* count) {
  ++*static_cast<int*>(count);
  return true;
}

}  // namespace

std::string CWifiMac::GetResult(MWHandler& mw) {
  return "mac=" + GetMacPrefix(ReadBSSID(mw));
}

std::string SecurityType::GetResult(MWHandler& mw) {
  wifi_security_type_e type = WIFI_SECURITY_TYPE_NONE;
  if (mw.GetAP() != nullptr) {
    const int result = wifi_ap_get_security_type(mw.GetAP(), &type);
    if (result != WIFI_ERROR_NONE) {
      NW_LOG("Fail -> (getSecurityType) => %d ", result);
      type = WIFI_SECURITY_TYPE_NONE;
    }
  }
  switch (type) {
    case WIFI_SECURITY_TYPE_WEP:
      return "security=2";
    case WIFI_SECURITY_TYPE_WPA_PSK:
      return "security=3";
    case WIFI_SECURITY_TYPE_WPA2_PSK:
      return "security=4";
    case WIFI_SECURITY_TYPE_SAE:
      return "security=5";
    case WIFI_SECURITY_TYPE_NONE:
    case WIFI_SECURITY_TYPE_EAP:
    case WIFI_SECURITY_TYPE_WPA_FT_PSK:
      break;
  }
  return "security=1";
}

std::string CRSSI::GetResult(MWHandler& mw) {
  int rssi = -100;
  if (mw.GetAP() != nullptr && wifi_ap_get_rssi(mw.GetAP(), &rssi) != WIFI_ERROR_NONE) {
    NW_LOG("Failed to get RSSI");
  }
  return "rssi=" + std::to_string(rssi);
}

std::string CFrequency::GetResult(MWHandler& mw) {
  int frequency = 0;
  if (mw.GetAP() != nullptr && wifi_ap_get_frequency(mw.GetAP(), &frequency) != WIFI_ERROR_NONE) {
    NW_LOG("Failed to get frequency");
  }
  return "freq=" + std::to_string(frequency);
}

std::string CBandWidth::GetResult(MWHandler& mw) {
  int bandwidth = 0;
  if (mw.GetAP() != nullptr && wifi_ap_get_bandwidth(mw.GetAP(), &bandwidth) != WIFI_ERROR_NONE) {
    NW_LOG("wifi_ap_get_bandwidth failed");
  }
  return "bw=" + std::to_string(bandwidth);
}

std::string SNR::GetResult() {
  int snr = 0;
  const int result = wifi_get_snr(&snr);
  if (result != WIFI_ERROR_NONE) {
    NW_LOG("[SNR failed =>%d]", result);
    return "snr=0";
  }
  NW_LOG("Snr =>%d", snr);
  if (snr < 0) {
    NW_LOG("SNR NEGATIVE => %d", snr);
    snr = 0;
  }
  return "snr=" + std::to_string(snr);
}

std::string CIPV6Param::GetResult(MWHandler& mw) {
  if (mw.GetAP() != nullptr) {
    NW_LOG("Refresh wifi ap");
    if (wifi_ap_refresh(mw.GetAP()) == WIFI_ERROR_NONE) {
      NW_LOG("Success refreshing ap");
    }
  }
  return IPv6Fragment(ReadAddress(mw.GetAP(), CONNECTION_ADDRESS_FAMILY_IPV6).get());
}

std::string IPType::GetResult(MWHandler& mw) {
  return std::string("ip=") + IPv4Kind(mw);
}

bool IPType::IsPrivateIP(const std::string& ip) {
  int part[4] = {};
  std::istringstream text(ip);
  for (int& number : part) {
    int read = 0;
    if (!(text >> read)) {
      break;
    }
    number = read;
    char separator = 0;
    text >> separator;
  }
  const auto& [a, b, c, d] = part;
  // Of 172, all from 16 on counts, beyond the private range too: the records have always said so.
  const bool is_private = a == 10 || (a == 172 && b >= 16) || (a == 192 && b == 168);
  NW_LOG("[IP =>%d  %d %d %d  is public %s ]", a, b, c, d, is_private ? "true" : "false");
  return is_private;
}

std::string IPTypeEV005::GetResult(MWHandler& mw) {
  return std::string("iptype=") + IPv4Kind(mw);
}

std::string CWifi680211Ax::GetResult(MWHandler& mw) {
  const bool is_ax =
      mw.GetAP() != nullptr && GetConnectionMode(mw.GetAP()) == WIFI_MANAGER_CONNECTION_MODE_80211AX;
  return is_ax ? "axap=1" : "axap=2";
}

std::string CMultiProfile::GetResult(MWHandler& mw) {
  constexpr char kAnother[] = "multiprofile=3";
  const HeapString saved(vconf_get_str(vconf_keys::kConnectedApBssid));
  if (saved == nullptr) {
    return kAnother;
  }
  constexpr std::string_view kAddress = "AA:BB:CC:DD:EE:FF";
  if (std::strlen(saved.get()) != kAddress.size()) {
    NW_LOG("Saved mac address is wrong");
    return kAnother;
  }
  const std::string current = ReadBSSID(mw);
  if (current.empty()) {
    return kAnother;
  }
  int diff = 0;
  const bool is_same_router = Setwell::NetworkUtil::IsDualBand(saved.get(), current, diff);
  vconf_set_str(vconf_keys::kConnectedApBssid, current.c_str());
  if (!is_same_router) {
    return kAnother;
  }
  return diff == 0 ? "multiprofile=1" : "multiprofile=2";
}

std::string CSavedMprofile::GetResult() {
  int count = 0;
  if (wifi_config_foreach_configuration(CountConfiguration, &count) != WIFI_ERROR_NONE) {
    count = 0;
  }
  return "mprofile=" + std::to_string(count);
}

// A connection handle that could not be created is refused by the platform, and counts as any failure.
std::string CHotSpot::GetResult(MWHandler& mw) {
  int status = 0;
  const int result = connection_check_hotspot(mw.GetConnection(), &status);
  NW_LOG("Connection_check_hotspot rv [%d],status[%d]", result, status);
  return "aptype=" + std::to_string(result == CONNECTION_ERROR_NONE ? status : 0);
}

std::string CDhcpLeaseTime::GetResult(MWHandler& mw) {
  int seconds = 0;
  connection_profile_h profile = nullptr;
  int result = connection_get_current_profile(mw.GetConnection(), &profile);
  if (result != CONNECTION_ERROR_NONE) {
    NW_LOG("get_current_profile failed =>%d", result);
    return "dhcplt=0";
  }
  result = connection_profile_get_dhcp_lease_duration(profile, CONNECTION_ADDRESS_FAMILY_IPV4, &seconds);
  if (result != CONNECTION_ERROR_NONE) {
    NW_LOG("api failed ,Failed to get dhcp_lease =>%d", result);
    seconds = 0;
  }
  connection_profile_destroy(profile);
  return "dhcplt=" + std::to_string(seconds);
}

std::string CLanPortStatus::GetResult(MWHandler& mw) {
  connection_ethernet_cable_state_e state = CONNECTION_ETHERNET_CABLE_DETACHED;
  if (connection_get_ethernet_cable_state(mw.GetConnection(), &state) != CONNECTION_ERROR_NONE) {
    NW_LOG("connection_get_ethernet_cable_state api failed\n");
    state = CONNECTION_ETHERNET_CABLE_DETACHED;
  }
  return "lansts=" + std::to_string(state);
}

std::string CEthernetData::GetMac(MWHandler& mw) {
  const HeapString mac =
      ReadText(connection_get_mac_address, mw.GetConnection(), CONNECTION_TYPE_ETHERNET);
  return "mac=" + GetMacPrefix(mac == nullptr ? "" : mac.get());
}

std::string CEthernetData::GetIPType(MWHandler& mw) {
  const HeapString address = ReadAddress(mw.GetConnection(), CONNECTION_ADDRESS_FAMILY_IPV4);
  return std::string("iptype=") + IPv4Kind(address.get());
}

std::string CEthernetData::GetWired3GIPV6Param(MWHandler& mw) {
  return IPv6Fragment(ReadAddress(mw.GetConnection(), CONNECTION_ADDRESS_FAMILY_IPV6).get());
}

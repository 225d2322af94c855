#include "NetworkRadio.h"

#include <algorithm>

namespace network_radio {

namespace {

bool IsPassphrase(wifi_security_type_e security) {
  switch (security) {
    case WIFI_SECURITY_TYPE_WPA_PSK:
    case WIFI_SECURITY_TYPE_WPA2_PSK:
    case WIFI_SECURITY_TYPE_WPA_FT_PSK:
    case WIFI_SECURITY_TYPE_SAE:
      return true;
    case WIFI_SECURITY_TYPE_NONE:
    case WIFI_SECURITY_TYPE_WEP:
    case WIFI_SECURITY_TYPE_EAP:
      return false;
  }
  return false;
}

}  // namespace

std::string NameOf(GBytes* ssid) {
  if (ssid == nullptr) {
    return "";
  }
  gsize size = 0;
  const auto* const bytes = static_cast<const char*>(g_bytes_get_data(ssid, &size));
  return size == 0 ? "" : std::string(bytes, size);
}

Radio RadioOf(NMAccessPoint* ap) {
  Radio radio;
  radio.ssid = NameOf(nm_access_point_get_ssid(ap));
  const char* const bssid = nm_access_point_get_bssid(ap);
  if (bssid != nullptr && std::string_view(bssid) != "00:00:00:00:00:00") {
    g_autofree char* upper = g_ascii_strup(bssid, -1);
    radio.bssid = upper;
  }
  radio.frequency = static_cast<int>(nm_access_point_get_frequency(ap));
  radio.signal = SignalOfPercent(nm_access_point_get_strength(ap));
  radio.security = SecurityOfFlags(nm_access_point_get_flags(ap), nm_access_point_get_wpa_flags(ap),
                                   nm_access_point_get_rsn_flags(ap));
  return radio;
}

wifi_security_type_e SecurityOfFlags(std::uint32_t flags, std::uint32_t wpa, std::uint32_t rsn) {
  constexpr std::uint32_t kEap =
      NM_802_11_AP_SEC_KEY_MGMT_802_1X | NM_802_11_AP_SEC_KEY_MGMT_EAP_SUITE_B_192;
  if ((rsn & NM_802_11_AP_SEC_KEY_MGMT_PSK) != 0) {
    return WIFI_SECURITY_TYPE_WPA2_PSK;
  }
  if ((rsn & NM_802_11_AP_SEC_KEY_MGMT_SAE) != 0) {
    return WIFI_SECURITY_TYPE_SAE;
  }
  if ((wpa & NM_802_11_AP_SEC_KEY_MGMT_PSK) != 0) {
    return WIFI_SECURITY_TYPE_WPA_PSK;
  }
  if (((wpa | rsn) & kEap) != 0) {
    return WIFI_SECURITY_TYPE_EAP;
  }
  // What is left encrypts without asking for anything (OWE), or is as old as WEP.
  const bool is_encrypted = (flags & NM_802_11_AP_FLAGS_PRIVACY) != 0;
  return is_encrypted && wpa == 0 && rsn == 0 ? WIFI_SECURITY_TYPE_WEP : WIFI_SECURITY_TYPE_NONE;
}

wifi_security_type_e SecurityOfProfile(std::string_view key_management, bool is_first_generation) {
  if (key_management == "none") {  // as NetworkManager writes WEP
    return WIFI_SECURITY_TYPE_WEP;
  }
  if (key_management == "wpa-psk") {
    return is_first_generation ? WIFI_SECURITY_TYPE_WPA_PSK : WIFI_SECURITY_TYPE_WPA2_PSK;
  }
  if (key_management == "sae") {
    return WIFI_SECURITY_TYPE_SAE;
  }
  return key_management.empty() || key_management == "owe" ? WIFI_SECURITY_TYPE_NONE
                                                           : WIFI_SECURITY_TYPE_EAP;
}

bool Opens(wifi_security_type_e profile, wifi_security_type_e radio) {
  return profile == radio || (IsPassphrase(profile) && IsPassphrase(radio));
}

int SignalOfPercent(int percent) {
  constexpr int kStrongest = -40;  // NetworkManager calls all above it 100 percent
  constexpr int kRange = 60;
  const int missing = 100 - std::clamp(percent, 0, 100);
  return kStrongest - (missing * kRange + 50) / 100;
}

}  // namespace network_radio

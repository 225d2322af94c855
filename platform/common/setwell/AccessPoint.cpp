#include "AccessPoint.h"

#include <cstdlib>

namespace Setwell {

namespace {

/// @return nullopt when there is no such property, or nothing in it
std::optional<std::string> ReadText(wifi_ap_h ap, int (*read)(wifi_ap_h, char**)) {
  char* text = nullptr;
  const int result = read(ap, &text);
  const std::unique_ptr<char, void (*)(void*)> owned(text, std::free);
  if (result != WIFI_ERROR_NONE || text == nullptr || *text == '\0') {
    return std::nullopt;
  }
  return text;
}

}  // namespace

AccessPointHandle ConnectedHandle() {
  wifi_ap_h ap = nullptr;
  if (wifi_get_connected_ap(&ap) != WIFI_ERROR_NONE) {
    return nullptr;
  }
  return AccessPointHandle(ap);
}

std::optional<std::string> ReadName(wifi_ap_h ap) {
  return ReadText(ap, wifi_ap_get_essid);
}

std::optional<AccessPoint> ReadNetwork(wifi_ap_h ap) {
  AccessPoint network;
  const std::optional<std::string> ssid = ReadName(ap);
  if (!ssid || wifi_ap_get_security_type(ap, &network.security) != WIFI_ERROR_NONE) {
    return std::nullopt;
  }
  network.ssid = *ssid;
  bool is_saved = false;
  network.is_saved = wifi_ap_is_favorite(ap, &is_saved) == WIFI_ERROR_NONE && is_saved;
  return network;
}

std::optional<AccessPoint> ReadRadio(wifi_ap_h ap) {
  std::optional<AccessPoint> radio = ReadNetwork(ap);
  const std::optional<std::string> bssid = ReadText(ap, wifi_ap_get_bssid);
  if (!radio || !bssid || !IsBssid(*bssid) ||
      wifi_ap_get_frequency(ap, &radio->frequency) != WIFI_ERROR_NONE) {
    return std::nullopt;
  }
  radio->bssid = *bssid;
  wifi_ap_get_rssi(ap, &radio->rssi);
  return radio;
}

eSecurityType ToSecurityType(wifi_security_type_e type) {
  switch (type) {
    case WIFI_SECURITY_TYPE_NONE:
      return SECURITY_OPEN;
    case WIFI_SECURITY_TYPE_WEP:
      return SECURITY_WEP;
    case WIFI_SECURITY_TYPE_WPA_PSK:
      return SECURITY_WPA_PSK;
    case WIFI_SECURITY_TYPE_WPA2_PSK:
    case WIFI_SECURITY_TYPE_WPA_FT_PSK:
      return SECURITY_WPA2_PSK;
    case WIFI_SECURITY_TYPE_EAP:
      return SECURITY_EAP;
    case WIFI_SECURITY_TYPE_SAE:
      return SECURITY_WPA3_SAE;
  }
  return SECURITY_UNKNOWN;
}

bool IsSameNetwork(const AccessPoint& one, const AccessPoint& other) {
  const eSecurityType security = ToSecurityType(one.security);
  return one.ssid == other.ssid && security == ToSecurityType(other.security) &&
         security != SECURITY_UNKNOWN;
}

bool IsBssid(const std::string& text) {
  return IsSameRadio(text, text);
}

bool IsSameRadio(const std::string& bssid, const std::string& other) {
  int difference = 0;
  return NetworkUtil::IsDualBand(bssid, other, difference) && difference == 0;
}

}  // namespace Setwell

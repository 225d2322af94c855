#include "Scan.h"

#include "CacheDualBandStatus.h"
#include "Log.h"
#include "NW_Common.h"
#include "setwell/NetworkUtil.h"

wifi_manager_connection_mode_e GetConnectionMode(wifi_ap_h ap) {
  wifi_manager_connection_mode_e mode = WIFI_MANAGER_CONNECTION_MODE_80211N;
  const int result = wifi_manager_ap_get_connection_mode(ap, &mode);
  NW_LOG("ap_connection_mode rv%d  result%d", result, mode);
  return mode;
}

bool WifiWPSScan::Init(void* ap) {
  m_diffMac = 0;
  m_rssi = 0;
  m_frequency = 0;
  m_partnerBSSID = "NotFound";
  m_maxProtocol = "NOTFOUND";
  m_isDualBand = false;
  m_connectedBSSID = GetBSSID(ap);
  m_isDualBand = _IsDualBandNormal();
  if (m_isDualBand) {
    GetCachedInstance()->m_SaveAsDualBand(m_connectedBSSID);
  }
  return m_isDualBand;
}

bool WifiWPSScan::IsDualBand() {
  NW_LOG("IsDualBand =>%d", m_isDualBand);
  return m_isDualBand;
}

bool WifiWPSScan::IsDualBandCached(void* ap) {
  const std::string bssid = GetBSSID(ap);
  if (bssid.empty()) {
    return false;
  }
  bool is_dual_band = true;
  if (GetCachedInstance()->m_IsCachedAsDualBand(bssid)) {
    NW_LOG("Found in cached");
  } else {
    NW_LOG("not found in cached");
    is_dual_band = Init(ap);
  }
  NW_LOG("IsDualBandCached =>Ret %d", is_dual_band);
  return is_dual_band;
}

std::string WifiWPSScan::GetBSSID(void* ap) {
  const HeapString bssid = ReadText(wifi_ap_get_bssid, static_cast<wifi_ap_h>(ap));
  return bssid != nullptr ? bssid.get() : "";
}

bool WifiWPSScan::_IsDualBandNormal() {
  m_isDualBand = false;
  const int result = wifi_foreach_found_aps(__IterateList, this);
  if (result != WIFI_ERROR_NONE) {
    NW_LOG("Failed api wifi_foreach_found_aps  %d", result);
  }
  NW_LOG("_IsDualBandNormal =>%d", m_isDualBand);
  return m_isDualBand;
}

bool WifiWPSScan::__IterateList(wifi_ap_h ap, void* user) {
  auto* const self = static_cast<WifiWPSScan*>(user);
  const HeapString bssid = ReadText(wifi_ap_get_bssid, ap);
  if (bssid == nullptr) {
    return true;
  }
  NW_LOG("ssid=>%s  BSSID %s ,apbssid %s", ReadText(wifi_ap_get_essid, ap).get(), bssid.get(),
         self->m_connectedBSSID.c_str());
  int diff = 0;
  if (Setwell::NetworkUtil::IsDualBand(bssid.get(), self->m_connectedBSSID, diff) && diff != 0) {
    self->m_diffMac = diff;
    self->m_isDualBand = true;
    self->m_partnerBSSID = bssid.get();
    wifi_ap_get_rssi(ap, &self->m_rssi);
    wifi_ap_get_frequency(ap, &self->m_frequency);
    self->m_maxProtocol = _GetMaxProtocol(ap);
  }
  if (!self->m_isDualBand) {
    wifi_foreach_found_bssids(ap, __IterateSameSSIDApsList, self);
  }
  return !self->m_isDualBand;
}

bool WifiWPSScan::__IterateSameSSIDApsList(const char* bssid, int rssi, int frequency, void* user) {
  auto* const self = static_cast<WifiWPSScan*>(user);
  int diff = 0;
  if (!Setwell::NetworkUtil::IsDualBand(bssid, self->m_connectedBSSID, diff) || diff == 0) {
    return true;
  }
  self->m_isDualBand = true;
  self->m_diffMac = diff;
  self->m_rssi = rssi;
  self->m_frequency = frequency;
  self->m_partnerBSSID = bssid;
  return false;
}

std::string WifiWPSScan::_GetMaxProtocol(void* ap) {
  switch (GetConnectionMode(static_cast<wifi_ap_h>(ap))) {
    case WIFI_MANAGER_CONNECTION_MODE_80211B:
      return "802.11b";
    case WIFI_MANAGER_CONNECTION_MODE_80211G:
      return "802.11g";
    case WIFI_MANAGER_CONNECTION_MODE_80211N:
      return "802.11n";
    case WIFI_MANAGER_CONNECTION_MODE_80211A:
      return "802.11a";
    case WIFI_MANAGER_CONNECTION_MODE_80211AC:
      return "802.11ac";
    case WIFI_MANAGER_CONNECTION_MODE_80211AX:
      return "802.11acax";
    case WIFI_MANAGER_CONNECTION_MODE_UNKNOWN:
      break;
  }
  return "WIFI_MANAGER_CONNECTION_MODE_UNKNOWN";
}

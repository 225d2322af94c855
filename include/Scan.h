#pragma once

#include <cstdint>
#include <string>

#include "wifi.h"
#include "wifi_manager.h"

/// @return the newest generation of the standard that an access point speaks; 802.11n when the platform
///         does not say
wifi_manager_connection_mode_e GetConnectionMode(wifi_ap_h ap);

/// Whether the access point that the TV is connected to is one band of a dual-band router: whether the
/// platform's last scan found another radio of the same router. It scans nothing itself. Owned by
/// whoever measures, main-loop thread only.
class WifiWPSScan {
 public:
  /// Looks through the scan results for a partner of `ap` and remembers what it finds. An access point
  /// that has one is put on the list of CCachedDualBand.
  /// @param ap  a wifi_ap_h, borrowed for the call
  /// @return whether there is one
  bool Init(void* ap);

  /// What the last Init() found.
  bool IsDualBand();

  /// Answers from the list of CCachedDualBand, or else as Init(). An answer from the list finds no
  /// partner: what Init() remembered stays as it was.
  bool IsDualBandCached(void* ap);

  /// @return "AA:BB:CC:DD:EE:FF", empty when it cannot be read
  static std::string GetBSSID(void* ap);

  void Destroy() {}

  /// The partner that the last Init() found.
  [[nodiscard]] std::int32_t GetDiffMac() const { return m_diffMac; }      ///< never 0 for a partner
  [[nodiscard]] std::int32_t GetRSSI() const { return m_rssi; }            ///< dBm
  [[nodiscard]] std::int32_t GetFrequency() const { return m_frequency; }  ///< MHz
  [[nodiscard]] const std::string& GetPartnerBSSID() const { return m_partnerBSSID; }
  /// Such as "802.11n"; "NOTFOUND" also for a partner that shares its network name with a stronger
  /// radio.
  [[nodiscard]] const std::string& GetMaxProtocol() const { return m_maxProtocol; }

 private:
  bool _IsDualBandNormal();
  static std::string _GetMaxProtocol(void* ap);
  static bool __IterateList(wifi_ap_h ap, void* user);
  static bool __IterateSameSSIDApsList(const char* bssid, int rssi, int frequency, void* user);

  std::int32_t m_diffMac = 0;
  std::int32_t m_rssi = 0;
  std::int32_t m_frequency = 0;
  std::string m_partnerBSSID = "NotFound";
  std::string m_maxProtocol = "NOTFOUND";
  bool m_isDualBand = false;
  std::string m_connectedBSSID;
};

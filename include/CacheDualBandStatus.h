#pragma once

#include <string>

/// The access points that were once found to be one band of a dual-band router, kept in a setting over
/// restarts, so that the scan results need not be walked for them again. The setting is the truth: it is
/// read anew at each use, and it only ever grows. Main-loop thread only.
class CCachedDualBand {
 public:
  /// Reads the setting; what was read before stays when it cannot be read.
  void Init();

  /// Adds an access point; one that is listed is not added again.
  /// @param bssid  as the Wi-Fi interface writes it
  void m_SaveAsDualBand(const std::string& bssid);

  bool m_IsCachedAsDualBand(const std::string& bssid);

 private:
  std::string m_list;  // BSSIDs, joined with "|"
};

CCachedDualBand* GetCachedInstance();

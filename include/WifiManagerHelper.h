#pragma once

#include <memory>
#include <string>

#include "wifi_manager.h"

/// What the users of the Wi-Fi manager share. Main-loop thread only.

/// A user's handle of the Wi-Fi manager, ended with the object: none of its callbacks comes after that.
class WifiManagerHandle {
 public:
  WifiManagerHandle() = default;
  ~WifiManagerHandle();
  WifiManagerHandle(const WifiManagerHandle&) = delete;
  WifiManagerHandle& operator=(const WifiManagerHandle&) = delete;

  /// A failure is logged, and leaves a handle that every function of the Wi-Fi manager refuses.
  void Create();
  [[nodiscard]] wifi_manager_h Get() const { return m_handle; }

 private:
  wifi_manager_h m_handle = nullptr;
};

struct WifiManagerApDeleter {
  void operator()(wifi_manager_ap_h ap) const { wifi_manager_ap_destroy(ap); }
};
/// An access point that was cloned from the results of a scan.
using WifiManagerAp = std::unique_ptr<wifi_ap_handle_s, WifiManagerApDeleter>;

/// @return null on failure
WifiManagerAp CloneAp(wifi_manager_ap_h ap);

struct WifiApDeleter {
  void operator()(wifi_ap_h ap) const { wifi_ap_destroy(ap); }
};
/// An access point of the Wi-Fi interface.
using WifiAp = std::unique_ptr<wifi_ap_handle_s, WifiApDeleter>;

/// What the Wi-Fi manager has stored of a network.
struct SavedConfiguration {
  std::string name;                    ///< "NOT_AVAILABLE" when it does not say
  wifi_security_type_e security_type;  ///< WIFI_SECURITY_TYPE_NONE when it does not say
  int frequency;                       ///< MHz; 0 when it does not say
};
SavedConfiguration _get_values_from_wifi_manager_config(wifi_manager_config_h config);

/// @return null on failure, which is logged
wifi_manager_specific_scan_h CreateSpecificScan(wifi_manager_h manager);

/// Scans one channel.
/// @param frequency  MHz
/// @return whether the callback will come; a failure is logged
bool StartSpecificScan(wifi_manager_h manager, wifi_manager_specific_scan_h scan, int frequency,
                       wifi_manager_finished_cb callback, void* user_data);

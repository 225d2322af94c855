#pragma once

#include <cstddef>
#include <optional>
#include <set>
#include <vector>

#include "NumberedHandles.h"
#include "Radio.h"
#include "wifi_manager.h"

/// The users of the Wi-Fi manager interface, and what each of them holds. Owned by Wifi; main-loop
/// thread only.
class WifiManagers {
 public:
  struct Manager {
    std::optional<wifi_manager_specific_scan_h> scan;  // the last that it made
    std::vector<AccessPoint> found_by_name;            // by its last scan for a name
  };
  struct Scan {
    wifi_manager_h manager;
    std::set<int> frequencies;
  };

  wifi_manager_h Add() { return m_managers.Add({}); }
  /// @return false when there is no such handle (any more)
  bool Remove(wifi_manager_h handle);
  /// Null when there is no such handle (any more); valid until it is removed.
  Manager* Find(wifi_manager_h handle) { return m_managers.Find(handle); }
  [[nodiscard]] std::size_t Count() const { return m_managers.Count(); }
  [[nodiscard]] std::size_t ScanCount() const { return m_scans.Count(); }

  /// Takes the place of the manager's last one.
  wifi_manager_specific_scan_h AddScan(wifi_manager_h manager);
  /// Null when there is no such handle (any more); valid until it is removed.
  Scan* FindScan(wifi_manager_specific_scan_h handle) { return m_scans.Find(handle); }

  using Configs = NumberedHandles<wifi_manager_config_h, SavedNetwork>;
  [[nodiscard]] Configs& GetConfigs() { return m_configs; }

 private:
  void RemoveScanOf(Manager& manager);

  NumberedHandles<wifi_manager_h, Manager> m_managers;
  NumberedHandles<wifi_manager_specific_scan_h, Scan> m_scans;
  Configs m_configs;  // of the walk that is going on
};

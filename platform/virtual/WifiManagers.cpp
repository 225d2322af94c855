#include "WifiManagers.h"

bool WifiManagers::Remove(wifi_manager_h handle) {
  if (Manager* const manager = Find(handle)) {
    RemoveScanOf(*manager);
  }
  return m_managers.Remove(handle);
}

wifi_manager_specific_scan_h WifiManagers::AddScan(wifi_manager_h handle) {
  Manager& manager = *Find(handle);
  RemoveScanOf(manager);
  manager.scan = m_scans.Add({handle, {}});
  return *manager.scan;
}

void WifiManagers::RemoveScanOf(Manager& manager) {
  if (manager.scan) {
    m_scans.Remove(*manager.scan);
  }
}

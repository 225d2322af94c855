#include "WifiManagerHelper.h"

#include "Log.h"
#include "NW_Common.h"

WifiManagerHandle::~WifiManagerHandle() {
  if (m_handle != nullptr) {
    wifi_manager_deinitialize(m_handle);
  }
}

void WifiManagerHandle::Create() {
  const int result = wifi_manager_initialize(&m_handle);
  NW_LOG("wifi_manager_initialize %d", result);
}

WifiManagerAp CloneAp(wifi_manager_ap_h ap) {
  wifi_manager_ap_h clone = nullptr;
  if (wifi_manager_ap_clone(&clone, ap) != WIFI_MANAGER_ERROR_NONE) {
    return nullptr;
  }
  return WifiManagerAp(clone);
}

SavedConfiguration _get_values_from_wifi_manager_config(wifi_manager_config_h config) {
  const HeapString name = ReadText(wifi_manager_config_get_name, config);
  SavedConfiguration values{name == nullptr ? "NOT_AVAILABLE" : name.get(), WIFI_SECURITY_TYPE_NONE, 0};
  wifi_manager_config_get_security_type(config, &values.security_type);
  if (wifi_manager_config_get_frequency(config, &values.frequency) != WIFI_MANAGER_ERROR_NONE) {
    values.frequency = 0;
  }
  return values;
}

wifi_manager_specific_scan_h CreateSpecificScan(wifi_manager_h manager) {
  wifi_manager_specific_scan_h scan = nullptr;
  if (wifi_manager_specific_scan_create(manager, &scan) != WIFI_MANAGER_ERROR_NONE) {
    NW_LOG("wifi_manager_specific_scan_create API:Failed");
    return nullptr;
  }
  return scan;
}

bool StartSpecificScan(wifi_manager_h manager, wifi_manager_specific_scan_h scan, int frequency,
                       wifi_manager_finished_cb callback, void* user_data) {
  const int error = wifi_manager_specific_scan_set_freq(scan, frequency);
  if (error != WIFI_MANAGER_ERROR_NONE) {
    NW_LOG("wifi_manager_specific_scan_set_freq API:Failed %d error = %d", frequency, error);
    return false;
  }
  if (wifi_manager_specific_ap_start_multi_scan(manager, scan, callback, user_data) !=
      WIFI_MANAGER_ERROR_NONE) {
    NW_LOG("wifi_manager_specific_ap_start_multi_scan :Failed");
    return false;
  }
  return true;
}

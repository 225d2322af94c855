#include "WifiOnOffInfo.h"

CWifiOnOffInfo* GetWifiOnOffInstance() {
  static CWifiOnOffInfo info;
  return &info;
}

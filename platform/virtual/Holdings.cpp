#include "Holdings.h"

#include "SettingsWatcher.h"
#include "VirtualTv.h"

namespace holdings {

Counts Count() {
  VirtualTv& tv = VirtualTv::Instance();
  Wifi& wifi = tv.GetWifi();
  Counts counts;
  counts["settings watches"] = SettingsWatcher::Instance().ListenerCount();
  counts["access points"] = wifi.Handles().Count();
  counts["wifi managers"] = wifi.Managers().Count();
  counts["channel scans"] = wifi.Managers().ScanCount();
  counts["saved configurations"] = wifi.Managers().GetConfigs().Count();
  counts["wifi state callbacks"] = wifi.StateCallbacks().Count();
  counts["cable callbacks"] = tv.GetCable().Callbacks().Count();
  counts["network monitors"] = tv.GetInternet().Monitors().Count();
  counts["telephony sessions"] = tv.GetTelephony().SessionCount();
  counts["telephony callbacks"] = tv.GetTelephony().SubscriptionCount();
  counts["package infos"] = tv.GetPackages().GetHandles().Count();
  counts["USB devices"] = tv.GetUsbSockets().GetDevices().Count();
  counts["USB lists"] = tv.GetUsbSockets().GetLists().Count();
  AddConnections(counts);
  return counts;
}

}  // namespace holdings

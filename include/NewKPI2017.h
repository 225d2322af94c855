#pragma once

#include <memory>
#include <string>

#include "MWHandler.h"
#include "Scan.h"
#include "WifiMonHandler.h"

/// The data fields of KPI descriptions. Each measures one value when it is asked and returns it as
/// "key=value". None ever fails: a value that cannot be read has a fixed text in its place, so every
/// description has all keys of its event. No field keeps anything. Main-loop thread only.

/// A constant field.
class DummyValue {
 public:
  static std::string GetDummyValue(const std::string& key, const std::string& value) {
    return key + "=" + value;
  }
};

/// The other band of the router that the TV is connected to.
struct CDiffMacEV001 {
  static std::string GetResult(WifiWPSScan& scan);  ///< difference of the two last octets
};
struct CDualFreq {
  static std::string GetResult(WifiWPSScan& scan);  ///< MHz
};
struct CDualRSSI {
  static std::string GetResult(WifiWPSScan& scan);  ///< dBm
};
struct CDualProtocol {
  static std::string GetResult(WifiWPSScan& scan);
};
struct CDualBand {
  static std::string GetResult(WifiWPSScan& scan);  ///< 1 there is one, 0 not
};
struct CDualBandCachedValue {
  static std::string GetResult(MWHandler& mw,
                               WifiWPSScan& scan);  ///< 1 known or seen to have one, else 0
};

/// The TV.
struct CAppid {
  static std::string GetResult();  ///< application in the foreground
};
struct CModuleID {
  static std::string GetResult();  ///< of the Wi-Fi chip, with the line end that the kernel writes
};
struct NetworkType {
  static std::string GetResult();  ///< eNetworkType
};
struct COOBEStep {
  static std::string GetResult();  ///< 1 during the first-use setup, else 0
};

/// The access point that the TV is connected to.
struct CWifiMac {
  static std::string GetResult(MWHandler& mw);  ///< GetMacPrefix()
};
struct SecurityType {
  static std::string GetResult(MWHandler& mw);  ///< 1 open or unknown, 2 WEP, 3 WPA, 4 WPA2, 5 SAE
};
struct CRSSI {
  static std::string GetResult(MWHandler& mw);  ///< dBm
};
struct CFrequency {
  static std::string GetResult(MWHandler& mw);  ///< MHz
};
struct CBandWidth {
  static std::string GetResult(MWHandler& mw);  ///< MHz
};
struct SNR {
  static std::string GetResult();  ///< dB, 0 also when the noise is stronger
};
struct CIPV6Param {
  static std::string GetResult(MWHandler& mw);  ///< 1 when the TV has an IPv6 address, else 0
};
struct IPType {
  static std::string GetResult(MWHandler& mw);  ///< 2 a private IPv4 address, 1 a public one
  /// @param ip  "a.b.c.d"; what cannot be read as numbers counts as 0
  static bool IsPrivateIP(const std::string& ip);
};
struct IPTypeEV005 {
  static std::string GetResult(MWHandler& mw);  ///< as IPType
};
struct CWifi680211Ax {
  static std::string GetResult(MWHandler& mw);  ///< 1 when it speaks 802.11ax, else 2
};
/// How the access point relates to the one that the TV was connected to before: 1 the same, 2 the other
/// band of its router, 3 another router. The present one is the one before from then on.
struct CMultiProfile {
  static std::string GetResult(MWHandler& mw);
};
struct CSavedMprofile {
  static std::string GetResult();  ///< how many networks are saved
};

/// The network that carries the TV's traffic.
struct CHotSpot {
  static std::string GetResult(MWHandler& mw);  ///< of connection_check_hotspot()
};
struct CDhcpLeaseTime {
  static std::string GetResult(MWHandler& mw);  ///< seconds
};
struct CLanPortStatus {
  static std::string GetResult(MWHandler& mw);  ///< of connection_get_ethernet_cable_state()
};
struct CEthernetData {
  static std::string GetMac(MWHandler& mw);               ///< GetMacPrefix() of the wired interface
  static std::string GetIPType(MWHandler& mw);            ///< as IPType, of whatever network
  static std::string GetWired3GIPV6Param(MWHandler& mw);  ///< as CIPV6Param, of whatever network
};

/// What the player measured.
struct CChannelInterferenceAWM {
  static std::string GetResult();
};
struct CRSSIAWM {
  static std::string GetResult();
};
struct LinkSpeedEV006 {
  static std::string GetResult();  ///< Mbit/s; 54 until the player has said something
};

/// The move to 5 GHz. Of the two access points, the 2.4 GHz one comes first, and each with its
/// frequency: "rssis=-62/2427|-65/5220".
struct CRssiApsEv005 {
  static std::string GetResult();
};
struct CInterferencesDualEv005 {
  static std::string GetResult();
};
struct CProtocolsEv005 {
  static std::string GetResult();
};
struct C5ghzSwitchReason {
  static std::string GetResult();  ///< 0 the user asked for it, 1 the player was in trouble
};
struct CUserSelection {
  static std::string GetResult();  ///< of C5GhzSwitchHandler::GetUserSelection()
};
struct CDiffMacEV005 {
  static std::string GetResult();  ///< of C5GhzSwitchHandler::GetMacDiff(); 0 when a BSSID is malformed
};
/// The standard that the present connection speaks, under the two names that the events have for it.
struct CEV001Protocol {
  static std::string GetResult();
};
struct CEV002Protocol {
  static std::string GetResult();
};

/// What other components told: see CWifiOnOffInfo.
struct CWifiIconClickReason {
  static std::string GetResult();
};
struct CWifiOffPopupSelection {
  static std::string GetResult();
};
struct CMarqueeConnectionTestExecutionMethod {
  static std::string GetResult();
};
struct CMarqueeConnectionTestResult {
  static std::string GetResult();
};

/// What the Wi-Fi monitor measured.
struct LinkSpeed {
  static std::string GetResult(std::shared_ptr<WifiMonHandler> monitor);
  /// @param speed  in at least two digits
  static std::string Format(int speed);
};
struct ChannelInterference {
  static std::string GetResult(std::shared_ptr<WifiMonHandler> monitor);
};

#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "DeliveryLine.h"
#include "Radio.h"
#include "WifiFailures.h"
#include "wifi.h"

class Wifi;

/// The scans that the program under the TV has asked for. There is one antenna: a scan waits until those
/// before it are done. What it finds is what is on the air when its time is up, and becomes a part of
/// what the TV knows. Owned by Wifi; main-loop thread only.
class WifiScans {
 public:
  static constexpr unsigned kScanMs = 2000;
  static constexpr unsigned kChannelMs = 100;

  /// @param result  WIFI_ERROR_NONE, or what Wifi::FailNext() was told
  using Answer = std::function<void(int result)>;
  /// @param found  the radios of the name; empty when the scan failed
  using NameAnswer = std::function<void(int result, const std::vector<AccessPoint>& found)>;

  /// @param wifi  the owner
  explicit WifiScans(Wifi& wifi);

  /// Each returns the code that the platform function answers with; the answer comes only after
  /// WIFI_ERROR_NONE.

  /// All channels, and saved hidden networks by their names; one at a time.
  wifi_error_e ScanAll(Answer answer);
  /// Only what is heard there: a hidden radio has no name but the one that the TV knew it by.
  /// @param frequencies  one at least
  wifi_error_e ScanChannels(const std::set<int>& frequencies, Answer answer);
  /// All channels, and nothing but the radios of one network, which answer to its name.
  wifi_error_e ScanForName(const std::string& essid, NameAnswer answer);

  /// While it is closed no scan is taken, and those under way are never answered.
  void Open();
  void Close();

  /// A look at all channels.
  [[nodiscard]] DeliveryLine& ScanLine() { return m_scan_line; }
  /// A look at one channel of several.
  [[nodiscard]] DeliveryLine& ChannelLine() { return m_channel_line; }

 private:
  struct Scan {
    WifiRequest kind;
    std::set<int> frequencies = {};
    std::string essid = {};
    NameAnswer answer;
  };

  wifi_error_e Ask(Scan scan);
  void Begin();
  void LookAtChannels(std::size_t count);
  void End();
  std::vector<AccessPoint> TakeResults(const Scan& scan);

  Wifi& m_wifi;
  bool m_is_open = true;
  std::deque<Scan> m_scans;  // the front one runs
  DeliveryLine m_scan_line;
  DeliveryLine m_channel_line;
};

#pragma once

#include <map>
#include <utility>

/// What the program under the TV can ask of Wi-Fi and is answered later.
enum class WifiRequest {
  kScan,         ///< a whole scan
  kChannelScan,  ///< a scan of chosen channels
  kNameScan,     ///< a scan for one name
  kConnect,      ///< to connect, through either interface
  kDisconnect,
  kPortal,  ///< the question for a portal
};

/// The requests whose next answer shall be a failure, whatever is on the air. Owned by Wifi; main-loop
/// thread only.
class WifiFailures {
 public:
  /// @param code  of the interface that asks; 0 takes the last order back
  void FailNext(WifiRequest request, int code) { m_codes[request] = code; }
  /// @return 0 when the answer is what it would be
  int Take(WifiRequest request) { return std::exchange(m_codes[request], 0); }

  /// Those that are still to come, and, as 0, those that are taken.
  [[nodiscard]] const std::map<WifiRequest, int>& Ordered() const { return m_codes; }

 private:
  std::map<WifiRequest, int> m_codes;
};

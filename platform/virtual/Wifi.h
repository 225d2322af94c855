#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ApHandles.h"
#include "Radio.h"
#include "WifiRequests.h"

/// The TV's Wi-Fi and the radios around it. Owned by VirtualTv; main-loop thread only.
///
/// The TV knows of a radio what its last scan saw; of the one that it is connected to, what is so now. A
/// scan, a look at one channel and a connection take their latencies (see WifiRequests); the radios are
/// asked when the time is up, so what happens to them in between counts.
class Wifi {
 public:
  /// Puts a radio on the air; one with the same BSSID is replaced, and takes the TV's connection with it
  /// unless the new one carries the same network.
  void AddRadio(const Radio& radio);
  /// A radio that goes off the air, or is gone, takes the TV's connection with it.
  /// @return false when there is no such radio
  bool RemoveRadio(std::string_view bssid);
  bool SetOn(std::string_view bssid, bool is_on);
  /// Null when there is no such radio; valid until radios are added or removed. What is changed through
  /// it is seen by the next scan; use SetOn() to switch it.
  Radio* FindRadio(std::string_view bssid);
  [[nodiscard]] const std::vector<Radio>& Radios() const { return m_radios; }

  /// One with the same name and security is replaced.
  void Save(const SavedNetwork& network);
  bool Forget(std::string_view essid);
  [[nodiscard]] const std::vector<SavedNetwork>& Saved() const { return m_saved; }
  [[nodiscard]] const SavedNetwork* FindSaved(std::string_view essid,
                                              wifi_security_type_e security) const;

  /// Connects the TV at once, without scan, latency or callback: how an evening begins. The network is
  /// saved and the radio is known to the TV from then on.
  /// @return false when there is no such radio on the air
  bool Join(std::string_view bssid);
  /// The connection breaks off, by nobody's wish.
  void Drop();
  /// Lets the TV know what is on the air, at once and without a callback.
  void SeeAll();

  [[nodiscard]] wifi_connection_state_e State() const { return m_state; }
  /// Empty when the TV is connected to none.
  [[nodiscard]] std::string ConnectedBssid() const { return m_connected; }

  /// What wifi_get_snr() answers, in dB.
  void SetSnr(int snr) { m_snr = snr; }
  [[nodiscard]] int Snr() const { return m_snr; }

  /// The rest is for the platform functions.

  void Initialize() { m_is_initialized = true; }
  [[nodiscard]] bool IsInitialized() const { return m_is_initialized; }

  /// What the TV knows of the radios, in the order in which they were put up.
  [[nodiscard]] std::vector<AccessPoint> Known() const;
  /// The same, one for each name and security: the connected radio, else the strongest. Hidden ones
  /// whose name is not known stand for themselves.
  [[nodiscard]] std::vector<AccessPoint> KnownNetworks() const;
  /// What the TV knows of the radios that carry the network of `ap`.
  [[nodiscard]] std::vector<AccessPoint> KnownRadiosOf(const AccessPoint& ap) const;
  [[nodiscard]] std::optional<AccessPoint> FindKnown(std::string_view bssid) const;
  [[nodiscard]] std::optional<AccessPoint> Connected() const { return FindKnown(m_connected); }
  /// The TV has seen this radio, and asked for it by its name.
  void See(const Radio& radio);

  /// The one way into a state.
  /// @param bssid  of a radio that the TV has seen, in the connected state; else empty
  void Enter(wifi_connection_state_e state, const std::string& bssid = {});

  [[nodiscard]] ApHandles& Handles() { return m_handles; }
  [[nodiscard]] WifiRequests& Requests() { return m_requests; }

 private:
  [[nodiscard]] AccessPoint Describe(const Radio& seen) const;

  std::vector<Radio> m_radios;
  std::vector<Radio> m_seen;  // as they were then; hidden ones without a name unless the TV asked for it
  std::vector<SavedNetwork> m_saved;
  wifi_connection_state_e m_state = WIFI_CONNECTION_STATE_DISCONNECTED;
  std::string m_connected;
  int m_snr = 40;
  bool m_is_initialized = false;
  ApHandles m_handles;
  WifiRequests m_requests{*this};
};

/// BSSIDs are one however their letters are written.
[[nodiscard]] bool IsSameBssid(std::string_view one, std::string_view other);

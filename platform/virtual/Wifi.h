#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "DeliveryLine.h"
#include "HandleCallbacks.h"
#include "NumberedHandles.h"
#include "Radio.h"
#include "WifiFailures.h"
#include "WifiManagers.h"
#include "WifiPortal.h"
#include "WifiRequests.h"
#include "WifiScans.h"

/// The access points that the program under the TV holds handles of.
using ApHandles = NumberedHandles<wifi_ap_h, AccessPoint>;
using BorrowedAp = BorrowedHandle<wifi_ap_h, AccessPoint>;

/// The TV's Wi-Fi and the radios around it. Owned by VirtualTv; main-loop thread only.
///
/// The TV knows of a radio what its last scan saw; of the one that it is connected to, what is so now. A
/// scan, a look at one channel and a connection take their latencies (see WifiScans, WifiRequests); the
/// radios are asked when the time is up, so what happens to them in between counts.
///
/// Each change of the connection's state is told to the program's callback, but for Join(). A TV that
/// goes from one radio to another leaves the first, and that is told too.
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

  /// One with the same name and security is replaced in its place, and keeps its frequency when the new
  /// one has none.
  void Save(const SavedNetwork& network);
  bool Forget(std::string_view essid);
  [[nodiscard]] const std::vector<SavedNetwork>& Saved() const { return m_saved; }
  [[nodiscard]] const SavedNetwork* FindSaved(std::string_view essid,
                                              wifi_security_type_e security) const;

  /// Connects the TV at once, without scan, latency or callback: how an evening begins. The network is
  /// saved and the radio is known to the TV from then on.
  /// @return false when there is no such radio on the air
  bool Join(std::string_view bssid);
  /// Connects the TV as its owner does in the settings, with the passphrase of the radio: step by step,
  /// and told like any other connection. Takes the place of a request of the program.
  /// @return false when there is no such radio on the air, or the TV is connected to it
  bool Connect(std::string_view bssid);
  /// The connection breaks off, by nobody's wish.
  void Drop();
  /// Lets the TV know what is on the air, at once and without a callback.
  void SeeAll();

  [[nodiscard]] wifi_connection_state_e State() const { return m_state; }
  /// Empty when the TV is connected to none.
  [[nodiscard]] std::string ConnectedBssid() const { return m_connected; }

  /// Lets the next answer to a request of that kind be a failure; the TV is then as after any failure of
  /// that kind: what it knows stays, and a connection that was asked for is not there, nor the one
  /// before.
  /// @param code  of the interface that asks; 0 takes it back
  void FailNext(WifiRequest request, int code) { m_failures.FailNext(request, code); }

  /// What wifi_get_snr() answers, in dB.
  void SetSnr(int snr) { m_snr = snr; }
  [[nodiscard]] int Snr() const { return m_snr; }

  /// The rest is for the platform functions.

  void Initialize() { m_is_initialized = true; }
  [[nodiscard]] bool IsInitialized() const { return m_is_initialized; }

  /// While it is closed no request is taken and nothing is told; what was under way is lost.
  void Open();
  void Close();

  /// What the TV knows of the radios.
  [[nodiscard]] std::vector<AccessPoint> Known() const;
  /// The same, one for each name and security: the connected radio, else the strongest. Hidden ones
  /// whose name is not known stand for themselves.
  [[nodiscard]] std::vector<AccessPoint> KnownNetworks() const;
  /// What the TV knows of the radios that carry the network of `ap`.
  [[nodiscard]] std::vector<AccessPoint> KnownRadiosOf(const AccessPoint& ap) const;
  [[nodiscard]] std::optional<AccessPoint> FindKnown(std::string_view bssid) const;
  [[nodiscard]] std::optional<AccessPoint> Connected() const { return FindKnown(m_connected); }
  /// The TV has heard what is on the air there. What it knew of these channels is known no more.
  void SeeChannels(const std::set<int>& frequencies);
  /// The TV has asked for a network by its name.
  /// @return the radios that answered
  std::vector<AccessPoint> SeeName(std::string_view essid);
  /// One of them for each name and security, as KnownNetworks() does.
  [[nodiscard]] static std::vector<AccessPoint> NetworksOf(const std::vector<AccessPoint>& radios);

  /// The one way into a state, but for the state of being disconnected.
  /// @param partner  the radio that the TV talks to, which it has then seen and asked for by its name
  void Enter(wifi_connection_state_e state, const Radio& partner);
  /// The one way out, from whatever state.
  void Leave();

  [[nodiscard]] HandleCallbacks<wifi_connection_state_changed_cb>& StateCallbacks() {
    return m_state_callbacks;
  }
  [[nodiscard]] DeliveryLine& StateLine() { return m_state_line; }
  [[nodiscard]] WifiFailures& Failures() { return m_failures; }
  [[nodiscard]] ApHandles& Handles() { return m_handles; }
  [[nodiscard]] WifiRequests& Requests() { return m_requests; }
  [[nodiscard]] WifiScans& Scans() { return m_scans; }
  [[nodiscard]] WifiPortal& Portal() { return m_portal; }
  [[nodiscard]] WifiManagers& Managers() { return m_managers; }

 private:
  [[nodiscard]] AccessPoint Describe(const Radio& seen) const;
  void See(const Radio& radio);
  void SetState(wifi_connection_state_e state, const Radio& partner);
  void TellOfLeaving();
  void Tell(wifi_connection_state_e state, const AccessPoint& ap);

  std::vector<Radio> m_radios;
  std::vector<Radio> m_seen;  // as they were then; hidden ones without a name unless the TV asked for it
  std::vector<SavedNetwork> m_saved;
  wifi_connection_state_e m_state = WIFI_CONNECTION_STATE_DISCONNECTED;
  std::optional<Radio> m_partner;  // unless disconnected: as it was when the TV last heard of it
  std::string m_connected;         // its BSSID, when connected
  int m_snr = 40;
  bool m_is_initialized = false;
  HandleCallbacks<wifi_connection_state_changed_cb> m_state_callbacks;
  DeliveryLine m_state_line;
  WifiFailures m_failures;
  ApHandles m_handles;
  WifiManagers m_managers;
  WifiScans m_scans{*this};
  WifiRequests m_requests{*this};
  WifiPortal m_portal{*this};
};

/// BSSIDs are one however their letters are written.
[[nodiscard]] bool IsSameBssid(std::string_view one, std::string_view other);

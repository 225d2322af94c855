#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "DeliveryLine.h"
#include "wifi.h"
#include "wifi_manager.h"

/// One radio of a router: one network on one channel.
struct Radio {
  /// How it answers those who want to connect.
  enum class Temper {
    kAccepts,
    kRefuses,       ///< turns the TV away at once
    kSilent,        ///< is on the air and never answers
    kAnswersTwice,  ///< accepts, and the answer reaches the program two times
    kNoAddress,     ///< lets the TV in, and no address is given there
  };

  std::string bssid;  ///< "AA:BB:CC:DD:EE:FF"
  std::string essid;
  bool is_hidden = false;
  int frequency = 2437;  ///< MHz
  wifi_security_type_e security = WIFI_SECURITY_TYPE_WPA2_PSK;
  std::string passphrase;
  int rssi = -50;      ///< dBm, as the TV receives it
  int bandwidth = 20;  ///< MHz
  wifi_manager_connection_mode_e mode = WIFI_MANAGER_CONNECTION_MODE_80211N;
  Temper temper = Temper::kAccepts;
  bool is_on = true;
  std::string ipv4 = "192.168.0.20";  ///< the TV's addresses there; empty: none
  std::string ipv6;
};

/// A network that the TV knows.
struct SavedNetwork {
  std::string essid;
  wifi_security_type_e security;
  std::string passphrase;
};

/// The TV's Wi-Fi and the radios around it. Owned by VirtualTv; main-loop thread only.
///
/// The TV knows of a radio what its last scan saw. A scan, a look at one channel and a connection take
/// their latencies; the radios are asked when the time is up, so what happens to them in between counts.
class Wifi {
 public:
  /// Puts a radio on the air; one with the same BSSID is replaced.
  void AddRadio(const Radio& radio);
  /// A radio that goes off the air, or is gone, takes the TV's connection with it.
  /// @return false when there is no such radio
  bool RemoveRadio(std::string_view bssid);
  bool SetOn(std::string_view bssid, bool is_on);
  /// Null when there is no such radio; valid until radios are added or removed. What is changed through
  /// it is seen by the next scan.
  Radio* FindRadio(std::string_view bssid);
  [[nodiscard]] const std::vector<Radio>& Radios() const { return m_radios; }

  void Save(const SavedNetwork& network);
  bool Forget(std::string_view essid);
  [[nodiscard]] const std::vector<SavedNetwork>& Saved() const { return m_saved; }

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

 private:
  std::vector<Radio> m_radios;
  std::vector<SavedNetwork> m_saved;
  wifi_connection_state_e m_state = WIFI_CONNECTION_STATE_DISCONNECTED;
  std::string m_connected;
  int m_snr = 40;
};

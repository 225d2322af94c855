#pragma once

#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Cable.h"
#include "Internet.h"
#include "NetworkTypeKey.h"
#include "Packages.h"
#include "PacketCapture.h"
#include "SettingsApp.h"
#include "Telephony.h"
#include "UsbSockets.h"
#include "Wifi.h"
#include "WiredProfile.h"

/// A TV without hardware, in a room where things are plugged and pulled: what stands behind the
/// platform functions of this backend. One TV a process, built on first use and never destroyed, so
/// that no order of static objects matters. Main-loop thread only, but for the record of calls and the
/// failures, which any thread may meet.
///
/// A new TV has no cable, no dongle, no telephony service, no stick, no packages, and the features of
/// its key file (see SystemInfo). Events reach the program on the main loop, after the latency of their
/// kind.
class VirtualTv {
 public:
  static VirtualTv& Instance();

  /// Plugging what is plugged, and removing what is not there, is no event.
  void PlugCable() { m_cable.SetAttached(true); }
  void UnplugCable() { m_cable.SetAttached(false); }
  void InsertDongle() { m_telephony.SetDongle(true); }
  void RemoveDongle() { m_telephony.SetDongle(false); }

  /// The telephony service comes and goes; both write "memory/telephony/telephony_ready". Without it
  /// nothing is heard of the dongle, and sessions with it fail.
  void StartTelephony() { m_telephony.SetRunning(true); }
  void StopTelephony() { m_telephony.SetRunning(false); }

  /// Sends a cable event with any state, also one that no cable has, and leaves the cable as it is.
  void EmitCableState(int state) { m_cable.Emit(state); }

  /// Makes this TV another model.
  /// @param name   of a feature, such as "network.network_support", or a whole key with its group
  /// @param value  as in the key file: "true", "3"
  void SetFeature(const std::string& name, const std::string& value);

  enum class EventKind {
    kCable,        ///< from the plug to the callback
    kDongle,       ///< from the socket to the callback
    kReport,       ///< from what the check for the internet found to the callback
    kScan,         ///< a look at all channels
    kLook,         ///< a look at the one channel where an access point should be
    kConnect,      ///< from asking an access point to its answer
    kAddress,      ///< from its answer to an address
    kDisconnect,   ///< from asking to leave to having left
    kChannelScan,  ///< a scan of chosen channels, for each of them
    kWifiState,    ///< from a change of Wi-Fi's connection to the callback
    kPortal,       ///< from the question for a portal to its answer
    kProfile,      ///< from asking to close or to open the wired network to its being so
    kStick,        ///< from the socket to the callback
  };
  /// For the events from now on; 10 ms until it is set, and for requests what WifiRequests, WifiScans,
  /// WifiPortal and WiredProfile name.
  void SetLatency(EventKind kind, unsigned milliseconds);
  /// Lets the next event take so much longer, once; later ones of its kind wait for it. An access point
  /// that answers late delays kConnect.
  void DelayNext(EventKind kind, unsigned milliseconds);
  [[nodiscard]] unsigned LatencyMs(EventKind kind);

  static constexpr int kForGood = -1;
  /// Lets a platform function answer with a code without doing anything. One that returns a pointer
  /// answers null, one of the settings store that reads answers that there is no value.
  /// @param times  how many of its next calls, or kForGood
  void Fail(const std::string& function, int code, int times = kForGood);
  void StopFailing(const std::string& function);

  struct Call {
    std::string function;
    /// As text; handles, out parameters and passphrases left out, but an access point by its BSSID.
    std::vector<std::string> arguments;
    bool operator==(const Call&) const = default;
  };
  /// The calls of platform functions, refused ones included, oldest first; at most the last kMostCalls.
  [[nodiscard]] std::vector<Call> Calls();
  [[nodiscard]] std::vector<Call> Calls(std::string_view function);
  void ClearCalls();
  static constexpr std::size_t kMostCalls = 10'000;

  struct Failure {
    int code;
    int times;  ///< left, or kForGood
  };
  [[nodiscard]] std::map<std::string, Failure, std::less<>> Failures();
  [[nodiscard]] const std::map<std::string, std::string>& Features() const { return m_features; }

  [[nodiscard]] Cable& GetCable() { return m_cable; }
  [[nodiscard]] WiredProfile& GetWiredProfile() { return m_wired_profile; }
  [[nodiscard]] Telephony& GetTelephony() { return m_telephony; }
  [[nodiscard]] Wifi& GetWifi() { return m_wifi; }
  [[nodiscard]] Internet& GetInternet() { return m_internet; }
  [[nodiscard]] Packages& GetPackages() { return m_packages; }
  [[nodiscard]] UsbSockets& GetUsbSockets() { return m_usb_sockets; }
  [[nodiscard]] PacketCapture& GetCapture() { return m_capture; }

  /// Where the TV's sound goes; 0 until it is set.
  void SetSpeakerSelection(int selection) { m_speaker_selection = selection; }
  [[nodiscard]] int SpeakerSelection() const { return m_speaker_selection; }

  /// Called by each part of the TV when it has joined or left a network.
  void NetworkChanged() {
    m_network_type.Follow(m_internet.GetCarrier());
    m_internet.NetworkChanged();
  }
  [[nodiscard]] SettingsApp& GetSettingsApp() { return m_settings_app; }

 private:
  VirtualTv();
  static std::optional<int> OnCall(std::string_view function, std::vector<std::string> arguments);
  [[nodiscard]] DeliveryLine& LineOf(EventKind kind);

  Cable m_cable;
  WiredProfile m_wired_profile{m_cable};
  Telephony m_telephony;
  Wifi m_wifi;
  Internet m_internet{m_cable, m_wifi, m_telephony};
  NetworkTypeKey m_network_type;
  SettingsApp m_settings_app;
  Packages m_packages;
  UsbSockets m_usb_sockets;
  PacketCapture m_capture;
  int m_speaker_selection = 0;
  std::map<std::string, std::string> m_features;  // those that were set here, by whole key

  std::mutex m_calls_mutex;  // guards the two below
  std::deque<Call> m_calls;
  std::map<std::string, Failure, std::less<>> m_failures;
};

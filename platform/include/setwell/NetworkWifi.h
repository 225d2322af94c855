#pragma once

#include <memory>
#include <string>

#include "setwell/NetworkListener.h"
#include "wifi.h"

namespace Setwell {

/// An access point, as the library hands it out and takes it back.
struct WIFIData {
  bool isFavourite = false;  ///< its network is saved
  int securityType = 0;      ///< an eSecurityType
  std::string ssid;
  bool is5Ghz = false;
  std::string bssid;         ///< "AA:BB:CC:DD:EE:FF"
  int connectionOption = 0;  ///< names the one radio in a request to connect; 0: any of the network
  std::string key;           ///< passphrase; empty: the saved one
  int rssi = 0;              ///< dBm
  int frequency = 0;         ///< MHz
};

/// Who asks whether there is a similar access point.
enum eDualAPMode {
  DUAL_AP_MODE_USER = 0,       ///< the user, who may also be led into an open network
  DUAL_AP_MODE_AUTOMATIC = 1,  ///< the TV by itself: into a saved network only
};

/// What a request to connect says.
struct NetworkParameters {
  virtual ~NetworkParameters() = default;
};
struct WifiParameters : NetworkParameters {
  std::string ssid;
  wifi_security_type_e securityType = WIFI_SECURITY_TYPE_NONE;
  std::string key;           ///< empty: the saved one
  int connectionOption = 0;  ///< from WIFIData
};

/// A network that can be connected to.
class Network : public Observable {
 public:
  /// For every Connect() that follows.
  virtual void SetParameters(const NetworkParameters& parameters) = 0;
  /// The answer comes to the listeners; one request's answer is dropped when another followed it.
  virtual void Connect() = 0;
};

/// The Wi-Fi network: looks around, connects and disconnects, on the platform's Wi-Fi interface. Owned
/// by whoever made it; main-loop thread only. After its end no listener is called.
class NetworkWifi : public Network {
 public:
  /// Is5GhzSimilarAPExist(): there is one, and switching to it is not allowed because its network needs
  /// a key that is not saved.
  static constexpr int kNotAllowed = 60;
  static constexpr int kFound = 0;
  static constexpr int kNotFound = 1;
  /// Weaker ones are not worth a move, dBm.
  static constexpr int kWeakestSimilarRssi = -75;

  NetworkWifi();
  ~NetworkWifi() override;
  NetworkWifi(const NetworkWifi&) = delete;
  NetworkWifi& operator=(const NetworkWifi&) = delete;

  /// @return false when the platform has no Wi-Fi now; it logs why
  bool InitWifi();

  /// @param details  out: the access point that the TV is connected to; untouched on failure
  /// @return false when it is connected to none
  bool GetConnectedAPDetails(WIFIData& details);

  /// Looks through the results of the last scans for a 5 GHz radio of the router that the TV is
  /// connected to (NetworkUtil::IsDualBand), or of a network with the same name and security. The
  /// strongest counts, among those that may be joined.
  /// @param similar  out: untouched unless kFound
  /// @return kFound, kNotAllowed or kNotFound
  int Is5GhzSimilarAPExist(WIFIData& similar, eDualAPMode mode);

  /// The listeners hear OnWifiScanComplete(), also when it could not begin.
  void Scan();

  void SetParameters(const NetworkParameters& parameters) override;

  /// The listeners hear OnAPConnected() and then OnWifiConnectSuccess() or OnConnectionError(), also
  /// when the request could not begin. Being there already is a success.
  void Connect() override;

  /// Leaves the network of that name if the TV is in it. The listeners hear OnDisconnected() when it has
  /// left by this request; when there was nothing to leave, or the platform refuses, they hear nothing.
  /// A Connect() under way is given up only for a network that is left.
  void Disconnect(const std::string& ssid);

 private:
  struct State;
  std::shared_ptr<State> m_state;
};

}  // namespace Setwell

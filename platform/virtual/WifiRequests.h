#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "DeliveryLine.h"
#include "Radio.h"
#include "wifi.h"

class Wifi;

/// Where a connection shall lead: wifi_target_s with texts of its own.
struct WifiTarget {
  explicit WifiTarget(const wifi_target_s& target);
  [[nodiscard]] bool IsMetBy(const Radio& radio) const;

  std::string essid;
  std::string bssid;  ///< empty: any radio of the network
  int frequency;      ///< MHz; 0: not known
  wifi_security_type_e security;
  std::optional<std::string> passphrase;
};

/// The request to connect or to disconnect that the program under the TV has made, until it is answered.
/// The next of these ends the one before. Owned by Wifi; main-loop thread only.
///
///     connect: look --> associate --> get an address --> connected
///                |          |               |
///                v          v               v
///            NOT_FOUND   REFUSED        DHCP_FAILED
///           (connection  INVALID_KEY    NO_REPLY
///            untouched)  NO_REPLY
///                        (connected to nothing)
class WifiRequests {
 public:
  static constexpr unsigned kLookMs = 100;
  static constexpr unsigned kConnectMs = 700;
  static constexpr unsigned kAddressMs = 300;
  static constexpr unsigned kDisconnectMs = 100;

  /// @param result  an error of the Wi-Fi interface, or what Wifi::FailNext() was told
  using Answer = std::function<void(int result)>;

  /// @param wifi  the owner
  explicit WifiRequests(Wifi& wifi);

  /// Each returns the code that the platform function answers with; the answer comes only after
  /// WIFI_ERROR_NONE.
  wifi_error_e Connect(const WifiTarget& target, const Answer& answer);
  /// Connects by the strongest radio of the network that the TV knows, with the saved passphrase. Being
  /// connected to the network is answered WIFI_ERROR_ALREADY_EXISTS.
  wifi_error_e ConnectToNetwork(const AccessPoint& ap, const Answer& answer);
  wifi_error_e Disconnect(const AccessPoint& ap, const Answer& answer);

  /// While it is closed no request is taken, and what was under way is never answered.
  void Open();
  void Close();

  [[nodiscard]] DeliveryLine& LookLine() { return m_look_line; }
  [[nodiscard]] DeliveryLine& ConnectLine() { return m_connect_line; }
  [[nodiscard]] DeliveryLine& AddressLine() { return m_address_line; }
  [[nodiscard]] DeliveryLine& DisconnectLine() { return m_disconnect_line; }

 private:
  using Step = void (WifiRequests::*)();

  void Begin(const Answer& answer, Step first);
  void Then(DeliveryLine& line, Step next);
  void End(int result);
  void Fail(int result);
  void Abort();

  void BeginWithoutLook();
  void BeginLook();
  void EndLookAtKnownChannels();
  void EndLookAtAllChannels();
  void Associate(const Radio& radio);
  void EndAssociation();
  void EndWaitForAddress();
  void BeginDisconnection();
  void EndDisconnection();

  [[nodiscard]] bool MayBeOn(int frequency) const;
  [[nodiscard]] const Radio* StrongestOnAir(bool on_all_channels) const;
  [[nodiscard]] const Radio* Partner() const;
  [[nodiscard]] bool HasKeyOf(const Radio& radio) const;

  Wifi& m_wifi;
  bool m_is_open = true;
  std::optional<Answer> m_answer;        // while a request runs
  std::uint64_t m_number = 0;            // of the last such request; steps of older ones do nothing
  std::optional<WifiTarget> m_target;    // of a request to connect
  std::optional<AccessPoint> m_network;  // of one for a network
  std::string m_partner;                 // the radio that the TV talks to
  DeliveryLine m_answers_line;  // requests begin on the line that the end of older ones is told on
  DeliveryLine m_look_line;
  DeliveryLine m_connect_line;
  DeliveryLine m_address_line;
  DeliveryLine m_disconnect_line;
};

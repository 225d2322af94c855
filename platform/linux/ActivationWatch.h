#pragma once

#include <optional>
#include <string_view>

#include <NetworkManager.h>

#include "wifi.h"

/// Judges one activation of a Wi-Fi connection by what NetworkManager and the supplicant say of it.
/// NetworkManager knows surely that a connection stands, and takes 15 to 76 s to say that it does not;
/// the supplicant knows within half a second what the access point answered. Does nothing but judge; fed
/// from the moment when the activation is asked for. The first steps of the device may still be those of
/// an activation before; where a later one takes the device from this one, only the active connection
/// tells of it.
///
///     queued --config--> talking --ip-config--> address --activated--> NONE
///       |                   | codes, reasons,      |
///       |                   | EAP, failed          | failed
///       v                   v                      v
///     OPERATION_FAILED   REFUSED INVALID_KEY     DHCP_FAILED
///                        NO_REPLY
class ActivationWatch {
 public:
  explicit ActivationWatch(wifi_security_type_e security) : m_security(security) {}

  /// NetworkManager: the active connection, and the device.
  void OnActiveState(NMActiveConnectionState state);
  void OnDeviceState(NMDeviceState state, NMDeviceStateReason reason);

  /// The supplicant: properties of the same names, and the signal EAP.
  void OnState(std::string_view state);
  void OnAuthStatusCode(int code);
  void OnAssocStatusCode(int code);
  void OnDisconnectReason(int reason);
  void OnEap(std::string_view status, std::string_view parameter);

  /// The connection ended and nobody has told why; the reason may be under way.
  [[nodiscard]] bool IsWaitingForReason() const { return m_has_ended && !m_verdict; }
  void OnReasonDoesNotCome();

  /// @return WIFI_ERROR_NONE: connected; nullopt: not known yet
  [[nodiscard]] std::optional<wifi_error_e> Verdict() const { return m_verdict; }

 private:
  enum class Phase {
    kQueued,   ///< an older connection may still be in its end: what the supplicant says is of that
    kTalking,  ///< with the access point
    kAddress,  ///< associated, waits for an address
  };
  void Conclude(wifi_error_e verdict);
  [[nodiscard]] bool HasPassphrase() const;
  [[nodiscard]] wifi_error_e ErrorOf(NMDeviceStateReason reason) const;

  wifi_security_type_e m_security;
  Phase m_phase = Phase::kQueued;
  bool m_is_in_handshake = false;
  bool m_is_server_distrusted = false;
  bool m_has_ended = false;
  std::optional<wifi_error_e> m_verdict;
};

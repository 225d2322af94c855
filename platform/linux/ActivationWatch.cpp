#include "ActivationWatch.h"

namespace {

// Status codes of IEEE 802.11 that an access point answers with.
constexpr int kChallengeFailure = 15;
constexpr int kTryLater = 30;           // the supplicant waits and asks again
constexpr int kInvalidPmkid = 53;       // it asks again without the remembered key
constexpr int kAntiCloggingToken = 76;  // SAE goes on after these four
constexpr int kOtherGroupNeeded = 77;
constexpr int kHashToElement = 126;
constexpr int kPublicKeyIdentity = 127;

// Reason codes of IEEE 802.11 that it disconnects with.
constexpr int kNoLongerValid = 2;
constexpr int kTooManyStations = 5;
constexpr int kMicFailure = 14;
constexpr int kHandshakeTimeout = 15;
constexpr int kAuthenticationFailed = 23;

}  // namespace

void ActivationWatch::Conclude(wifi_error_e verdict) {
  if (!m_verdict) {
    m_verdict = verdict;
  }
}

bool ActivationWatch::HasPassphrase() const {
  return m_security != WIFI_SECURITY_TYPE_NONE && m_security != WIFI_SECURITY_TYPE_EAP;
}

void ActivationWatch::OnActiveState(NMActiveConnectionState state) {
  switch (state) {
    case NM_ACTIVE_CONNECTION_STATE_ACTIVATED:
      Conclude(WIFI_ERROR_NONE);
      break;
    case NM_ACTIVE_CONNECTION_STATE_DEACTIVATED:
      m_has_ended = true;  // by a reason that is the same for every cause; the device tells the cause
      break;
    case NM_ACTIVE_CONNECTION_STATE_UNKNOWN:
    case NM_ACTIVE_CONNECTION_STATE_ACTIVATING:
    case NM_ACTIVE_CONNECTION_STATE_DEACTIVATING:
      break;
  }
}

void ActivationWatch::OnDeviceState(NMDeviceState state, NMDeviceStateReason reason) {
  switch (state) {
    case NM_DEVICE_STATE_CONFIG:
      m_phase = Phase::kTalking;
      break;
    case NM_DEVICE_STATE_NEED_AUTH:
      // Also a step on the way of every connection with a passphrase, which has no reason then.
      if (reason == NM_DEVICE_STATE_REASON_SUPPLICANT_DISCONNECT && HasPassphrase()) {
        Conclude(WIFI_ERROR_INVALID_KEY);
      }
      break;
    case NM_DEVICE_STATE_IP_CONFIG:
      m_phase = Phase::kAddress;
      break;
    case NM_DEVICE_STATE_FAILED:
      Conclude(ErrorOf(reason));
      break;
    case NM_DEVICE_STATE_DEACTIVATING:
    case NM_DEVICE_STATE_DISCONNECTED:
    case NM_DEVICE_STATE_UNAVAILABLE:
    case NM_DEVICE_STATE_UNMANAGED:
      if (reason == NM_DEVICE_STATE_REASON_NEW_ACTIVATION) {
        m_phase = Phase::kQueued;  // the steps so far were an older one's, which makes room for this one
      } else if (m_phase != Phase::kQueued) {
        Conclude(ErrorOf(reason));
      }
      break;
    case NM_DEVICE_STATE_UNKNOWN:
    case NM_DEVICE_STATE_PREPARE:
    case NM_DEVICE_STATE_IP_CHECK:
    case NM_DEVICE_STATE_SECONDARIES:
    case NM_DEVICE_STATE_ACTIVATED:
      break;
  }
}

void ActivationWatch::OnState(std::string_view state) {
  m_is_in_handshake = state == "4way_handshake";
}

void ActivationWatch::OnAuthStatusCode(int code) {
  if (m_phase != Phase::kTalking || code <= 0) {
    return;
  }
  switch (code) {
    case kAntiCloggingToken:
    case kOtherGroupNeeded:
    case kHashToElement:
    case kPublicKeyIdentity:
      return;
    case kChallengeFailure:
      Conclude(HasPassphrase() ? WIFI_ERROR_INVALID_KEY : WIFI_ERROR_REFUSED);
      return;
    default:
      Conclude(WIFI_ERROR_REFUSED);
  }
}

void ActivationWatch::OnAssocStatusCode(int code) {
  if (m_phase == Phase::kTalking && code > 0 && code != kTryLater && code != kInvalidPmkid) {
    Conclude(WIFI_ERROR_REFUSED);
  }
}

/// Most reasons are of a moment, and the supplicant tries again after them.
void ActivationWatch::OnDisconnectReason(int reason) {
  if (m_phase != Phase::kTalking) {
    return;
  }
  const bool is_handshake_lost =
      m_is_in_handshake && (reason == kNoLongerValid || reason == kMicFailure);
  if (HasPassphrase() && (reason == kHandshakeTimeout || is_handshake_lost)) {
    Conclude(WIFI_ERROR_INVALID_KEY);
  } else if (m_security == WIFI_SECURITY_TYPE_EAP && reason == kAuthenticationFailed) {
    Conclude(WIFI_ERROR_INVALID_KEY);
  } else if (reason == kTooManyStations) {
    Conclude(WIFI_ERROR_REFUSED);
  }
}

/// The server turns down our certificate or password, or we turn down its certificate: that is no wrong
/// key of ours, and another attempt may find its certificates put right.
void ActivationWatch::OnEap(std::string_view status, std::string_view parameter) {
  if (m_phase != Phase::kTalking) {
    return;
  }
  if ((status == "remote certificate verification" && parameter != "success") ||
      status == "local TLS alert") {
    m_is_server_distrusted = true;
  } else if (status == "completion" && parameter == "failure") {
    Conclude(m_is_server_distrusted ? WIFI_ERROR_OPERATION_FAILED : WIFI_ERROR_INVALID_KEY);
  }
}

void ActivationWatch::OnReasonDoesNotCome() {
  if (m_has_ended) {
    Conclude(WIFI_ERROR_OPERATION_FAILED);
  }
}

wifi_error_e ActivationWatch::ErrorOf(NMDeviceStateReason reason) const {
  switch (reason) {
    case NM_DEVICE_STATE_REASON_NO_SECRETS:
      // With 802.1X it stands for every failure that the supplicant gave no signal of.
      return HasPassphrase() ? WIFI_ERROR_INVALID_KEY : WIFI_ERROR_OPERATION_FAILED;
    case NM_DEVICE_STATE_REASON_SSID_NOT_FOUND:
    case NM_DEVICE_STATE_REASON_SUPPLICANT_DISCONNECT:
    case NM_DEVICE_STATE_REASON_SUPPLICANT_TIMEOUT:
      return WIFI_ERROR_NO_REPLY;
    case NM_DEVICE_STATE_REASON_CONFIG_FAILED:
    case NM_DEVICE_STATE_REASON_IP_CONFIG_UNAVAILABLE:
    case NM_DEVICE_STATE_REASON_IP_CONFIG_EXPIRED:
    case NM_DEVICE_STATE_REASON_IP_ADDRESS_DUPLICATE:
    case NM_DEVICE_STATE_REASON_DHCP_START_FAILED:
    case NM_DEVICE_STATE_REASON_DHCP_ERROR:
    case NM_DEVICE_STATE_REASON_DHCP_FAILED:
      return m_phase == Phase::kAddress ? WIFI_ERROR_DHCP_FAILED : WIFI_ERROR_OPERATION_FAILED;
    default:
      return WIFI_ERROR_OPERATION_FAILED;
  }
}

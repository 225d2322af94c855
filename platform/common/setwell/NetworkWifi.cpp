#include "setwell/NetworkWifi.h"

#include <optional>
#include <utility>

#include "AccessPoint.h"
#include "PlatformLog.h"
#include "RadioTable.h"
#include "Request.h"
#include "SimilarAccessPoint.h"
#include "call_guarded.h"

namespace Setwell {

namespace {

const char* ToText(wifi_error_e error) {
  switch (error) {
    case WIFI_ERROR_NONE:
      return "done";
    case WIFI_ERROR_OUT_OF_MEMORY:
      return "out of memory";
    case WIFI_ERROR_INVALID_PARAMETER:
      return "the request makes no sense";
    case WIFI_ERROR_INVALID_OPERATION:
      return "Wi-Fi is not ready";
    case WIFI_ERROR_NOT_SUPPORTED:
      return "there is no Wi-Fi";
    case WIFI_ERROR_NOW_IN_PROGRESS:
      return "one runs already";
    case WIFI_ERROR_OPERATION_FAILED:
      return "the platform cannot do it now";
    case WIFI_ERROR_NO_CONNECTION:
      return "not connected";
    case WIFI_ERROR_ALREADY_EXISTS:
      return "connected there already";
    case WIFI_ERROR_OPERATION_ABORTED:
      return "another request took its place";
    case WIFI_ERROR_DHCP_FAILED:
      return "no address was given";
    case WIFI_ERROR_NOT_FOUND:
      return "the access point is not on the air";
    case WIFI_ERROR_INVALID_KEY:
      return "the passphrase is wrong or missing";
    case WIFI_ERROR_NO_REPLY:
      return "the access point does not answer";
    case WIFI_ERROR_REFUSED:
      return "the access point turns the TV away";
  }
  return "an unknown error";
}

}  // namespace

/// What the object is made of. Outlives it only inside a call to a listener that ends it; with it end
/// the requests.
struct NetworkWifi::State {
  NetworkWifi* owner;  // null after its end
  RadioTable radios;
  std::optional<WifiParameters> parameters;  // for the next Connect()

  // A connection and a disconnection take each other's place, a scan only another scan's.
  std::unique_ptr<Request> link;
  std::unique_ptr<Request> scan;
  bool is_scanning = false;  // the platform has taken the scan and has not answered yet

  WIFIData HandOut(const AccessPoint& radio);

  template <class Call>
  static void Tell(const std::shared_ptr<State>& state, Call&& call);
  /// Makes a request whose answer goes to `handle` while the object lives.
  static std::unique_ptr<Request> Ask(const std::shared_ptr<State>& state,
                                      void (*handle)(const std::shared_ptr<State>&, wifi_error_e));

  static void OnConnectAnswer(const std::shared_ptr<State>& state, wifi_error_e result);
  static void OnDisconnectAnswer(const std::shared_ptr<State>& state, wifi_error_e result);
  static void OnScanAnswer(const std::shared_ptr<State>& state, wifi_error_e result);
};

WIFIData NetworkWifi::State::HandOut(const AccessPoint& radio) {
  WIFIData data;
  data.isFavourite = radio.is_saved;
  data.securityType = ToSecurityType(radio.security);
  data.ssid = radio.ssid;
  data.is5Ghz = Is5Ghz(radio.frequency);
  data.bssid = radio.bssid;
  data.connectionOption = radios.Add(radio);
  data.rssi = radio.rssi;
  data.frequency = radio.frequency;
  return data;
}

// Every listener hears of what happened, also when one before it has asked for something else; only the
// object's end stops the round.
template <class Call>
void NetworkWifi::State::Tell(const std::shared_ptr<State>& state, Call&& call) {
  if (state->owner == nullptr) {
    return;
  }
  std::erase_if(state->owner->m_listeners, [](const auto& listener) { return listener.expired(); });
  const auto round = state->owner->m_listeners;  // the list may change or end meanwhile
  for (const auto& weak_listener : round) {
    if (state->owner == nullptr) {
      return;
    }
    if (const std::shared_ptr<WifiEventListner> listener = weak_listener.lock()) {
      CallGuarded([&] { call(*listener); });
    }
  }
}

std::unique_ptr<Request> NetworkWifi::State::Ask(const std::shared_ptr<State>& state,
                                                 void (*handle)(const std::shared_ptr<State>&,
                                                                wifi_error_e)) {
  return std::make_unique<Request>([weak = std::weak_ptr(state), handle](wifi_error_e result) {
    if (const std::shared_ptr<State> alive = weak.lock()) {
      handle(alive, result);
    }
  });
}

void NetworkWifi::State::OnConnectAnswer(const std::shared_ptr<State>& state, wifi_error_e result) {
  const std::uintptr_t number = state->link->Number();
  const bool is_let_in = result == WIFI_ERROR_NONE || result == WIFI_ERROR_DHCP_FAILED;
  Tell(state, [is_let_in](WifiEventListner& listener) { listener.OnAPConnected(is_let_in); });
  if (state->link->Number() != number) {
    return;  // a listener has asked for something else
  }
  if (result == WIFI_ERROR_NONE) {
    PLATFORM_LOG(DLOG_INFO, "connected");
    Tell(state, [](WifiEventListner& listener) { listener.OnWifiConnectSuccess(); });
    return;
  }
  const NetworkError error{result, ToText(result)};
  PLATFORM_LOG(DLOG_WARN, "not connected: %s (%d)", error.text.c_str(), error.code);
  Tell(state, [&error](WifiEventListner& listener) { listener.OnConnectionError(error); });
}

void NetworkWifi::State::OnDisconnectAnswer(const std::shared_ptr<State>& state, wifi_error_e result) {
  if (result != WIFI_ERROR_NONE) {
    PLATFORM_LOG(DLOG_WARN, "not disconnected: %s (%d)", ToText(result), result);
    return;
  }
  Tell(state, [](WifiEventListner& listener) { listener.OnDisconnected(); });
}

void NetworkWifi::State::OnScanAnswer(const std::shared_ptr<State>& state, wifi_error_e result) {
  state->is_scanning = false;
  if (result != WIFI_ERROR_NONE) {
    PLATFORM_LOG(DLOG_WARN, "no scan: %s (%d)", ToText(result), result);
  }
  Tell(state, [](WifiEventListner& listener) { listener.OnWifiScanComplete(); });
}

NetworkWifi::NetworkWifi() : m_state(std::make_shared<State>()) {
  m_state->owner = this;
}

NetworkWifi::~NetworkWifi() {
  m_state->owner = nullptr;
}

bool NetworkWifi::InitWifi() {
  const int result = wifi_initialize();
  if (result != WIFI_ERROR_NONE) {
    PLATFORM_LOG(DLOG_WARN, "no Wi-Fi: %s (%d)", ToText(static_cast<wifi_error_e>(result)), result);
  }
  return result == WIFI_ERROR_NONE;
}

bool NetworkWifi::GetConnectedAPDetails(WIFIData& details) {
  const AccessPointHandle ap = ConnectedHandle();
  const std::optional<AccessPoint> connected = ap ? ReadRadio(ap.get()) : std::nullopt;
  if (!connected) {
    return false;
  }
  details = m_state->HandOut(*connected);
  return true;
}

int NetworkWifi::Is5GhzSimilarAPExist(WIFIData& similar, eDualAPMode mode) {
  const AccessPointHandle ap = ConnectedHandle();
  const std::optional<AccessPoint> connected = ap ? ReadRadio(ap.get()) : std::nullopt;
  if (!connected) {
    return kNotFound;
  }
  const SimilarAccessPoint choice = ChooseSimilar(*connected, FoundRadios(), mode == DUAL_AP_MODE_USER);
  if (choice.best) {
    similar = m_state->HandOut(*choice.best);
    return kFound;
  }
  return choice.is_any ? kNotAllowed : kNotFound;
}

void NetworkWifi::Scan() {
  std::unique_ptr<Request> request = State::Ask(m_state, State::OnScanAnswer);
  const int result = wifi_scan(Request::OnAnswer, request->UserData());
  if (result == WIFI_ERROR_NOW_IN_PROGRESS && m_state->is_scanning) {
    return;  // the end of the one that this object began is the end of this one too
  }
  m_state->scan = std::move(request);
  m_state->is_scanning = result == WIFI_ERROR_NONE;
  if (result != WIFI_ERROR_NONE) {
    m_state->scan->AnswerLater(static_cast<wifi_error_e>(result));
  }
}

void NetworkWifi::SetParameters(const NetworkParameters& parameters) {
  const auto* const wifi = dynamic_cast<const WifiParameters*>(&parameters);
  m_state->parameters = wifi != nullptr ? std::optional(*wifi) : std::nullopt;
}

void NetworkWifi::Connect() {
  m_state->link = State::Ask(m_state, State::OnConnectAnswer);
  if (!m_state->parameters) {
    m_state->link->AnswerLater(WIFI_ERROR_INVALID_PARAMETER);
    return;
  }
  const WifiParameters& parameters = *m_state->parameters;
  wifi_target_s target{};
  target.essid = parameters.ssid.c_str();
  target.security_type = parameters.securityType;
  target.passphrase = parameters.key.empty() ? nullptr : parameters.key.c_str();

  std::optional<AccessPoint> radio;
  if (parameters.connectionOption != 0) {
    radio = m_state->radios.Find(parameters.connectionOption);
    if (!radio) {
      // Any other radio of the network could be the one that the TV shall leave.
      m_state->link->AnswerLater(WIFI_ERROR_NOT_FOUND);
      return;
    }
    target.bssid = radio->bssid.c_str();
    target.frequency = radio->frequency;
    if (ToSecurityType(radio->security) == ToSecurityType(target.security_type)) {
      target.security_type = radio->security;  // the library's own kinds are coarser
    }
  }
  PLATFORM_LOG(DLOG_INFO, "connects to \"%s\" by %s on %d MHz", target.essid,
               radio ? target.bssid : "any radio", target.frequency);
  const int result = wifi_connect_target(&target, Request::OnAnswer, m_state->link->UserData());
  if (result == WIFI_ERROR_ALREADY_EXISTS) {
    m_state->link->AnswerLater(WIFI_ERROR_NONE);
  } else if (result != WIFI_ERROR_NONE) {
    m_state->link->AnswerLater(static_cast<wifi_error_e>(result));
  }
}

void NetworkWifi::Disconnect(const std::string& ssid) {
  const AccessPointHandle ap = ConnectedHandle();
  if (!ap || ReadName(ap.get()) != ssid) {
    PLATFORM_LOG(DLOG_INFO, "not in \"%s\", so does not leave it", ssid.c_str());
    return;
  }
  std::unique_ptr<Request> request = State::Ask(m_state, State::OnDisconnectAnswer);
  const int result = wifi_disconnect(ap.get(), Request::OnAnswer, request->UserData());
  if (result != WIFI_ERROR_NONE) {
    PLATFORM_LOG(DLOG_WARN, "does not leave \"%s\": %s (%d)", ssid.c_str(),
                 ToText(static_cast<wifi_error_e>(result)), result);
    return;
  }
  m_state->link = std::move(request);
}

}  // namespace Setwell

#include "WifiRequests.h"

#include <algorithm>

#include "Wifi.h"

WifiTarget::WifiTarget(const wifi_target_s& target)
    : essid(target.essid),
      bssid(target.bssid == nullptr ? "" : target.bssid),
      frequency(target.frequency),
      security(target.security_type),
      passphrase(target.passphrase == nullptr ? std::nullopt
                                              : std::optional<std::string>(target.passphrase)) {}

bool WifiTarget::IsMetBy(const Radio& radio) const {
  return radio.essid == essid && radio.security == security &&
         (bssid.empty() || IsSameBssid(radio.bssid, bssid));
}

WifiRequests::WifiRequests(Wifi& wifi) : m_wifi(wifi) {
  m_answers_line.SetLatency(0);
  m_look_line.SetLatency(kLookMs);
  m_connect_line.SetLatency(kConnectMs);
  m_address_line.SetLatency(kAddressMs);
  m_disconnect_line.SetLatency(kDisconnectMs);
}

void WifiRequests::Open() {
  m_is_open = true;
  for (DeliveryLine* line :
       {&m_answers_line, &m_look_line, &m_connect_line, &m_address_line, &m_disconnect_line}) {
    line->Open();
  }
}

void WifiRequests::Close() {
  m_is_open = false;
  for (DeliveryLine* line :
       {&m_answers_line, &m_look_line, &m_connect_line, &m_address_line, &m_disconnect_line}) {
    line->Close();
  }
  m_answer.reset();
  if (m_wifi.State() != WIFI_CONNECTION_STATE_CONNECTED) {
    m_wifi.Leave();
  }
}

wifi_error_e WifiRequests::Connect(const WifiTarget& target, const Answer& answer) {
  if (!m_is_open) {
    return WIFI_ERROR_OPERATION_FAILED;
  }
  const auto present = m_wifi.Connected();
  if (present && target.IsMetBy(present->radio)) {
    Abort();  // who wants to be here does not want to be led elsewhere
    return WIFI_ERROR_ALREADY_EXISTS;
  }
  Begin(answer, &WifiRequests::BeginLook);
  m_target = target;
  return WIFI_ERROR_NONE;
}

wifi_error_e WifiRequests::ConnectToNetwork(const AccessPoint& ap, const Answer& answer) {
  if (!m_is_open) {
    return WIFI_ERROR_OPERATION_FAILED;
  }
  Begin(answer, &WifiRequests::BeginWithoutLook);
  m_network = ap;
  return WIFI_ERROR_NONE;
}

wifi_error_e WifiRequests::Disconnect(const AccessPoint& ap, const Answer& answer) {
  if (!m_is_open) {
    return WIFI_ERROR_OPERATION_FAILED;
  }
  const auto radios = m_wifi.KnownRadiosOf(ap);
  if (std::ranges::none_of(radios, &AccessPoint::is_connected)) {
    return WIFI_ERROR_NO_CONNECTION;
  }
  Begin(answer, &WifiRequests::BeginDisconnection);
  return WIFI_ERROR_NONE;
}

/// The first step waits until the program has heard that its older request ended.
void WifiRequests::Begin(const Answer& answer, Step first) {
  Abort();
  ++m_number;
  m_answer = answer;
  Then(m_answers_line, first);
}

void WifiRequests::Then(DeliveryLine& line, Step next) {
  line.Send([this, next, number = m_number] {
    if (m_answer && number == m_number) {
      (this->*next)();
    }
  });
}

void WifiRequests::End(int result) {
  const Answer finished = *m_answer;
  m_answer.reset();
  finished(result);
}

void WifiRequests::Fail(int result) {
  m_wifi.Leave();
  End(result);
}

void WifiRequests::Abort() {
  if (!m_answer) {
    return;
  }
  for (DeliveryLine* line : {&m_look_line, &m_connect_line, &m_address_line, &m_disconnect_line}) {
    line->Clear();
  }
  if (m_wifi.State() != WIFI_CONNECTION_STATE_CONNECTED) {
    m_wifi.Leave();
  }
  m_answers_line.Send([aborted = *m_answer] { aborted(WIFI_ERROR_OPERATION_ABORTED); });
  m_answer.reset();
}

void WifiRequests::BeginWithoutLook() {
  const auto radios = m_wifi.KnownRadiosOf(*m_network);
  if (std::ranges::any_of(radios, &AccessPoint::is_connected)) {
    const int failure = m_wifi.Failures().Take(WifiRequest::kConnect);
    End(failure != 0 ? failure : WIFI_ERROR_ALREADY_EXISTS);
    return;
  }
  const auto strongest =
      std::ranges::max_element(radios, {}, [](const AccessPoint& ap) { return ap.radio.rssi; });
  const Radio radio = (strongest == radios.end() ? *m_network : *strongest).radio;
  m_target =
      WifiTarget({radio.essid.c_str(), radio.bssid.c_str(), radio.frequency, radio.security, nullptr});
  Associate(radio);
}

void WifiRequests::BeginLook() {
  const auto known = m_wifi.Known();
  const bool is_place_known =
      m_target->frequency != 0 ||
      std::ranges::any_of(known, [this](const AccessPoint& ap) { return m_target->IsMetBy(ap.radio); });
  if (is_place_known) {
    Then(m_look_line, &WifiRequests::EndLookAtKnownChannels);
  } else {
    Then(m_wifi.Scans().ScanLine(), &WifiRequests::EndLookAtAllChannels);
  }
}

void WifiRequests::EndLookAtKnownChannels() {
  if (const Radio* const radio = StrongestOnAir(false)) {
    Associate(*radio);
  } else if (m_target->frequency == 0) {
    Then(m_wifi.Scans().ScanLine(), &WifiRequests::EndLookAtAllChannels);
  } else {
    End(WIFI_ERROR_NOT_FOUND);
  }
}

void WifiRequests::EndLookAtAllChannels() {
  if (const Radio* const radio = StrongestOnAir(true)) {
    Associate(*radio);
  } else {
    End(WIFI_ERROR_NOT_FOUND);
  }
}

/// Whether the target was seen on that channel.
bool WifiRequests::MayBeOn(int frequency) const {
  if (m_target->frequency != 0) {
    return frequency == m_target->frequency;
  }
  const auto known = m_wifi.Known();
  return std::ranges::any_of(known, [&](const AccessPoint& ap) {
    return m_target->IsMetBy(ap.radio) && ap.radio.frequency == frequency;
  });
}

const Radio* WifiRequests::StrongestOnAir(bool on_all_channels) const {
  const Radio* strongest = nullptr;
  for (const Radio& radio : m_wifi.Radios()) {
    const bool is_met =
        radio.is_on && m_target->IsMetBy(radio) && (on_all_channels || MayBeOn(radio.frequency));
    if (is_met && (strongest == nullptr || radio.rssi > strongest->rssi)) {
      strongest = &radio;
    }
  }
  return strongest;
}

void WifiRequests::Associate(const Radio& radio) {
  m_partner = radio.bssid;
  m_wifi.Enter(WIFI_CONNECTION_STATE_ASSOCIATION, radio);
  Then(m_connect_line, &WifiRequests::EndAssociation);
}

/// Null when it has gone, or has become another network.
const Radio* WifiRequests::Partner() const {
  const Radio* const radio = m_wifi.FindRadio(m_partner);
  return radio != nullptr && radio->is_on && m_target->IsMetBy(*radio) ? radio : nullptr;
}

bool WifiRequests::HasKeyOf(const Radio& radio) const {
  if (radio.security == WIFI_SECURITY_TYPE_NONE) {
    return true;
  }
  if (m_target->passphrase) {
    return *m_target->passphrase == radio.passphrase;
  }
  const SavedNetwork* const saved = m_wifi.FindSaved(radio.essid, radio.security);
  return saved != nullptr && saved->passphrase == radio.passphrase;
}

void WifiRequests::EndAssociation() {
  if (const int failure = m_wifi.Failures().Take(WifiRequest::kConnect)) {
    Fail(failure);
    return;
  }
  const Radio* const radio = Partner();
  if (radio == nullptr) {
    Fail(WIFI_ERROR_NO_REPLY);
    return;
  }
  switch (radio->temper) {
    case Radio::Temper::kSilent:
      return;  // until another request takes the place of this one
    case Radio::Temper::kRefuses:
      Fail(WIFI_ERROR_REFUSED);
      return;
    case Radio::Temper::kAccepts:
    case Radio::Temper::kAnswersTwice:
    case Radio::Temper::kNoAddress:
      break;
  }
  if (!HasKeyOf(*radio)) {
    Fail(WIFI_ERROR_INVALID_KEY);
    return;
  }
  m_wifi.Enter(WIFI_CONNECTION_STATE_CONFIGURATION, *radio);
  Then(m_address_line, &WifiRequests::EndWaitForAddress);
}

void WifiRequests::EndWaitForAddress() {
  const Radio* const radio = Partner();
  if (radio == nullptr) {
    Fail(WIFI_ERROR_NO_REPLY);
    return;
  }
  const bool has_address = !radio->ipv4.empty() || !radio->ipv6.empty();
  if (radio->temper == Radio::Temper::kNoAddress || !has_address) {
    Fail(WIFI_ERROR_DHCP_FAILED);
    return;
  }
  if (m_target->passphrase && radio->security != WIFI_SECURITY_TYPE_NONE) {
    m_wifi.Save({radio->essid, radio->security, *m_target->passphrase});
  }
  m_wifi.Enter(WIFI_CONNECTION_STATE_CONNECTED, *radio);
  if (radio->temper == Radio::Temper::kAnswersTwice) {
    m_answers_line.Send([again = *m_answer] { again(WIFI_ERROR_NONE); });
  }
  End(WIFI_ERROR_NONE);
}

void WifiRequests::BeginDisconnection() {
  Then(m_disconnect_line, &WifiRequests::EndDisconnection);
}

void WifiRequests::EndDisconnection() {
  if (const int failure = m_wifi.Failures().Take(WifiRequest::kDisconnect)) {
    End(failure);
    return;
  }
  m_wifi.Drop();
  End(WIFI_ERROR_NONE);
}

#include "WifiConnection.h"

#include <utility>

#include "Air.h"
#include "NetworkRadio.h"
#include "NetworkService.h"
#include "SavedWifi.h"

namespace {

/// The first address that others can reach.
std::string AddressIn(NMIPConfig* config) {
  const GPtrArray* addresses = config == nullptr ? nullptr : nm_ip_config_get_addresses(config);
  for (guint i = 0; addresses != nullptr && i < addresses->len; ++i) {
    const char* const text =
        nm_ip_address_get_address(static_cast<NMIPAddress*>(g_ptr_array_index(addresses, i)));
    g_autoptr(GInetAddress) address = g_inet_address_new_from_string(text);
    if (address != nullptr && g_inet_address_get_is_link_local(address) == FALSE) {
      return text;
    }
  }
  return "";
}

NMDevice* WifiDevice() {
  NMDeviceWifi* const device = NetworkService::Instance().WifiDevice();
  return device == nullptr ? nullptr : NM_DEVICE(device);
}

/// An interface that is an access point itself, or talks with machines like itself, is not connected.
wifi_connection_state_e StateOfDevice() {
  NMDeviceWifi* const device = NetworkService::Instance().WifiDevice();
  if (device == nullptr) {
    return WIFI_CONNECTION_STATE_DISCONNECTED;
  }
  const NM80211Mode mode = nm_device_wifi_get_mode(device);
  const bool is_client = mode == NM_802_11_MODE_INFRA || mode == NM_802_11_MODE_UNKNOWN;
  return is_client ? ConnectionSteps::StateOf(nm_device_get_state(NM_DEVICE(device)))
                   : WIFI_CONNECTION_STATE_DISCONNECTED;
}

/// Which radio an activation was asked to take, while the interface has none yet.
NMAccessPoint* FindChosen(NMDeviceWifi* device) {
  NMActiveConnection* const active = nm_device_get_active_connection(NM_DEVICE(device));
  const char* const path =
      active == nullptr ? nullptr : nm_active_connection_get_specific_object_path(active);
  return path == nullptr ? nullptr : nm_device_wifi_get_access_point_by_path(device, path);
}

/// The radio as the air tells of it, which knows more of it than NetworkManager, but for a name that its
/// beacons hide.
Radio Heard(Radio radio) {
  if (const HeardRadio* const heard = Air::Instance().Find(radio.bssid)) {
    std::string name = std::move(radio.ssid);
    radio = heard->radio;
    if (radio.ssid.empty()) {
      radio.ssid = std::move(name);
    }
  }
  return radio;
}

/// NetworkManager makes the profile of a network first, and then connects to it: whoever connects by
/// itself has been there before.
bool IsFirstUse() {
  NMDevice* const device = WifiDevice();
  NMActiveConnection* const active =
      device == nullptr ? nullptr : nm_device_get_active_connection(device);
  NMRemoteConnection* const profile =
      active == nullptr ? nullptr : nm_active_connection_get_connection(active);
  NMSettingConnection* const setting =
      profile == nullptr ? nullptr : nm_connection_get_setting_connection(NM_CONNECTION(profile));
  return setting != nullptr && nm_setting_connection_get_timestamp(setting) == 0 &&
         !SavedWifi::Instance().HasBeenUsed(nm_setting_connection_get_uuid(setting));
}

/// @return one without an address while it is not known
Radio RadioOfDevice() {
  NMDeviceWifi* const device = NetworkService::Instance().WifiDevice();
  NMAccessPoint* ap = device == nullptr ? nullptr : nm_device_wifi_get_active_access_point(device);
  if (ap == nullptr && device != nullptr) {
    ap = FindChosen(device);
  }
  return ap == nullptr ? Radio{} : Heard(network_radio::RadioOf(ap));
}

}  // namespace

AccessPoint Describe(const Radio& radio) {
  AccessPoint ap{radio, SavedWifi::ProfileThatOpens(radio)};
  if (!radio.bssid.empty() && WifiConnection::Instance().ConnectedBssid() == radio.bssid) {
    NMDevice* const device = WifiDevice();
    ap.ipv4 = AddressIn(nm_device_get_ip4_config(device));
    ap.ipv6 = AddressIn(nm_device_get_ip6_config(device));
  }
  return ap;
}

WifiConnection& WifiConnection::Instance() {
  static auto* const connection = new WifiConnection;
  return *connection;
}

void WifiConnection::Start(Handler on_step) {
  m_on_step = std::move(on_step);
  NetworkService::Instance().AddListener(this, [this] { OnService(); });
}

void WifiConnection::Stop() {
  m_on_step = nullptr;
  NetworkService::Instance().RemoveListener(this);
  Use(nullptr);
  m_steps = {};
  m_is_moving = false;
}

/// What NetworkManager says is not known while it is away, and so is no step.
void WifiConnection::OnService() {
  NetworkService& service = NetworkService::Instance();
  Use(service.WifiDevice());
  if (service.Client() != nullptr) {
    Look();
  }
}

void WifiConnection::Use(NMDeviceWifi* device) {
  if (device == m_device) {
    return;
  }
  if (m_device != nullptr) {
    g_signal_handlers_disconnect_by_data(m_device, this);
  }
  g_set_object(&m_device, device);
  if (device != nullptr) {
    for (const char* change :
         {"notify::" NM_DEVICE_STATE, "notify::" NM_DEVICE_WIFI_ACTIVE_ACCESS_POINT}) {
      g_signal_connect_swapped(device, change, G_CALLBACK(OnChanged), this);
    }
  }
}

void WifiConnection::OnChanged(WifiConnection* self) {
  self->Look();
}

void WifiConnection::EndMove() {
  m_is_moving = false;
  Look();
}

void WifiConnection::Look() {
  m_is_moving = m_is_moving && StateOfDevice() == WIFI_CONNECTION_STATE_CONNECTED;
  if (m_is_moving) {
    return;
  }
  const bool is_first_use = IsFirstUse();
  const auto steps = m_steps.Become(StateOfDevice(), RadioOfDevice());
  if (m_steps.State() == WIFI_CONNECTION_STATE_CONNECTED) {
    SavedWifi::Instance().NoteConnection(ProfileInUse(), m_steps.Partner(), !steps.empty());
  }
  for (const auto& [state, radio] : steps) {
    AccessPoint ap = Describe(radio);
    if (state != WIFI_CONNECTION_STATE_CONNECTED) {
      ap.ipv4.clear();
      ap.ipv6.clear();
      if (is_first_use) {
        ap.uuid.clear();  // not saved, until it has proved its worth
      }
    }
    if (m_on_step != nullptr) {  // a step before may have stopped this
      m_on_step(state, ap);
    }
  }
}

std::optional<wifi_connection_state_e> WifiConnection::State() const {
  return NetworkService::Instance().Client() == nullptr ? std::nullopt : std::optional(StateOfDevice());
}

std::optional<AccessPoint> WifiConnection::Connected() const {
  const std::string bssid = ConnectedBssid();
  return bssid.empty() ? std::nullopt : std::optional(Describe(RadioInUse()));
}

std::string WifiConnection::ConnectedBssid() const {
  return StateOfDevice() == WIFI_CONNECTION_STATE_CONNECTED ? RadioInUse().bssid : "";
}

std::string WifiConnection::ProfileInUse() const {
  NMDevice* const device = WifiDevice();
  NMActiveConnection* const active =
      device == nullptr ? nullptr : nm_device_get_active_connection(device);
  const char* const uuid = active == nullptr ? nullptr : nm_active_connection_get_uuid(active);
  return uuid == nullptr ? "" : uuid;
}

void WifiConnection::NoteInUse() const {
  const Radio radio = StateOfDevice() == WIFI_CONNECTION_STATE_CONNECTED ? RadioInUse() : Radio{};
  if (!radio.bssid.empty()) {
    SavedWifi::Instance().NoteConnection(ProfileInUse(), radio, false);
  }
}

/// One that moves between two radios has none for a moment, and stays connected to the first.
Radio WifiConnection::RadioInUse() const {
  Radio radio = m_is_moving ? Radio{} : RadioOfDevice();
  return radio.bssid.empty() && m_steps.State() == WIFI_CONNECTION_STATE_CONNECTED ? m_steps.Partner()
                                                                                   : radio;
}

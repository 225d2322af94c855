#include "WifiProfile.h"

#include <cerrno>
#include <cstring>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "FileDescriptor.h"
#include "SsidText.h"

namespace wifi_profile {

namespace {

// The mark of a pinned profile: data that NetworkManager keeps for its users. The first is the radio
// that the profile itself named before, or a dash.
constexpr char kRadioBefore[] = "org.pelorus.radio-before";
constexpr char kWasOnDisk[] = "org.pelorus.was-on-disk";
constexpr char kNoRadio[] = "-";

std::string_view KeyManagementOf(NMConnection* profile) {
  NMSettingWirelessSecurity* const security = nm_connection_get_setting_wireless_security(profile);
  if (security == nullptr) {
    return "";
  }
  const char* const key_management = nm_setting_wireless_security_get_key_mgmt(security);
  return key_management == nullptr ? "" : key_management;
}

Profile Copy(NMConnection* profile) {
  return Profile(nm_simple_connection_new_clone(profile));
}

/// NetworkManager keeps the radios that it has seen elsewhere, and refuses nobody's list of them.
void DropSeenRadios(NMSettingWireless* wireless) {
  g_object_set(wireless, NM_SETTING_WIRELESS_SEEN_BSSIDS, nullptr, nullptr);
}

void SetRadio(NMConnection* profile, const char* bssid) {
  NMSettingWireless* const wireless = nm_connection_get_setting_wireless(profile);
  if (wireless != nullptr) {
    g_object_set(wireless, NM_SETTING_WIRELESS_BSSID, bssid, nullptr);
    DropSeenRadios(wireless);
  }
}

NMSettingUser* UserSettingOf(NMConnection* profile) {
  return NM_SETTING_USER(nm_connection_get_setting(profile, NM_TYPE_SETTING_USER));
}

const char* MarkOf(NMConnection* profile, const char* key) {
  NMSettingUser* const user = UserSettingOf(profile);
  return user == nullptr ? nullptr : nm_setting_user_get_data(user, key);
}

bool IsPassphrase(wifi_security_type_e security, const std::string& passphrase) {
  switch (security) {
    case WIFI_SECURITY_TYPE_NONE:
      return true;
    case WIFI_SECURITY_TYPE_WEP:
      return nm_utils_wep_key_valid(passphrase.c_str(), NM_WEP_KEY_TYPE_KEY) != FALSE;
    case WIFI_SECURITY_TYPE_WPA_PSK:
    case WIFI_SECURITY_TYPE_WPA2_PSK:
    case WIFI_SECURITY_TYPE_WPA_FT_PSK:
      return nm_utils_wpa_psk_valid(passphrase.c_str()) != FALSE;
    case WIFI_SECURITY_TYPE_SAE:
      return !passphrase.empty();
    case WIFI_SECURITY_TYPE_EAP:
      return false;
  }
  return false;
}

NMSetting* MakeSecurity(wifi_security_type_e security, const std::string& passphrase) {
  NMSetting* const setting = nm_setting_wireless_security_new();
  if (security == WIFI_SECURITY_TYPE_WEP) {
    g_object_set(setting, NM_SETTING_WIRELESS_SECURITY_KEY_MGMT, "none",
                 NM_SETTING_WIRELESS_SECURITY_WEP_KEY0, passphrase.c_str(), nullptr);
  } else {
    g_object_set(setting, NM_SETTING_WIRELESS_SECURITY_KEY_MGMT,
                 security == WIFI_SECURITY_TYPE_SAE ? "sae" : "wpa-psk",
                 NM_SETTING_WIRELESS_SECURITY_PSK, passphrase.c_str(), nullptr);
  }
  return setting;
}

void SetIdentity(NMConnection* profile, const std::string& id) {
  NMSettingConnection* setting = nm_connection_get_setting_connection(profile);
  if (setting == nullptr) {
    setting = NM_SETTING_CONNECTION(nm_setting_connection_new());
    nm_connection_add_setting(profile, NM_SETTING(setting));
  }
  g_autofree char* uuid = nm_utils_uuid_generate();
  g_object_set(setting, NM_SETTING_CONNECTION_UUID, uuid, NM_SETTING_CONNECTION_ID, id.c_str(),
               NM_SETTING_CONNECTION_TYPE, NM_SETTING_WIRELESS_SETTING_NAME, nullptr);
}

bool IsSurelyUnreadable(const char* path) {
  const FileDescriptor file(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file.ok()) {
    return errno != EACCES && errno != EPERM;
  }
  struct stat status {};
  return fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size == 0;
}

}  // namespace

Profile Make(const Network& network) {
  if (!IsPassphrase(network.security, network.passphrase)) {
    return nullptr;
  }
  Profile profile(nm_simple_connection_new());
  SetIdentity(profile.get(), ssid_text::FromBytes(network.name));
  NMSetting* const wireless = nm_setting_wireless_new();
  g_autoptr(GBytes) ssid = g_bytes_new(network.name.data(), network.name.size());
  g_object_set(wireless, NM_SETTING_WIRELESS_SSID, ssid, NM_SETTING_WIRELESS_MODE,
               NM_SETTING_WIRELESS_MODE_INFRA, NM_SETTING_WIRELESS_HIDDEN,
               network.is_hidden ? TRUE : FALSE, nullptr);
  nm_connection_add_setting(profile.get(), wireless);
  if (!network.bssid.empty()) {
    SetRadio(profile.get(), network.bssid.c_str());
  }
  if (network.security != WIFI_SECURITY_TYPE_NONE) {
    nm_connection_add_setting(profile.get(), MakeSecurity(network.security, network.passphrase));
  }
  return profile;
}

Profile CopyWithPassphrase(NMConnection* profile, const std::string& bssid,
                           const std::string& passphrase) {
  Profile copy = Free(Unpin(profile).get());
  NMSettingConnection* const connection = nm_connection_get_setting_connection(copy.get());
  const std::string id = nm_setting_connection_get_id(connection);
  SetIdentity(copy.get(), id);
  NMSettingWirelessSecurity* const security = nm_connection_get_setting_wireless_security(copy.get());
  const std::string_view key_management = KeyManagementOf(copy.get());
  if (security == nullptr) {
    return nullptr;
  }
  if (key_management == "none" && IsPassphrase(WIFI_SECURITY_TYPE_WEP, passphrase)) {
    nm_setting_wireless_security_set_wep_key(security, 0, passphrase.c_str());
    g_object_set(security, NM_SETTING_WIRELESS_SECURITY_WEP_TX_KEYIDX, 0u, nullptr);
  } else if ((key_management == "wpa-psk" && IsPassphrase(WIFI_SECURITY_TYPE_WPA2_PSK, passphrase)) ||
             (key_management == "sae" && IsPassphrase(WIFI_SECURITY_TYPE_SAE, passphrase))) {
    g_object_set(security, NM_SETTING_WIRELESS_SECURITY_PSK, passphrase.c_str(),
                 NM_SETTING_WIRELESS_SECURITY_PSK_FLAGS, NM_SETTING_SECRET_FLAG_NONE, nullptr);
  } else {
    return nullptr;
  }
  if (!bssid.empty()) {
    SetRadio(copy.get(), bssid.c_str());
  }
  return copy;
}

Profile Pin(NMConnection* profile, const std::string& bssid, bool is_on_disk) {
  Profile copy = Copy(profile);
  if (!IsPinned(copy.get())) {
    NMSettingUser* user = UserSettingOf(copy.get());
    if (user == nullptr) {
      user = NM_SETTING_USER(nm_setting_user_new());
      nm_connection_add_setting(copy.get(), NM_SETTING(user));
    }
    NMSettingWireless* const wireless = nm_connection_get_setting_wireless(copy.get());
    const char* const before = nm_setting_wireless_get_bssid(wireless);
    nm_setting_user_set_data(user, kRadioBefore, before == nullptr ? kNoRadio : before, nullptr);
    nm_setting_user_set_data(user, kWasOnDisk, is_on_disk ? "yes" : "no", nullptr);
  }
  SetRadio(copy.get(), bssid.c_str());
  return copy;
}

Profile Unpin(NMConnection* profile) {
  Profile copy = Copy(profile);
  const char* const mark = MarkOf(copy.get(), kRadioBefore);
  if (mark == nullptr) {
    return copy;
  }
  const std::string before = mark;
  SetRadio(copy.get(), before == kNoRadio ? nullptr : before.c_str());
  NMSettingUser* const user = UserSettingOf(copy.get());
  nm_setting_user_set_data(user, kRadioBefore, nullptr, nullptr);
  nm_setting_user_set_data(user, kWasOnDisk, nullptr, nullptr);
  guint count = 0;
  nm_setting_user_get_keys(user, &count);
  if (count == 0) {
    nm_connection_remove_setting(copy.get(), NM_TYPE_SETTING_USER);
  }
  return copy;
}

bool IsPinned(NMConnection* profile) {
  return MarkOf(profile, kRadioBefore) != nullptr;
}

bool WasOnDisk(NMConnection* profile) {
  return g_strcmp0(MarkOf(profile, kWasOnDisk), "yes") == 0;
}

Profile Free(NMConnection* profile) {
  Profile copy = Copy(profile);
  SetRadio(copy.get(), nullptr);
  return copy;
}

std::optional<std::string> PassphraseOf(NMConnection* profile) {
  NMSettingWirelessSecurity* const security = nm_connection_get_setting_wireless_security(profile);
  if (security == nullptr) {
    return std::nullopt;
  }
  const char* const passphrase =
      KeyManagementOf(profile) == "none"
          ? nm_setting_wireless_security_get_wep_key(
                security, nm_setting_wireless_security_get_wep_tx_keyidx(security))
          : nm_setting_wireless_security_get_psk(security);
  return passphrase == nullptr ? std::nullopt : std::optional<std::string>(passphrase);
}

const char* SecretsSettingOf(NMConnection* profile) {
  if (nm_connection_get_setting_802_1x(profile) != nullptr) {
    return NM_SETTING_802_1X_SETTING_NAME;
  }
  return nm_connection_get_setting_wireless_security(profile) == nullptr
             ? nullptr
             : NM_SETTING_WIRELESS_SECURITY_SETTING_NAME;
}

std::string UnreadableFileOf(NMConnection* profile) {
  NMSetting8021x* const eap = nm_connection_get_setting_802_1x(profile);
  if (eap == nullptr) {
    return "";
  }
  using Scheme = NMSetting8021xCKScheme (*)(NMSetting8021x*);
  using Path = const char* (*)(NMSetting8021x*);
  constexpr std::pair<Scheme, Path> kFiles[] = {
      {nm_setting_802_1x_get_ca_cert_scheme, nm_setting_802_1x_get_ca_cert_path},
      {nm_setting_802_1x_get_client_cert_scheme, nm_setting_802_1x_get_client_cert_path},
      {nm_setting_802_1x_get_private_key_scheme, nm_setting_802_1x_get_private_key_path},
      {nm_setting_802_1x_get_phase2_ca_cert_scheme, nm_setting_802_1x_get_phase2_ca_cert_path},
      {nm_setting_802_1x_get_phase2_client_cert_scheme, nm_setting_802_1x_get_phase2_client_cert_path},
      {nm_setting_802_1x_get_phase2_private_key_scheme, nm_setting_802_1x_get_phase2_private_key_path},
  };
  for (const auto& [scheme, path] : kFiles) {
    if (scheme(eap) == NM_SETTING_802_1X_CK_SCHEME_PATH && IsSurelyUnreadable(path(eap))) {
      return path(eap);
    }
  }
  return "";
}

}  // namespace wifi_profile

#pragma once

#include <memory>
#include <optional>
#include <string>

#include <NetworkManager.h>

#include "wifi.h"

/// NetworkManager's profiles of Wi-Fi networks as this backend makes and changes them. A profile that is
/// pinned leads to one radio of its network, and to no other; it bears a mark of what it was before, so
/// that it can be put right by a process that knows nothing but the profile. Does no I/O but to look at
/// files of certificates.
namespace wifi_profile {

struct Unref {
  void operator()(NMConnection* profile) const { g_object_unref(profile); }
};
using Profile = std::unique_ptr<NMConnection, Unref>;

struct Network {
  std::string name;   ///< bytes
  std::string bssid;  ///< of the one radio to take; empty: any
  wifi_security_type_e security = WIFI_SECURITY_TYPE_NONE;
  std::string passphrase = {};
  bool is_hidden = false;
};
/// @return null where a passphrase is not enough (802.1X), or is none that the network can have
Profile Make(const Network& network);
/// @return a copy of an existing profile, secrets included, under an identity of its own and with
/// another
///         passphrase; null when that is none
Profile CopyWithPassphrase(NMConnection* profile, const std::string& bssid,
                           const std::string& passphrase);

/// @return a copy of it that is pinned, and marked unless it was already
/// @param is_on_disk  whether it is saved there as it is now
Profile Pin(NMConnection* profile, const std::string& bssid, bool is_on_disk);
/// @return a copy of it as it was before Pin()
Profile Unpin(NMConnection* profile);
bool IsPinned(NMConnection* profile);
/// Whether the pinned profile was saved on disk before.
bool WasOnDisk(NMConnection* profile);
/// As Unpin() for a profile that was made pinned and bears no mark.
Profile Free(NMConnection* profile);

/// The passphrase in it; nullopt when it holds none.
std::optional<std::string> PassphraseOf(NMConnection* profile);

/// @return the name of the setting with its secrets; null when it has none
const char* SecretsSettingOf(NMConnection* profile);

/// A file of a certificate or key that it names and that surely cannot be read; empty: none. One that
/// only this process may not read counts as readable, because the supplicant may.
std::string UnreadableFileOf(NMConnection* profile);

}  // namespace wifi_profile

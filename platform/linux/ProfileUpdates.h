#pragma once

#include <functional>

#include "WifiProfile.h"

/// Changes of profiles in NetworkManager. Each goes on to its end whoever asked for it has gone: the
/// profile is kept until then. None of them changes the connection that stands, or begins one.
namespace profile_updates {

/// @param profile  a copy with the secrets; null when they were refused
using WithSecrets = std::function<void(wifi_profile::Profile profile)>;
/// Reads a profile's secrets, without asking anybody who sits before the TV.
/// @param answer  called once, after this returned
void ReadSecrets(NMRemoteConnection* profile, WithSecrets answer);

using Done = std::function<void(bool is_done)>;

/// What a profile is, or was before it was pinned.
struct Original {
  wifi_profile::Profile full;  ///< with its secrets
  bool is_on_disk = false;
};
/// @param full  the profile as it is, with its secrets
Original OriginalOf(NMRemoteConnection* profile, NMConnection* full);

/// Changes the profile in NetworkManager's memory, so that it leads to one radio. What is saved on disk
/// stays as it is.
void Pin(NMRemoteConnection* profile, const Original& original, const std::string& bssid, Done done);
/// Puts it right again, in memory and on disk.
void Restore(NMRemoteConnection* profile, const Original& original);
/// Puts right one that somebody else pinned, who has ended.
void Unpin(NMRemoteConnection* profile);
/// Saves the profile on disk.
/// @param full  what it shall be, secrets included
void Save(NMRemoteConnection* profile, NMConnection* full, Done done);

}  // namespace profile_updates

#pragma once

#include <cstdlib>
#include <memory>
#include <utility>

/// The active network, by the numbers that the popup rules and the KPI records use.
enum eNetworkType {
  eNetworkTypeWired = 1,
  eNetworkTypeWireless = 2,
  eNetworkTypeCellular = 3,
};

/// A heap string from the platform, such as vconf_get_str() hands out; null for "no value".
struct FreeDeleter {
  void operator()(char* text) const { std::free(text); }
};
using HeapString = std::unique_ptr<char, FreeDeleter>;

/// Asks a function of the platform whose last parameter hands out a heap string.
/// @param get  returns 0 for success, as all interfaces of the platform do
/// @return null on failure
template <class Get, class... Arguments>
HeapString ReadText(Get get, Arguments... arguments) {
  char* text = nullptr;
  const int error = get(arguments..., &text);
  HeapString owned(text);
  return error == 0 ? std::move(owned) : nullptr;
}

/// The active network by "db/menu/network/network_type"; wired when the key has no value or an unknown
/// one. Any thread.
eNetworkType GetCurrentNetworkType();

/// Allows (any `mode` but 0) or forbids (0) the TV to move to 5 GHz by itself. Any thread.
void SetAutoSwitchingMode(int mode);

/// @return whether the TV may move to 5 GHz by itself; false when nothing is stored. Any thread.
bool IsAutoSwitchingAllowed();

/// Starts and stops listening for the request to open the network settings screen.
void register_NSLaunchVconf();
void deregister_NSLaunchVconf();

/// Starts (true) and stops (false) listening for a factory reset, which removes the installed
/// certificates and forgets the saved networks.
void registerPowerCallback(bool bRegister);

/// Removes a directory and all in it; symbolic links are removed and not followed.
/// @return false when `path` is no directory, true otherwise, also when something in it could not be
///         removed
bool RemoveCertificateDir(const char* path);

/// Starts and stops the log of Wi-Fi connections (see WirelessLog).
void registerWifiEvents();
void deRegisterWifiEvents();

/// The TV is on again: reports the Wi-Fi connection that it woke up with.
void WakeupOnInstantON();

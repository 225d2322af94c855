#pragma once

#include <vector>

#include "AccessPointHandle.h"
#include "HeardRadio.h"
#include "WifiConnection.h"
#include "call_guarded.h"

/// Hands access points to the daemon one by one, as long as it asks for more.
/// @param networks  a list of the caller's own: the callback may do what changes what is heard
/// @param callback  (wifi_ap_h, void*) -> whether to go on
template <class Callback>
void WalkAccessPoints(const std::vector<HeardRadio>& networks, Callback callback, void* user_data) {
  for (const HeardRadio& heard : networks) {
    const ap_handles::Borrowed handle(Describe(heard.radio));
    bool goes_on = false;
    CallGuarded([&] { goes_on = callback(handle.Get(), user_data); });
    if (!goes_on) {
      break;
    }
  }
}

#include "SimilarAccessPoint.h"

#include <utility>

#include "PlatformLog.h"
#include "setwell/NetworkWifi.h"

namespace Setwell {

namespace {

/// Where a walk over a network's radios puts what it finds.
struct NetworkWalk {
  AccessPoint network;
  std::vector<AccessPoint> radios;
};

bool OnRadio(const char* bssid, int rssi, int frequency, void* user_data) {
  auto* walk = static_cast<NetworkWalk*>(user_data);
  AccessPoint radio = walk->network;
  radio.bssid = bssid;
  radio.rssi = rssi;
  radio.frequency = frequency;
  walk->radios.push_back(std::move(radio));
  return true;
}

bool OnNetwork(wifi_ap_h ap, void* user_data) {
  auto* found = static_cast<std::vector<AccessPoint>*>(user_data);
  std::optional<AccessPoint> network = ReadNetwork(ap);
  if (!network) {
    return true;
  }
  NetworkWalk walk{*std::move(network), {}};
  wifi_foreach_found_bssids(ap, OnRadio, &walk);
  if (walk.radios.empty()) {
    // The platform does not tell the radios of a network apart just now; one it has told.
    if (std::optional<AccessPoint> radio = ReadRadio(ap)) {
      walk.radios.push_back(*std::move(radio));
    }
  }
  found->insert(found->end(), walk.radios.begin(), walk.radios.end());
  return true;
}

bool IsSimilar(const AccessPoint& radio, const AccessPoint& connected) {
  int difference = 0;
  const bool is_same_router = NetworkUtil::IsDualBand(radio.bssid, connected.bssid, difference);
  if (is_same_router && difference == 0) {
    return false;  // the very radio that the TV is connected to
  }
  return is_same_router || IsSameNetwork(radio, connected);
}

bool IsWorthAMove(const AccessPoint& radio) {
  const bool is_strong = radio.rssi < 0 && radio.rssi >= NetworkWifi::kWeakestSimilarRssi;
  return Is5Ghz(radio.frequency) && is_strong && IsBssid(radio.bssid);
}

}  // namespace

std::vector<AccessPoint> FoundRadios() {
  std::vector<AccessPoint> found;
  if (const int result = wifi_foreach_found_aps(OnNetwork, &found); result != WIFI_ERROR_NONE) {
    PLATFORM_LOG(DLOG_WARN, "the access points in reach are not known: %d", result);
  }
  return found;
}

SimilarAccessPoint ChooseSimilar(const AccessPoint& connected, const std::vector<AccessPoint>& found,
                                 bool may_join_open) {
  SimilarAccessPoint choice;
  for (const AccessPoint& radio : found) {
    if (!IsWorthAMove(radio) || !IsSimilar(radio, connected)) {
      continue;
    }
    choice.is_any = true;
    const bool is_saved = radio.is_saved || (connected.is_saved && IsSameNetwork(radio, connected));
    const bool may_join = is_saved || (may_join_open && radio.security == WIFI_SECURITY_TYPE_NONE);
    if (may_join && (!choice.best || radio.rssi > choice.best->rssi)) {
      choice.best = radio;
      choice.best->is_saved = is_saved;
    }
  }
  return choice;
}

}  // namespace Setwell

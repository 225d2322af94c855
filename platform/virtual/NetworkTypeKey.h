#pragma once

#include "Internet.h"

/// The TV's network service, as far as it says in "db/menu/network/network_type" what kind of network
/// carries the traffic. When none does the key stays: it says what network the user has. Owned by
/// VirtualTv; main-loop thread only.
class NetworkTypeKey {
 public:
  /// Writes the key when this is news.
  void Follow(Internet::Carrier carrier);

 private:
  Internet::Carrier m_carrier = Internet::Carrier::kNone;
};

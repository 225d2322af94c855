#pragma once

#include "EAPObserver.h"
#include "LiveObjects.h"
#include "net_connection.h"

/// Closes the wired network and opens it again, so that the platform reads its certificates anew. Owned
/// by CEAPReconnect; main-loop thread only.
///
/// Once the platform has taken the request to close, the observer is told 1 whatever comes of it: that
/// the sequence has run. Before that nothing is ever told. The requests that are under way when this
/// ends are not told either.
class WiredEAPReconnect {
 public:
  /// @param observer  outlives this
  explicit WiredEAPReconnect(CEAPObserver* observer);
  ~WiredEAPReconnect();
  WiredEAPReconnect(const WiredEAPReconnect&) = delete;
  WiredEAPReconnect& operator=(const WiredEAPReconnect&) = delete;

  void ReconnectWired();

  /// Looks for the wired network; without one the last network that the platform knows stays for it.
  /// @return 0
  int GetUpdatedEthernetProfileHandle();

  /// @param self  the WiredEAPReconnect that asked, null when it is gone
  static void connection_closed_callback(connection_error_e error, void* self);
  static void connection_opened_callback(connection_error_e error, void* self);

 private:
  connection_h m_connection = nullptr;  // null: the platform gave none
  connection_profile_h m_profile = nullptr;
  connection_profile_type_e m_profileType = CONNECTION_PROFILE_TYPE_CELLULAR;
  CEAPObserver* m_observer;
  LiveObjects<WiredEAPReconnect>::Entry m_entry{this};
};

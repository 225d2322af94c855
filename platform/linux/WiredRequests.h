#pragma once

#include <deque>
#include <memory>
#include <string>

#include <NetworkManager.h>

#include "MainLoopSource.h"
#include "WiredRequest.h"
#include "net_connection.h"

/// The requests to close and to open the wired network, one after the other, and what a closed one
/// leaves to be remembered: with which profile it was joined, and that it is to be joined by itself when
/// its cable is plugged in anew. Main-loop thread only; one object for the life of the process.
class WiredRequests {
 public:
  static WiredRequests& Instance();

  /// @return what the platform function answers with; the callback comes only after
  ///         CONNECTION_ERROR_NONE
  connection_error_e Add(connection_h who, bool is_open, connection_profile_changed_cb callback,
                         void* user_data);
  /// What was asked for still happens, and nobody hears of it.
  void Forget(connection_h who);
  void Stop();

 private:
  struct Waiting {
    connection_h who;  // null: nobody any more
    bool is_open;
    connection_profile_changed_cb callback;
    void* user_data;
  };
  WiredRequests() = default;
  void BeginFirst();
  void OnDone(connection_error_e result);
  void WatchCable(NMDevice* device);
  static void OnCable(WiredRequests* self);

  std::deque<Waiting> m_waiting;  // the first is under way
  std::shared_ptr<WiredRequest> m_request;
  MainLoopSource m_without_cable;  // the first one's answer, when there is nothing to ask
  std::string m_profile;           // UUID of the one that was left
  NMDevice* m_closed = nullptr;    // with a reference
  bool m_is_cable_out = false;
};

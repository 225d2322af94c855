#pragma once

#include <list>

#include "DeliveryLine.h"
#include "net_connection.h"

class Cable;

/// The wired network as something that the program under the TV closes and opens, and the requests for
/// that until they are answered. Owned by VirtualTv; main-loop thread only.
///
/// Each request is carried out when its time is up, in the order in which they came; a cable that was
/// pulled until then is CONNECTION_ERROR_NO_CONNECTION.
class WiredProfile {
 public:
  static constexpr unsigned kLatencyMs = 200;

  /// @param cable  a part of the same TV
  explicit WiredProfile(Cable& cable) : m_cable(cable) { m_line.SetLatency(kLatencyMs); }

  /// @param who  the handle; when it ends, its requests are carried out and not answered
  /// @return what the platform function answers with
  connection_error_e Request(connection_h who, bool is_open, connection_profile_changed_cb callback,
                             void* user_data);
  void Forget(connection_h who);

  /// Lets the next answer be an error and the network stay as it is; 0 takes that back.
  void FailNext(int code) { m_failure = code; }

  /// While it is closed no request is taken, and what was under way is never answered.
  void Open();
  void Close();
  [[nodiscard]] DeliveryLine& Line() { return m_line; }

 private:
  struct Waiting {
    connection_h who;  // null: nobody any more
    bool is_open;
    connection_profile_changed_cb callback;
    void* user_data;
  };

  [[nodiscard]] int CarryOut(bool is_open);
  void AnswerFirst();

  Cable& m_cable;
  int m_failure = 0;
  bool m_takes_requests = true;
  std::list<Waiting> m_waiting;  // as many as are on the line, in its order
  DeliveryLine m_line;
};

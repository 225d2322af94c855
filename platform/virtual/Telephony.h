#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_set>

#include "DeliveryLine.h"
#include "ListenerList.h"
#include "tapi.h"

/// The cellular dongle in the TV's USB socket, the telephony service that knows of it, and the sessions
/// with that service. Owned by VirtualTv; main-loop thread only.
class Telephony {
 public:
  /// Writes "memory/telephony/telephony_ready", also when the service was in that state already. A
  /// service that stops takes the events with it that are under way.
  void SetRunning(bool running);
  [[nodiscard]] bool IsRunning() const { return m_is_running; }

  /// Changes the dongle; an event when it was not so already and the service is up.
  void SetDongle(bool inserted);
  [[nodiscard]] bool HasDongle() const { return m_has_dongle; }

  /// @return null when the service is not up
  TapiHandle* AddSession();
  /// @return false when there is no such session (any more)
  bool RemoveSession(TapiHandle* session);
  [[nodiscard]] bool HasSession(TapiHandle* session) const { return m_sessions.contains(session); }
  [[nodiscard]] std::size_t SessionCount() const { return m_sessions.size(); }
  [[nodiscard]] std::size_t SubscriptionCount() const { return m_subscriptions.Count(); }
  void Subscribe(TapiHandle* session, tapi_notification_cb callback, void* user_data);

  [[nodiscard]] DeliveryLine& Line() { return m_line; }

 private:
  struct Subscription {
    TapiHandle* session;  // in m_sessions, or the subscription is removed
    tapi_notification_cb callback;
    void* user_data;
    std::uint64_t heard;  // events up to this number happened before the subscription
  };

  void Deliver(int status, std::uint64_t number) const;

  bool m_is_running = false;
  bool m_has_dongle = false;
  std::uint64_t m_event_count = 0;
  std::unordered_set<TapiHandle*> m_sessions;
  ListenerList<std::shared_ptr<Subscription>> m_subscriptions;
  DeliveryLine m_line;
};

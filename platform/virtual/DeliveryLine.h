#pragma once

#include <cstdint>
#include <deque>
#include <functional>

#include <glib.h>

/// The way of one kind of event from the room into the program: what is sent comes out on the main
/// loop, after the latency, in the order in which it was sent, also when the latency was changed in
/// between. Owned by the part of the model whose events it carries; main-loop thread only.
class DeliveryLine {
 public:
  static constexpr unsigned kDefaultLatencyMs = 10;

  DeliveryLine() = default;
  DeliveryLine(const DeliveryLine&) = delete;
  DeliveryLine& operator=(const DeliveryLine&) = delete;
  ~DeliveryLine() { Clear(); }

  void Send(std::function<void()> event);

  /// Drops what is under way. May be called from inside an event.
  void Clear();

  /// A closed line carries nothing, and what was under way is lost.
  void Close();
  void Open() { m_is_open = true; }

  /// What is sent next takes so much longer, and what is sent after it waits for it.
  void DelayNext(unsigned milliseconds) { m_delay_ms = milliseconds; }

  /// For what is sent from now on.
  void SetLatency(unsigned milliseconds) { m_latency_ms = milliseconds; }
  [[nodiscard]] unsigned LatencyMs() const { return m_latency_ms; }

 private:
  struct Event {
    std::int64_t due_us;
    std::function<void()> deliver;
  };

  void Arm();
  static gboolean OnDue(gpointer self);

  std::deque<Event> m_events;  // one that is due sooner than those before it waits for them
  guint m_timer = 0;           // runs to the front event's time
  unsigned m_latency_ms = kDefaultLatencyMs;
  unsigned m_delay_ms = 0;  // of the next event, beside the latency
  bool m_is_open = true;
};

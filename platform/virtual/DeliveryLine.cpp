#include "DeliveryLine.h"

#include <algorithm>
#include <utility>

#include "call_guarded.h"

namespace {
constexpr std::int64_t kMicrosecondsPerMs = 1000;
}

void DeliveryLine::Send(std::function<void()> event) {
  if (!m_is_open) {
    return;
  }
  const std::int64_t way_ms = std::int64_t{m_latency_ms} + std::exchange(m_delay_ms, 0U);
  m_events.push_back({g_get_monotonic_time() + way_ms * kMicrosecondsPerMs, std::move(event)});
  Arm();
}

void DeliveryLine::Clear() {
  m_events.clear();
  if (m_timer != 0) {
    g_source_remove(m_timer);
    m_timer = 0;
  }
}

void DeliveryLine::Close() {
  m_is_open = false;
  Clear();
}

void DeliveryLine::Arm() {
  if (m_timer != 0 || m_events.empty()) {
    return;
  }
  const std::int64_t wait_us =
      std::max<std::int64_t>(0, m_events.front().due_us - g_get_monotonic_time());
  const std::int64_t wait_ms = (wait_us + kMicrosecondsPerMs - 1) / kMicrosecondsPerMs;
  m_timer = g_timeout_add(static_cast<guint>(wait_ms), OnDue, this);
}

// One event a round of the loop: what the event's receiver has done (a settings write, a signal) is seen
// in between, as it is when the events come from outside the process.
gboolean DeliveryLine::OnDue(gpointer self) {
  auto* line = static_cast<DeliveryLine*>(self);
  line->m_timer = 0;
  const Event event = std::move(line->m_events.front());
  line->m_events.pop_front();
  line->Arm();
  CallGuarded(event.deliver);
  return G_SOURCE_REMOVE;
}

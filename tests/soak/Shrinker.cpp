#include "Shrinker.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace soak {
namespace {

using std::chrono::milliseconds;
using namespace std::chrono_literals;

/// Without the events from `begin` on, `count` of them.
Events Without(const Events& events, std::size_t begin, std::size_t count) {
  Events rest(events.begin(), events.begin() + static_cast<std::ptrdiff_t>(begin));
  const std::size_t end = std::min(begin + count, events.size());
  rest.insert(rest.end(), events.begin() + static_cast<std::ptrdiff_t>(end), events.end());
  return rest;
}

/// With the event at `place`, and all that come after it, so much earlier.
Events Earlier(Events events, std::size_t place, milliseconds by) {
  for (std::size_t i = place; i < events.size(); ++i) {
    events[i].at -= by;
  }
  return events;
}

}  // namespace

Shrinker::Shrinker(std::function<bool(const Events&)> fails, std::size_t most_tries)
    : m_fails(std::move(fails)), m_most_tries(most_tries) {}

bool Shrinker::Fails(const Events& events) {
  if (HasRunOut()) {
    return false;
  }
  ++m_tries;
  return m_fails(events);
}

Events Shrinker::Shrink(Events events) {
  events = KeepTheEnd(events);
  for (Events before; before != events;) {
    before = events;
    events = ShortenWaits(LeaveOut(std::move(events)));
  }
  return events;
}

/// What makes a daemon fail has mostly happened just before.
Events Shrinker::KeepTheEnd(const Events& events) {
  for (std::size_t count = 1; count < events.size(); count *= 4) {
    Events end(events.end() - static_cast<std::ptrdiff_t>(count), events.end());
    if (Fails(end)) {
      return end;
    }
  }
  return events;
}

/// Delta debugging: ever smaller parts are left out, until none of a single event can be.
Events Shrinker::LeaveOut(Events events) {
  std::size_t part = std::max<std::size_t>(1, events.size() / 2);
  while (!events.empty() && !HasRunOut()) {
    bool is_shorter = false;
    for (std::size_t begin = 0; begin < events.size();) {
      Events rest = Without(events, begin, part);
      if (!Fails(rest)) {
        begin += part;
        continue;
      }
      events = std::move(rest);
      is_shorter = true;
    }
    if (part == 1 && !is_shorter) {
      break;
    }
    if (!is_shorter || part > events.size()) {
      part = std::max<std::size_t>(1, part / 2);
    }
  }
  return events;
}

Events Shrinker::ShortenWaits(Events events) {
  constexpr milliseconds kWaits[] = {0ms, 10ms, 100ms, 1s, 10s, 1min, 10min, 1h, 4h};
  for (std::size_t i = 0; i < events.size(); ++i) {
    // Before the first event the daemon has to start.
    const milliseconds before = i == 0 ? 0ms : events[i - 1].at;
    const milliseconds wait = events[i].at - before;
    for (const milliseconds shorter : kWaits) {
      if (shorter >= wait) {
        break;
      }
      Events earlier = Earlier(events, i, wait - shorter);
      if (Fails(earlier)) {
        events = std::move(earlier);
        break;
      }
    }
  }
  return events;
}

}  // namespace soak

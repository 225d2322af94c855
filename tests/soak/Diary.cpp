#include "Diary.h"

#include <algorithm>

#include <glib.h>

namespace soak {
namespace {

/// A word as a shell reads it, with quotes where it needs them.
std::string Quoted(std::string_view word) {
  constexpr std::string_view kPlain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-/:=@+,%";
  if (!word.empty() && word.find_first_not_of(kPlain) == std::string_view::npos) {
    return std::string(word);
  }
  g_autofree char* quoted = g_shell_quote(std::string(word).c_str());
  return quoted;
}

}  // namespace

void Diary::After(std::chrono::milliseconds wait, Words words) {
  std::string text;
  for (const std::string_view word : words) {
    text += (text.empty() ? "" : " ") + Quoted(word);
  }
  m_events.push_back({m_now + wait, text});
}

Events Diary::Close(std::chrono::milliseconds end) const {
  Events events = m_events;
  for (Event& event : events) {
    event.at = std::min(event.at, end);
  }
  std::ranges::stable_sort(events, {}, &Event::at);
  return events;
}

std::string InMs(std::chrono::milliseconds time) {
  return std::to_string(time.count()) + "ms";
}

}  // namespace soak

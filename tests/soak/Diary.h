#pragma once

#include <chrono>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace soak {

/// Something that happens, in the words of a scenario.
struct Event {
  std::chrono::milliseconds at{0};
  std::string text;
  bool operator==(const Event&) const = default;
};

using Events = std::vector<Event>;

/// What is being written of a day: the moment that the writer has come to, and what happens then and
/// after it.
class Diary {
 public:
  /// Words of which each may be of any bytes but a newline.
  using Words = std::initializer_list<std::string_view>;

  void Now(Words words) { After(std::chrono::milliseconds(0), words); }
  /// So much later; what the writer comes to in between may be earlier.
  void After(std::chrono::milliseconds wait, Words words);

  void LetPass(std::chrono::milliseconds time) { m_now += time; }
  [[nodiscard]] std::chrono::milliseconds Time() const { return m_now; }

  /// All that happens, in the order of time; what was to happen after `end` happens then.
  [[nodiscard]] Events Close(std::chrono::milliseconds end) const;

 private:
  std::chrono::milliseconds m_now{0};
  Events m_events;
};

/// "1234ms", as scenarios have it.
std::string InMs(std::chrono::milliseconds time);

}  // namespace soak

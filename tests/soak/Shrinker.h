#pragma once

#include <cstddef>
#include <functional>

#include "Diary.h"

namespace soak {

/// Makes a sequence of events that fails as short as it can, by trying shorter ones: first what came
/// last, then with parts left out until none of the rest can be spared, then with shorter waits between
/// them. What is left out leaves the others at their times.
class Shrinker {
 public:
  /// @param fails  whether this sequence fails, in the way that is looked for; the same for the same one
  /// @param most_tries  how often it is asked at most
  Shrinker(std::function<bool(const Events&)> fails, std::size_t most_tries);

  /// @param events  a sequence that fails
  /// @return one that fails too. Unless the tries ran out none of its events can be left out.
  Events Shrink(Events events);

  [[nodiscard]] std::size_t Tries() const { return m_tries; }
  [[nodiscard]] bool HasRunOut() const { return m_tries >= m_most_tries; }

 private:
  bool Fails(const Events& events);
  Events KeepTheEnd(const Events& events);
  Events LeaveOut(Events events);
  Events ShortenWaits(Events events);

  std::function<bool(const Events&)> m_fails;
  std::size_t m_most_tries;
  std::size_t m_tries = 0;
};

}  // namespace soak

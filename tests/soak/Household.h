#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Diary.h"
#include "Dice.h"

namespace soak {

/// How long a day is written; the next one begins whenever the last is over.
inline constexpr std::chrono::milliseconds kDay = std::chrono::hours(24);

/// The radio that the TV is at home on, and the faster one of the same router.
inline constexpr char kHome[] = "02:00:00:00:00:10";
inline constexpr char kFastHome[] = "02:00:00:00:00:14";

/// What the room is like when nothing has happened yet: steps of a scenario without their times.
const std::vector<std::string>& Furnishing();

/// A family, its guests and its thunderstorms: writes day after day what happens to the TV. The same
/// seed writes the same days.
class Household {
 public:
  explicit Household(std::uint64_t seed) : m_dice(seed) {}

  Events NextDay();

 private:
  Dice m_dice;
};

/// One thing that a household does, which may be several events, some of them later.
struct Chore {
  std::string_view name;
  int weight;  ///< how often it is done, beside the others
  void (*write)(Diary& diary, Dice& dice);
};

/// By what they are about; all of them together are what a day is made of.
const std::vector<Chore>& PlugChores();
const std::vector<Chore>& RadioChores();
const std::vector<Chore>& ViewerChores();
const std::vector<Chore>& TroubleChores();

}  // namespace soak

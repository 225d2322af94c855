#include "Shrinker.h"

#include <string>

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using soak::Event;
using soak::Events;
using soak::Shrinker;

namespace {

constexpr std::size_t kPlenty = 10'000;

/// Events named 0, 1, ..., a minute apart.
Events Numbered(int count) {
  Events events;
  for (int i = 0; i < count; ++i) {
    events.push_back({i * 1min, std::to_string(i)});
  }
  return events;
}

std::vector<std::string> Names(const Events& events) {
  std::vector<std::string> names;
  for (const Event& event : events) {
    names.push_back(event.text);
  }
  return names;
}

const Event* Find(const Events& events, const std::string& name) {
  for (const Event& event : events) {
    if (event.text == name) {
      return &event;
    }
  }
  return nullptr;
}

using Name = std::vector<std::string>;

}  // namespace

TEST(Shrinker, LeavesTheOneEventThatMatters) {
  for (int guilty : {0, 1, 17, 99}) {
    const std::string name = std::to_string(guilty);
    Shrinker shrinker([&](const Events& events) { return Find(events, name) != nullptr; }, kPlenty);
    EXPECT_EQ(Names(shrinker.Shrink(Numbered(100))), Name{name});
    EXPECT_LT(shrinker.Tries(), 60U) << "one by one it would be about 100";
  }
}

TEST(Shrinker, LeavesEventsThatAreFarApartInTheirOrder) {
  const auto fails = [](const Events& events) {
    const Event* const first = Find(events, "3");
    const Event* const second = Find(events, "400");
    const Event* const third = Find(events, "777");
    return first != nullptr && second != nullptr && third != nullptr && first < second && second < third;
  };
  Shrinker shrinker(fails, kPlenty);
  EXPECT_EQ(Names(shrinker.Shrink(Numbered(1000))), (Name{"3", "400", "777"}));
}

TEST(Shrinker, LooksFirstAtWhatCameLast) {
  Shrinker shrinker([](const Events& events) { return Find(events, "9999") != nullptr; }, kPlenty);
  EXPECT_EQ(Names(shrinker.Shrink(Numbered(10'000))), Name{"9999"});
  EXPECT_LT(shrinker.Tries(), 10U);
}

TEST(Shrinker, NoEventOfTheResultCanBeSpared) {
  // Any three of the even ones fail.
  const auto fails = [](const Events& events) {
    int even = 0;
    for (const Event& event : events) {
      even += std::stoi(event.text) % 2 == 0 ? 1 : 0;
    }
    return even >= 3;
  };
  Shrinker shrinker(fails, kPlenty);
  const Events shortest = shrinker.Shrink(Numbered(128));
  EXPECT_EQ(shortest.size(), 3U);
  EXPECT_TRUE(fails(shortest));
}

TEST(Shrinker, KeepsTheWaitThatMattersAndNoOther) {
  // It takes half a minute between the two, and a third that comes whenever.
  const auto fails = [](const Events& events) {
    const Event* const cause = Find(events, "5");
    const Event* const effect = Find(events, "6");
    return cause != nullptr && effect != nullptr && effect->at - cause->at >= 30s &&
           Find(events, "60") != nullptr;
  };
  Shrinker shrinker(fails, kPlenty);
  const Events expected{{0ms, "5"}, {1min, "6"}, {1min, "60"}};
  EXPECT_EQ(shrinker.Shrink(Numbered(100)), expected);
}

TEST(Shrinker, KeepsTheTimesOfWhatStaysWhileItLeavesOut) {
  // The time of day alone matters; it is not lost with the events before it.
  const auto fails = [](const Events& events) {
    const Event* const guilty = Find(events, "90");
    return guilty != nullptr && guilty->at >= 90min;
  };
  Shrinker shrinker(fails, kPlenty);
  EXPECT_EQ(shrinker.Shrink(Numbered(100)), (Events{{90min, "90"}}));
}

TEST(Shrinker, SaysThatNothingIsNeededWhenNothingIs) {
  Shrinker shrinker([](const Events&) { return true; }, kPlenty);
  EXPECT_TRUE(shrinker.Shrink(Numbered(50)).empty());
}

TEST(Shrinker, GivesWhatItHasWhenItsTriesRunOut) {
  const auto fails = [](const Events& events) { return events.size() >= 20; };
  Shrinker shrinker(fails, 5);
  const Events shorter = shrinker.Shrink(Numbered(1000));
  EXPECT_TRUE(shrinker.HasRunOut());
  EXPECT_EQ(shrinker.Tries(), 5U);
  EXPECT_TRUE(fails(shorter));
}

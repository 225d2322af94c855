#include "ListenerList.h"

#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace {

struct Listener {
  char name;
  std::function<void()> action;
};

using List = ListenerList<Listener>;

std::size_t Remove(List& list, char name) {
  return list.RemoveIf([name](const Listener& listener) { return listener.name == name; });
}

/// Notifies, and tells who was called.
std::string Round(const List& list) {
  std::string called;
  list.ForEach([&called](const Listener& listener) {
    called += listener.name;
    if (listener.action) {
      listener.action();
    }
  });
  return called;
}

}  // namespace

TEST(ListenerList, CallsInTheOrderOfRegistration) {
  List list;
  EXPECT_TRUE(list.IsEmpty());
  EXPECT_EQ(Round(list), "");
  list.Add({'a', {}});
  list.Add({'b', {}});
  list.Add({'a', {}});
  EXPECT_FALSE(list.IsEmpty());
  EXPECT_EQ(Round(list), "aba");
  EXPECT_EQ(Remove(list, 'a'), 2U);
  EXPECT_EQ(Remove(list, 'a'), 0U);
  EXPECT_EQ(Round(list), "b");
}

TEST(ListenerList, OneMayRemoveItself) {
  List list;
  list.Add({'a', {}});
  list.Add({'b', [&] { Remove(list, 'b'); }});
  list.Add({'c', {}});
  EXPECT_EQ(Round(list), "abc");
  EXPECT_EQ(Round(list), "ac");
}

TEST(ListenerList, OneThatWasRemovedIsNotCalledAgainInTheSameRound) {
  List list;
  list.Add({'a', [&] { Remove(list, 'c'); }});
  list.Add({'b', [&] { Remove(list, 'a'); }});
  list.Add({'c', {}});
  EXPECT_EQ(Round(list), "ab");
  EXPECT_EQ(Round(list), "b");
}

TEST(ListenerList, OneThatWasAddedIsCalledFromTheNextRoundOn) {
  List list;
  bool added = false;
  list.Add({'a', [&] {
              if (!added) {
                added = true;
                list.Add({'z', {}});
              }
            }});
  list.Add({'b', {}});
  EXPECT_EQ(Round(list), "ab");
  EXPECT_EQ(Round(list), "abz");
}

TEST(ListenerList, ManyAddedDuringARoundDoNotMoveWhatIsBeingCalled) {
  List list;
  list.Add({'a', [&] {
              for (int i = 0; i < 1'000; ++i) {
                list.Add({'x', {}});
              }
            }});
  list.Add({'b', {}});
  EXPECT_EQ(Round(list), "ab");
}

TEST(ListenerList, TheListMayEndDuringARound) {
  auto list = std::make_unique<List>();
  list->Add({'a', [&] { list.reset(); }});
  list->Add({'b', {}});
  EXPECT_EQ(Round(*list), "a");
  EXPECT_EQ(list, nullptr);
}

TEST(ListenerList, AListThatIsReplacedDuringARoundCallsNobodyOfItAnyMore) {
  List list;
  List other;
  other.Add({'z', {}});
  list.Add({'a', [&] { list = std::move(other); }});
  list.Add({'b', {}});
  EXPECT_EQ(Round(list), "a");
  EXPECT_EQ(Round(list), "z");
}

TEST(ListenerList, RoundsMayNest) {
  List list;
  int depth = 0;
  std::string inner;
  list.Add({'a', [&] {
              if (depth++ == 0) {
                inner = Round(list);
                Remove(list, 'b');
              }
            }});
  list.Add({'b', {}});
  EXPECT_EQ(Round(list), "a");
  EXPECT_EQ(inner, "ab");
}

TEST(ListenerList, AListenerIsReleasedWhenItsRoundIsOver) {
  const auto token = std::make_shared<int>(1);
  List list;
  list.Add({'a', [&list, token] {
              Remove(list, 'a');
              EXPECT_GE(token.use_count(), 2) << "its own closure must outlive the call";
            }});
  Round(list);
  EXPECT_EQ(token.use_count(), 1);
}

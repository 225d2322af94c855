#include "KernelEvents.h"

#include <filesystem>
#include <iterator>
#include <memory>
#include <set>
#include <string>

#include <gtest/gtest.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include "MainLoop.h"
#include "Network.h"

using namespace std::chrono_literals;
using Turn = KernelEvents::Turn;

namespace {

class KernelNews : public testing::Test {
 protected:
  void SetUp() override {
    network::EnterNamespace();
    network::AddCable("wall", "far");
    RunLoopFor(300ms);
  }

  /// Writes its letter when a link message comes.
  std::unique_ptr<KernelEvents> Writer(char letter, Turn turn) {
    return KernelEvents::Listen(
        turn,
        [this, letter](const nlmsghdr* message) {
          if (message->nlmsg_type == RTM_NEWLINK) {
            m_heard += letter;
          }
        },
        [] {});
  }
  /// One link message, by itself.
  static void MakeNews() { network::Rename("wall", "lan"); }

  std::string m_heard;
};

std::size_t OpenFiles() {
  return static_cast<std::size_t>(
      std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

}  // namespace

TEST_F(KernelNews, AreOfLinksAddressesAndRoutes) {
  std::set<int> types;
  const auto events = KernelEvents::Listen(
      Turn::kLater, [&](const nlmsghdr* message) { types.insert(message->nlmsg_type); }, [] {});
  ASSERT_NE(events, nullptr);
  network::AddAddress("wall", "192.0.2.10/24");
  network::AddDefaultRoute("wall", AF_INET, 100);
  network::RemoveDefaultRoute("wall", AF_INET, 100);
  network::Remove("wall");
  RunLoopUntil([&] { return types.contains(RTM_DELLINK); });
  for (const int type : {RTM_NEWLINK, RTM_NEWADDR, RTM_NEWROUTE, RTM_DELROUTE}) {
    EXPECT_TRUE(types.contains(type)) << type;
  }
}

TEST_F(KernelNews, AreHeardInTurnWhoeverCameFirst) {
  const auto later = Writer('b', Turn::kLater);
  const auto first = Writer('a', Turn::kFirst);
  const auto last = Writer('c', Turn::kLater);
  MakeNews();
  RunLoopUntil([&] { return m_heard.size() >= 3; });
  EXPECT_EQ(m_heard.substr(0, 3), "abc");
}

TEST_F(KernelNews, ComeAtOnceToWhoCatchesUp) {
  const auto events = Writer('a', Turn::kFirst);
  const auto other = Writer('b', Turn::kLater);
  MakeNews();
  EXPECT_EQ(m_heard, "");
  other->CatchUp();
  EXPECT_EQ(m_heard.substr(0, 2), "ab");
  const std::string caught = m_heard;
  RunLoopFor(100ms);
  EXPECT_EQ(m_heard, caught) << "not once more";
}

TEST_F(KernelNews, MayEndWhoHearsThem) {
  const std::size_t before = OpenFiles();
  std::unique_ptr<KernelEvents> victim;
  std::unique_ptr<KernelEvents> self;
  int calls = 0;
  self = KernelEvents::Listen(
      Turn::kFirst,
      [&](const nlmsghdr*) {
        ++calls;
        victim.reset();
        self.reset();
      },
      [] {});
  victim = Writer('v', Turn::kLater);
  EXPECT_EQ(OpenFiles(), before + 1) << "one socket for both";
  MakeNews();
  RunLoopUntil([&] { return calls > 0; });
  RunLoopFor(100ms);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(m_heard, "");
  EXPECT_EQ(OpenFiles(), before);

  const auto again = Writer('n', Turn::kFirst);
  network::Rename("lan", "wall");
  RunLoopUntil([&] { return !m_heard.empty(); });
}

TEST_F(KernelNews, ThatWereLostAreALossToAll) {
  int losses = 0;
  const auto count = [&] { ++losses; };
  const auto ignore = [](const nlmsghdr*) {};
  const auto one = KernelEvents::Listen(Turn::kFirst, ignore, count);
  const auto other = KernelEvents::Listen(Turn::kLater, ignore, count);
  for (int i = 0; i < 20'000; ++i) {  // more than any receive buffer holds
    network::SetUp("wall", false);
    network::SetUp("wall", true);
  }
  RunLoopUntil([&] { return losses == 2; });
}

#include "KernelEvents.h"

#include <filesystem>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include "MainLoop.h"
#include "Network.h"

using namespace std::chrono_literals;
using Turn = KernelEvents::Turn;

namespace {

int FamilyOf(const nlmsghdr* message) {
  return static_cast<const rtgenmsg*>(NLMSG_DATA(message))->rtgen_family;
}

class KernelNews : public testing::Test {
 protected:
  void SetUp() override {
    network::EnterNamespace();
    network::AddCable("wall", "far");
    RunLoopFor(300ms);
  }

  /// Writes its letter when an IPv4 address comes.
  std::unique_ptr<KernelEvents> Writer(char letter, Turn turn) {
    return KernelEvents::Listen(
        turn,
        [this, letter](const nlmsghdr* message) {
          if (message->nlmsg_type == RTM_NEWADDR && FamilyOf(message) == AF_INET) {
            m_heard += letter;
          }
        },
        [] {});
  }
  /// An address, which is heard once: what a link is doing the kernel may tell again.
  void MakeNews() { network::AddAddress("wall", "192.0.2." + std::to_string(++m_addresses) + "/24"); }

  std::string m_heard;

 private:
  int m_addresses = 0;
};

std::size_t OpenFiles() {
  return static_cast<std::size_t>(
      std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

}  // namespace

TEST_F(KernelNews, AreOfLinksAddressesAndRoutes) {
  std::set<std::pair<int, int>> news;
  const auto events = KernelEvents::Listen(
      Turn::kLater,
      [&](const nlmsghdr* message) { news.emplace(message->nlmsg_type, FamilyOf(message)); }, [] {});
  ASSERT_NE(events, nullptr);
  const std::pair<int, const char*> families[] = {{AF_INET, "192.0.2.10/24"},
                                                  {AF_INET6, "2001:db8::10/64"}};
  for (const auto& [family, address] : families) {
    network::AddAddress("wall", address);
    network::AddDefaultRoute("wall", family, 100);
    network::RemoveDefaultRoute("wall", family, 100);
  }
  network::Remove("wall");
  RunLoopUntil([&] { return news.contains({RTM_DELLINK, AF_UNSPEC}); });
  EXPECT_TRUE(news.contains({RTM_NEWLINK, AF_UNSPEC}));
  for (const auto& [family, address] : families) {
    for (const int type : {RTM_NEWADDR, RTM_NEWROUTE, RTM_DELROUTE}) {
      EXPECT_TRUE(news.contains({type, family})) << type << ' ' << address;
    }
  }
}

TEST_F(KernelNews, AreHeardInTurnWhoeverCameFirst) {
  const auto later = Writer('b', Turn::kLater);
  const auto first = Writer('a', Turn::kFirst);
  const auto last = Writer('c', Turn::kLater);
  MakeNews();
  RunLoopUntil([&] { return m_heard.size() >= 3; });
  EXPECT_EQ(m_heard, "abc");
}

TEST_F(KernelNews, ComeAtOnceToWhoCatchesUp) {
  const auto events = Writer('a', Turn::kFirst);
  const auto other = Writer('b', Turn::kLater);
  MakeNews();
  EXPECT_EQ(m_heard, "");
  other->CatchUp();
  EXPECT_EQ(m_heard, "ab");
  RunLoopFor(100ms);
  EXPECT_EQ(m_heard, "ab") << "not once more";
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
  MakeNews();
  RunLoopUntil([&] { return !m_heard.empty(); });
}

TEST_F(KernelNews, MayEndWhoCatchesUp) {
  std::unique_ptr<KernelEvents> self;
  self = KernelEvents::Listen(
      Turn::kFirst, [&](const nlmsghdr*) { self.reset(); }, [] {});
  MakeNews();
  self->CatchUp();
  EXPECT_EQ(self, nullptr);
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

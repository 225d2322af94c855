#include "Neighbours.h"

#include <cstdio>
#include <string>

#include <gtest/gtest.h>
#include <net/if.h>

#include "MainLoop.h"
#include "Network.h"

namespace {

constexpr char kTable[] = "ip neigh show dev tv0";
constexpr char kRouter[] = "192.0.2.1 lladdr 02:00:00:00:00:01 ";
constexpr char kPrinter[] = "2001:db8::7 lladdr 02:00:00:00:00:07 ";

std::string OutputOf(const std::string& command) {
  std::string output;
  FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
  for (int next = std::getc(pipe); next != EOF; next = std::getc(pipe)) {
    output += static_cast<char>(next);
  }
  pclose(pipe);
  return output;
}

class NeighboursTest : public testing::Test {
 protected:
  void SetUp() override {
    network::EnterNamespace();
    network::AddCable("tv0", "wall0");
    network::AddAddress("tv0", "192.0.2.10/24");
    network::AddAddress("tv0", "2001:db8::10/64");
    RunLoopUntil([] { return network::HasCarrier("tv0"); });
    for (const std::string neighbour : {kRouter, kPrinter}) {
      ASSERT_EQ(OutputOf("ip neigh replace " + neighbour + "dev tv0 nud reachable"), "");
    }
    ASSERT_EQ(OutputOf("ip neigh replace 192.0.2.99 dev tv0 nud failed"), "");
  }
  /// As a radio does that asks another one to let it in.
  static void LoseCarrierForAMoment() {
    for (const bool is_up : {false, true}) {
      network::SetUp("wall0", is_up);
      RunLoopUntil([&] { return network::HasCarrier("tv0") == is_up; });
    }
  }
  static bool IsStale(const char* neighbour) {
    return OutputOf(kTable).find(std::string(neighbour) + "STALE") != std::string::npos;
  }
};
using TheNeighbours = NeighboursTest;

}  // namespace

TEST_F(TheNeighbours, AreKnownAgainAfterTheCarrierWasLost) {
  const auto neighbours = Neighbours::Of(static_cast<int>(if_nametoindex("tv0")));
  LoseCarrierForAMoment();
  ASSERT_EQ(OutputOf(kTable).find("lladdr"), std::string::npos) << OutputOf(kTable);
  neighbours.Restore();
  EXPECT_TRUE(IsStale(kRouter)) << OutputOf(kTable);
  EXPECT_TRUE(IsStale(kPrinter)) << OutputOf(kTable);
  EXPECT_EQ(OutputOf(kTable).find("192.0.2.99"), std::string::npos);
}

TEST_F(TheNeighbours, OfAnotherLinkAreLeftToIt) {
  Neighbours::Of(static_cast<int>(if_nametoindex("wall0"))).Restore();
  EXPECT_FALSE(IsStale(kRouter));
}

TEST_F(TheNeighbours, OfALinkThatHasGoneAreNobodys) {
  const auto neighbours = Neighbours::Of(static_cast<int>(if_nametoindex("tv0")));
  network::Remove("tv0");
  neighbours.Restore();
  Neighbours().Restore();
  EXPECT_EQ(Neighbours::Of(0).IsEmpty(), true);
}

#include "RestingMemory.h"

#include <fstream>
#include <sstream>
#include <string>

#include <glib.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/socket.h>

#include "BusRoom.h"
#include "MainLoop.h"
#include "Network.h"
#include "Program.h"
#include "WifiStub.h"

using namespace std::chrono_literals;

namespace {

constexpr long kLimitKb = 8 * 1024;

/// A line of a process's smaps_rollup, in kilobytes; 0 for none.
long Rollup(const std::string& pid, const std::string& name) {
  std::ifstream rollup("/proc/" + pid + "/smaps_rollup");
  for (std::string line; std::getline(rollup, line);) {
    if (line.starts_with(name + ":")) {
      return std::stol(line.substr(name.size() + 1));
    }
  }
  return 0;
}
long OwnRss() {
  return Rollup("self", "Rss");
}

/// Touches libraries, and returns what they say.
std::string Work() {
  g_autofree char* text = g_utf8_strdown("PELORUS", -1);
  std::ostringstream stream;
  stream << text << ' ' << 1.5;
  return stream.str();
}

}  // namespace

TEST(RestingMemory, IsGivenBackAndTheProgramWorksOn) {
  const std::string before = Work();
  const long all = OwnRss();
  RestingMemory::GiveBack();
  EXPECT_LT(OwnRss(), all - 2048);
  EXPECT_EQ(Work(), before);
}

// As a debugger does with the code.
TEST(RestingMemory, IsKeptWhereSomebodyHasChangedIt) {
  static const char kPage[] alignas(4096) = "as it was built";
  auto* const text = const_cast<char*>(kPage);
  ASSERT_EQ(mprotect(text, sizeof kPage, PROT_READ | PROT_WRITE), 0);
  *static_cast<volatile char*>(text) = 'A';
  ASSERT_EQ(mprotect(text, sizeof kPage, PROT_READ), 0);
  RestingMemory::GiveBack();
  EXPECT_EQ(*static_cast<volatile char*>(text), 'A');
}

TEST(RestingMemory, OfTheDaemonIsUnderEightMegabytesAlsoAfterTheNetworkHasChanged) {
  network::EnterNamespace();
  network::AddCable("wall", "far");
  network::AddAddress("wall", "192.0.2.10/24");
  BusRoom bus;
  bus.StartBus();
  WifiStub wifi;
  const WifiStub::Radio home{.bssid = "02:00:00:00:01:00", .ssid = "Home"};
  wifi.PutOnAir(home);
  wifi.Save(home);
  wifi.StartBoth();
  Program daemon({PELORUS_PROGRAM}, "/run/pelorus.log");
  const std::string pid = std::to_string(daemon.Pid());
  RunLoopFor(5s);
  const long at_start = Rollup(pid, "Rss");
  RunLoopFor(19s);
  const long at_rest = Rollup(pid, "Rss");
  EXPECT_LT(Rollup(pid, "Pss"), kLimitKb);
  EXPECT_LT(at_rest, at_start - 2048);

  wifi.Stop(WifiStub::kNetworkManager);
  wifi.Start(WifiStub::kNetworkManager);
  network::AddDefaultRoute("wall", AF_INET, 100, "192.0.2.1");
  RunLoopFor(5s);
  const long at_work = Rollup(pid, "Rss");
  EXPECT_GT(at_work, at_rest);
  RunLoopFor(19s);
  EXPECT_LT(Rollup(pid, "Pss"), kLimitKb);
  EXPECT_LT(Rollup(pid, "Rss"), at_work - 1024);
  EXPECT_TRUE(daemon.IsRunning());
}

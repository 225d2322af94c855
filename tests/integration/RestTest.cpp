#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <signal.h>
#include <time.h>

#include "MainLoop.h"
#include "ModemRoom.h"
#include "Network.h"
#include "Program.h"
#include "SettingsFile.h"
#include "WifiStub.h"

using namespace std::chrono_literals;

namespace {

constexpr char kTrace[] = "/run/trace";

double Now() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

/// The system calls, of all its threads, that began or ended in that time.
std::vector<std::string> CallsBetween(double begin, double end) {
  std::vector<std::string> calls;
  std::ifstream trace(kTrace);
  for (std::string line; std::getline(trace, line);) {
    const double time = std::stod(line.substr(line.find_first_of(' ')));
    if (time >= begin && time <= end) {
      calls.push_back(line);
    }
  }
  return calls;
}

/// The tracer's child, which outlives the tracer.
void KillTraced() {
  std::ifstream trace(kTrace);
  pid_t pid = 0;
  if (trace >> pid) {
    kill(pid, SIGKILL);
  }
}

}  // namespace

/// With the bus and its services there, thus with all that the daemon may have to do with them, and a
/// Wi-Fi network in reach that it knows.
TEST(Rest, MakesNoWakeUpOfItsOwn) {
  setenv(settings::kDirectoryVariable, "/run/settings", 1);
  network::EnterNamespace();
  network::AddCable("wall", "far");
  ModemRoom room;
  room.StartBus();
  room.StartService();
  WifiStub wifi;
  const WifiStub::Radio home{.bssid = "02:00:00:00:01:00", .ssid = "Home"};
  wifi.PutOnAir(home);
  wifi.Save(home);
  wifi.StartBoth();
  Program daemon({"strace", "-f", "-ttt", "-o", kTrace, PELORUS_PROGRAM}, "/run/pelorus.log");
  const double start = Now();
  RunLoopFor(34s);  // the ignore window's 30 s, and what is left of them
  const double rest = Now();
  RunLoopFor(60s);
  const double end = Now();
  EXPECT_FALSE(CallsBetween(start, rest).empty());
  EXPECT_EQ(CallsBetween(rest, end), std::vector<std::string>{});

  network::SetUp("far", false);  // the trace does see a wake-up, and the daemon is not dead
  RunLoopUntil([&] { return !CallsBetween(end, Now()).empty(); });
  EXPECT_TRUE(daemon.IsRunning());
  EXPECT_NE(daemon.Log().find("Ignore attached >>Timer is Expired "), std::string::npos);
  KillTraced();
}

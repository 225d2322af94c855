#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "BusRoom.h"
#include "DaemonProgram.h"
#include "MainLoop.h"
#include "WifiStub.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// The daemon as it is shipped, in a house with radios around it and saved networks.

namespace {

class CrowdRoom : public testing::Test {
 protected:
  void Fill(int radios, int profiles) {
    m_bus.StartBus();
    m_stub.StartBoth();
    m_stub.Ask("crowd " + std::to_string(radios));
    for (int i = 0; i < profiles; ++i) {
      m_stub.Save({"", "Saved " + std::to_string(i), 2437, -40, "wpa2", "fourteen geese"});
    }
    m_stub.PutOnAir(m_den);
    m_stub.Save(m_den, "autoconnect");
    m_stub.Ask("scan");
    RunLoopUntil([&] { return m_stub.ConnectedBssid() == m_den.bssid; }, 120s);
  }

  BusRoom m_bus;
  WifiStub m_stub;
  const WifiStub::Radio m_den{"02:00:00:00:10:00", "Den", 2437, -40, "wpa2", "fourteen geese"};
};

class WifiCrowd : public daemon_program::In<CrowdRoom> {
 protected:
  void StartDaemon() { In::StartDaemon(PELORUS_PROGRAM); }
  [[nodiscard]] std::ptrdiff_t Descriptors() const {
    return std::distance(fs::directory_iterator(Directory() + "/fd"), {});
  }
  /// @return KiB
  [[nodiscard]] long Memory(const std::string& kind) const {
    std::ifstream rollup(Directory() + "/smaps_rollup");
    long kilobytes = -1;
    for (std::string word; rollup >> word && word != kind + ":";) {
    }
    rollup >> kilobytes;
    return kilobytes;
  }
  static std::string SavedList() {
    char* const text = vconf_get_str(vconf_keys::kSavedAPList);
    std::string list = text == nullptr ? "" : text;
    std::free(text);
    return list;
  }
  /// The daemon has heard that the TV is connected, and so on which channel.
  static void WaitForDen() {
    RunLoopUntil([] { return SavedList().find("2437") != std::string::npos; }, 30s);
    EXPECT_NE(SavedList().find("\"Den\""), std::string::npos) << SavedList();
  }

 private:
  [[nodiscard]] std::string Directory() const { return "/proc/" + std::to_string(m_daemon->Pid()); }
};

}  // namespace

TEST_F(WifiCrowd, ADaemonThatStartsWhileTheTvIsConnectedKnowsItAndIsSmall) {
  Fill(20, 10);
  StartDaemon();
  WaitForDen();
  RunLoopFor(2s);
  EXPECT_GT(Memory("Pss"), 0);
  EXPECT_LT(Memory("Pss"), 8 * 1024);
}

TEST_F(WifiCrowd, ADaemonListsAtItsFirstStartWhatTheMachineHadSaved) {
  Fill(0, 3);
  StartDaemon();
  WaitForDen();
  for (const char* name : {"Saved 0", "Saved 1", "Saved 2"}) {
    EXPECT_NE(SavedList().find(name), std::string::npos) << SavedList();
  }
}

/// The client of NetworkManager keeps an object of some kilobytes for each.
TEST_F(WifiCrowd, ACrowdOfRadiosAndProfilesIsKnownWithoutGrowingWithoutEnd) {
  Fill(500, 100);
  StartDaemon();
  WaitForDen();
  RunLoopFor(2s);
  EXPECT_GT(Memory("Pss"), 0);
  EXPECT_LT(Memory("Pss"), 12 * 1024);
}

TEST_F(WifiCrowd, RestartsOfNetworkManagerLeaveTheDaemonAsItWas) {
  constexpr long kSlack = 512;  // KiB
  Fill(20, 10);
  StartDaemon();
  WaitForDen();
  const auto restart = [&](int count) {
    for (int i = 0; i < count; ++i) {
      m_stub.Stop(WifiStub::kNetworkManager);
      RunLoopFor(10ms);
      m_stub.Start(WifiStub::kNetworkManager);
      RunLoopFor(50ms);
    }
    RunLoopUntil([&] { return m_stub.ConnectedBssid() == m_den.bssid; }, 30s);
    RunLoopFor(2s);
  };
  restart(20);
  const auto descriptors = Descriptors();
  const long memory = Memory("Private_Dirty");
  restart(200);
  EXPECT_EQ(Descriptors(), descriptors);
  EXPECT_LE(Memory("Private_Dirty"), memory + kSlack) << "KiB, of " << memory;
  EXPECT_TRUE(m_daemon->IsRunning());
}

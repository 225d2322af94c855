#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <linux/if_arp.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include "DaemonProgram.h"
#include "MainLoop.h"
#include "NW_Common.h"
#include "NW_LanPopup.h"
#include "Network.h"
#include "Popups.h"
#include "Sandbox.h"
#include "SettingsFile.h"
#include "TestLog.h"
#include "net_connection.h"
#include "platform.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

constexpr char kAttached[] = "ethernet_attached";
constexpr char kDetached[] = "ethernet_detached";

class Cable : public testing::Test {
 protected:
  void SetUp() override { network::EnterNamespace(); }
};

/// The platform alone: what it tells a user of the interface.
class CableEvents : public Cable {
 protected:
  void Listen() {
    ASSERT_EQ(connection_create(&m_connection), CONNECTION_ERROR_NONE);
    const auto callback = [](connection_ethernet_cable_state_e state, void* self) {
      static_cast<CableEvents*>(self)->m_states.push_back(state);
    };
    ASSERT_EQ(connection_set_ethernet_cable_state_chaged_cb(m_connection, callback, this),
              CONNECTION_ERROR_NONE);
  }
  void TearDown() override { connection_destroy(m_connection); }

  void WaitForStates(std::size_t count) {
    RunLoopUntil([&] { return m_states.size() >= count; });
  }
  /// Long enough for the kernel to tell what it has to tell.
  static void Settle() { RunLoopFor(300ms); }

  connection_h m_connection = nullptr;
  std::vector<int> m_states;
};

using States = std::vector<int>;

/// The daemon's own code in this process, and all that it decided: a program started or a keyword handed
/// on.
class CableDecisions : public Cable {
 protected:
  void SetUp() override {
    Cable::SetUp();
    const auto forwarded = [](keynode_t*, void* self) {
      char* keyword = vconf_get_str(vconf_keys::kPelorusCommand);
      static_cast<CableDecisions*>(self)->m_forwarded.emplace_back(keyword);
      free(keyword);
    };
    ASSERT_EQ(vconf_notify_key_changed(vconf_keys::kPelorusCommand, forwarded, this), VCONF_OK);
  }
  void TearDown() override {
    deregisterEvent();
    for (const auto& popup : popups::All()) {
      kill(popup.pid, SIGKILL);
    }
  }

  [[nodiscard]] std::size_t Decisions() const { return popups::All().size() + m_forwarded.size(); }

  std::vector<std::string> m_forwarded;
};

class CableProgram : public daemon_program::In<Cable> {
 protected:
  void StartDaemon() { In::StartDaemon(PELORUS_PROGRAM); }
};

}  // namespace

TEST_F(CableEvents, TheStateFoundAtTheStartIsNoEvent) {
  network::AddCable("wall", "far");
  Settle();
  Listen();
  Settle();
  EXPECT_EQ(m_states, States{});
}

/// Others hear through the same socket, and have not been told yet of what belongs to the start.
TEST_F(CableEvents, WhatIsUnderWayAtTheStartIsNoEvent) {
  network::AddCable("wall", "far");
  ASSERT_EQ(platform_start(), 0);
  Settle();
  network::SetUp("far", false);
  network::SetUp("far", true);
  network::SetUp("far", false);
  Listen();
  connection_ethernet_cable_state_e state = CONNECTION_ETHERNET_CABLE_ATTACHED;
  EXPECT_EQ(connection_get_ethernet_cable_state(m_connection, &state), CONNECTION_ERROR_NONE);
  EXPECT_EQ(state, CONNECTION_ETHERNET_CABLE_DETACHED);
  Settle();
  EXPECT_EQ(m_states, States{});
  network::SetUp("far", true);
  WaitForStates(1);
  EXPECT_EQ(m_states, States{1});
  platform_stop();
}

/// The kernel's table shows that a carrier went before its news say so.
TEST_F(CableEvents, WhatIsOlderThanTheStartDoesNotUndoIt) {
  network::DistantCable cable("wall");
  ASSERT_EQ(platform_start(), 0);
  Listen();
  cable.Pull();
  WaitForStates(1);
  cable.Plug();
  WaitForStates(2);
  connection_destroy(std::exchange(m_connection, nullptr));
  m_states.clear();

  network::SetArp("wall", false);  // which is told at once, and with it that there is a carrier
  cable.Pull();                    // told a second after the first one
  Listen();
  connection_ethernet_cable_state_e state = CONNECTION_ETHERNET_CABLE_ATTACHED;
  EXPECT_EQ(connection_get_ethernet_cable_state(m_connection, &state), CONNECTION_ERROR_NONE);
  EXPECT_EQ(state, CONNECTION_ETHERNET_CABLE_DETACHED);
  RunLoopFor(1500ms);
  EXPECT_EQ(m_states, States{});
  platform_stop();
}

TEST_F(CableEvents, OnesEndLeavesTheOthersListening) {
  network::AddCable("wall", "far");
  ASSERT_EQ(platform_start(), 0);
  Settle();
  Listen();
  connection_destroy(std::exchange(m_connection, nullptr));
  network::AddAddress("wall", "192.0.2.10/24");
  network::AddDefaultRoute("wall", AF_INET, 100);
  RunLoopUntil([] {
    const HeapString type(vconf_get_str(vconf_keys::kNetworkType));
    return type != nullptr && std::string(type.get()) == "Wired";
  });
  Listen();
  network::SetUp("far", false);
  WaitForStates(1);
  EXPECT_EQ(m_states, States{0});
  platform_stop();
}

TEST_F(CableEvents, AnAdapterThatAppearsLaterCounts) {
  Listen();
  network::AddCable("usb", "far");
  WaitForStates(1);
  network::Remove("usb");
  WaitForStates(2);
  Settle();
  EXPECT_EQ(m_states, (States{1, 0}));
}

TEST_F(CableEvents, OneOfTwoCablesKeepsTheNetworkAttached) {
  network::AddCable("wall", "far");
  network::SetUp("far", false);
  Settle();
  Listen();
  network::AddCable("usb", "usb-far");
  WaitForStates(1);
  network::SetUp("far", true);
  Settle();
  network::SetUp("usb-far", false);
  Settle();
  EXPECT_EQ(m_states, States{1});
  network::SetUp("far", false);
  WaitForStates(2);
  EXPECT_EQ(m_states, (States{1, 0}));
}

TEST_F(CableEvents, WhatIsMadeOfSoftwareIsNoCable) {
  network::AddCable("wall", "far");
  network::SetUp("far", false);
  Settle();
  Listen();
  network::Add("bridge", "bridge");
  const int tap = network::AddTunnel("tap", ARPHRD_ETHER);
  const int tunnel = network::AddTunnel("tunnel", ARPHRD_NONE);
  network::SetMaster("tap", "bridge");  // gives the bridge a carrier
  Settle();
  ASSERT_TRUE(network::HasCarrier("tap"));
  ASSERT_TRUE(network::HasCarrier("bridge"));
  close(tap);
  close(tunnel);
  Settle();
  EXPECT_EQ(m_states, States{});
}

TEST_F(CableEvents, TheContainersEndOfACableIsNoCable) {
  network::Add("bridge", "bridge");
  network::AddCable("wall", "far");
  network::SetMaster("wall", "bridge");
  network::SetMaster("far", "bridge");
  Settle();
  Listen();
  network::SetUp("far", false);
  Settle();
  network::SetUp("far", true);
  Settle();
  ASSERT_TRUE(network::HasCarrier("wall"));
  EXPECT_EQ(m_states, States{});
  network::SetMaster("wall", "");
  WaitForStates(1);
  EXPECT_EQ(m_states, States{1});
}

TEST_F(CableEvents, ARenamedInterfaceKeepsItsState) {
  network::AddCable("wall", "far");
  Settle();
  Listen();
  network::Rename("wall", "lan");
  network::Rename("far", "far-lan");
  Settle();
  EXPECT_EQ(m_states, States{});
  network::SetUp("far-lan", false);
  WaitForStates(1);
  network::SetUp("far-lan", true);
  WaitForStates(2);
  Settle();
  EXPECT_EQ(m_states, (States{0, 1}));
}

TEST_F(CableEvents, ABurstIsToldOneByOne) {
  network::AddCable("wall", "far");
  Settle();
  Listen();
  constexpr int kPairs = 1000;
  for (int i = 0; i < kPairs; ++i) {  // the loop does not run meanwhile
    network::SetUp("wall", false);
    network::SetUp("wall", true);
  }
  WaitForStates(2u * kPairs);
  Settle();
  ASSERT_EQ(m_states.size(), 2u * kPairs);
  for (std::size_t i = 0; i < m_states.size(); ++i) {
    ASSERT_EQ(m_states[i], static_cast<int>(i % 2)) << "event " << i;
  }
}

TEST_F(CableEvents, AfterTheKernelDroppedEventsTheStateIsTheTrueOne) {
  network::AddCable("wall", "far");
  Settle();
  Listen();
  for (int i = 0; i < 20'000; ++i) {  // more than any receive buffer holds
    network::SetUp("wall", false);
    network::SetUp("wall", true);
  }
  network::SetUp("wall", false);
  RunLoopUntil([] {
    return std::ranges::any_of(test_log::Lines(), [](const std::string& line) {
      return line.ends_with("dropped network events");
    });
  });
  Settle();
  ASSERT_FALSE(m_states.empty());
  EXPECT_EQ(m_states.back(), 0);
  for (std::size_t i = 1; i < m_states.size(); ++i) {
    ASSERT_NE(m_states[i], m_states[i - 1]) << "event " << i;
  }
  const std::size_t before = m_states.size();
  network::SetUp("wall", true);
  WaitForStates(before + 1);
  EXPECT_EQ(m_states.back(), 1);
}

TEST_F(CableEvents, ASystemWithoutNetworkEventsRefusesTheHandle) {
  Listen();  // once before, since a sanitizer needs a descriptor for its first look at each object
  connection_destroy(std::exchange(m_connection, nullptr));
  rlimit files{};
  getrlimit(RLIMIT_NOFILE, &files);
  const rlimit none{0, files.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  connection_h connection = nullptr;
  EXPECT_EQ(connection_create(&connection), CONNECTION_ERROR_OPERATION_FAILED);
  EXPECT_EQ(connection, nullptr);
  setrlimit(RLIMIT_NOFILE, &files);
  EXPECT_EQ(connection_create(&connection), CONNECTION_ERROR_NONE);
  connection_destroy(connection);
}

TEST_F(CableEvents, NothingIsToldAfterThePlatformStopped) {
  network::AddCable("wall", "far");
  Settle();
  Listen();
  platform_stop();
  network::SetUp("wall", false);
  Settle();
  EXPECT_EQ(m_states, States{});
}

TEST_F(CableDecisions, AThousandPullsAndPlugsGiveAThousandDecisionsEachInOrder) {
  network::AddCable("wall", "far");
  RunLoopFor(300ms);
  ASSERT_EQ(registerEvent(), 0);
  constexpr std::size_t kPairs = 1000;
  constexpr std::size_t kPopupEvery = 50;
  std::size_t spawned = 0;
  for (std::size_t i = 0; i < 2 * kPairs; ++i) {
    const bool is_plug = i % 2 == 1;
    if (i % kPopupEvery == 0 && spawned > 0) {
      popups::Close(popups::All().back().pid);  // so that this one is shown by a new program
    }
    network::SetUp("far", is_plug);
    RunLoopUntil([&] { return Decisions() == i + 1; });
    ASSERT_EQ(Decisions(), i + 1);
    const char* expected = is_plug ? kAttached : kDetached;
    if (i % kPopupEvery == 0) {
      ++spawned;
      ASSERT_EQ(popups::Keywords().back(), expected) << "event " << i;
    } else {
      ASSERT_EQ(m_forwarded.back(), expected) << "event " << i;
    }
  }
  RunLoopFor(300ms);
  EXPECT_EQ(popups::All().size(), 2 * kPairs / kPopupEvery);
  EXPECT_EQ(m_forwarded.size(), 2 * kPairs - 2 * kPairs / kPopupEvery);
}

TEST_F(CableDecisions, ABurstOfAThousandPullsLosesNone) {
  network::AddCable("wall", "far");
  RunLoopFor(300ms);
  ASSERT_EQ(registerEvent(), 0);
  constexpr std::size_t kPairs = 1000;
  for (std::size_t i = 0; i < kPairs; ++i) {
    network::SetUp("wall", false);
    network::SetUp("wall", true);
  }
  RunLoopUntil([&] { return Decisions() >= 2 * kPairs; }, 60s);
  RunLoopFor(300ms);
  EXPECT_EQ(popups::Keywords(), std::vector<std::string>{kDetached});
  EXPECT_EQ(m_forwarded.size(), 2 * kPairs - 1);
  EXPECT_EQ(test_log::Count("GOT DETTACHED Event "), kPairs);
}

TEST_F(CableProgram, APulledCableStartsTheProgramWithTheKeywordAlone) {
  network::AddCable("wall", "far");
  StartDaemon();
  network::SetUp("far", false);
  popups::WaitForStarted(1);
  const auto shown = popups::All().at(0);
  EXPECT_EQ(shown.arguments, std::vector<std::string>{kDetached});
  EXPECT_EQ(shown.environment_variables, 0);

  network::SetUp("far", true);  // while the first is up
  RunLoopUntil([] {
    char* keyword = vconf_get_str(vconf_keys::kPelorusCommand);
    const bool is_forwarded = keyword != nullptr && keyword == std::string(kAttached);
    free(keyword);
    return is_forwarded;
  });
  EXPECT_EQ(popups::All().size(), 1u);

  kill(shown.pid, SIGTERM);
  RunLoopUntil([&] { return kill(shown.pid, 0) != 0; });
  network::SetUp("far", false);
  popups::WaitForStarted(2);
  EXPECT_EQ(popups::Keywords(), (std::vector<std::string>{kDetached, kDetached}));
}

TEST_F(CableProgram, AMissingNotificationProgramIsLoggedAndSurvived) {
  network::AddCable("wall", "far");
  fs::remove(sandbox::kNotificationProgram);
  StartDaemon();
  network::SetUp("far", false);
  RunLoopUntil([&] { return m_daemon->Log().find("posix_spawn ret 2 ") != std::string::npos; });
  EXPECT_TRUE(m_daemon->IsRunning());
  sandbox::InstallPopupRecorder();
  network::SetUp("far", true);
  popups::WaitForStarted(1);
  EXPECT_EQ(popups::Keywords(), std::vector<std::string>{kAttached});
}

TEST_F(CableProgram, KilledAtAnyMomentItStartsAgainAndNoSettingIsDamaged) {
  network::AddCable("wall", "far");
  network::AddDefaultRoute("wall", AF_INET, 100);
  std::mt19937 random(4711);
  std::uniform_int_distribution<int> microseconds(0, 40'000);
  constexpr int kRounds = 60;
  for (int round = 0; round < kRounds; ++round) {
    Program daemon({PELORUS_PROGRAM}, daemon_program::kLog);
    for (int i = 0; i < 4; ++i) {
      network::SetUp("far", i % 2 == 1);
      usleep(static_cast<useconds_t>(microseconds(random)) / 4);
    }
    daemon.End(SIGKILL);
    for (const auto& popup : popups::All()) {
      kill(popup.pid, SIGKILL);
    }
    fs::remove(sandbox::kPopupRecord);
    for (const vconf_keys::Entry& entry : vconf_keys::kCatalogue) {
      const std::string key(entry.name);
      if (!fs::exists(*settings::PathOf(key.c_str()))) {
        continue;
      }
      int number = 0;
      char* text = nullptr;
      const bool is_readable =
          entry.type == vconf_keys::Type::kInt    ? vconf_get_int(key.c_str(), &number) == VCONF_OK
          : entry.type == vconf_keys::Type::kBool ? vconf_get_bool(key.c_str(), &number) == VCONF_OK
                                                  : (text = vconf_get_str(key.c_str())) != nullptr;
      free(text);
      ASSERT_TRUE(is_readable) << key << " after round " << round;
    }
  }
  network::SetUp("far", true);
  // A popup that the last daemon had just started may still be on its way into the record.
  RunLoopFor(500ms);
  for (const auto& popup : popups::All()) {
    kill(popup.pid, SIGKILL);
  }
  fs::remove(sandbox::kPopupRecord);
  StartDaemon();
  network::SetUp("far", false);
  popups::WaitForStarted(1);
  EXPECT_EQ(popups::Keywords(), std::vector<std::string>{kDetached});
}

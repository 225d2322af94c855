#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

#include <glib.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include "BusRoom.h"
#include "DaemonProgram.h"
#include "MainLoop.h"
#include "Network.h"
#include "SettingsFile.h"
#include "WifiStub.h"
#include "platform.h"
#include "wifi.h"

using namespace std::chrono_literals;

namespace {

constexpr int kReconnections = 1000;
/// After which tables have the size that they need, and the allocator the blocks.
constexpr int kFirst = 500;
constexpr int kMostRounds = 3;
constexpr int kFirstOfTheDaemon = 150;
/// One lost allocation a time would be more.
constexpr std::size_t kHeapNoise = 16UL * 1024;
constexpr long kPagesNoiseKb = 256;

const WifiStub::Radio kDen{
    .bssid = "02:00:00:00:10:00", .ssid = "Den", .security = "wpa2", .passphrase = "fourteen geese"};

long EntriesOf(const std::string& directory) {
  return static_cast<long>(std::distance(std::filesystem::directory_iterator(directory),
                                         std::filesystem::directory_iterator()));
}

/// GLib numbers its sources in order, so each that lives is found by its number.
long Sources() {
  const guint newest = g_idle_add([](gpointer) -> gboolean { return G_SOURCE_REMOVE; }, nullptr);
  g_source_remove(newest);
  long count = 0;
  for (guint id = 1; id < newest; ++id) {
    count += g_main_context_find_source_by_id(nullptr, id) == nullptr ? 0 : 1;
  }
  return count;
}

long KilobytesOf(pid_t pid, const std::string& kind) {
  std::ifstream rollup("/proc/" + std::to_string(pid) + "/smaps_rollup");
  for (std::string line; std::getline(rollup, line);) {
    if (line.starts_with(kind + ":")) {
      return std::stol(line.substr(kind.size() + 1));
    }
  }
  return -1;
}

/// A network that the TV joins by itself.
class WifiReconnection : public testing::Test {
 protected:
  void SetUp() override {
    setenv(settings::kDirectoryVariable, "/run/settings", 1);
    network::EnterNamespace();
    m_bus.StartBus();
    m_stub.emplace();
    m_stub->Do("hurry");
    m_stub->StartBoth();
    m_stub->PutOnAir(kDen);
    m_stub->Save(kDen, "autoconnect");
    m_stub->Do("scan");
    RunLoopUntil([&] { return m_stub->ConnectedBssid() == kDen.bssid; });
  }
  void Reconnect() {
    m_stub->Do("reconnect");
    RunLoopUntil([&] { return m_stub->ConnectedBssid() == kDen.bssid; });
  }

  BusRoom m_bus;
  std::optional<WifiStub> m_stub;
};

class WifiReconnectionOfTheDaemon : public daemon_program::In<WifiReconnection> {};

}  // namespace

TEST_F(WifiReconnection, LeavesNothingBehindInThePlatform) {
  ASSERT_EQ(platform_start(), 0);
  RunLoopUntil([] { return wifi_initialize() == WIFI_ERROR_NONE; });
  int connections = 0;
  const auto count = [](wifi_connection_state_e state, wifi_ap_h, void* number) {
    *static_cast<int*>(number) += state == WIFI_CONNECTION_STATE_CONNECTED ? 1 : 0;
  };
  ASSERT_EQ(wifi_set_connection_state_changed_cb(count, &connections), WIFI_ERROR_NONE);
  const auto reconnect = [&](int times) {
    for (int i = 0; i < times && !HasFailure(); ++i) {
      const int before = connections;
      m_stub->Do("reconnect");
      RunLoopUntil([&] { return connections > before; });
    }
    RunLoopFor(300ms);
  };
  std::size_t heap = 0;  // at its largest, because it breathes
  for (int i = 0; i < kFirst; i += kFirst / 5) {
    reconnect(kFirst / 5);
    heap = std::max(heap, mallinfo2().uordblks);
  }
  const long sources = Sources();
  const long descriptors = EntriesOf("/proc/self/fd");
  // A table grows once, with a burst on a busy machine. What is lost is lost each time.
  std::size_t heap_before = 0;
  int rounds = 0;
  do {
    heap_before = heap;
    reconnect(kReconnections);
    heap = mallinfo2().uordblks;
    std::printf("heap: %zu, then %zu bytes\n", heap_before, heap);
  } while (heap >= heap_before + kHeapNoise && ++rounds < kMostRounds);
  ASSERT_FALSE(HasFailure()) << "it is at " << m_stub->ConnectedBssid();
  EXPECT_LE(Sources(), sources);
  EXPECT_EQ(EntriesOf("/proc/self/fd"), descriptors);
  EXPECT_LT(heap, heap_before + kHeapNoise);
  EXPECT_EQ(connections, kFirst + kReconnections * std::min(rounds + 1, kMostRounds));
  platform_stop();
}

TEST_F(WifiReconnectionOfTheDaemon, LeavesMemoryAndDescriptorsWhereTheyWere) {
  StartDaemon(PELORUS_PROGRAM);
  const auto reconnect = [&](int times) {
    for (int i = 0; i < times && !HasFailure(); ++i) {
      Reconnect();
      RunLoopFor(100ms);  // in which the daemon has scanned for what it saved
    }
    RunLoopFor(1s);
  };
  reconnect(kFirstOfTheDaemon);
  const std::string process = "/proc/" + std::to_string(m_daemon->Pid());
  const long descriptors = EntriesOf(process + "/fd");
  const long threads = EntriesOf(process + "/task");
  const long memory = KilobytesOf(m_daemon->Pid(), "Private_Dirty");
  reconnect(kReconnections);
  EXPECT_TRUE(m_daemon->IsRunning());
  EXPECT_EQ(EntriesOf(process + "/fd"), descriptors);
  EXPECT_LE(EntriesOf(process + "/task"), threads);
  EXPECT_LT(KilobytesOf(m_daemon->Pid(), "Private_Dirty"), memory + kPagesNoiseKb);
  std::printf("private memory: %ld, then %ld kB\n", memory,
              KilobytesOf(m_daemon->Pid(), "Private_Dirty"));
}

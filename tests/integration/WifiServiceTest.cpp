#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <glib.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include "BusRoom.h"
#include "MainLoop.h"
#include "SavedWifiTable.h"
#include "WifiStub.h"
#include "platform.h"
#include "wifi_manager.h"

using namespace std::chrono_literals;

namespace {

using Change = std::pair<int, std::string>;
using Changes = std::vector<Change>;

constexpr int kAway = -100;

int State() {
  auto state = static_cast<wifi_connection_state_e>(kAway);
  const int error = wifi_get_connection_state(&state);
  EXPECT_EQ(error == WIFI_ERROR_NONE, state != kAway);
  return state;
}

std::string TextOf(int (*read)(wifi_ap_h, char**), wifi_ap_h ap) {
  char* text = nullptr;
  const bool is_known = read(ap, &text) == WIFI_ERROR_NONE;
  std::string copy = is_known ? text : "none";
  std::free(text);
  return copy;
}

std::string AddressOf(wifi_ap_h ap) {
  return TextOf(
      [](wifi_ap_h of, char** text) {
        return wifi_ap_get_ip_address(of, CONNECTION_ADDRESS_FAMILY_IPV4, text);
      },
      ap);
}

/// What is remembered of the saved networks, a line each.
int RecordCount() {
  std::ifstream table(SavedWifiTable::Path());
  return static_cast<int>(std::count(std::istreambuf_iterator<char>(table), {}, '\n'));
}

/// What the process holds.
struct Inventory {
  std::ptrdiff_t descriptors;
  int sources;  // of the main loop
  std::size_t memory;

  static Inventory Now() {
    using Entries = std::filesystem::directory_iterator;
    const guint next = g_idle_add([](gpointer) -> gboolean { return G_SOURCE_REMOVE; }, nullptr);
    g_source_remove(next);
    int sources = 0;
    for (guint id = 1; id < next; ++id) {
      sources += g_main_context_find_source_by_id(nullptr, id) != nullptr ? 1 : 0;
    }
    return {std::distance(Entries("/proc/self/fd"), Entries()), sources, mallinfo2().uordblks};
  }
};

class WifiService : public testing::Test {
 protected:
  void SetUp() override {
    m_bus.StartBus();
    ASSERT_EQ(wifi_initialize(), WIFI_ERROR_NONE);
    ASSERT_EQ(wifi_set_connection_state_changed_cb(Note, &m_changes), WIFI_ERROR_NONE);
    ASSERT_EQ(wifi_manager_initialize(&m_manager), WIFI_MANAGER_ERROR_NONE);
  }
  void TearDown() override {
    platform_stop();
    wifi_unset_connection_state_changed_cb();
    wifi_manager_deinitialize(m_manager);
  }
  static void Note(wifi_connection_state_e state, wifi_ap_h ap, void* changes) {
    static_cast<Changes*>(changes)->emplace_back(
        state,
        TextOf(wifi_ap_get_essid, ap) + " " + TextOf(wifi_ap_get_bssid, ap) + " " + AddressOf(ap));
  }
  void WaitForChanges(std::size_t count) {
    RunLoopUntil([&] { return m_changes.size() >= count; });
  }
  static void WaitForService() {
    RunLoopUntil([] { return State() != kAway; });
  }
  /// The saved networks with their frequencies, "none" when the walk fails.
  std::string Saved() {
    std::string list;
    const auto step = [](wifi_manager_config_h config, void* data) {
      char* name = nullptr;
      auto security = WIFI_SECURITY_TYPE_NONE;
      int frequency = 0;
      EXPECT_EQ(wifi_manager_config_get_name(config, &name), WIFI_MANAGER_ERROR_NONE);
      EXPECT_EQ(wifi_manager_config_get_security_type(config, &security), WIFI_MANAGER_ERROR_NONE);
      wifi_manager_config_get_frequency(config, &frequency);
      *static_cast<std::string*>(data) +=
          std::string(name) + "/" + std::to_string(security) + "@" + std::to_string(frequency) + " ";
      std::free(name);
      return true;
    };
    const int error = wifi_manager_config_foreach_configuration(m_manager, step, &list);
    return error == WIFI_MANAGER_ERROR_NONE ? list : "none";
  }
  /// A network that the machine joins by itself.
  void Join(const WifiStub::Radio& radio) {
    m_stub.PutOnAir(radio);
    m_stub.Save(radio, "autoconnect");
    m_stub.Ask("scan");
  }

  BusRoom m_bus;
  WifiStub m_stub;
  wifi_manager_h m_manager = nullptr;
  Changes m_changes;
  const WifiStub::Radio m_den{"02:00:00:00:10:00", "Den", 2437, -40, "wpa2", "fourteen geese"};
};

}  // namespace

TEST_F(WifiService, TellsTheSavedNetworksBeforeItsClientCanBeThere) {
  m_stub.StartBoth();
  m_stub.Save(m_den);
  ASSERT_EQ(platform_start(), 0);
  EXPECT_EQ(Saved(), "Den/3@0 ");
}

TEST_F(WifiService, WaitsOnceAndNotLongForAServiceThatDoesNotAnswer) {
  m_stub.StartBoth();
  m_stub.Save(m_den);
  m_stub.Answer(WifiStub::kNetworkManager, "never");
  ASSERT_EQ(platform_start(), 0);
  for (const auto most : {3000ms, 50ms}) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(Saved(), "none");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, most);
  }
  m_stub.Answer(WifiStub::kNetworkManager, "normally");
}

TEST_F(WifiService, IsUnknownWhileThereIsNoNetworkManager) {
  ASSERT_EQ(platform_start(), 0);
  RunLoopFor(300ms);
  wifi_ap_h ap = nullptr;
  EXPECT_EQ(State(), kAway);
  EXPECT_EQ(wifi_get_connected_ap(&ap), WIFI_ERROR_OPERATION_FAILED);
  EXPECT_EQ(Saved(), "none");
  m_stub.StartBoth();
  WaitForService();
  EXPECT_EQ(State(), WIFI_CONNECTION_STATE_DISCONNECTED);
  EXPECT_EQ(wifi_get_connected_ap(&ap), WIFI_ERROR_NO_CONNECTION);
  EXPECT_EQ(Saved(), "");
  EXPECT_EQ(m_changes, Changes{});
}

TEST_F(WifiService, TellsWhatItFindsConnectedAtTheStart) {
  m_stub.StartBoth();
  Join(m_den);
  RunLoopUntil([&] { return m_stub.ConnectedBssid() == m_den.bssid; });
  ASSERT_EQ(platform_start(), 0);
  EXPECT_EQ(m_changes, Changes{});
  WaitForChanges(3);
  const std::string den = "Den " + m_den.bssid;
  ASSERT_EQ(m_changes.size(), 3U);
  EXPECT_EQ(m_changes[0], Change(WIFI_CONNECTION_STATE_ASSOCIATION, den + " none"));
  EXPECT_EQ(m_changes[1], Change(WIFI_CONNECTION_STATE_CONFIGURATION, den + " none"));
  EXPECT_EQ(m_changes[2].first, WIFI_CONNECTION_STATE_CONNECTED);
  EXPECT_NE(m_changes[2].second, den + " none");
  EXPECT_EQ(Saved(), "Den/3@2437 ");
  wifi_ap_h ap = nullptr;
  ASSERT_EQ(wifi_get_connected_ap(&ap), WIFI_ERROR_NONE);
  bool is_favorite = false;
  EXPECT_EQ(wifi_ap_is_favorite(ap, &is_favorite), WIFI_ERROR_NONE);
  EXPECT_TRUE(is_favorite);
  EXPECT_EQ(wifi_ap_destroy(ap), WIFI_ERROR_NONE);
}

TEST_F(WifiService, ANetworkCountsAsSavedFromTheEndOfItsFirstConnection) {
  std::vector<bool> is_saved;
  const auto note = [](wifi_connection_state_e state, wifi_ap_h ap, void* list) {
    bool is_favorite = false;
    if (state == WIFI_CONNECTION_STATE_ASSOCIATION || state == WIFI_CONNECTION_STATE_CONNECTED) {
      EXPECT_EQ(wifi_ap_is_favorite(ap, &is_favorite), WIFI_ERROR_NONE);
      static_cast<std::vector<bool>*>(list)->push_back(is_favorite);
    }
  };
  ASSERT_EQ(wifi_set_connection_state_changed_cb(note, &is_saved), WIFI_ERROR_NONE);
  m_stub.StartBoth();
  ASSERT_EQ(platform_start(), 0);
  WaitForService();
  EXPECT_EQ(m_stub.Ask("notes quietly"), "done");  // what is known then is the daemon's own record
  Join(m_den);
  RunLoopUntil([&] { return is_saved.size() >= 2; });
  m_stub.Do("reconnect");
  RunLoopUntil([&] { return is_saved.size() >= 4; });
  EXPECT_EQ(is_saved, (std::vector<bool>{false, true, true, true}));
}

TEST_F(WifiService, AForgottenNetworkIsGoneAtOnceAndItsRecordWithIt) {
  m_stub.StartBoth();
  Join(m_den);
  ASSERT_EQ(platform_start(), 0);
  WaitForChanges(3);
  EXPECT_EQ(RecordCount(), 1);
  m_stub.Forget("Den");
  RunLoopUntil([&] { return Saved().empty(); });
  EXPECT_EQ(Saved(), "");
  RunLoopUntil([] { return RecordCount() == 0; });
}

TEST_F(WifiService, RemembersFrequenciesOverRestarts) {
  m_stub.StartBoth();
  Join(m_den);
  ASSERT_EQ(platform_start(), 0);
  WaitForChanges(3);
  m_stub.TakeOffAir(m_den.bssid);
  RunLoopUntil([&] { return State() == WIFI_CONNECTION_STATE_DISCONNECTED; });
  platform_stop();
  ASSERT_EQ(platform_start(), 0);
  WaitForService();
  EXPECT_EQ(Saved(), "Den/3@2437 ");
}

TEST_F(WifiService, KnowsTheFrequencyOfASavedNetworkThatIsHeard) {
  const WifiStub::Radio attic{"02:00:00:00:20:00", "Attic", 2412, -70, "wpa2", "fourteen geese"};
  WifiStub::Radio stronger = attic;
  stronger.bssid = "02:00:00:00:20:04";
  stronger.frequency = 5180;
  stronger.signal = -50;
  WifiStub::Radio open = attic;
  open.bssid = "02:00:00:00:20:08";
  open.frequency = 2472;
  open.signal = -30;
  open.security = "none";
  m_stub.PutOnAir(attic);
  m_stub.PutOnAir(stronger);
  m_stub.PutOnAir(open);
  m_stub.Save(attic);
  m_stub.StartBoth();
  ASSERT_EQ(platform_start(), 0);
  RunLoopUntil([&] { return Saved() == "Attic/3@5180 "; });
  m_stub.TakeOffAir(stronger.bssid);
  RunLoopUntil([&] {
    m_stub.Ask("scan");
    return Saved() == "Attic/3@2412 ";
  });
}

TEST_F(WifiService, KnowsTheFrequencyOfAHiddenNetworkByARadioWithoutAName) {
  WifiStub::Radio cellar{"02:00:00:00:20:00", "Cellar", 2462, -70, "wpa2", "fourteen geese"};
  cellar.is_hidden = true;
  m_stub.PutOnAir(cellar);
  m_stub.Save(cellar, "hidden");
  m_stub.Save({"02:00:00:00:30:00", "Attic", 2412, -40, "wpa2", "fourteen geese"});
  m_stub.StartBoth();
  ASSERT_EQ(platform_start(), 0);
  RunLoopUntil([&] { return Saved() == "Attic/3@0 Cellar/3@2462 "; });
}

TEST_F(WifiService, NamesOfAnyBytesComeThrough) {
  const std::string name("\0\"\\\xff\x01 D\xc3\xa9n' ", 12);
  m_stub.StartBoth();
  Join({"02:00:00:00:40:00", name, 5180, -50, "wpa2", "fourteen geese"});
  ASSERT_EQ(platform_start(), 0);
  WaitForChanges(3);
  const std::string text = "\\x00\"\\\\xff\\x01 D\xc3\xa9n' ";
  ASSERT_EQ(m_changes.size(), 3U);
  EXPECT_TRUE(m_changes.back().second.starts_with(text + " 02:00:00:00:40:00"))
      << m_changes.back().second;
  EXPECT_EQ(Saved(), text + "/3@5180 ");
}

TEST_F(WifiService, AServiceThatDiesTellsNothingAndIsTakenUpAgain) {
  m_stub.StartBoth();
  Join(m_den);
  ASSERT_EQ(platform_start(), 0);
  WaitForChanges(3);
  m_changes.clear();
  m_stub.Stop(WifiStub::kNetworkManager);
  RunLoopUntil([] { return State() == kAway; });
  EXPECT_EQ(Saved(), "none");
  RunLoopFor(200ms);
  EXPECT_EQ(m_changes, Changes{});
  m_stub.Start(WifiStub::kNetworkManager);
  WaitForChanges(4);  // the stand-in begins with nothing connected, as the service does
  EXPECT_EQ(m_changes.front().first, WIFI_CONNECTION_STATE_DISCONNECTED);
  EXPECT_EQ(m_changes.back().first, WIFI_CONNECTION_STATE_CONNECTED);
}

TEST_F(WifiService, AServiceThatIsBackForgetsNothing) {
  m_stub.StartBoth();
  Join(m_den);
  m_stub.Save({"02:00:00:00:20:00", "Attic", 2412, -40, "wpa2", "fourteen geese"});
  ASSERT_EQ(platform_start(), 0);
  WaitForChanges(3);
  m_stub.Stop(WifiStub::kNetworkManager);
  RunLoopUntil([] { return State() == kAway; });
  m_stub.Start(WifiStub::kNetworkManager);
  std::set<std::string> seen;
  RunLoopUntil([&] {
    seen.insert(Saved());
    return m_changes.size() >= 4;
  });
  for (const std::string& list : seen) {
    const bool is_whole =
        list.find("Den/") != std::string::npos && list.find("Attic/") != std::string::npos;
    EXPECT_TRUE(is_whole || list == "none") << list;
  }
}

TEST_F(WifiService, ABusThatDiesIsAStateAndItsSuccessorIsTakenUp) {
  ASSERT_EQ(platform_start(), 0);
  m_stub.StartBoth();
  WaitForService();
  m_bus.CrashBus();
  RunLoopUntil([] { return State() == kAway; });
  RunLoopFor(200ms);
  EXPECT_EQ(m_changes, Changes{});
}

/// Begins when all that is made once has been made. What is counted still moves by 35 to 125 bytes
/// a restart; any object of NetworkManager's that is forgotten takes more.
TEST_F(WifiService, RestartsOfNetworkManagerLeaveNothingBehind) {
  constexpr int kRestarts = 200;
  constexpr int kMostBytes = 250;
  m_stub.StartBoth();
  Join(m_den);
  ASSERT_EQ(platform_start(), 0);
  WaitForService();
  const auto restart = [&](int count) {
    for (int i = 0; i < count; ++i) {
      m_stub.Stop(WifiStub::kNetworkManager);
      RunLoopUntil([] { return State() == kAway; });
      m_stub.Start(WifiStub::kNetworkManager);
      WaitForService();
    }
    m_changes.clear();
    for (int i = 0; i < 10 && State() != WIFI_CONNECTION_STATE_CONNECTED; ++i) {
      m_stub.Ask("scan");  // what was heard before the last restart leads nowhere
      RunLoopFor(1s);
    }
    ASSERT_EQ(State(), WIFI_CONNECTION_STATE_CONNECTED);
    RunLoopFor(500ms);
    m_changes.clear();
  };
  restart(20);
  const Inventory before = Inventory::Now();
  restart(kRestarts);
  const Inventory after = Inventory::Now();
  EXPECT_EQ(after.descriptors, before.descriptors);
  EXPECT_EQ(after.sources, before.sources);
  EXPECT_LT(after.memory, before.memory + kRestarts * kMostBytes) << "bytes, of " << before.memory;
}

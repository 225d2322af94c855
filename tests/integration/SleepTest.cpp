#include <cstdlib>
#include <string>
#include <vector>

#include <gio/gio.h>
#include <gtest/gtest.h>
#include <signal.h>

#include "BusRoom.h"
#include "DaemonProgram.h"
#include "MainLoop.h"
#include "Network.h"
#include "Popups.h"
#include "TestLog.h"
#include "platform.h"
#include "vconf.h"
#include "vconf_keys.h"

using namespace std::chrono_literals;

namespace {

constexpr char kLogind[] = "org.freedesktop.login1";

/// Someone on the bus who tells of sleep.
class Teller {
 public:
  /// @param name  empty for none of its own
  explicit Teller(const std::string& name) {
    constexpr auto kFlags = static_cast<GDBusConnectionFlags>(
        G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    const std::string address = std::string("unix:path=") + BusRoom::kSocket;
    m_connection =
        g_dbus_connection_new_for_address_sync(address.c_str(), kFlags, nullptr, nullptr, nullptr);
    if (!name.empty()) {
      g_autoptr(GVariant) answer = g_dbus_connection_call_sync(
          m_connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
          "RequestName", g_variant_new("(su)", name.c_str(), 0U), G_VARIANT_TYPE("(u)"),
          G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
      EXPECT_NE(answer, nullptr);
    }
  }
  ~Teller() {
    g_dbus_connection_close_sync(m_connection, nullptr, nullptr);
    g_object_unref(m_connection);
  }
  Teller(const Teller&) = delete;
  Teller& operator=(const Teller&) = delete;

  /// @param arguments  taken over
  void Tell(GVariant* arguments) {
    g_dbus_connection_emit_signal(m_connection, nullptr, "/org/freedesktop/login1",
                                  "org.freedesktop.login1.Manager", "PrepareForSleep", arguments,
                                  nullptr);
    g_dbus_connection_flush_sync(m_connection, nullptr, nullptr);
  }
  void TellSleep(bool is_falling_asleep) {
    Tell(g_variant_new("(b)", is_falling_asleep ? TRUE : FALSE));
  }

 private:
  GDBusConnection* m_connection;
};

using Words = std::vector<std::string>;

class Sleep : public testing::Test {
 protected:
  void SetUp() override {
    network::EnterNamespace();
    const auto on_word = [](keynode_t*, void* self) {
      char* word = vconf_get_str(vconf_keys::kNotifyPelorus);
      static_cast<Sleep*>(self)->m_words.emplace_back(word);
      std::free(word);
    };
    ASSERT_EQ(vconf_notify_key_changed(vconf_keys::kNotifyPelorus, on_word, this), VCONF_OK);
  }
  void TearDown() override { platform_stop(); }
  /// Tells of sleep until the platform has heard it: nothing says when it listens.
  void WaitUntilHeard(Teller& logind) {
    RunLoopUntil([&] {
      logind.TellSleep(false);
      RunLoopFor(20ms);
      return !m_words.empty();
    });
    RunLoopFor(200ms);
    m_words.clear();
  }

  BusRoom m_bus;
  Words m_words;
};

class SleepProgram : public daemon_program::In<Sleep> {};

}  // namespace

TEST_F(Sleep, EachSleepIsToldBeforeAndAfter) {
  m_bus.StartBus();
  platform_start();
  Teller logind(kLogind);
  WaitUntilHeard(logind);
  for (int i = 0; i < 3; ++i) {
    logind.TellSleep(true);
    RunLoopUntil([&] { return m_words.size() == 2U * i + 1; });
    logind.TellSleep(false);
    RunLoopUntil([&] { return m_words.size() == 2U * i + 2; });
  }
  EXPECT_EQ(m_words, (Words{"instant_off", "instant_on", "instant_off", "instant_on", "instant_off",
                            "instant_on"}));
}

TEST_F(Sleep, NothingIsWrittenWhenNobodySleeps) {
  m_bus.StartBus();
  platform_start();
  Teller logind(kLogind);
  RunLoopFor(300ms);
  EXPECT_EQ(m_words, Words{});
}

TEST_F(Sleep, OnlyLogindIsBelievedAndOnlyWhatItSaysRightly) {
  m_bus.StartBus();
  platform_start();
  Teller logind(kLogind);
  WaitUntilHeard(logind);
  Teller somebody("");
  somebody.TellSleep(true);
  logind.Tell(g_variant_new("(s)", "true"));
  logind.Tell(g_variant_new("(bb)", TRUE, TRUE));
  logind.Tell(nullptr);
  RunLoopFor(200ms);
  EXPECT_EQ(m_words, Words{});
}

TEST_F(Sleep, ABusThatComesLaterAndItsSuccessorAreHeard) {
  platform_start();
  RunLoopFor(100ms);
  for (int i = 0; i < 3; ++i) {
    m_bus.StartBus();
    {
      Teller logind(kLogind);
      WaitUntilHeard(logind);
    }
    m_bus.CrashBus();
  }
}

TEST_F(SleepProgram, AMachineThatWakesUpSeesThatItsCableWasPulledMeanwhile) {
  network::AddCable("wall", "far");
  m_bus.StartBus();
  StartDaemon(PELORUS_PROGRAM);
  Teller logind(kLogind);
  WaitUntilHeard(logind);
  logind.TellSleep(true);
  RunLoopUntil([&] { return m_words == Words{"instant_off"}; });
  kill(m_daemon->Pid(), SIGSTOP);
  network::SetUp("far", false);
  RunLoopFor(2s);  // to the daemon they are none
  kill(m_daemon->Pid(), SIGCONT);
  logind.TellSleep(false);
  RunLoopUntil([&] { return m_words == Words{"instant_off", "instant_on"}; });
  popups::WaitForStarted(1);
  EXPECT_EQ(popups::Keywords(), std::vector<std::string>{"ethernet_detached"});
  EXPECT_TRUE(m_daemon->IsRunning());
}

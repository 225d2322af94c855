#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <gio/gio.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "MainLoop.h"
#include "NotificationProgram.h"

namespace fs = std::filesystem;

using std::chrono::milliseconds;

namespace {

/// A session bus where the login manager puts it, and a notification service of our own on it.
class NotificationOnADesktop : public Notification {
 protected:
  struct Notify {
    std::string title;
    std::string body;
    int milliseconds;
  };

  ~NotificationOnADesktop() override { g_clear_object(&m_connection); }

  static std::string BusPath() { return "/run/user/" + std::to_string(getuid()) + "/bus"; }

  static GDBusConnection* Connect() {
    const std::string address = "unix:path=" + BusPath();
    const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                         G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    return g_dbus_connection_new_for_address_sync(address.c_str(), flags, nullptr, nullptr, nullptr);
  }

  void StartBus() {
    fs::create_directories(fs::path(BusPath()).parent_path());
    WriteFile("/run/bus.conf", "<busconfig><type>session</type><listen>unix:path=" + BusPath() +
                                   "</listen><policy context='default'><allow send_destination='*'/>"
                                   "<allow eavesdrop='true'/><allow own='*'/></policy></busconfig>");
    m_bus = std::make_unique<Program>(
        Strings{"dbus-daemon", "--config-file=/run/bus.conf", "--nofork", "--nopidfile"}, Strings{},
        "/usr/bin/dbus-daemon");
    // Its socket is there before it listens.
    RunLoopUntil([this] { return (m_connection = Connect()) != nullptr; });
  }

  void Provide(bool answers, std::vector<const char*> capabilities = {"body"}) {
    m_answers = answers;
    m_capabilities = std::move(capabilities);
    m_capabilities.push_back(nullptr);
    ASSERT_NE(m_connection, nullptr);
    g_dbus_connection_add_filter(m_connection, OnMessage, this, nullptr);
    g_autoptr(GVariant) owned = g_dbus_connection_call_sync(
        m_connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "RequestName", g_variant_new("(su)", "org.freedesktop.Notifications", 4U), nullptr,
        G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    ASSERT_NE(owned, nullptr);
  }

  std::vector<Notify> Received() {
    const std::lock_guard lock(m_mutex);
    return m_received;
  }

  void StartAnswering() { m_answers = true; }

  bool WasAsked() { return m_was_asked.load(); }

 private:
  /// Runs on the connection's own thread.
  static GDBusMessage* OnMessage(GDBusConnection* connection, GDBusMessage* message, gboolean incoming,
                                 gpointer self) {
    auto* test = static_cast<NotificationOnADesktop*>(self);
    const char* interface = g_dbus_message_get_interface(message);
    if (!incoming || g_strcmp0(interface, "org.freedesktop.Notifications") != 0) {
      return message;
    }
    test->m_was_asked = true;
    if (test->m_answers) {
      test->Answer(connection, message);
    }
    g_object_unref(message);
    return nullptr;
  }

  void Answer(GDBusConnection* connection, GDBusMessage* message) {
    g_autoptr(GDBusMessage) reply = g_dbus_message_new_method_reply(message);
    if (g_strcmp0(g_dbus_message_get_member(message), "GetCapabilities") == 0) {
      g_dbus_message_set_body(reply, g_variant_new("(^as)", m_capabilities.data()));
    } else {
      GVariant* body = g_dbus_message_get_body(message);
      EXPECT_STREQ(g_variant_get_type_string(body), "(susssasa{sv}i)");
      const char* title = nullptr;
      const char* text = nullptr;
      int milliseconds = 0;
      g_variant_get_child(body, 3, "&s", &title);
      g_variant_get_child(body, 4, "&s", &text);
      g_variant_get_child(body, 7, "i", &milliseconds);
      const std::lock_guard lock(m_mutex);
      m_received.push_back({title, text, milliseconds});
      g_dbus_message_set_body(reply, g_variant_new("(u)", 1U));
    }
    g_dbus_connection_send_message(connection, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
  }

  std::unique_ptr<Program> m_bus;
  GDBusConnection* m_connection = nullptr;
  std::atomic<bool> m_answers = true;
  std::vector<const char*> m_capabilities;
  std::atomic<bool> m_was_asked{false};
  std::mutex m_mutex;
  std::vector<Notify> m_received;
};

TEST_F(NotificationOnADesktop, MessagesGoToTheDesktopToo) {
  StartBus();
  Provide(true);
  Program program({"captiveap", "http://portal.example/?a&b"});
  RunLoopUntil([&] { return Received().size() == 1; });
  Forward("dongle_attached");
  RunLoopUntil([&] { return Received().size() == 2; });
  const std::vector<Notify> received = Received();
  ASSERT_EQ(received.size(), 2U);
  EXPECT_EQ(received[0].title, "Sign in to the network");
  EXPECT_TRUE(received[0].body.ends_with("Sign-in page: http://portal.example/?a&b"))
      << received[0].body;
  EXPECT_EQ(received[0].milliseconds, 5000);
  EXPECT_EQ(received[1].title, "Mobile network dongle connected");
  EXPECT_TRUE(program.Shows("Pelorus: Sign in to the network"));
  EXPECT_TRUE(program.Shows("Pelorus: Mobile network dongle connected"));
}

TEST_F(NotificationOnADesktop, AddressIsNoMarkup) {
  StartBus();
  Provide(true, {"body", "body-markup"});
  Program program({"captiveap", "http://x/?a&b<b>"});
  RunLoopUntil([&] { return Received().size() == 1; });
  ASSERT_EQ(Received().size(), 1U);
  EXPECT_TRUE(Received()[0].body.ends_with("http://x/?a&amp;b&lt;b&gt;")) << Received()[0].body;
  EXPECT_TRUE(program.Shows("http://x/?a&b<b>\n")) << program.Output();
}

TEST_F(NotificationOnADesktop, ServiceThatDoesNotAnswerIsNotMissed) {
  StartBus();
  Provide(false);
  Program program({kByHand, "--seconds", "1", "dongle_attached"});
  EXPECT_EQ(program.WaitForEnd(), 0);
  EXPECT_LT(program.SecondsLived(), 15.0) << "the bus gives up after 25 s";
  EXPECT_TRUE(WasAsked());
  EXPECT_TRUE(Received().empty());
  EXPECT_EQ(program.Count("\n"), 1U) << program.Output();
}

TEST_F(NotificationOnADesktop, ServiceIsAskedAgainWithTheNextMessage) {
  StartBus();
  Provide(false);
  Program program({"dongle_attached"});
  RunLoopUntil([&] { return WasAsked(); });
  RunLoopFor(milliseconds(700));
  StartAnswering();
  Forward("dongle_detached");
  RunLoopUntil([&] { return Received().size() == 1; });
  ASSERT_EQ(Received().size(), 1U);
  EXPECT_EQ(Received()[0].title, "Mobile network dongle removed");
}

TEST_F(NotificationOnADesktop, BusWithoutAServiceIsNotMissed) {
  StartBus();
  Program program({kByHand, "--seconds", "1", "dongle_attached"});
  EXPECT_EQ(program.WaitForEnd(), 0);
  EXPECT_EQ(program.Count("\n"), 1U) << program.Output();
}

TEST_F(NotificationOnADesktop, BusThatDoesNotAnswerIsNotMissed) {
  fs::create_directories(fs::path(BusPath()).parent_path());
  sockaddr_un address{AF_UNIX, {}};
  BusPath().copy(address.sun_path, sizeof address.sun_path - 1);
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(listen(listener, 1), 0);
  Program program({kByHand, "--seconds", "1", "dongle_attached"});
  EXPECT_EQ(program.WaitForEnd(), 0);
  EXPECT_LT(program.SecondsLived(), 15.0);
  EXPECT_EQ(program.Count("\n"), 1U) << program.Output();
  close(listener);
}

}  // namespace

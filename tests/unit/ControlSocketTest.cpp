#include "ControlSocket.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <json/json.h>
#include <malloc.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "MainLoop.h"
#include "TestLog.h"
#include "VirtualTv.h"
#include "platform.h"

using std::chrono::milliseconds;

namespace {

constexpr char kPath[] = "/run/pelorus/tv.sock";

/// Somebody at the other end, who neither blocks nor runs the loop by himself.
class Client {
 public:
  explicit Client(const char* path = kPath) : m_fd(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path);
    m_is_connected = connect(m_fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  }
  ~Client() { Vanish(); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  [[nodiscard]] bool IsConnected() const { return m_is_connected; }

  /// @return how many bytes were taken
  std::size_t Send(std::string_view text) const {
    const ssize_t sent = send(m_fd, text.data(), text.size(), MSG_NOSIGNAL);
    return sent < 0 ? 0 : static_cast<std::size_t>(sent);
  }

  void SendAll(std::string_view text) {
    RunLoopUntil([&] {
      text.remove_prefix(Send(text));
      return text.empty() || HasEnded();
    });
  }

  std::string Receive() {
    RunLoopUntil([this] { return TakeIn() || m_received.find('\n') != std::string::npos; });
    const std::size_t end = m_received.find('\n');
    std::string line = m_received.substr(0, end);
    m_received.erase(0, end == std::string::npos ? end : end + 1);
    return line;
  }

  std::string Ask(const std::string& request) {
    SendAll(request + "\n");
    return Receive();
  }

  /// Takes in what is there. @return whether the other end has closed
  bool HasEnded() { return TakeIn(); }

  void Vanish() {
    if (m_fd >= 0) {
      close(m_fd);
      m_fd = -1;
    }
  }

 private:
  bool TakeIn() {
    char chunk[65536];
    for (;;) {
      const ssize_t length = recv(m_fd, chunk, sizeof chunk, 0);
      if (length <= 0) {
        return length == 0 || errno != EAGAIN;
      }
      m_received.append(chunk, static_cast<std::size_t>(length));
    }
  }

  int m_fd;
  bool m_is_connected = false;
  std::string m_received;
};

VirtualTv& Tv() {
  return VirtualTv::Instance();
}

Json::Value Parsed(const std::string& text) {
  Json::Value value;
  std::string error;
  Json::CharReaderBuilder builder;
  std::istringstream stream(text);
  EXPECT_TRUE(Json::parseFromStream(builder, stream, &value, &error)) << text << "\n" << error;
  return value;
}

class ControlSocketTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(platform_start(), 0); }
  void TearDown() override { platform_stop(); }
};

TEST_F(ControlSocketTest, CarriesOutEachCommand) {
  Client client;
  const char* const kDone = R"({"ok":true})";
  EXPECT_EQ(client.Ask(R"({"do":"cable","action":"plug"})"), kDone);
  EXPECT_TRUE(Tv().GetCable().IsAttached());
  EXPECT_EQ(client.Ask(R"({"do":"cable","action":"unplug"})"), kDone);
  EXPECT_FALSE(Tv().GetCable().IsAttached());
  EXPECT_EQ(client.Ask(R"({"do":"dongle","action":"insert"})"), kDone);
  EXPECT_TRUE(Tv().GetTelephony().HasDongle());
  EXPECT_EQ(client.Ask(R"({"do":"dongle","action":"remove"})"), kDone);
  EXPECT_FALSE(Tv().GetTelephony().HasDongle());
  EXPECT_EQ(client.Ask(R"({"do":"telephony","action":"start"})"), kDone);
  EXPECT_TRUE(Tv().GetTelephony().IsRunning());
  EXPECT_EQ(client.Ask(R"({"do":"telephony","action":"stop"})"), kDone);
  EXPECT_FALSE(Tv().GetTelephony().IsRunning());
  EXPECT_EQ(client.Ask(R"({"do":"latency","kind":"cable","ms":70})"), kDone);
  EXPECT_EQ(Tv().LatencyMs(VirtualTv::EventKind::kCable), 70U);
  EXPECT_EQ(client.Ask(R"({"do":"latency","kind":"dongle","ms":80})"), kDone);
  EXPECT_EQ(Tv().LatencyMs(VirtualTv::EventKind::kDongle), 80U);
  EXPECT_EQ(client.Ask(R"({"do":"fail","function":"tel_init","code":-3,"times":2})"), kDone);
  EXPECT_EQ(Tv().Failures().at("tel_init").times, 2);
  EXPECT_EQ(client.Ask(R"({"do":"fail","function":"tel_init","code":-3})"), kDone);
  EXPECT_EQ(Tv().Failures().at("tel_init").times, VirtualTv::kForGood);
  EXPECT_EQ(client.Ask(R"({"do":"stop-failing","function":"tel_init"})"), kDone);
  EXPECT_TRUE(Tv().Failures().empty());
  EXPECT_EQ(
      client.Ask(R"({"do":"feature","action":"set","name":"network.network_support","value":"2"})"),
      kDone);
  EXPECT_EQ(Tv().Features().at("com.velanor/featureconf/network.network_support"), "2");
}

void RecordState(connection_ethernet_cable_state_e state, void* states) {
  static_cast<std::vector<int>*>(states)->push_back(state);
}

TEST_F(ControlSocketTest, SendsACableStateThatNoCableHas) {
  std::vector<int> states;
  connection_h connection = nullptr;
  connection_create(&connection);
  connection_set_ethernet_cable_state_chaged_cb(connection, RecordState, &states);
  Client client;
  client.Ask(R"({"do":"cable","action":"state","state":2})");
  RunLoopFor(milliseconds(50));
  EXPECT_EQ(states, std::vector<int>{2});
}

TEST_F(ControlSocketTest, CallsAreListedWholeByFunctionAndCleared) {
  Tv().ClearCalls();
  tel_init("first");
  connection_h connection = nullptr;
  connection_create(&connection);
  Client client;
  const Json::Value all = Parsed(client.Ask(R"({"do":"calls"})"))["calls"];
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0]["function"], "tel_init");
  EXPECT_EQ(all[0]["arguments"][0], "first");
  EXPECT_EQ(Parsed(client.Ask(R"({"do":"calls","function":"connection_create"})"))["calls"].size(), 1U);
  client.Ask(R"({"do":"clear-calls"})");
  EXPECT_TRUE(Tv().Calls().empty());
}

TEST_F(ControlSocketTest, ALineOfTheGreatestLengthIsAnsweredAndALongerOneDropsTheClient) {
  const std::string request = R"({"do":"cable","action":"plug"})";
  Client good;
  const std::string padded = request + std::string(ControlSocket::kLongestLine - request.size(), ' ');
  EXPECT_EQ(Parsed(good.Ask(padded))["ok"], true);

  for (const std::string& ending : {std::string("\n"), std::string(100'000, 'x')}) {
    Client bad;
    bad.SendAll(padded + " " + ending);
    EXPECT_EQ(Parsed(bad.Receive())["error"], "the line is too long");
    RunLoopUntil([&] { return bad.HasEnded(); });
  }
  EXPECT_EQ(Parsed(good.Ask(request))["ok"], true);
}

TEST_F(ControlSocketTest, ManyRequestsInOnePieceAndOneRequestInManyPieces) {
  Client client;
  client.SendAll("{\"do\":\"cable\",\"action\":\"plug\"}\n{\"do\":\"nonsense\"}\n{\"do\":\"status\"}\n");
  EXPECT_EQ(Parsed(client.Receive())["ok"], true);
  EXPECT_EQ(Parsed(client.Receive())["ok"], false);
  EXPECT_EQ(Parsed(client.Receive())["tv"]["cable"], "plugged");
  for (const char c : std::string("{\"do\":\"cable\",\"action\":\"unplug\"}\n")) {
    client.Send({&c, 1});
    RunLoopOnce();
  }
  EXPECT_EQ(Parsed(client.Receive())["ok"], true);
  EXPECT_FALSE(Tv().GetCable().IsAttached());
}

TEST_F(ControlSocketTest, SeveralClientsAreServedAtATime) {
  Client first;
  Client second;
  first.Send(R"({"do":"cable",)");
  EXPECT_EQ(Parsed(second.Ask(R"({"do":"dongle","action":"insert"})"))["ok"], true);
  EXPECT_EQ(Parsed(first.Ask(R"("action":"plug"})"))["ok"], true);
  EXPECT_TRUE(Tv().GetCable().IsAttached());
}

TEST_F(ControlSocketTest, MoreClientsThanThereIsRoomForAreTurnedAway) {
  std::vector<std::unique_ptr<Client>> clients;
  for (std::size_t i = 0; i < ControlSocket::kMostClients; ++i) {
    clients.push_back(std::make_unique<Client>());
    ASSERT_EQ(Parsed(clients.back()->Ask(R"({"do":"status"})"))["ok"], true);
  }
  Client one_more;
  RunLoopUntil([&] { return one_more.HasEnded(); });
  clients.front()->Vanish();
  RunLoopOnce();
  Client next;
  EXPECT_EQ(Parsed(next.Ask(R"({"do":"status"})"))["ok"], true);
}

TEST_F(ControlSocketTest, ClientsThatVanishLeaveTheOthersAlone) {
  Client stays;
  Client in_the_middle;
  in_the_middle.Send(R"({"do":"cable","action":"plug"})");  // no end of line
  RunLoopOnce();
  in_the_middle.Vanish();
  Client without_waiting;
  without_waiting.Send("{\"do\":\"calls\"}\n{\"do\":\"calls\"}\n");
  without_waiting.Vanish();
  EXPECT_EQ(Parsed(stays.Ask(R"({"do":"status"})"))["tv"]["cable"], "unplugged");
}

/// On the heap; under a sanitizer, which keeps a heap of its own, always 0.
std::size_t MemoryInUse() {
  const auto info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

TEST_F(ControlSocketTest, AClientThatDoesNotListenIsHeldBackAndHoldsUpNobody) {
  Tv().ClearCalls();
  for (int i = 0; i < 2000; ++i) {
    tel_init("a subscriber whose name makes the list of calls a long one to send");
  }
  Client deaf;
  std::string requests;
  for (int i = 0; i < 100; ++i) {
    requests += "{\"do\":\"calls\"}\n";
  }
  constexpr std::size_t kFarMoreThanAnyBuffer = std::size_t{64} * 1024 * 1024;
  constexpr std::size_t kSomeAnswers = std::size_t{8} * 1024 * 1024;
  const std::size_t memory_before = MemoryInUse();
  std::size_t taken = 0;
  for (int idle_rounds = 0; idle_rounds < 50 && taken < kFarMoreThanAnyBuffer;) {
    const std::size_t sent = deaf.Send(requests);
    taken += sent;
    idle_rounds = sent == 0 ? idle_rounds + 1 : 0;
    RunLoopOnce();
  }
  EXPECT_LT(taken, kFarMoreThanAnyBuffer) << "its requests are taken in without end";
  EXPECT_LT(MemoryInUse(), memory_before + kSomeAnswers) << "its answers pile up";
  Client other;
  EXPECT_EQ(Parsed(other.Ask(R"({"do":"cable","action":"plug"})"))["ok"], true);
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(Parsed(deaf.Receive())["calls"].size(), 2000U);
  }
}

TEST_F(ControlSocketTest, OnlyItsOwnerMayComeIn) {
  struct stat found {};
  ASSERT_EQ(stat(kPath, &found), 0);
  EXPECT_EQ(found.st_mode & 0777, 0600U);
}

TEST_F(ControlSocketTest, StopDropsTheClientsAndTakesTheSocketAway) {
  Client client;
  EXPECT_EQ(Parsed(client.Ask(R"({"do":"status"})"))["ok"], true);
  platform_stop();
  EXPECT_TRUE(client.HasEnded());
  EXPECT_FALSE(std::filesystem::exists(kPath));
}

TEST(ControlSocketPath, StaleSocketIsReplaced) {
  std::filesystem::create_directories("/run/pelorus");
  const int left_behind = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::snprintf(address.sun_path, sizeof address.sun_path, "%s", kPath);
  ASSERT_EQ(bind(left_behind, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  close(left_behind);
  ASSERT_TRUE(std::filesystem::exists(kPath));
  ASSERT_EQ(platform_start(), 0);
  Client client;
  EXPECT_EQ(Parsed(client.Ask(R"({"do":"status"})"))["ok"], true);
  platform_stop();
}

TEST(ControlSocketPath, AnotherLivingTvIsLeftAlone) {
  ASSERT_EQ(platform_start(), 0);
  std::string error;
  EXPECT_EQ(ControlSocket::Open(Tv(), kPath, error), nullptr);
  EXPECT_NE(error.find("another TV answers there"), std::string::npos) << error;
  Client client;
  EXPECT_EQ(Parsed(client.Ask(R"({"do":"status"})"))["ok"], true);
  platform_stop();
}

TEST(ControlSocketPath, AFileThatIsNoSocketIsLeftAloneAndTheTvRunsWithoutADoor) {
  std::filesystem::create_directories("/run/pelorus");
  std::ofstream(kPath) << "precious";
  EXPECT_LT(platform_start(), 0);
  EXPECT_TRUE(
      test_log::Has("this TV cannot be driven from outside: /run/pelorus/tv.sock is there and is "
                    "no socket"));
  std::string content;
  std::ifstream(kPath) >> content;
  EXPECT_EQ(content, "precious");
  platform_stop();
  EXPECT_TRUE(std::filesystem::exists(kPath));
}

TEST(ControlSocketPath, IsTakenFromTheEnvironment) {
  setenv(ControlSocket::kPathVariable, "/run/elsewhere/deep/tv", 1);
  ASSERT_EQ(platform_start(), 0);
  EXPECT_TRUE(Client("/run/elsewhere/deep/tv").IsConnected());
  platform_stop();
}

TEST(ControlSocketPath, OneThatIsTooLongIsRefused) {
  setenv(ControlSocket::kPathVariable, ("/run/" + std::string(200, 'x')).c_str(), 1);
  EXPECT_LT(platform_start(), 0);
  EXPECT_TRUE(
      test_log::Has("this TV cannot be driven from outside: a socket's path has 1 to 106 bytes"));
}

}  // namespace

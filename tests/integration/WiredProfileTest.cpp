#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <NetworkManager.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include "BusRoom.h"
#include "MainLoop.h"
#include "Network.h"
#include "NetworkService.h"
#include "WifiStub.h"
#include "net_connection.h"
#include "platform.h"

using namespace std::chrono_literals;

namespace {

using Results = std::vector<int>;

/// A cable whose network NetworkManager joins and leaves; two profiles want it, "First" before "Second".
class WiredProfile : public testing::Test {
 protected:
  void SetUp() override {
    network::EnterNamespace();
    network::AddCable("eth0", "far");
    m_bus.StartBus();
    m_stub.emplace();
    m_stub->SaveWired("First", "autoconnect priority=9");
    m_stub->SaveWired("Second", "autoconnect");
    m_stub->PlugCable(true);
    m_stub->Start(WifiStub::kNetworkManager);
    ASSERT_EQ(platform_start(), 0);
    ASSERT_EQ(connection_create(&m_connection), CONNECTION_ERROR_NONE);
    RunLoopUntil([this] { return ActiveProfile() == "First" && HasGateway(); });
    ASSERT_EQ(connection_get_current_profile(m_connection, &m_profile), CONNECTION_ERROR_NONE);
  }
  void TearDown() override { platform_stop(); }

  static bool HasGateway() {
    bool has_gateway = false;
    EXPECT_EQ(connection_profile_check_default_gateway(&has_gateway), CONNECTION_ERROR_NONE);
    return has_gateway;
  }
  /// Empty for none.
  static std::string ActiveProfile() {
    NMClient* const client = NetworkService::Instance().Client();
    NMDevice* const device = client == nullptr ? nullptr : nm_client_get_device_by_iface(client, "eth0");
    NMActiveConnection* const active =
        device == nullptr ? nullptr : nm_device_get_active_connection(device);
    const char* name = active == nullptr ? nullptr : nm_active_connection_get_id(active);
    return name == nullptr ? "" : name;
  }
  static void Record(connection_error_e result, void* results) {
    static_cast<Results*>(results)->push_back(result);
  }
  int Close() { return connection_close_profile(m_connection, m_profile, Record, &m_results); }
  int Open() { return connection_open_profile(m_connection, m_profile, Record, &m_results); }
  void WaitFor(const Results& expected, std::chrono::milliseconds limit = 10s) {
    RunLoopUntil([&] { return m_results.size() >= expected.size(); }, limit);
    EXPECT_EQ(m_results, expected);
  }
  void CloseAndWait() {
    ASSERT_EQ(Close(), CONNECTION_ERROR_NONE);
    WaitFor({CONNECTION_ERROR_NONE});
    m_results.clear();
  }
  int Lease(connection_address_family_e family) {
    int seconds = -1;
    const int result = connection_profile_get_dhcp_lease_duration(m_profile, family, &seconds);
    EXPECT_EQ(result, seconds < 0 ? CONNECTION_ERROR_NO_CONNECTION : CONNECTION_ERROR_NONE);
    return seconds;
  }

  BusRoom m_bus;
  std::optional<WifiStub> m_stub;
  connection_h m_connection = nullptr;
  connection_profile_h m_profile = nullptr;
  Results m_results;
};

}  // namespace

TEST_F(WiredProfile, AClosedNetworkIsNotJoinedWithAnotherProfile) {
  CloseAndWait();
  EXPECT_EQ(ActiveProfile(), "");
  RunLoopFor(1s);
  EXPECT_EQ(ActiveProfile(), "");
  EXPECT_FALSE(HasGateway());
}

TEST_F(WiredProfile, IsOpenedWithTheProfileThatWasLeft) {
  CloseAndWait();
  ASSERT_EQ(Open(), CONNECTION_ERROR_NONE);
  WaitFor({CONNECTION_ERROR_NONE});
  EXPECT_EQ(ActiveProfile(), "First");
  EXPECT_TRUE(HasGateway());
}

TEST_F(WiredProfile, RequestsAreCarriedOutOneAfterTheOther) {
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(Close(), CONNECTION_ERROR_NONE);
    ASSERT_EQ(Open(), CONNECTION_ERROR_NONE);
  }
  WaitFor(Results(6, CONNECTION_ERROR_NONE));
  EXPECT_TRUE(HasGateway());
}

TEST_F(WiredProfile, AReturningCableJoinsByItself) {
  CloseAndWait();
  m_stub->PlugCable(false);
  RunLoopFor(200ms);
  m_stub->PlugCable(true);
  RunLoopUntil([] { return HasGateway(); });
}

TEST_F(WiredProfile, ACableThatIsPulledMeanwhileIsTold) {
  m_stub->Answer(WifiStub::kNetworkManager, "late 300 Disconnect");
  ASSERT_EQ(Close(), CONNECTION_ERROR_NONE);
  m_stub->PlugCable(false);
  WaitFor({CONNECTION_ERROR_NONE});  // it carries nothing, whoever did that
}

TEST_F(WiredProfile, ARefusalIsAFailure) {
  m_stub->Answer(WifiStub::kNetworkManager, "error Disconnect");
  ASSERT_EQ(Close(), CONNECTION_ERROR_NONE);
  WaitFor({CONNECTION_ERROR_OPERATION_FAILED});
  EXPECT_TRUE(HasGateway());
  m_stub->Answer(WifiStub::kNetworkManager, "normally");
  m_results.clear();
  CloseAndWait();
  m_stub->Answer(WifiStub::kNetworkManager, "error ActivateConnection");
  ASSERT_EQ(Open(), CONNECTION_ERROR_NONE);
  WaitFor({CONNECTION_ERROR_OPERATION_FAILED});
}

TEST_F(WiredProfile, NonsenseIsAFailure) {
  CloseAndWait();
  m_stub->Answer(WifiStub::kNetworkManager, "nonsense ActivateConnection");
  ASSERT_EQ(Open(), CONNECTION_ERROR_NONE);
  WaitFor({CONNECTION_ERROR_OPERATION_FAILED});
}

TEST_F(WiredProfile, ALateAnswerIsWaitedFor) {
  m_stub->Answer(WifiStub::kNetworkManager, "late 700");
  ASSERT_EQ(Close(), CONNECTION_ERROR_NONE);
  RunLoopFor(300ms);
  EXPECT_EQ(m_results, Results{});
  WaitFor({CONNECTION_ERROR_NONE});
  ASSERT_EQ(Open(), CONNECTION_ERROR_NONE);
  WaitFor({CONNECTION_ERROR_NONE, CONNECTION_ERROR_NONE});
}

TEST_F(WiredProfile, AnAnswerThatNeverComesIsAFailureInTheEnd) {
  m_stub->Answer(WifiStub::kNetworkManager, "never Disconnect");
  ASSERT_EQ(Close(), CONNECTION_ERROR_NONE);
  WaitFor({CONNECTION_ERROR_OPERATION_FAILED}, 15s);
}

TEST_F(WiredProfile, AServiceThatDiesIsAFailureAndWorksAgainWhenItIsBack) {
  m_stub->Answer(WifiStub::kNetworkManager, "death Disconnect");
  ASSERT_EQ(Close(), CONNECTION_ERROR_NONE);
  WaitFor({CONNECTION_ERROR_OPERATION_FAILED});
  EXPECT_EQ(Close(), CONNECTION_ERROR_OPERATION_FAILED) << "nobody is there to do it";
  m_stub->Answer(WifiStub::kNetworkManager, "normally");
  m_stub->Start(WifiStub::kNetworkManager);
  RunLoopUntil([] { return ActiveProfile() == "First"; });
  RunLoopUntil([] { return HasGateway(); });
  m_results.clear();
  CloseAndWait();
}

TEST_F(WiredProfile, NothingIsAnsweredAfterTheStop) {
  m_stub->Answer(WifiStub::kNetworkManager, "late 300 Disconnect");
  ASSERT_EQ(Close(), CONNECTION_ERROR_NONE);
  RunLoopFor(50ms);
  platform_stop();
  RunLoopFor(600ms);
  EXPECT_EQ(m_results, Results{});
}

TEST_F(WiredProfile, TheLeaseIsWhatTheDhcpClientWasTold) {
  EXPECT_EQ(Lease(CONNECTION_ADDRESS_FAMILY_IPV4), 3600);
  EXPECT_EQ(Lease(CONNECTION_ADDRESS_FAMILY_IPV6), -1);
}

TEST_F(WiredProfile, WithoutNetworkManagerTheLeaseIsWhatTheKernelKnows) {
  m_stub->Stop(WifiStub::kNetworkManager);
  RunLoopUntil([] { return NetworkService::Instance().Client() == nullptr; });
  EXPECT_EQ(Lease(CONNECTION_ADDRESS_FAMILY_IPV4), -1) << "an address that stays was not lent";
  network::AddAddress("eth0", "2001:db8::10/64", 1200);
  EXPECT_NEAR(Lease(CONNECTION_ADDRESS_FAMILY_IPV6), 1200, 2);
}

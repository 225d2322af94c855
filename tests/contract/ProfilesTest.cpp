#include <algorithm>
#include <vector>

#include "Contract.h"
#include "net_connection.h"

namespace {

using Results = std::vector<int>;

/// The networks that the platform knows, and closing and opening the wired one. A platform that cannot
/// do that says so, at once and each time.
class Profiles : public Contract {
 protected:
  void SetUp() override {
    Contract::SetUp();
    ASSERT_EQ(connection_create(&m_connection), CONNECTION_ERROR_NONE);
    m_room->StartNetworkService();
    m_room->JoinWiredNetwork();
    RunLoopUntil([] { return HasGateway(); });
    Settle();
  }

  static bool HasGateway() {
    bool has_gateway = false;
    EXPECT_EQ(connection_profile_check_default_gateway(&has_gateway), CONNECTION_ERROR_NONE);
    return has_gateway;
  }
  static void Record(connection_error_e result, void* results) {
    static_cast<Results*>(results)->push_back(result);
  }
  void WaitFor(std::size_t count) {
    RunLoopUntil([&] { return m_results.size() >= count; });
    Settle();
  }

  /// Every profile, or nothing when the platform knows of no such thing.
  std::vector<connection_profile_h> Walk() {
    connection_profile_iterator_h walk = nullptr;
    const int result =
        connection_get_profile_iterator(m_connection, CONNECTION_ITERATOR_TYPE_REGISTERED, &walk);
    EXPECT_TRUE(result == CONNECTION_ERROR_NONE || result == CONNECTION_ERROR_NOT_SUPPORTED) << result;
    EXPECT_EQ(walk != nullptr, result == CONNECTION_ERROR_NONE);
    std::vector<connection_profile_h> profiles;
    while (connection_profile_iterator_has_next(walk)) {
      connection_profile_h profile = nullptr;
      if (connection_profile_iterator_next(walk, &profile) != CONNECTION_ERROR_NONE) {
        ADD_FAILURE() << "the walk had another one";
        break;
      }
      profiles.push_back(profile);
    }
    connection_profile_h none = nullptr;
    EXPECT_EQ(connection_profile_iterator_next(walk, &none), CONNECTION_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(none, nullptr);
    return profiles;
  }
  static bool IsWired(connection_profile_h profile) {
    connection_profile_type_e type = CONNECTION_PROFILE_TYPE_CELLULAR;
    EXPECT_EQ(connection_profile_get_type(profile, &type), CONNECTION_ERROR_NONE);
    return type == CONNECTION_PROFILE_TYPE_ETHERNET;
  }
  /// From the walk, or the current one where there is no walk.
  connection_profile_h WiredProfile() {
    const auto profiles = Walk();
    const auto wired = std::ranges::find_if(profiles, IsWired);
    if (wired != profiles.end()) {
      return *wired;
    }
    connection_profile_h current = nullptr;
    EXPECT_EQ(connection_get_current_profile(m_connection, &current), CONNECTION_ERROR_NONE);
    return current;
  }
  /// Whether a request was taken; otherwise this platform does not do that at all.
  static bool IsTaken(int result) {
    EXPECT_TRUE(result == CONNECTION_ERROR_NONE || result == CONNECTION_ERROR_NOT_SUPPORTED) << result;
    return result == CONNECTION_ERROR_NONE;
  }
  int Close(connection_profile_h profile) {
    return connection_close_profile(m_connection, profile, Record, &m_results);
  }
  int Open(connection_profile_h profile) {
    return connection_open_profile(m_connection, profile, Record, &m_results);
  }

  connection_h m_connection = nullptr;
  Results m_results;
};

}  // namespace

// Null arguments and handles are refused, and nothing is written or called back.
// Fails: a backend that answers "not supported" before it looks at its arguments.
TEST_F(Profiles, WrongArgumentsAreRefused) {
  connection_profile_iterator_h walk = nullptr;
  constexpr auto kAll = CONNECTION_ITERATOR_TYPE_REGISTERED;
  EXPECT_EQ(connection_get_profile_iterator(nullptr, kAll, &walk), CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(walk, nullptr);
  EXPECT_EQ(connection_get_profile_iterator(m_connection, kAll, nullptr),
            CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_FALSE(connection_profile_iterator_has_next(nullptr));
  const connection_profile_h wired = WiredProfile();
  for (const auto change : {connection_close_profile, connection_open_profile}) {
    EXPECT_EQ(change(nullptr, wired, Record, &m_results), CONNECTION_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(change(m_connection, nullptr, Record, &m_results), CONNECTION_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(change(m_connection, wired, nullptr, &m_results), CONNECTION_ERROR_INVALID_PARAMETER);
  }
  Settle();
  EXPECT_EQ(m_results, Results{});
}

// The wired network is known once while its cable is in.
// Fails: a backend that lists every interface of the machine, the loopback included.
TEST_F(Profiles, NameTheWiredNetworkWhileItsCableIsIn) {
  const auto profiles = Walk();
  EXPECT_LE(std::ranges::count_if(profiles, IsWired), 1);
  const bool is_known = std::ranges::any_of(profiles, IsWired);
  m_room->UnplugCable();
  RunLoopUntil([] { return !HasGateway(); });
  EXPECT_TRUE(std::ranges::none_of(Walk(), IsWired));
  EXPECT_TRUE(is_known || profiles.empty());
}

// A walk and its profiles end with the connection handle.
// Fails: a backend that leaves them to somebody who has no function for that.
TEST_F(Profiles, EndWithTheirHandle) {
  connection_profile_iterator_h walk = nullptr;
  connection_get_profile_iterator(m_connection, CONNECTION_ITERATOR_TYPE_REGISTERED, &walk);
  const auto profiles = Walk();
  ASSERT_EQ(connection_destroy(m_connection), CONNECTION_ERROR_NONE);
  EXPECT_FALSE(connection_profile_iterator_has_next(walk));
  for (const connection_profile_h profile : profiles) {
    EXPECT_EQ(connection_profile_destroy(profile), CONNECTION_ERROR_INVALID_PARAMETER);
  }
}

// A network that was closed carries no traffic until it is opened again; each request is answered once,
// after the call, and asking for what is so already is a success.
// Fails: a backend that reports the request as its result, before the address is gone or there.
TEST_F(Profiles, ClosedAndOpenedAgainTheNetworkCarriesTraffic) {
  const connection_profile_h wired = WiredProfile();
  if (!IsTaken(Close(wired))) {
    EXPECT_FALSE(IsTaken(Open(wired)));
    Settle();
    EXPECT_EQ(m_results, Results{});
    EXPECT_TRUE(HasGateway());
    return;
  }
  EXPECT_EQ(m_results, Results{});
  WaitFor(1);
  EXPECT_FALSE(HasGateway());
  EXPECT_TRUE(IsTaken(Close(WiredProfile())));
  WaitFor(2);
  EXPECT_TRUE(IsTaken(Open(WiredProfile())));
  WaitFor(3);
  EXPECT_TRUE(HasGateway());
  EXPECT_TRUE(IsTaken(Open(WiredProfile())));
  WaitFor(4);
  EXPECT_EQ(m_results, Results(4, CONNECTION_ERROR_NONE));
}

// A closed network is joined again by plugging its cable in anew.
// Fails: a backend that keeps a network closed until the next start.
TEST_F(Profiles, ClosedNetworkComesBackWithItsCable) {
  if (!IsTaken(Close(WiredProfile()))) {
    return;
  }
  WaitFor(1);
  m_room->UnplugCable();
  Settle();
  m_room->JoinWiredNetwork();
  RunLoopUntil([] { return HasGateway(); });
}

// Who destroys the handle is not called back any more.
// Fails: a backend that keeps the callback in its request to the network manager.
TEST_F(Profiles, DestroyedHandleIsNotAnswered) {
  if (!IsTaken(Close(WiredProfile()))) {
    return;
  }
  ASSERT_EQ(connection_destroy(m_connection), CONNECTION_ERROR_NONE);
  RunLoopUntil([] { return !HasGateway(); });
  Settle();
  EXPECT_EQ(m_results, Results{});
}

// A network whose cable was pulled is not there to be closed or opened.
// Fails: a backend that reports success for what it only wrote down.
TEST_F(Profiles, NetworkWithoutItsCableIsSaidToBeGone) {
  const connection_profile_h wired = WiredProfile();
  m_room->UnplugCable();
  RunLoopUntil([] { return !HasGateway(); });
  for (const int result : {Close(wired), Open(wired)}) {
    EXPECT_TRUE(result == CONNECTION_ERROR_NO_CONNECTION || result == CONNECTION_ERROR_NOT_SUPPORTED)
        << result;
  }
  Settle();
  EXPECT_EQ(m_results, Results{});
}

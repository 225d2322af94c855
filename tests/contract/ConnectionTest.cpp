#include <stdexcept>
#include <vector>

#include "Contract.h"
#include "net_connection.h"

namespace {

using States = std::vector<int>;

/// One user of the interface, and what it was told.
struct User {
  connection_h connection = nullptr;
  States states;
  connection_h destroyed_on_event = nullptr;

  void Listen() {
    ASSERT_EQ(connection_create(&connection), CONNECTION_ERROR_NONE);
    ASSERT_NE(connection, nullptr);
    ASSERT_EQ(connection_set_ethernet_cable_state_chaged_cb(connection, OnCable, this),
              CONNECTION_ERROR_NONE);
  }
  static void OnCable(connection_ethernet_cable_state_e state, void* self) {
    auto* user = static_cast<User*>(self);
    user->states.push_back(state);
    if (user->destroyed_on_event != nullptr) {
      EXPECT_EQ(connection_destroy(user->destroyed_on_event), CONNECTION_ERROR_NONE);
      user->destroyed_on_event = nullptr;
    }
  }
  void WaitFor(const States& expected) {
    RunLoopUntil([&] { return states.size() >= expected.size(); });
    EXPECT_EQ(states, expected);
  }
};

class Connection : public Contract {
 protected:
  User m_user;
  User m_other;
};

}  // namespace

// Null arguments and handles that do not exist (any more) are refused, and nothing is written.
// Fails: a backend that reads through the pointer before it looks at it, or that frees a handle twice.
TEST_F(Connection, WrongArgumentsAreRefused) {
  EXPECT_EQ(connection_create(nullptr), CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_destroy(nullptr), CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_set_ethernet_cable_state_chaged_cb(nullptr, User::OnCable, nullptr),
            CONNECTION_ERROR_INVALID_PARAMETER);
  m_user.Listen();
  EXPECT_EQ(connection_set_ethernet_cable_state_chaged_cb(m_user.connection, nullptr, nullptr),
            CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_destroy(m_user.connection), CONNECTION_ERROR_NONE);
  EXPECT_EQ(connection_destroy(m_user.connection), CONNECTION_ERROR_INVALID_PARAMETER);
}

// Each plug and each pull is told once, in its order.
// Fails: a backend that asks for the state now and then, and misses what lies between two looks.
TEST_F(Connection, EachPlugAndPullIsToldInOrder) {
  m_user.Listen();
  States expected;
  for (int i = 0; i < 20; ++i) {
    m_room->PlugCable();
    expected.push_back(CONNECTION_ETHERNET_CABLE_ATTACHED);
    m_user.WaitFor(expected);
    m_room->UnplugCable();
    expected.push_back(CONNECTION_ETHERNET_CABLE_DETACHED);
    m_user.WaitFor(expected);
  }
  Settle();
  EXPECT_EQ(m_user.states, expected);
}

// A cable that is in when the callback is set is no event; pulling it then is one.
// Fails: a backend that reports its first look at the interfaces as if they had just been plugged.
TEST_F(Connection, TheStateFoundIsNoEvent) {
  m_room->PlugCable();
  Settle();
  m_user.Listen();
  Settle();
  EXPECT_EQ(m_user.states, States{});
  m_room->UnplugCable();
  m_user.WaitFor({CONNECTION_ETHERNET_CABLE_DETACHED});
}

// Nothing is told from inside a function of the interface, only by the running main loop.
// Fails: a backend that calls back from a thread of its own, or while the callback is being set.
TEST_F(Connection, OnlyTheMainLoopDelivers) {
  m_user.Listen();
  m_room->PlugCable();
  g_usleep(static_cast<gulong>(std::chrono::microseconds(m_room->Settling()).count()));
  m_other.Listen();
  EXPECT_EQ(m_user.states, States{});
  m_user.WaitFor({CONNECTION_ETHERNET_CABLE_ATTACHED});
}

// Every handle has a callback of its own, and all are told.
// Fails: a backend that keeps one callback for the process.
TEST_F(Connection, EachHandleIsTold) {
  m_user.Listen();
  m_other.Listen();
  m_room->PlugCable();
  m_user.WaitFor({CONNECTION_ETHERNET_CABLE_ATTACHED});
  m_other.WaitFor({CONNECTION_ETHERNET_CABLE_ATTACHED});
}

// A second callback takes the place of the first.
// Fails: a backend that adds it to a list.
TEST_F(Connection, ASecondCallbackReplacesTheFirst) {
  m_user.Listen();
  ASSERT_EQ(connection_set_ethernet_cable_state_chaged_cb(m_user.connection, User::OnCable, &m_other),
            CONNECTION_ERROR_NONE);
  m_room->PlugCable();
  m_other.WaitFor({CONNECTION_ETHERNET_CABLE_ATTACHED});
  EXPECT_EQ(m_user.states, States{});
}

// A handle that is destroyed is told nothing more, its callback still being set.
// Fails: a backend that wants its callbacks unset first, and calls into what is gone.
TEST_F(Connection, ADestroyedHandleIsToldNothing) {
  m_user.Listen();
  m_other.Listen();
  ASSERT_EQ(connection_destroy(m_user.connection), CONNECTION_ERROR_NONE);
  m_room->PlugCable();
  m_other.WaitFor({CONNECTION_ETHERNET_CABLE_ATTACHED});
  EXPECT_EQ(m_user.states, States{});
}

// A callback may destroy its own handle, also the only one there is, and a new one works.
// Fails: a backend that touches the handle, or its socket, after the callback returned.
TEST_F(Connection, ACallbackMayDestroyItsOwnHandle) {
  m_user.Listen();
  m_user.destroyed_on_event = m_user.connection;
  m_room->PlugCable();
  m_user.WaitFor({CONNECTION_ETHERNET_CABLE_ATTACHED});
  m_room->UnplugCable();
  Settle();
  EXPECT_EQ(m_user.states, States{CONNECTION_ETHERNET_CABLE_ATTACHED});
  m_other.Listen();
  m_room->PlugCable();
  m_other.WaitFor({CONNECTION_ETHERNET_CABLE_ATTACHED});
}

// A callback may destroy another handle, which is then not told of that event if it has not been yet.
// Fails: a backend that walks a list of handles that it copied before.
TEST_F(Connection, ACallbackMayDestroyAnotherHandle) {
  m_user.Listen();
  m_other.Listen();
  m_user.destroyed_on_event = m_other.connection;
  m_room->PlugCable();
  m_user.WaitFor({CONNECTION_ETHERNET_CABLE_ATTACHED});
  m_room->UnplugCable();
  m_user.WaitFor({CONNECTION_ETHERNET_CABLE_ATTACHED, CONNECTION_ETHERNET_CABLE_DETACHED});
  EXPECT_EQ(m_other.states, States{});
}

// An exception that leaves a callback costs that call only.
// Fails: a backend that lets it pass through the main loop, which is written in C.
TEST_F(Connection, AnExceptionInACallbackIsSurvived) {
  m_user.Listen();
  connection_h thrower = nullptr;
  ASSERT_EQ(connection_create(&thrower), CONNECTION_ERROR_NONE);
  const auto fail = [](connection_ethernet_cable_state_e, void*) {
    throw std::runtime_error("a malformed document");
  };
  ASSERT_EQ(connection_set_ethernet_cable_state_chaged_cb(thrower, fail, nullptr),
            CONNECTION_ERROR_NONE);
  m_other.Listen();
  m_room->PlugCable();
  m_user.WaitFor({CONNECTION_ETHERNET_CABLE_ATTACHED});
  m_other.WaitFor({CONNECTION_ETHERNET_CABLE_ATTACHED});
}

// After the platform stopped, nothing is told.
// Fails: a backend that stops its services and forgets what is already queued.
TEST_F(Connection, NothingIsToldAfterTheStop) {
  m_user.Listen();
  m_room->PlugCable();
  platform_stop();
  Settle();
  EXPECT_EQ(m_user.states, States{});
}

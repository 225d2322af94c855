#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "Contract.h"
#include "net_connection.h"

namespace {

struct Report {
  bool is_success;
  std::string step;
  bool operator==(const Report&) const = default;
};
const Report kNoLink{false, "PHY"};

/// One user of the monitor, and what it was told.
struct User {
  connection_h connection = nullptr;
  std::vector<Report> reports;
  connection_h destroyed_on_report = nullptr;
  bool unsets_on_report = false;

  /// @return false where the platform has no monitor, which it says at once
  bool Listen() {
    if (connection == nullptr) {
      EXPECT_EQ(connection_create(&connection), CONNECTION_ERROR_NONE);
    }
    const int result = connection_set_network_monitor_cb(connection, OnReport, this);
    EXPECT_TRUE(result == CONNECTION_ERROR_NONE || result == CONNECTION_ERROR_NOT_SUPPORTED) << result;
    return result == CONNECTION_ERROR_NONE;
  }
  static void OnReport(connection_error_e result, char* state, void* self) {
    auto* user = static_cast<User*>(self);
    user->reports.push_back({result == CONNECTION_ERROR_NONE, state});
    if (user->unsets_on_report) {
      EXPECT_EQ(connection_unset_network_monitor_cb(user->connection), CONNECTION_ERROR_NONE);
    }
    if (user->destroyed_on_report != nullptr) {
      EXPECT_EQ(connection_destroy(user->destroyed_on_report), CONNECTION_ERROR_NONE);
      user->destroyed_on_report = nullptr;
    }
  }
  void WaitFor(const Report& report) {
    RunLoopUntil([&] { return std::ranges::find(reports, report) != reports.end(); });
  }
};

/// A platform may have no monitor; each test then holds it to telling nothing.
class NetworkReports : public Contract {
 protected:
  /// @return whether the test goes on
  bool HasMonitor() {
    if (m_user.Listen()) {
      return true;
    }
    m_room->JoinWiredNetwork();
    Settle();
    EXPECT_TRUE(m_user.reports.empty());
    EXPECT_EQ(connection_unset_network_monitor_cb(m_user.connection), CONNECTION_ERROR_NONE);
    EXPECT_EQ(connection_destroy(m_user.connection), CONNECTION_ERROR_NONE);
    return false;
  }

  User m_user;
  User m_other;
};

}  // namespace

// Null arguments and handles that do not exist (any more) are refused.
// Fails: a backend that stores the callback before it looks at the handle.
TEST_F(NetworkReports, WrongArgumentsAreRefused) {
  EXPECT_EQ(connection_set_network_monitor_cb(nullptr, User::OnReport, &m_user),
            CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_unset_network_monitor_cb(nullptr), CONNECTION_ERROR_INVALID_PARAMETER);
  connection_h connection = nullptr;
  ASSERT_EQ(connection_create(&connection), CONNECTION_ERROR_NONE);
  EXPECT_EQ(connection_set_network_monitor_cb(connection, nullptr, nullptr),
            CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_unset_network_monitor_cb(connection), CONNECTION_ERROR_NONE);
  ASSERT_EQ(connection_destroy(connection), CONNECTION_ERROR_NONE);
  EXPECT_EQ(connection_set_network_monitor_cb(connection, User::OnReport, &m_user),
            CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_unset_network_monitor_cb(connection), CONNECTION_ERROR_INVALID_PARAMETER);
  Settle();
  EXPECT_TRUE(m_user.reports.empty());
}

// What is found first is told although nothing changed, to each who asks, and not inside the call.
// Fails: a backend that tells changes only, so that a daemon that starts late never knows.
TEST_F(NetworkReports, TheFirstFindingIsToldToEachWhoAsks) {
  if (!HasMonitor()) {
    return;
  }
  EXPECT_TRUE(m_user.reports.empty());
  m_user.WaitFor(kNoLink);
  Settle();
  ASSERT_TRUE(m_other.Listen());
  m_other.WaitFor(kNoLink);
}

// A report names one of the four steps.
// Fails: a backend that hands its own service's words on.
TEST_F(NetworkReports, AStepIsOneOfFour) {
  if (!HasMonitor()) {
    return;
  }
  m_user.WaitFor(kNoLink);
  m_room->JoinWiredNetwork();
  m_user.WaitFor({true, "HTTP"});
  m_room->SetRouter(false);
  m_user.WaitFor({false, "GATEWAY"});
  m_room->SetRouter(true);
  m_user.WaitFor({true, "GATEWAY"});
  m_user.reports.clear();
  m_room->UnplugCable();
  m_user.WaitFor(kNoLink);
  for (const Report& report : m_user.reports) {
    const std::vector<std::string> steps{"PHY", "GATEWAY", "DNS", "HTTP"};
    EXPECT_NE(std::ranges::find(steps, report.step), steps.end()) << report.step;
  }
}

// A handle has a cable callback and a monitor callback, and each hears its own events.
// Fails: a backend with room for one callback in a handle.
TEST_F(NetworkReports, AHandleHasBothCallbacks) {
  if (!HasMonitor()) {
    return;
  }
  int cable_events = 0;
  const auto on_cable = [](connection_ethernet_cable_state_e, void* count) {
    ++*static_cast<int*>(count);
  };
  ASSERT_EQ(connection_set_ethernet_cable_state_chaged_cb(m_user.connection, on_cable, &cable_events),
            CONNECTION_ERROR_NONE);
  m_room->JoinWiredNetwork();
  m_user.WaitFor({true, "HTTP"});
  RunLoopUntil([&] { return cable_events == 1; });
  ASSERT_EQ(connection_unset_network_monitor_cb(m_user.connection), CONNECTION_ERROR_NONE);
  m_user.reports.clear();
  m_room->UnplugCable();
  RunLoopUntil([&] { return cable_events == 2; });
  Settle();
  EXPECT_TRUE(m_user.reports.empty());
}

// A second callback takes the place of the first.
// Fails: a backend that adds it to a list.
TEST_F(NetworkReports, ASecondCallbackReplacesTheFirst) {
  if (!HasMonitor()) {
    return;
  }
  ASSERT_EQ(connection_set_network_monitor_cb(m_user.connection, User::OnReport, &m_other),
            CONNECTION_ERROR_NONE);
  m_other.WaitFor(kNoLink);
  EXPECT_TRUE(m_user.reports.empty());
}

// After unsetting nothing is told, not even what was found before; setting again works.
// Fails: a backend that posts its findings and does not take them back.
TEST_F(NetworkReports, NothingIsToldAfterUnsetting) {
  if (!HasMonitor()) {
    return;
  }
  m_user.WaitFor(kNoLink);
  m_user.reports.clear();
  m_room->JoinWiredNetwork();
  ASSERT_EQ(connection_unset_network_monitor_cb(m_user.connection), CONNECTION_ERROR_NONE);
  Settle();
  EXPECT_TRUE(m_user.reports.empty());
  ASSERT_TRUE(m_user.Listen());
  m_user.WaitFor({true, "HTTP"});
}

// A callback may unset itself, and destroy its own handle or another one.
// Fails: a backend that touches the handle after the callback returned.
TEST_F(NetworkReports, ACallbackMayEndItselfAndOthers) {
  if (!HasMonitor()) {
    return;
  }
  ASSERT_TRUE(m_other.Listen());
  m_user.destroyed_on_report = m_other.connection;
  m_user.WaitFor(kNoLink);
  m_user.unsets_on_report = true;
  m_user.destroyed_on_report = m_user.connection;
  m_user.reports.clear();
  m_room->JoinWiredNetwork();
  RunLoopUntil([&] { return !m_user.reports.empty(); });
  Settle();
  EXPECT_EQ(m_user.reports.size(), 1U);
  EXPECT_EQ(connection_destroy(m_user.connection), CONNECTION_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(connection_destroy(m_other.connection), CONNECTION_ERROR_INVALID_PARAMETER);
}

// An exception that leaves a callback costs that call only.
// Fails: a backend that lets it pass through the main loop, which is written in C.
TEST_F(NetworkReports, AnExceptionInACallbackIsSurvived) {
  if (!HasMonitor()) {
    return;
  }
  m_user.WaitFor(kNoLink);
  const auto fail = [](connection_error_e, char*, void*) { throw std::runtime_error("a bad document"); };
  ASSERT_EQ(connection_set_network_monitor_cb(m_user.connection, fail, nullptr), CONNECTION_ERROR_NONE);
  ASSERT_TRUE(m_other.Listen());
  m_other.WaitFor(kNoLink);
}

// After the platform stopped, nothing is told.
// Fails: a backend that stops its services and forgets what is already queued.
TEST_F(NetworkReports, NothingIsToldAfterTheStop) {
  if (!HasMonitor()) {
    return;
  }
  platform_stop();
  Settle();
  EXPECT_TRUE(m_user.reports.empty());
}

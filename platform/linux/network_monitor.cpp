#include <memory>
#include <string>

#include "CallGate.h"
#include "Connections.h"
#include "InternetMonitor.h"
#include "ListenerList.h"
#include "MainLoopSource.h"
#include "call_guarded.h"
#include "net_connection.h"

// Who hears of the way to the internet, of those who have a handle.

namespace {

struct User {
  connection_h connection;
  connection_network_monitor_cb callback;
  void* user_data;
  MainLoopSource first;  // while what was found before is still to be told
};

struct Users {
  ListenerList<std::shared_ptr<User>> list;
  std::unique_ptr<InternetMonitor> monitor;  // while there is a user
};

Users& All() {
  static auto* const users = new Users;
  return *users;
}

const char* NameOf(WayStep step) {
  switch (step) {
    case WayStep::kPhy:
      return "PHY";
    case WayStep::kGateway:
      return "GATEWAY";
    case WayStep::kDns:
      return "DNS";
    case WayStep::kHttp:
      return "HTTP";
  }
  std::abort();
}

void TellUser(const User& user, const InternetVerdict::Report& report) {
  connection_error_e result = CONNECTION_ERROR_NONE;
  if (!report.works) {
    result = report.step == WayStep::kPhy ? CONNECTION_ERROR_NO_CONNECTION
                                          : CONNECTION_ERROR_OPERATION_FAILED;
  }
  std::string step = NameOf(report.step);  // the callback may write into it
  CallGuarded([&] { user.callback(result, step.data(), user.user_data); });
}

void OnReport(const InternetVerdict::Report& report) {
  All().list.ForEach([&](const std::shared_ptr<User>& user) {
    user->first.Reset();  // this is newer
    TellUser(*user, report);
  });
}

/// Who comes when it is known how things are need not wait until they change.
void TellFirst(const std::shared_ptr<User>& user) {
  if (All().monitor->Last()) {
    user->first.After(std::chrono::milliseconds(0), [kept = std::weak_ptr(user)] {
      const auto user_now = kept.lock();
      const auto last = All().monitor != nullptr ? All().monitor->Last() : std::nullopt;
      if (user_now != nullptr && last) {
        TellUser(*user_now, *last);
      }
    });
  }
}

void Remove(connection_h connection) {
  All().list.RemoveIf([&](const std::shared_ptr<User>& user) { return user->connection == connection; });
}

}  // namespace

void ForgetMonitorUser(connection_h connection) {
  Remove(connection);
  if (All().list.IsEmpty()) {
    All().monitor.reset();
  }
}

void StopNetworkMonitor() {
  All().list = {};
  All().monitor.reset();
}

int connection_set_network_monitor_cb(connection_h connection, connection_network_monitor_cb callback,
                                      void* user_data) {
  if (const auto refusal = call_gate::Refusal("connection_set_network_monitor_cb")) {
    return *refusal;
  }
  if (!IsConnection(connection) || callback == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  if (All().monitor == nullptr) {
    ProbeConfig config = ProbeConfig::Read();
    if (!config.is_on) {
      return CONNECTION_ERROR_NOT_SUPPORTED;
    }
    All().monitor = InternetMonitor::Start(std::move(config), OnReport);
  }
  if (All().monitor == nullptr) {
    return CONNECTION_ERROR_OPERATION_FAILED;
  }
  Remove(connection);
  const auto user = std::make_shared<User>();
  user->connection = connection;
  user->callback = callback;
  user->user_data = user_data;
  All().list.Add(user);
  TellFirst(user);
  return CONNECTION_ERROR_NONE;
}

int connection_unset_network_monitor_cb(connection_h connection) {
  if (const auto refusal = call_gate::Refusal("connection_unset_network_monitor_cb")) {
    return *refusal;
  }
  if (!IsConnection(connection)) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  ForgetMonitorUser(connection);
  return CONNECTION_ERROR_NONE;
}

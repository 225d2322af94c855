#include "NetworkMonitor.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "Log.h"
#include "NW_Common.h"
#include "call_guarded.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

constexpr char kOnline[] = "ONLINE";
constexpr char kOffline[] = "OFFLINE";

constexpr std::string_view kPhy = "PHY";
constexpr std::string_view kGateway = "GATEWAY";
constexpr std::string_view kDns = "DNS";
constexpr std::string_view kHttp = "HTTP";

}  // namespace

NetworkMonitor::NetworkMonitor() {
  NW_LOG("START");
  NW_LOG("END");
}

NetworkMonitor::~NetworkMonitor() {
  NW_LOG("START");
  UnRegisterAllCb();
  NW_LOG("END");
}

int NetworkMonitor::RegisterCb(Listener cb) {
  NW_LOG("START");
  if (m_handle == nullptr) {
    connection_create(&m_handle);
    if (connection_set_network_monitor_cb(m_handle, __MonitorCallBack, this) != CONNECTION_ERROR_NONE) {
      NW_LOG("Fail to register monitor");
    }
  }
  const int id = ++m_lastId;
  m_entries.push_back(std::make_shared<const Entry>(Entry{id, std::move(cb)}));
  NW_LOG("END");
  return id;
}

void NetworkMonitor::UnRegisterCb(MonitorHandle& handle) {
  NW_LOG("START");
  std::shared_ptr<const Entry> ended;  // last: what a listener holds may come back here when it ends
  if (m_entries.empty()) {
    UnRegisterAllCb();
  } else {
    const auto entry = std::ranges::find(m_entries, handle, [](const auto& e) { return e->id; });
    if (entry != m_entries.end()) {
      NW_LOG("Find handle successfully");
      ended = *entry;
      m_entries.erase(entry);
      if (m_entries.empty()) {
        UnRegisterAllCb();
      }
    }
  }
  handle = kReleasedMonitorHandle;
  NW_LOG("END");
}

void NetworkMonitor::UnRegisterAllCb() {
  NW_LOG("START");
  if (m_handle != nullptr) {
    connection_unset_network_monitor_cb(m_handle);
    connection_destroy(m_handle);
    m_handle = nullptr;
  }
  m_lastId = 0;
  const auto ended = std::exchange(m_entries, {});  // as above
  NW_LOG("END");
}

void NetworkMonitor::SetInternetStatusVconf(bool online) {
  NW_LOG("START");
  vconf_set_str(vconf_keys::kInternetStatus, online ? kOnline : kOffline);
  NW_LOG("END");
}

bool NetworkMonitor::GetInternetStatusVconf() {
  const HeapString status(vconf_get_str(vconf_keys::kInternetStatus));
  NW_LOG("Internet Status: %s", status.get());
  return status != nullptr && std::strcmp(status.get(), kOnline) == 0;
}

void NetworkMonitor::__MonitorCallBack(connection_error_e result, char* state, void* user_data) {
  // A gateway that comes back is enough to be online again, but only when it was what failed.
  static bool g_gatewayfail = false;

  NW_LOG("StrState: %s, Result %d", state, static_cast<int>(result));
  auto* const monitor = static_cast<NetworkMonitor*>(user_data);
  const auto kept = monitor->weak_from_this().lock();  // a listener may let go of the monitor
  const std::string step = state != nullptr ? state : "";
  const bool is_online = monitor->GetInternetStatusVconf();
  const bool is_success = result == CONNECTION_ERROR_NONE;
  if (is_success) {
    if (!is_online && (step == kHttp || (step == kGateway && g_gatewayfail))) {
      NW_LOG("CONNECTION_ONLINE");
      monitor->SetInternetStatusVconf(true);
    }
  } else {
    if (is_online && (step == kPhy || step == kGateway || step == kDns || step == kHttp)) {
      NW_LOG("CONNECTION_OFFLINE");
      monitor->SetInternetStatusVconf(false);
      if (step == kGateway) {
        g_gatewayfail = true;
      }
    }
    if (step == kPhy) {
      g_gatewayfail = false;
    }
  }

  const auto round = monitor->m_entries;
  for (const auto& entry : round) {
    // By the entry and not by its handle, which another listener may have by now.
    const bool is_registered = std::ranges::find(monitor->m_entries, entry) != monitor->m_entries.end();
    if (is_registered) {
      CallGuarded([&] { entry->listener(is_success, step); });
    }
  }
}

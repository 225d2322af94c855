#include "net_connection.h"

#include <cstring>
#include <deque>
#include <string>

#include "CallGate.h"
#include "ConnectionHandles.h"
#include "HandleSet.h"
#include "Holdings.h"
#include "VirtualTv.h"

struct connection_handle_s {};

struct connection_profile_handle_s {
  connection_profile_type_e type;
  int lease_seconds;             // 0: not lent
  connection_h owner = nullptr;  // with which it ends; null: with none
};

struct connection_profile_iterator_s {
  connection_h owner;
  std::deque<connection_profile_handle_s> rest;
};

namespace {

HandleSet<connection_handle_s>& Connections() {
  static auto* const connections = new HandleSet<connection_handle_s>;
  return *connections;
}

HandleSet<connection_profile_handle_s>& Profiles() {
  static auto* const profiles = new HandleSet<connection_profile_handle_s>;
  return *profiles;
}

HandleSet<connection_profile_iterator_s>& Iterators() {
  static auto* const iterators = new HandleSet<connection_profile_iterator_s>;
  return *iterators;
}

std::deque<connection_profile_handle_s> RegisteredProfiles(connection_h owner) {
  VirtualTv& tv = VirtualTv::Instance();
  std::deque<connection_profile_handle_s> profiles;
  if (tv.GetTelephony().IsRunning() && tv.GetTelephony().HasDongle()) {
    profiles.push_back({CONNECTION_PROFILE_TYPE_CELLULAR, 0, owner});
  }
  const int lease_seconds = tv.GetInternet().LeaseSeconds();
  for (std::size_t i = 0; i < tv.GetWifi().Saved().size(); ++i) {
    profiles.push_back({CONNECTION_PROFILE_TYPE_WIFI, lease_seconds, owner});
  }
  if (tv.GetCable().IsAttached()) {
    profiles.push_back({CONNECTION_PROFILE_TYPE_ETHERNET, lease_seconds, owner});
  }
  return profiles;
}

int ChangeProfile(const char* function, connection_h connection, connection_profile_h profile,
                  bool is_open, connection_profile_changed_cb callback, void* user_data) {
  VirtualTv& tv = VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal(function)) {
    return *refusal;
  }
  if (!Connections().Has(connection) || !Profiles().Has(profile) || callback == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  if (profile->type != CONNECTION_PROFILE_TYPE_ETHERNET) {
    return CONNECTION_ERROR_NOT_SUPPORTED;
  }
  return tv.GetWiredProfile().Request(connection, is_open, callback, user_data);
}

}  // namespace

std::size_t CountConnectionHandles() {
  return Connections().Count() + Profiles().CountIf([](const connection_profile_handle_s& profile) {
    return profile.owner == nullptr;
  });
}

void holdings::AddConnections(Counts& counts) {
  counts["connections"] = Connections().Count();
  counts["profiles"] = Profiles().Count();
  counts["profile iterators"] = Iterators().Count();
}

int connection_create(connection_h* connection) {
  VirtualTv::Instance();  // which sets the gate's hook
  if (const auto refusal = call_gate::Refusal("connection_create")) {
    return *refusal;
  }
  if (connection == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  *connection = Connections().Add({});
  return CONNECTION_ERROR_NONE;
}

int connection_destroy(connection_h connection) {
  VirtualTv& tv = VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("connection_destroy")) {
    return *refusal;
  }
  if (!Connections().Remove(connection)) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  tv.GetCable().Callbacks().Remove(connection);
  tv.GetInternet().Monitors().Remove(connection);
  tv.GetWiredProfile().Forget(connection);
  const auto ends = [connection](const auto& object) { return object.owner == connection; };
  Iterators().RemoveIf(ends);
  Profiles().RemoveIf(ends);
  return CONNECTION_ERROR_NONE;
}

int connection_set_ethernet_cable_state_chaged_cb(connection_h connection,
                                                  connection_ethernet_cable_state_chaged_cb callback,
                                                  void* user_data) {
  VirtualTv& tv = VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("connection_set_ethernet_cable_state_chaged_cb")) {
    return *refusal;
  }
  if (!Connections().Has(connection) || callback == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  tv.GetCable().Callbacks().Set(connection, callback, user_data);
  return CONNECTION_ERROR_NONE;
}

int connection_get_ethernet_cable_state(connection_h connection,
                                        connection_ethernet_cable_state_e* state) {
  VirtualTv& tv = VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("connection_get_ethernet_cable_state")) {
    return *refusal;
  }
  if (!Connections().Has(connection) || state == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  *state = tv.GetCable().IsAttached() ? CONNECTION_ETHERNET_CABLE_ATTACHED
                                      : CONNECTION_ETHERNET_CABLE_DETACHED;
  return CONNECTION_ERROR_NONE;
}

int connection_set_network_monitor_cb(connection_h connection, connection_network_monitor_cb callback,
                                      void* user_data) {
  VirtualTv& tv = VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("connection_set_network_monitor_cb")) {
    return *refusal;
  }
  if (!Connections().Has(connection) || callback == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  tv.GetInternet().SetMonitor(connection, callback, user_data);
  return CONNECTION_ERROR_NONE;
}

int connection_unset_network_monitor_cb(connection_h connection) {
  VirtualTv& tv = VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("connection_unset_network_monitor_cb")) {
    return *refusal;
  }
  if (!Connections().Has(connection)) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  tv.GetInternet().Monitors().Remove(connection);
  return CONNECTION_ERROR_NONE;
}

int connection_get_current_profile(connection_h connection, connection_profile_h* profile) {
  const Internet& internet = VirtualTv::Instance().GetInternet();
  if (const auto refusal = call_gate::Refusal("connection_get_current_profile")) {
    return *refusal;
  }
  if (!Connections().Has(connection) || profile == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  switch (internet.GetCarrier()) {
    case Internet::Carrier::kNone:
      return CONNECTION_ERROR_NO_CONNECTION;
    case Internet::Carrier::kCable:
      *profile = Profiles().Add({CONNECTION_PROFILE_TYPE_ETHERNET, internet.LeaseSeconds()});
      break;
    case Internet::Carrier::kWifi:
      *profile = Profiles().Add({CONNECTION_PROFILE_TYPE_WIFI, internet.LeaseSeconds()});
      break;
    case Internet::Carrier::kCellular:
      *profile = Profiles().Add({CONNECTION_PROFILE_TYPE_CELLULAR, 0});
      break;
  }
  return CONNECTION_ERROR_NONE;
}

int connection_profile_destroy(connection_profile_h profile) {
  VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("connection_profile_destroy")) {
    return *refusal;
  }
  return Profiles().Remove(profile) ? CONNECTION_ERROR_NONE : CONNECTION_ERROR_INVALID_PARAMETER;
}

int connection_profile_get_type(connection_profile_h profile, connection_profile_type_e* type) {
  VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("connection_profile_get_type")) {
    return *refusal;
  }
  if (!Profiles().Has(profile) || type == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  *type = profile->type;
  return CONNECTION_ERROR_NONE;
}

int connection_profile_get_dhcp_lease_duration(connection_profile_h profile,
                                               connection_address_family_e family, int* seconds) {
  VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("connection_profile_get_dhcp_lease_duration", family)) {
    return *refusal;
  }
  if (!Profiles().Has(profile) || seconds == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  if (family != CONNECTION_ADDRESS_FAMILY_IPV4 || profile->lease_seconds == 0) {
    return CONNECTION_ERROR_NO_CONNECTION;
  }
  *seconds = profile->lease_seconds;
  return CONNECTION_ERROR_NONE;
}

int connection_profile_check_default_gateway(bool* has_gateway) {
  const Internet& internet = VirtualTv::Instance().GetInternet();
  if (const auto refusal = call_gate::Refusal("connection_profile_check_default_gateway")) {
    return *refusal;
  }
  if (has_gateway == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  *has_gateway = internet.HasDefaultGateway();
  return CONNECTION_ERROR_NONE;
}

int connection_get_mac_address(connection_h connection, connection_type_e type, char** mac_address) {
  const Internet& internet = VirtualTv::Instance().GetInternet();
  if (const auto refusal = call_gate::Refusal("connection_get_mac_address", type)) {
    return *refusal;
  }
  if (!Connections().Has(connection) || mac_address == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  const std::string found = internet.MacAddress(type);
  if (found.empty()) {
    return CONNECTION_ERROR_OPERATION_FAILED;
  }
  *mac_address = strdup(found.c_str());
  return CONNECTION_ERROR_NONE;
}

int connection_get_ip_address(connection_h connection, connection_address_family_e family,
                              char** ip_address) {
  const Internet& internet = VirtualTv::Instance().GetInternet();
  if (const auto refusal = call_gate::Refusal("connection_get_ip_address", family)) {
    return *refusal;
  }
  if (!Connections().Has(connection) || ip_address == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  const std::string found = internet.Address(family);
  if (found.empty()) {
    return CONNECTION_ERROR_NO_CONNECTION;
  }
  *ip_address = strdup(found.c_str());
  return CONNECTION_ERROR_NONE;
}

int connection_check_hotspot(connection_h connection, int* status) {
  VirtualTv& tv = VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("connection_check_hotspot")) {
    return *refusal;
  }
  if (!Connections().Has(connection) || status == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  if (tv.GetWifi().State() != WIFI_CONNECTION_STATE_CONNECTED) {
    return CONNECTION_ERROR_NO_CONNECTION;
  }
  *status = tv.GetInternet().Hotspot();
  return CONNECTION_ERROR_NONE;
}

int connection_get_profile_iterator(connection_h connection, connection_iterator_type_e type,
                                    connection_profile_iterator_h* iterator) {
  VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("connection_get_profile_iterator", type)) {
    return *refusal;
  }
  if (!Connections().Has(connection) || iterator == nullptr ||
      type != CONNECTION_ITERATOR_TYPE_REGISTERED) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  *iterator = Iterators().Add({connection, RegisteredProfiles(connection)});
  return CONNECTION_ERROR_NONE;
}

bool connection_profile_iterator_has_next(connection_profile_iterator_h iterator) {
  return Iterators().Has(iterator) && !iterator->rest.empty();
}

int connection_profile_iterator_next(connection_profile_iterator_h iterator,
                                     connection_profile_h* profile) {
  VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("connection_profile_iterator_next")) {
    return *refusal;
  }
  if (!connection_profile_iterator_has_next(iterator) || profile == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  *profile = Profiles().Add(iterator->rest.front());
  iterator->rest.pop_front();
  return CONNECTION_ERROR_NONE;
}

int connection_close_profile(connection_h connection, connection_profile_h profile,
                             connection_profile_changed_cb callback, void* user_data) {
  return ChangeProfile("connection_close_profile", connection, profile, false, callback, user_data);
}

int connection_open_profile(connection_h connection, connection_profile_h profile,
                            connection_profile_changed_cb callback, void* user_data) {
  return ChangeProfile("connection_open_profile", connection, profile, true, callback, user_data);
}

int connection_profile_start_tcpdump(connection_h connection) {
  VirtualTv& tv = VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("connection_profile_start_tcpdump")) {
    return *refusal;
  }
  return Connections().Has(connection) ? tv.GetCapture().Start() : CONNECTION_ERROR_INVALID_PARAMETER;
}

int connection_profile_stop_tcpdump(connection_h connection) {
  VirtualTv& tv = VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("connection_profile_stop_tcpdump")) {
    return *refusal;
  }
  return Connections().Has(connection) ? tv.GetCapture().Stop() : CONNECTION_ERROR_INVALID_PARAMETER;
}

int connection_profile_get_tcpdump_state(connection_h connection, connection_tcpdump_state_e* state) {
  VirtualTv& tv = VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("connection_profile_get_tcpdump_state")) {
    return *refusal;
  }
  if (!Connections().Has(connection) || state == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  *state =
      tv.GetCapture().IsRunning() ? CONNECTION_TCPDUMP_STATE_RUNNING : CONNECTION_TCPDUMP_STATE_STOPPED;
  return CONNECTION_ERROR_NONE;
}

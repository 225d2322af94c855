#include <deque>

#include "CallGate.h"
#include "Connections.h"
#include "KernelTables.h"
#include "ModemService.h"
#include "ProfileHandles.h"
#include "SavedWifi.h"
#include "WiredRequests.h"
#include "net_connection.h"

// The networks that are known, in use or not, and what leaves and joins them.

struct connection_profile_iterator_s {
  connection_h owner;
  std::deque<connection_profile_handle_s> rest;
};

namespace {

HandleSet<connection_profile_iterator_s>& Iterators() {
  static auto* const iterators = new HandleSet<connection_profile_iterator_s>;
  return *iterators;
}

int ChangeProfile(const char* function, connection_h connection, connection_profile_h profile,
                  bool is_open, connection_profile_changed_cb callback, void* user_data) {
  if (const auto refusal = call_gate::Refusal(function)) {
    return *refusal;
  }
  if (!IsConnection(connection) || !Profiles().Has(profile) || callback == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  if (profile->type != CONNECTION_PROFILE_TYPE_ETHERNET) {
    return CONNECTION_ERROR_NOT_SUPPORTED;
  }
  if (!kernel_tables::FindCable()) {
    return CONNECTION_ERROR_NO_CONNECTION;
  }
  return WiredRequests::Instance().Add(connection, is_open, callback, user_data);
}

}  // namespace

HandleSet<connection_profile_handle_s>& Profiles() {
  static auto* const profiles = new HandleSet<connection_profile_handle_s>;
  return *profiles;
}

void ForgetProfiles(connection_h connection) {
  WiredRequests::Instance().Forget(connection);
  const auto ends = [connection](const auto& object) { return object.owner == connection; };
  Iterators().RemoveIf(ends);
  Profiles().RemoveIf(ends);
}

int connection_get_profile_iterator(connection_h connection, connection_iterator_type_e type,
                                    connection_profile_iterator_h* iterator) {
  if (const auto refusal = call_gate::Refusal("connection_get_profile_iterator", type)) {
    return *refusal;
  }
  if (!IsConnection(connection) || iterator == nullptr || type != CONNECTION_ITERATOR_TYPE_REGISTERED) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  connection_profile_iterator_s walk{connection, {}};
  if (ModemService::Instance().IsDongleInserted()) {
    walk.rest.push_back({CONNECTION_PROFILE_TYPE_CELLULAR, 0, connection});
  }
  if (const auto saved = SavedWifi::Instance().All()) {
    walk.rest.insert(walk.rest.end(), saved->size(), {CONNECTION_PROFILE_TYPE_WIFI, 0, connection});
  }
  if (const auto cable = kernel_tables::FindCable()) {
    walk.rest.push_back({CONNECTION_PROFILE_TYPE_ETHERNET, *cable, connection});
  }
  *iterator = Iterators().Add(std::move(walk));
  return CONNECTION_ERROR_NONE;
}

bool connection_profile_iterator_has_next(connection_profile_iterator_h iterator) {
  return Iterators().Has(iterator) && !iterator->rest.empty();
}

int connection_profile_iterator_next(connection_profile_iterator_h iterator,
                                     connection_profile_h* profile) {
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

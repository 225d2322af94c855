#include "CallGate.h"
#include "Connections.h"
#include "ProfileHandles.h"
#include "net_connection.h"

// The networks that are known, in use or not, and what leaves and joins them.

HandleSet<connection_profile_handle_s>& Profiles() {
  static auto* const profiles = new HandleSet<connection_profile_handle_s>;
  return *profiles;
}

/// What is known of networks and not in use, and what opens and closes them, is the business of the
/// machine's network manager, whom this backend does not ask yet.
int connection_get_profile_iterator(connection_h connection, connection_iterator_type_e type,
                                    connection_profile_iterator_h* iterator) {
  if (const auto refusal = call_gate::Refusal("connection_get_profile_iterator", type)) {
    return *refusal;
  }
  if (!IsConnection(connection) || iterator == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  return CONNECTION_ERROR_NOT_SUPPORTED;
}

bool connection_profile_iterator_has_next(connection_profile_iterator_h /*iterator*/) {
  return false;
}

int connection_profile_iterator_next(connection_profile_iterator_h /*iterator*/,
                                     connection_profile_h* /*profile*/) {
  if (const auto refusal = call_gate::Refusal("connection_profile_iterator_next")) {
    return *refusal;
  }
  return CONNECTION_ERROR_INVALID_PARAMETER;
}

int connection_close_profile(connection_h connection, connection_profile_h profile,
                             connection_profile_changed_cb callback, void* /*user_data*/) {
  if (const auto refusal = call_gate::Refusal("connection_close_profile")) {
    return *refusal;
  }
  if (!IsConnection(connection) || !Profiles().Has(profile) || callback == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  return CONNECTION_ERROR_NOT_SUPPORTED;
}

int connection_open_profile(connection_h connection, connection_profile_h profile,
                            connection_profile_changed_cb callback, void* /*user_data*/) {
  if (const auto refusal = call_gate::Refusal("connection_open_profile")) {
    return *refusal;
  }
  if (!IsConnection(connection) || !Profiles().Has(profile) || callback == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  return CONNECTION_ERROR_NOT_SUPPORTED;
}

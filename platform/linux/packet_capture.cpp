#include "net_connection.h"

// This backend captures no packets yet.

int connection_profile_start_tcpdump(connection_h /*connection*/) {
  return CONNECTION_ERROR_NOT_SUPPORTED;
}

int connection_profile_stop_tcpdump(connection_h /*connection*/) {
  return CONNECTION_ERROR_NOT_SUPPORTED;
}

int connection_profile_get_tcpdump_state(connection_h /*connection*/,
                                         connection_tcpdump_state_e* /*state*/) {
  return CONNECTION_ERROR_NOT_SUPPORTED;
}

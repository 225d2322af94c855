#include "net_connection.h"

// The first thing to implement: the cable. Until then there is no network to ask about.

int connection_create(connection_h* /*connection*/) {
  return CONNECTION_ERROR_OPERATION_FAILED;
}

int connection_destroy(connection_h /*connection*/) {
  return CONNECTION_ERROR_INVALID_PARAMETER;
}

int connection_set_ethernet_cable_state_chaged_cb(connection_h /*connection*/,
                                                  connection_ethernet_cable_state_chaged_cb /*callback*/,
                                                  void* /*user_data*/) {
  return CONNECTION_ERROR_OPERATION_FAILED;
}

int connection_get_ethernet_cable_state(connection_h /*connection*/,
                                        connection_ethernet_cable_state_e* /*state*/) {
  return CONNECTION_ERROR_OPERATION_FAILED;
}

int connection_set_network_monitor_cb(connection_h /*connection*/,
                                      connection_network_monitor_cb /*callback*/, void* /*user_data*/) {
  return CONNECTION_ERROR_NOT_SUPPORTED;
}

int connection_unset_network_monitor_cb(connection_h /*connection*/) {
  return CONNECTION_ERROR_INVALID_PARAMETER;
}

int connection_get_current_profile(connection_h /*connection*/, connection_profile_h* /*profile*/) {
  return CONNECTION_ERROR_NO_CONNECTION;
}

int connection_profile_destroy(connection_profile_h /*profile*/) {
  return CONNECTION_ERROR_INVALID_PARAMETER;
}

int connection_profile_get_type(connection_profile_h /*profile*/, connection_profile_type_e* /*type*/) {
  return CONNECTION_ERROR_INVALID_PARAMETER;
}

int connection_profile_get_dhcp_lease_duration(connection_profile_h /*profile*/,
                                               connection_address_family_e /*family*/,
                                               int* /*seconds*/) {
  return CONNECTION_ERROR_NOT_SUPPORTED;
}

int connection_profile_check_default_gateway(bool* /*has_gateway*/) {
  return CONNECTION_ERROR_OPERATION_FAILED;
}

int connection_get_mac_address(connection_h /*connection*/, connection_type_e /*type*/,
                               char** /*mac_address*/) {
  return CONNECTION_ERROR_OPERATION_FAILED;
}

int connection_get_ip_address(connection_h /*connection*/, connection_address_family_e /*family*/,
                              char** /*ip_address*/) {
  return CONNECTION_ERROR_NO_CONNECTION;
}

int connection_check_hotspot(connection_h /*connection*/, int* /*status*/) {
  return CONNECTION_ERROR_NOT_SUPPORTED;
}

int connection_get_profile_iterator(connection_h /*connection*/, connection_iterator_type_e /*type*/,
                                    connection_profile_iterator_h* /*iterator*/) {
  return CONNECTION_ERROR_NOT_SUPPORTED;
}

bool connection_profile_iterator_has_next(connection_profile_iterator_h /*iterator*/) {
  return false;
}

int connection_profile_iterator_next(connection_profile_iterator_h /*iterator*/,
                                     connection_profile_h* /*profile*/) {
  return CONNECTION_ERROR_INVALID_PARAMETER;
}

int connection_close_profile(connection_h /*connection*/, connection_profile_h /*profile*/,
                             connection_profile_changed_cb /*callback*/, void* /*user_data*/) {
  return CONNECTION_ERROR_NOT_SUPPORTED;
}

int connection_open_profile(connection_h /*connection*/, connection_profile_h /*profile*/,
                            connection_profile_changed_cb /*callback*/, void* /*user_data*/) {
  return CONNECTION_ERROR_NOT_SUPPORTED;
}

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

#include <cstring>
#include <optional>

#include "CallGate.h"
#include "Connections.h"
#include "DefaultRoute.h"
#include "KernelTables.h"
#include "LeaseFacts.h"
#include "ProfileHandles.h"
#include "net_connection.h"

// What the connection interface answers at once, from the kernel's tables.

int connection_get_current_profile(connection_h connection, connection_profile_h* profile) {
  if (const auto refusal = call_gate::Refusal("connection_get_current_profile")) {
    return *refusal;
  }
  if (!IsConnection(connection) || profile == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  std::optional<Link> link;
  if (!kernel_tables::FindTrafficLink(link)) {
    return CONNECTION_ERROR_OPERATION_FAILED;
  }
  if (!link) {
    return CONNECTION_ERROR_NO_CONNECTION;
  }
  *profile = Profiles().Add({ProfileTypeOf(*link), link->index});
  return CONNECTION_ERROR_NONE;
}

int connection_profile_destroy(connection_profile_h profile) {
  if (const auto refusal = call_gate::Refusal("connection_profile_destroy")) {
    return *refusal;
  }
  return Profiles().Remove(profile) ? CONNECTION_ERROR_NONE : CONNECTION_ERROR_INVALID_PARAMETER;
}

int connection_profile_get_type(connection_profile_h profile, connection_profile_type_e* type) {
  if (const auto refusal = call_gate::Refusal("connection_profile_get_type")) {
    return *refusal;
  }
  if (!Profiles().Has(profile) || type == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  *type = profile->type;
  return CONNECTION_ERROR_NONE;
}

/// As the machine's DHCP client was told, where that is NetworkManager's; else what the kernel knows,
/// which is what is left of it.
int connection_profile_get_dhcp_lease_duration(connection_profile_h profile,
                                               connection_address_family_e family, int* seconds) {
  if (const auto refusal = call_gate::Refusal("connection_profile_get_dhcp_lease_duration", family)) {
    return *refusal;
  }
  if (!Profiles().Has(profile) || seconds == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  auto lease = family == CONNECTION_ADDRESS_FAMILY_IPV4 ? lease_facts::OfNetworkManager(profile->link)
                                                        : std::nullopt;
  lease = lease ? lease : kernel_tables::LeaseOf(profile->link, family);
  if (!lease) {
    return CONNECTION_ERROR_NO_CONNECTION;
  }
  *seconds = *lease;
  return CONNECTION_ERROR_NONE;
}

/// A default route without a router's address counts too: it is how modems and tunnels are used.
int connection_profile_check_default_gateway(bool* has_gateway) {
  if (const auto refusal = call_gate::Refusal("connection_profile_check_default_gateway")) {
    return *refusal;
  }
  if (has_gateway == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  std::optional<Link> link;
  if (!kernel_tables::FindTrafficLink(link)) {
    return CONNECTION_ERROR_OPERATION_FAILED;
  }
  *has_gateway = link.has_value();
  return CONNECTION_ERROR_NONE;
}

int connection_get_mac_address(connection_h connection, connection_type_e type, char** mac_address) {
  if (const auto refusal = call_gate::Refusal("connection_get_mac_address", type)) {
    return *refusal;
  }
  if (!IsConnection(connection) || mac_address == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  const auto found = kernel_tables::HardwareAddressOf(type);
  if (!found) {
    return CONNECTION_ERROR_OPERATION_FAILED;
  }
  *mac_address = strdup(found->c_str());
  return CONNECTION_ERROR_NONE;
}

int connection_get_ip_address(connection_h connection, connection_address_family_e family,
                              char** ip_address) {
  if (const auto refusal = call_gate::Refusal("connection_get_ip_address", family)) {
    return *refusal;
  }
  if (!IsConnection(connection) || ip_address == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  std::optional<Link> link;
  if (!kernel_tables::FindTrafficLink(link)) {
    return CONNECTION_ERROR_OPERATION_FAILED;
  }
  const auto found = link ? kernel_tables::AddressOf(link->index, family) : std::nullopt;
  if (!found) {
    return CONNECTION_ERROR_NO_CONNECTION;
  }
  *ip_address = strdup(found->c_str());
  return CONNECTION_ERROR_NONE;
}

int connection_check_hotspot(connection_h connection, int* status) {
  if (const auto refusal = call_gate::Refusal("connection_check_hotspot")) {
    return *refusal;
  }
  if (!IsConnection(connection) || status == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  const auto found = lease_facts::IsTelephone();
  if (!found) {
    return CONNECTION_ERROR_NO_CONNECTION;
  }
  *status = *found ? 1 : 0;
  return CONNECTION_ERROR_NONE;
}

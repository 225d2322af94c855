#include "CallGate.h"
#include "net_connection.h"

/// Weak, so that the connection interface's own answer takes its place as soon as that is linked.
__attribute__((weak)) int connection_profile_check_default_gateway(bool* has_gateway) {
  if (const auto refusal = call_gate::Refusal("connection_profile_check_default_gateway")) {
    return *refusal;
  }
  *has_gateway = true;
  return CONNECTION_ERROR_NONE;
}

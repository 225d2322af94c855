#include "platform.h"

#include "CallGate.h"
#include "Connections.h"

int platform_start(void) {
  if (const auto refusal = call_gate::Refusal("platform_start")) {
    return *refusal;
  }
  return 0;
}

void platform_stop(void) {
  StopConnections();
}

#include "platform.h"

// Nothing to start yet. Where no other service of the TV writes "db/menu/network/network_type" and
// "memory/telephony/telephony_ready", that begins here.

int platform_start(void) {
  return 0;
}

void platform_stop(void) {}

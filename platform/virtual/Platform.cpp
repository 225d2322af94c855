#include "platform.h"

#include "CallGate.h"
#include "VirtualTv.h"

int platform_start() {
  VirtualTv& tv = VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("platform_start")) {
    return *refusal;
  }
  tv.GetCable().Line().Open();
  tv.GetTelephony().Line().Open();
  return 0;
}

void platform_stop() {
  VirtualTv& tv = VirtualTv::Instance();
  tv.GetCable().Line().Close();
  tv.GetTelephony().Line().Close();
}

#include "sound_manager.h"

#include "CallGate.h"
#include "VirtualTv.h"

int sound_manager_get_speaker_selection(int* selection) {
  const VirtualTv& tv = VirtualTv::Instance();
  if (const auto refusal = call_gate::Refusal("sound_manager_get_speaker_selection")) {
    return *refusal;
  }
  if (selection == nullptr) {
    return SOUND_MANAGER_ERROR_INVALID_PARAMETER;
  }
  *selection = tv.SpeakerSelection();
  return SOUND_MANAGER_ERROR_NONE;
}

#include "sound_manager.h"

// Nobody is asked where the sound goes.

int sound_manager_get_speaker_selection(int* selection) {
  return selection == nullptr ? SOUND_MANAGER_ERROR_INVALID_PARAMETER : SOUND_MANAGER_ERROR_INTERNAL;
}

#include "sound_manager.h"

// This backend asks no sound service yet.

int sound_manager_get_speaker_selection(int* selection) {
  return selection == nullptr ? SOUND_MANAGER_ERROR_INVALID_PARAMETER : SOUND_MANAGER_ERROR_INTERNAL;
}

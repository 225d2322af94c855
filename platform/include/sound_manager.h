#pragma once

/// The sound manager interface: where the TV's sound goes. Main-loop thread only.

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
  SOUND_MANAGER_ERROR_NONE = 0,
  SOUND_MANAGER_ERROR_INVALID_PARAMETER = -22,  ///< null out parameter
  SOUND_MANAGER_ERROR_INTERNAL = -1,            ///< the sound service does not answer, or not yet
} sound_manager_error_e;

/// The speaker selection that stands for speakers in the network.
#define SOUND_MANAGER_SPEAKER_NETWORK 4

/// @param selection  out: the platform's number of the selected speakers; untouched on failure
/// @return SOUND_MANAGER_ERROR_NONE or one of the errors above
int sound_manager_get_speaker_selection(int* selection);

#ifdef __cplusplus
}
#endif

#include "sound_manager.h"

#include "CallGate.h"
#include "SoundServer.h"

namespace {

/// Of the platform's numbers only that of speakers in the network means something to anybody; all that
/// is the machine's own is this one.
constexpr int kSpeakersOfTheTv = 0;

}  // namespace

int sound_manager_get_speaker_selection(int* selection) {
  if (const auto refusal = call_gate::Refusal("sound_manager_get_speaker_selection")) {
    return *refusal;
  }
  if (selection == nullptr) {
    return SOUND_MANAGER_ERROR_INVALID_PARAMETER;
  }
  const auto sink = SoundServer::Instance().DefaultSink();
  if (!sink) {
    return SOUND_MANAGER_ERROR_INTERNAL;
  }
  *selection = *sink == SoundServer::Sink::kNetwork ? SOUND_MANAGER_SPEAKER_NETWORK : kSpeakersOfTheTv;
  return SOUND_MANAGER_ERROR_NONE;
}
